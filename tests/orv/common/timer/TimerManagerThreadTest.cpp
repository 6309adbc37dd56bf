// Timer manager thread: expiries in deadline order and never early, stopped timers never fire,
// callbacks may destroy their own timer or throw, stopping waits for a running callback, and
// the timer thread's wait survives the destruction of the timer it waits for.
#include "orv/common/timer/TimerManagerThread.h"

#include <sys/types.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <fstream>
#include <functional>
#include <future>
#include <iterator>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include "support/CapturedThreadLog.h"
#include "support/Concurrency.h"

namespace {

using namespace std::chrono_literals;
using namespace orv::common::timer;
using Clock = std::chrono::steady_clock;

// Counts expiries and runs an action, on the timer thread.
struct Probe : ITimerCallback {
    explicit Probe(std::function<void()> action = [] {}) : action(std::move(action)) {}
    void expired(ITimer* /*timer*/) override { thread = gettid(), ++count, action(); }
    std::function<void()> action;
    std::atomic<int> count{0};
    std::atomic<pid_t> thread{0};
};

// Timers are started, and every other one stopped or destroyed, while the manager is stopped.
// Once it runs it fires the others (every sixth cyclic) in deadline order and none early;
// every tenth throws, which is logged, and every twelfth destroys its handle on its second
// expiry, which is its last.
TEST(TimerManagerThreadTest, FiresInDeadlineOrderNeverEarlyAndNeverAStoppedTimer) {
    constexpr int kCount = 1000;
    const auto period = [](int i) { return std::chrono::milliseconds(1 + i * 37 % 50); };
    support::CapturedThreadLog log;
    TimerManagerThread manager("TestTimers");
    std::mutex lock;
    std::vector<std::tuple<int, int, Clock::time_point>> fired;  // these two guarded by lock
    std::vector<int> expiries(kCount, 0);
    std::vector<std::unique_ptr<Probe>> probes;
    std::vector<std::unique_ptr<ITimer>> handles;
    std::vector<std::pair<Clock::time_point, Clock::time_point>> due;  // bounds of first deadline
    for (int i = 0; i < kCount; ++i) {
        probes.push_back(std::make_unique<Probe>([&, i] {
            std::lock_guard<std::mutex> guard(lock);
            fired.emplace_back(i, expiries[i]++, Clock::now());
            (i % 12 == 0 && expiries[i] == 2) ? handles[i].reset() : void();
            i % 10 == 0 ? throw std::runtime_error("boom") : void();
        }));
        const Clock::time_point before = Clock::now();
        handles.push_back(manager.startTimer(*probes[i], period(i).count(), i % 6 == 0, false));
        due.emplace_back(before + period(i), Clock::now() + period(i));
    }
    for (int i = 1; i < kCount; i += 2) {
        i % 4 == 1 ? handles[i]->stop() : handles[i].reset();
    }
    manager.startManager();
    EXPECT_TRUE(support::waitUntil([&] {
        std::lock_guard<std::mutex> guard(lock);
        return std::count(expiries.begin(), expiries.end(), 0) <= kCount / 2;
    }));
    manager.stopManager();
    for (std::size_t k = 0; k < fired.size(); ++k) {
        const auto [i, n, time] = fired[k];
        const bool fires = i % 2 == 0 && (n == 0 || (i % 6 == 0 && (i % 12 != 0 || n == 1)));
        ASSERT_TRUE(fires) << "timer " << i << " expiry " << n;
        EXPECT_GE(time, due[i].first + n * period(i)) << "timer " << i << " expiry " << n;
        if (k > 0) {
            const auto [j, m, unused] = fired[k - 1];
            EXPECT_LE(due[j].first + m * period(j), due[i].second + n * period(i)) << j << " " << i;
        }
    }
    EXPECT_TRUE(log.contains("orv.thread: Timer callback threw: boom\n"));
}

// stop() and stopManager() on other threads wait for the callback in progress.
TEST(TimerManagerThreadTest, StoppingFromOtherThreadsWaitsForTheRunningCallback) {
    TimerManagerThread manager("TestTimers");
    manager.startManager();
    support::Latch entered(1), release(1);
    std::atomic<bool> finished{false};
    Probe blocking([&] {
        entered.countDown();
        release.wait();
        finished = true;
    });
    auto handle = manager.startTimer(blocking, 3600 * 1000, false, true);  // due at once
    ASSERT_TRUE(entered.wait());
    const auto async = [](auto stop) { return std::async(std::launch::async, stop); };
    auto timerStopped = async([&] { return handle->stop(), finished.load(); });
    auto managerStopped = async([&] { return manager.stopManager(), finished.load(); });
    std::this_thread::sleep_for(20ms);  // lets both block; the verdict does not depend on it
    release.countDown();
    EXPECT_TRUE(timerStopped.get());
    EXPECT_TRUE(managerStopped.get());
}

// How often the thread `tid` of this process has gone to sleep so far.
long sleepsOf(pid_t tid) {
    std::ifstream status("/proc/self/task/" + std::to_string(tid) + "/status");
    const std::string text(std::istreambuf_iterator<char>(status), {});
    return std::stol(text.substr(text.find("voluntary_ctxt_switches:") + 24));
}

// The timer thread sleeps until the deadline of its earliest timer. When that timer is
// destroyed meanwhile and an earlier one wakes the thread, the ended wait must not look at
// the destroyed timer again (AddressSanitizer reports it if it does). The manager is then
// destroyed while its thread sleeps with nothing queued, and a handle outlives it.
TEST(TimerQueueWait, EarliestTimerMayBeDestroyedWhileTheThreadWaitsForIt) {
    std::atomic<long> sleepsAtNear{-1};
    Probe first, far, near([&] { sleepsAtNear = sleepsOf(gettid()); });
    std::unique_ptr<ITimer> outliving;
    TimerManagerThread manager("WaitTimers");
    manager.startManager();
    outliving = manager.startTimer(first, 0, false, false);
    ASSERT_TRUE(support::waitUntil([&] { return first.count == 1; }));
    const long sleeps = sleepsOf(first.thread);
    auto farTimer = manager.startTimer(far, 3600 * 1000, false, false);
    // Woken by the new deadline, the thread has gone to sleep again, now on that one.
    ASSERT_TRUE(support::waitUntil([&] { return sleepsOf(first.thread) > sleeps; }));
    farTimer.reset();
    auto nearTimer = manager.startTimer(near, 1, false, false);  // wakes the thread
    ASSERT_TRUE(support::waitUntil(
        [&] { return sleepsAtNear >= 0 && sleepsOf(first.thread) > sleepsAtNear; }));
    EXPECT_EQ(far.count, 0);
}

}  // namespace
