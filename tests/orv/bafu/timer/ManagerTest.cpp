#include "orv/bafu/timer/Manager.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <iostream>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "orv/bafu/DecouplerTestSupport.h"
#include "orv/bafu/DefaultDecoupler.h"
#include "orv/bafu/NoneDecoupler.h"
#include "orv/bafu/SpyDecoupler.h"
#include "orv/bafu/timer/Factory.h"
#include "support/CapturedThreadLog.h"
#include "support/Concurrency.h"

namespace orv {
namespace bafu {
namespace timer {
namespace {

using test_support::BlockingCall;
using test_support::currentThreadName;
using test_support::SpyDecoupler;

constexpr unsigned long TwoToThe32 = 1UL << 32;
constexpr const char* ManagerName = "TimerMgrTest";
constexpr const char* WorkerName = "TimerWorker";

// The expiries a test's timers saw: which id, on which thread.
class ExpiryLog {
public:
    struct Entry {
        unsigned long id;
        std::string thread;
    };

    std::function<void(unsigned long)> callback() {
        return [this](unsigned long id) { record(id); };
    }
    void record(unsigned long id) {
        {
            std::lock_guard<std::mutex> guard(m_lock);
            m_entries.push_back({id, currentThreadName()});
            m_changed.notify_all();  // under the lock: the waiter may destroy the log
        }
    }
    bool waitForCount(std::size_t count) {
        std::unique_lock<std::mutex> lock(m_lock);
        return m_changed.wait_for(lock, support::GenerousDeadline,
                                  [&] { return m_entries.size() >= count; });
    }
    std::vector<Entry> entries() const {
        std::lock_guard<std::mutex> guard(m_lock);
        return m_entries;
    }
    std::size_t count() const { return entries().size(); }
    std::size_t countOf(unsigned long id) const {
        std::size_t found = 0;
        for (const Entry& entry : entries()) {
            found += entry.id == id ? 1 : 0;
        }
        return found;
    }

private:
    mutable std::mutex m_lock;
    std::condition_variable m_changed;
    std::vector<Entry> m_entries;
};

// Waits until everything that expired before it has been delivered: a one-shot timer started
// now, and so due after every earlier expiry, reaches the same decoupler.
bool awaitMarker(IManager& manager, unsigned int milliseconds = 20) {
    auto done = std::make_shared<support::Latch>(1);
    if (manager.startTimer([done](unsigned long) { done->countDown(); }, milliseconds, false) ==
        0) {
        return false;
    }
    return done->wait();
}

TEST(TimerIds, NumberInTheHighAndUserIdInTheLowHalf) {
    struct Case {
        unsigned int number;
        unsigned int userId;
        unsigned long id;
    };
    const Case cases[] = {
        {5, 7, 21474836487UL},
        {1, 1, TwoToThe32 + 1},
        {0, 0, 0},
        {0xFFFFFFFFU, 0xFFFFFFFFU, 0xFFFFFFFFFFFFFFFFUL},
        {1, 0xFFFFFFFEU, TwoToThe32 + 0xFFFFFFFEUL},
    };
    for (const Case& c : cases) {
        const unsigned long id = Manager::calcTimerId(c.number, c.userId);
        EXPECT_EQ(id, c.id);
        EXPECT_EQ(Manager::calcTimerNumber(id), c.number);
        EXPECT_EQ(Manager::calcTimerUserId(id), id);  // users take its low 32 bits
        EXPECT_EQ(static_cast<unsigned int>(Manager::calcTimerUserId(id)), c.userId);
    }
}

TEST(TimerIds, NumbersCountUpAndUserIdsComeFromTheDecoupler) {
    DefaultDecoupler decoupler(WorkerName);  // hands out 2, 3, ...
    Manager manager(ManagerName);
    manager.setOptional_Decoupler(&decoupler);
    ASSERT_TRUE(manager.init());
    EXPECT_EQ(manager.startTimer([](unsigned long) {}, 60000, false), TwoToThe32 + 2);
    EXPECT_EQ(manager.startTimer([](unsigned long) {}, 60000, true), 2 * TwoToThe32 + 3);
    manager.shutdown();
}

TEST(TimerIds, FirstTimerWithTheDefaultDecouplerIsTwoToThe32PlusOne) {
    Manager manager(ManagerName);
    ASSERT_TRUE(manager.init());
    EXPECT_EQ(manager.startTimer([](unsigned long) {}, 60000, false), TwoToThe32 + 1);
    EXPECT_EQ(manager.startTimer([](unsigned long) {}, 60000, false), 2 * TwoToThe32 + 1);
}

TEST(TimerLifecycle, StartIsRefusedBeforeInitAndAfterShutdown) {
    Manager manager(ManagerName);
    EXPECT_EQ(manager.startTimer([](unsigned long) {}, 1, false), 0UL);
    ASSERT_TRUE(manager.init());
    manager.shutdown();
    EXPECT_EQ(manager.startTimer([](unsigned long) {}, 1, false), 0UL);
}

TEST(TimerLifecycle, StopIsIgnoredOutsideRunningAndNeverReports) {
    Manager manager(ManagerName);
    auto reported = std::make_shared<std::function<void(bool)>>([](bool) { ADD_FAILURE(); });
    manager.stopTimer(TwoToThe32 + 1);
    manager.stopTimer(TwoToThe32 + 1, reported);
    ASSERT_TRUE(manager.init());
    manager.shutdown();
    manager.stopTimer(TwoToThe32 + 1, reported);
}

TEST(TimerLifecycle, SecondInitAnswersTrueAndChangesNothing) {
    Manager manager(ManagerName);
    EXPECT_TRUE(manager.init());
    const unsigned long first = manager.startTimer([](unsigned long) {}, 60000, false);
    EXPECT_TRUE(manager.init());
    EXPECT_EQ(manager.startTimer([](unsigned long) {}, 60000, false), first + TwoToThe32);
}

TEST(TimerLifecycle, RestartsAfterShutdownAndNumbersGoOn) {
    ExpiryLog log;
    Manager manager(ManagerName);
    ASSERT_TRUE(manager.init());
    const unsigned long first = manager.startTimer(log.callback(), 60000, true);
    manager.shutdown();
    ASSERT_TRUE(manager.init());
    const unsigned long second = manager.startTimer(log.callback(), 1, false);
    EXPECT_EQ(Manager::calcTimerNumber(second), Manager::calcTimerNumber(first) + 1);
    ASSERT_TRUE(log.waitForCount(1));
    EXPECT_EQ(log.entries()[0].id, second);
}

TEST(TimerLifecycle, DecouplerCannotBeReplacedAfterInit) {
    DefaultDecoupler decoupler(WorkerName);
    ExpiryLog log;
    Manager manager(ManagerName);
    ASSERT_TRUE(manager.init());
    manager.setOptional_Decoupler(&decoupler);  // refused: the NoneDecoupler stays
    manager.startTimer(log.callback(), 1, false);
    ASSERT_TRUE(log.waitForCount(1));
    EXPECT_EQ(log.entries()[0].thread, ManagerName);
}

TEST(TimerLifecycle, GivenDecouplerOutlivesTheShutdown) {
    DefaultDecoupler decoupler(WorkerName);
    {
        auto manager = Factory::create(ManagerName);
        manager->setOptional_Decoupler(&decoupler);
        ASSERT_TRUE(manager->init());
        manager->shutdown();
    }
    EXPECT_TRUE(test_support::drain(decoupler, 7));
}

TEST(TimerLifecycle, FactoryMakesAManagerUsableThroughItsInterfaces) {
    std::unique_ptr<ISetup> setup = Factory::create(ManagerName);
    ASSERT_TRUE(setup->init());
    ExpiryLog log;
    IManager& manager = setup->getProvided_Manager();
    const unsigned long id = manager.startTimer(log.callback(), 1, false);
    ASSERT_TRUE(log.waitForCount(1));
    EXPECT_EQ(log.entries()[0].id, id);
    setup->shutdown();
}

// The rules that hold with either decoupler.
enum class Kind { None, Default };

class TimerDelivery : public ::testing::TestWithParam<Kind> {
protected:
    void SetUp() override {
        if (GetParam() == Kind::Default) {
            m_decoupler = std::make_unique<SpyDecoupler>(WorkerName);
            m_manager.setOptional_Decoupler(m_decoupler.get());
        }
        ASSERT_TRUE(m_manager.init());
    }
    void TearDown() override {
        m_manager.shutdown();
        if (m_decoupler != nullptr) {  // one-shot expiries left the manager when handed on
            EXPECT_TRUE(test_support::drain(*m_decoupler, 7));
        }
    }

    // The thread the callbacks should run on.
    std::string deliveryThread() const {
        return GetParam() == Kind::Default ? WorkerName : ManagerName;
    }

    std::unique_ptr<SpyDecoupler> m_decoupler;  // outlives the manager
    Manager m_manager{ManagerName};
    ExpiryLog m_log;
};

TEST_P(TimerDelivery, OneShotCallsOnceWithItsIdOnTheDecouplersThread) {
    m_manager.stopTimer(12345);  // unknown: accepted quietly
    const unsigned long id = m_manager.startTimer(m_log.callback(), 1, false);
    ASSERT_NE(id, 0UL);
    ASSERT_TRUE(m_log.waitForCount(1));
    ASSERT_TRUE(awaitMarker(m_manager));
    const auto entries = m_log.entries();
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0].id, id);
    EXPECT_EQ(entries[0].thread, deliveryThread());
    m_manager.stopTimer(id);  // gone already: harmless
}

TEST_P(TimerDelivery, CyclicCallsEveryPeriodUntilStopped) {
    const unsigned long id = m_manager.startTimer(m_log.callback(), 1, true);
    ASSERT_TRUE(m_log.waitForCount(3));
    m_manager.stopTimer(id);
    const std::size_t seen = m_log.countOf(id);
    ASSERT_TRUE(awaitMarker(m_manager));
    EXPECT_EQ(m_log.countOf(id), seen);
    for (const auto& entry : m_log.entries()) {
        if (entry.id == id) {
            EXPECT_EQ(entry.thread, deliveryThread());
        }
    }
}

TEST_P(TimerDelivery, CallerCallbackIsTakenOver) {
    std::function<void(unsigned long)> callback = m_log.callback();
    const unsigned long id = m_manager.startTimer(std::move(callback), 60000, false);
    EXPECT_NE(id, 0UL);
    EXPECT_FALSE(callback);  // NOLINT(bugprone-use-after-move): the rule under test
}

TEST_P(TimerDelivery, StopWithCallbackReportsTheWithdrawal) {
    const unsigned long id = m_manager.startTimer(m_log.callback(), 60000, true);
    support::Latch reported(1);
    auto onRemoved = std::make_shared<std::function<void(bool)>>([&](bool flag) {
        EXPECT_TRUE(flag);
        reported.countDown();
    });
    m_manager.stopTimer(id, onRemoved);
    EXPECT_TRUE(reported.wait());
    EXPECT_EQ(m_log.count(), 0U);
}

TEST_P(TimerDelivery, TimersStartedInsideACallbackRun) {
    ExpiryLog inner;
    m_manager.startTimer([&](unsigned long) { m_manager.startTimer(inner.callback(), 1, false); },
                         1, false);
    EXPECT_TRUE(inner.waitForCount(1));
}

TEST_P(TimerDelivery, ShutdownWaitsForACallbackInFlight) {
    support::Latch entered(1);
    support::Latch release(1);
    std::atomic<bool> returned{false};
    m_manager.startTimer(
        [&](unsigned long) {
            entered.countDown();
            release.wait();
            returned = true;
        },
        5, true);  // cyclic: a timer still known, which the shutdown withdraws
    ASSERT_TRUE(entered.wait());
    BlockingCall shutdown([&] { m_manager.shutdown(); });
    ASSERT_TRUE(shutdown.waitUntilBlocked());
    release.countDown();
    shutdown.join();
    EXPECT_TRUE(returned);
}

INSTANTIATE_TEST_SUITE_P(BothDecouplers, TimerDelivery,
                         ::testing::Values(Kind::None, Kind::Default),
                         [](const ::testing::TestParamInfo<Kind>& info) {
                             return info.param == Kind::None ? "None" : "Default";
                         });

// With a DefaultDecoupler an expiry already queued is not discarded by a stop.
TEST(TimerStopOnDefaultDecoupler, ExpiryQueuedBeforeTheStopStillRunsAndStopWaitsForIt) {
    SpyDecoupler decoupler(WorkerName);
    Manager manager(ManagerName);
    manager.setOptional_Decoupler(&decoupler);
    ASSERT_TRUE(manager.init());
    test_support::RunLog order;
    unsigned long id = 0;
    {
        test_support::WorkerGate gate(decoupler, 99);
        id = manager.startTimer([&](unsigned long) { order.add("expiry"); }, 1, false);
        ASSERT_TRUE(decoupler.waitForCalls(static_cast<unsigned int>(id), 1));
        BlockingCall stop([&] {
            manager.stopTimer(id);
            order.add("stopped");
        });
        ASSERT_TRUE(stop.waitUntilBlocked());
        gate.release();
        stop.join();
    }
    EXPECT_EQ(order.entries(), (std::vector<std::string>{"expiry", "stopped"}));
    EXPECT_EQ(decoupler.priorities().back(), 128);
    manager.shutdown();
}

// The blocking stop waits for the worker it runs on. The test shows that it does not return,
// then completes the removal from outside so that every thread ends.
TEST(TimerStopOnDefaultDecoupler, BlockingStopInsideACallbackNeverReturns) {
    SpyDecoupler decoupler(WorkerName);
    Manager manager(ManagerName);
    manager.setOptional_Decoupler(&decoupler);
    ASSERT_TRUE(manager.init());
    std::atomic<pid_t> worker{0};
    std::atomic<bool> returned{false};
    manager.startTimer(
        [&](unsigned long id) {
            worker = gettid();
            manager.stopTimer(id);
            returned = true;
        },
        1, false);
    ASSERT_TRUE(decoupler.waitForRemovals(1));
    ASSERT_TRUE(support::waitUntil([&] { return test_support::isSleeping(worker); }));
    EXPECT_FALSE(returned);
    decoupler.completeRemovalsFromOutside();
    EXPECT_TRUE(support::waitUntil([&] { return returned.load(); }));
    manager.shutdown();
}

TEST(TimerStopOnDefaultDecoupler, NonBlockingStopInsideACallbackReportsAfterIt) {
    DefaultDecoupler decoupler(WorkerName);
    Manager manager(ManagerName);
    manager.setOptional_Decoupler(&decoupler);
    ASSERT_TRUE(manager.init());
    test_support::RunLog order;
    support::Latch reported(1);
    auto onRemoved = std::make_shared<std::function<void(bool)>>([&](bool) {
        order.add("removed");
        reported.countDown();
    });
    std::atomic<bool> stopped{false};
    manager.startTimer(
        [&](unsigned long id) {
            if (!stopped.exchange(true)) {
                manager.stopTimer(id, onRemoved);
            }
            order.add("callback returns");
        },
        1, true);
    ASSERT_TRUE(reported.wait());
    manager.shutdown();
    // Expiries queued before the removal still run; none comes after it.
    const auto entries = order.entries();
    EXPECT_EQ(std::count(entries.begin(), entries.end(), "removed"), 1);
    EXPECT_EQ(entries.back(), "removed");
}

// Discards what is written to std::clog while it lives: the refusals that the state handler
// logs for every expiry arriving during a shutdown. Made before, and gone after, every thread
// that may log.
class ClogSilencer {
public:
    ClogSilencer() : m_previous(std::clog.rdbuf(nullptr)) {}
    ClogSilencer(const ClogSilencer&) = delete;
    ClogSilencer& operator=(const ClogSilencer&) = delete;
    ~ClogSilencer() { std::clog.rdbuf(m_previous); }

private:
    std::streambuf* m_previous;
};

// Shutdown while timers are pending, expiries are being handed on and callbacks run, with
// other threads starting and stopping timers. After shutdown() returns no callback runs.
class TimerShutdownStress : public ::testing::TestWithParam<Kind> {};

struct StressState {
    std::atomic<int> calls{0};
    std::atomic<int> active{0};
};

std::function<void(unsigned long)> stressCallback(const std::shared_ptr<StressState>& state) {
    return [state](unsigned long) {
        ++state->active;
        ++state->calls;
        std::this_thread::yield();
        --state->active;
    };
}

void startMixedTimers(Manager& manager, const std::shared_ptr<StressState>& state) {
    for (unsigned int i = 0; i < 16; ++i) {
        manager.startTimer(stressCallback(state), i % 3, i % 2 == 0);
    }
    // Stays pending: with a decoupler of the client's, its removal at shutdown is queued
    // behind every expiry handed on before, one-shot ones included.
    manager.startTimer(stressCallback(state), 60000, true);
}

TEST_P(TimerShutdownStress, NoCallbackRunsAfterShutdownReturns) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    constexpr int Rounds = 250;  // keeps the run within seconds on two cores
#else
    constexpr int Rounds = 1000;
#endif
    const ClogSilencer quiet;
    std::unique_ptr<DefaultDecoupler> decoupler;
    if (GetParam() == Kind::Default) {
        decoupler = std::make_unique<DefaultDecoupler>(WorkerName);
    }
    for (int round = 0; round < Rounds; ++round) {
        auto state = std::make_shared<StressState>();
        Manager manager(ManagerName);
        manager.setOptional_Decoupler(decoupler.get());
        ASSERT_TRUE(manager.init());
        startMixedTimers(manager, state);
        std::atomic<bool> stopping{false};
        std::thread churn([&] {
            while (!stopping) {
                const unsigned long id = manager.startTimer(stressCallback(state), 0, true);
                if (id == 0) {
                    break;  // the shutdown has begun
                }
                manager.stopTimer(id);
            }
        });
        ASSERT_TRUE(support::waitUntil([&] { return state->calls >= 5; }));
        manager.shutdown();
        const int callsAtShutdown = state->calls;
        EXPECT_EQ(state->active, 0) << "round " << round;
        stopping = true;
        churn.join();
        if (decoupler != nullptr) {
            ASSERT_TRUE(test_support::drain(*decoupler, 7));
        }
        EXPECT_EQ(state->calls, callsAtShutdown) << "round " << round;
    }
}

INSTANTIATE_TEST_SUITE_P(BothDecouplers, TimerShutdownStress,
                         ::testing::Values(Kind::None, Kind::Default),
                         [](const ::testing::TestParamInfo<Kind>& info) {
                             return info.param == Kind::None ? "None" : "Default";
                         });

TEST(TimerShutdown, DestructorShutsDownARunningManager) {
    auto state = std::make_shared<StressState>();
    {
        Manager manager(ManagerName);
        ASSERT_TRUE(manager.init());
        manager.startTimer(stressCallback(state), 0, true);
        ASSERT_TRUE(support::waitUntil([&] { return state->calls >= 2; }));
    }
    const int calls = state->calls;
    EXPECT_EQ(state->active, 0);
    EXPECT_EQ(state->calls, calls);
}

// The synchronous decoupler, noting the blocking removals asked of it (by stopTimer and by
// the shutdown, for every timer it still knows). Written and read on the test's thread only.
class RemovalNotingDecoupler : public NoneDecoupler {
public:
    using NoneDecoupler::removeUserCalls;
    void removeUserCalls(unsigned int userId) override {
        removed.push_back(userId);
        NoneDecoupler::removeUserCalls(userId);
    }

    std::vector<unsigned int> removed;
};

// With the NoneDecoupler an expiry callback that throws throws on the timer thread, which
// reports it and goes on: a cyclic timer keeps firing, other timers still expire, and a
// one-shot timer that threw is forgotten like any other.
TEST(TimerFailure, ThrowingCallbackOnTheTimerThreadIsReportedAndTimersGoOn) {
    const support::CapturedThreadLog log;
    RemovalNotingDecoupler decoupler;
    std::atomic<int> oneShotRuns{0};
    std::atomic<int> cyclicRuns{0};
    {
        Manager manager(ManagerName);
        manager.setOptional_Decoupler(&decoupler);
        ASSERT_TRUE(manager.init());
        manager.startTimer(
            [&](unsigned long) {
                ++oneShotRuns;
                throw std::runtime_error("one-shot expiry failed");
            },
            1, false);
        const unsigned long cyclic = manager.startTimer(
            [&](unsigned long) {
                ++cyclicRuns;
                throw std::runtime_error("cyclic expiry failed");
            },
            1, true);
        ASSERT_TRUE(support::waitUntil([&] { return oneShotRuns == 1 && cyclicRuns >= 3; }));
        EXPECT_TRUE(awaitMarker(manager, 1));
        manager.stopTimer(cyclic);
        decoupler.removed.clear();
        manager.shutdown();
        EXPECT_TRUE(decoupler.removed.empty()) << "a timer was still known at the shutdown";
    }
    EXPECT_EQ(oneShotRuns, 1);
    EXPECT_TRUE(log.contains("one-shot expiry failed")) << log.text();
    EXPECT_TRUE(log.contains("cyclic expiry failed")) << log.text();
}

// A DefaultDecoupler that counts the calls handed to it.
class CountingDecoupler : public IDecoupler {
public:
    explicit CountingDecoupler(const std::string& threadName) : worker(threadName) {}

    unsigned int createUserId() override { return worker.createUserId(); }
    void call(std::function<void()>&& function, unsigned int userId,
              unsigned char priority) override {
        ++calls;
        worker.call(std::move(function), userId, priority);
    }
    void removeUserCalls(unsigned int userId, std::weak_ptr<RemovedCallback> onRemoved) override {
        worker.removeUserCalls(userId, std::move(onRemoved));
    }
    void removeUserCalls(unsigned int userId) override { worker.removeUserCalls(userId); }
    void removeAllCalls(std::weak_ptr<RemovedCallback> onRemoved) override {
        worker.removeAllCalls(std::move(onRemoved));
    }
    void removeAllCalls() override { worker.removeAllCalls(); }

    DefaultDecoupler worker;
    std::atomic<int> calls{0};
};

// With a DefaultDecoupler the callback throws on its worker, which ends for good and reports
// it. Expiries are still handed on but never run, and a removal is never carried out: the
// timer is stopped without waiting, so that the shutdown has nothing left to withdraw.
TEST(TimerFailure, ThrowingCallbackEndsTheDefaultDecouplersWorker) {
    const support::CapturedThreadLog log;
    CountingDecoupler decoupler(WorkerName);
    ExpiryLog later;
    bool removalReported = false;
    {
        Manager manager(ManagerName);
        manager.setOptional_Decoupler(&decoupler);
        ASSERT_TRUE(manager.init());
        manager.startTimer([](unsigned long) { throw std::runtime_error("expiry failed"); }, 1,
                           false);
        ASSERT_TRUE(support::waitUntil([&] { return !decoupler.worker.isRunning(); }));
        const int handedOnBefore = decoupler.calls;
        const unsigned long cyclic = manager.startTimer(later.callback(), 1, true);
        ASSERT_TRUE(support::waitUntil([&] { return decoupler.calls >= handedOnBefore + 3; }));
        auto onRemoved =
            std::make_shared<std::function<void(bool)>>([&](bool) { removalReported = true; });
        manager.stopTimer(cyclic, onRemoved);
        manager.shutdown();
    }
    EXPECT_EQ(later.count(), 0U);
    EXPECT_FALSE(removalReported);
    EXPECT_TRUE(log.contains("expiry failed")) << log.text();
    EXPECT_TRUE(log.contains(WorkerName)) << log.text();
}

}  // namespace
}  // namespace timer
}  // namespace bafu
}  // namespace orv
