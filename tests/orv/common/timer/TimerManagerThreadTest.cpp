#include "orv/common/timer/TimerManagerThread.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <fstream>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <random>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "orv/common/timer/Timer.h"
#include "support/Await.h"

namespace orv {
namespace common {
namespace timer {
namespace {

using Clock = std::chrono::steady_clock;
using orv::test::waitUntil;

// Counts expiries and runs an optional action on each.
class Probe : public ITimerCallback {
public:
    explicit Probe(std::function<void(ITimer*)> action = {}) : m_action(std::move(action)) {}
    void expired(ITimer* timer) override {
        times.push_back(Clock::now());  // only touched on the timer thread until read after stop
        ++count;
        if (m_action) {
            m_action(timer);
        }
    }
    std::atomic<int> count{0};
    std::vector<Clock::time_point> times;

private:
    std::function<void(ITimer*)> m_action;
};

class TimerManagerThreadTest : public ::testing::Test {
protected:
    void SetUp() override { manager.startManager(); }
    TimerManagerThread manager{"TestTimers"};
};

TEST_F(TimerManagerThreadTest, OneShotFiresOnceNotEarlyAndIsNotCyclic) {
    std::atomic<bool> cyclic{true};
    Probe probe([&](ITimer* timer) { cyclic = static_cast<Timer*>(timer)->getCyclic(); });
    const auto started = Clock::now();
    auto handle = manager.startTimer(probe, 20, false, false);
    ASSERT_TRUE(waitUntil([&] { return probe.count == 1; }));
    manager.stopManager();
    EXPECT_EQ(probe.count, 1);
    EXPECT_FALSE(cyclic);
    EXPECT_GE(probe.times[0] - started, std::chrono::milliseconds(20));
}

TEST_F(TimerManagerThreadTest, CyclicDeadlinesAdvanceByWholePeriods) {
    Probe probe;
    const auto started = Clock::now();
    auto handle = manager.startTimer(probe, 5, true, false);
    ASSERT_TRUE(waitUntil([&] { return probe.count >= 10; }));
    handle->stop();
    manager.stopManager();
    // Each expiry k is due at start + k * period and never fires before that.
    for (std::size_t k = 0; k < probe.times.size(); ++k) {
        EXPECT_GE(probe.times[k] - started, std::chrono::milliseconds(5 * (k + 1))) << k;
    }
}

TEST_F(TimerManagerThreadTest, ImmediateFlagMakesTheFirstExpiryDueAtOnce) {
    Probe probe;
    auto handle = manager.startTimer(probe, 3600 * 1000, false, true);
    EXPECT_TRUE(waitUntil([&] { return probe.count == 1; }));
}

TEST_F(TimerManagerThreadTest, StoppedOrDestroyedTimersNeverFire) {
    Probe stopped;
    Probe destroyed;
    auto first = manager.startTimer(stopped, 1, false, false);
    first->stop();
    first->stop();  // idempotent
    manager.startTimer(destroyed, 1, true, false).reset();
    Probe witness;
    auto later = manager.startTimer(witness, 30, false, false);
    ASSERT_TRUE(waitUntil([&] { return witness.count == 1; }));
    EXPECT_EQ(stopped.count, 0);
    EXPECT_EQ(destroyed.count, 0);
}

TEST_F(TimerManagerThreadTest, FiresInDeadlineOrderAndSkipsStoppedAmongMany) {
    constexpr int Count = 2000;
    std::mutex lock;
    std::vector<int> order;
    std::vector<std::unique_ptr<Probe>> probes;
    std::vector<std::unique_ptr<ITimer>> handles;
    std::vector<unsigned> delays;
    std::mt19937 random(7);
    for (int i = 0; i < Count; ++i) {
        const bool fires = i % 2 == 0;
        const unsigned delay = fires ? 20 + random() % 40 : 3600 * 1000;
        delays.push_back(delay);
        probes.push_back(std::make_unique<Probe>([&, i](ITimer*) {
            std::lock_guard<std::mutex> guard(lock);
            order.push_back(i);
        }));
        handles.push_back(manager.startTimer(*probes.back(), delay, false, false));
    }
    for (int i = 1; i < Count; i += 2) {
        handles[i].reset();
    }
    ASSERT_TRUE(waitUntil([&] {
        std::lock_guard<std::mutex> guard(lock);
        return order.size() == Count / 2;
    }));
    manager.stopManager();
    ASSERT_EQ(order.size(), static_cast<std::size_t>(Count / 2));
    for (std::size_t k = 1; k < order.size(); ++k) {
        const int a = order[k - 1];
        const int b = order[k];
        // Started later with an equal or shorter delay cannot fire first... unless due later.
        EXPECT_TRUE(delays[a] <= delays[b] || b > a) << a << " before " << b;
        EXPECT_EQ(b % 2, 0);
    }
}

TEST_F(TimerManagerThreadTest, HandleMayBeDestroyedInsideItsOwnCallback) {
    std::unique_ptr<ITimer> cyclic;
    std::unique_ptr<ITimer> oneShot;
    std::promise<void> stored;
    std::shared_future<void> handlesStored = stored.get_future().share();
    Probe cyclicProbe([&](ITimer*) {
        handlesStored.wait();
        cyclic.reset();
    });
    Probe oneShotProbe([&](ITimer* timer) {
        handlesStored.wait();
        timer->stop();
        oneShot.reset();
    });
    cyclic = manager.startTimer(cyclicProbe, 1, true, false);
    oneShot = manager.startTimer(oneShotProbe, 1, false, false);
    stored.set_value();
    ASSERT_TRUE(waitUntil([&] { return cyclicProbe.count >= 1 && oneShotProbe.count >= 1; }));
    Probe witness;
    auto later = manager.startTimer(witness, 20, false, false);
    ASSERT_TRUE(waitUntil([&] { return witness.count == 1; }));
    EXPECT_EQ(cyclicProbe.count, 1);
    EXPECT_EQ(oneShotProbe.count, 1);
}

TEST_F(TimerManagerThreadTest, StopFromAnotherThreadWaitsForTheRunningCallback) {
    std::promise<void> entered;
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    std::atomic<bool> finished{false};
    Probe probe([&](ITimer*) {
        entered.set_value();
        released.wait();
        finished = true;
    });
    auto handle = manager.startTimer(probe, 1, false, false);
    entered.get_future().wait();
    auto stopper = std::async(std::launch::async, [&] {
        handle->stop();
        return finished.load();
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));  // let the stopper block
    release.set_value();
    EXPECT_TRUE(stopper.get());
}

TEST_F(TimerManagerThreadTest, ThrowingCallbackIsLoggedAndTheThreadGoesOn) {
    std::ostringstream log;
    auto writer = system::Thread::getLogWriter();
    writer->setOutput(log);
    Probe thrower([](ITimer*) { throw std::runtime_error("boom"); });
    auto failing = manager.startTimer(thrower, 1, false, false);
    ASSERT_TRUE(waitUntil([&] { return thrower.count == 1; }));
    Probe witness;
    auto later = manager.startTimer(witness, 1, false, false);
    EXPECT_TRUE(waitUntil([&] { return witness.count == 1; }));
    manager.stopManager();
    writer->setOutput(std::clog);
    EXPECT_NE(log.str().find("boom"), std::string::npos);
}

TEST_F(TimerManagerThreadTest, NoCallbackRunsAfterStopManagerReturns) {
    std::atomic<bool> stopped{false};
    std::atomic<int> late{0};
    std::vector<std::unique_ptr<Probe>> probes;
    std::vector<std::unique_ptr<ITimer>> handles;
    for (int i = 0; i < 50; ++i) {
        probes.push_back(std::make_unique<Probe>([&](ITimer*) { late += stopped ? 1 : 0; }));
        handles.push_back(manager.startTimer(*probes.back(), 1, true, false));
    }
    ASSERT_TRUE(waitUntil([&] { return probes.back()->count > 2; }));
    manager.stopManager();
    stopped = true;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(late, 0);
}

TEST_F(TimerManagerThreadTest, PendingTimersFireAfterARestart) {
    Probe probe;
    manager.stopManager();
    auto handle = manager.startTimer(probe, 1, false, false);
    manager.startManager();
    EXPECT_TRUE(waitUntil([&] { return probe.count == 1; }));
}

TEST_F(TimerManagerThreadTest, HandleMayOutliveItsManager) {
    Probe probe;
    std::unique_ptr<ITimer> handle;
    {
        TimerManagerThread shortLived("ShortLived");
        shortLived.startManager();
        handle = shortLived.startTimer(probe, 3600 * 1000, true, false);
    }
    handle->stop();
    handle.reset();
    EXPECT_EQ(probe.count, 0);
}

TEST(TimerManagerThreadName, OperatingSystemSeesTheNameCutTo15Bytes) {
    std::promise<std::string> name;
    class NameProbe : public ITimerCallback {
    public:
        explicit NameProbe(std::promise<std::string>& out) : m_out(out) {}
        void expired(ITimer*) override {
            std::ifstream comm("/proc/thread-self/comm");
            std::string text;
            std::getline(comm, text);
            m_out.set_value(text);
        }

    private:
        std::promise<std::string>& m_out;
    } probe(name);
    TimerManagerThread manager("AVeryLongTimerThreadName");
    manager.startManager();
    auto handle = manager.startTimer(probe, 0, false, false);
    EXPECT_EQ(name.get_future().get(), "AVeryLongTimerT");
}

}  // namespace
}  // namespace timer
}  // namespace common
}  // namespace orv
