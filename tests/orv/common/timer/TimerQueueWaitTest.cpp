#include <sys/types.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <memory>
#include <string>

#include "orv/common/timer/TimerManagerThread.h"
#include "support/Concurrency.h"

namespace orv {
namespace common {
namespace timer {
namespace {

class Counter : public ITimerCallback {
public:
    void expired(ITimer*) override {
        thread = gettid();
        ++count;
    }
    std::atomic<int> count{0};
    std::atomic<pid_t> thread{0};
};

// How often the thread `tid` of this process has gone to sleep so far.
long sleepsOf(pid_t tid) {
    std::ifstream status("/proc/self/task/" + std::to_string(tid) + "/status");
    std::string key;
    long value = -1;
    while (status >> key) {
        if (key == "voluntary_ctxt_switches:") {
            status >> value;
            break;
        }
    }
    return value;
}

// The timer thread sleeps until the deadline of its earliest timer. When that timer is
// destroyed meanwhile and an earlier one wakes the thread, the ended wait must not look at
// the destroyed timer again (AddressSanitizer reports it if it does).
TEST(TimerQueueWait, EarliestTimerMayBeDestroyedWhileTheThreadWaitsForIt) {
    TimerManagerThread manager("WaitTimers");
    manager.startManager();
    Counter first;
    auto firstTimer = manager.startTimer(first, 0, false, false);
    ASSERT_TRUE(support::waitUntil([&] { return first.count == 1; }));
    const pid_t timerThread = first.thread;
    for (int round = 0; round < 5; ++round) {
        Counter far;
        Counter near;
        const long sleeps = sleepsOf(timerThread);
        auto farTimer = manager.startTimer(far, 3600000, false, false);
        // Woken by the new deadline, the thread has gone to sleep again, now on that one.
        ASSERT_TRUE(support::waitUntil([&] { return sleepsOf(timerThread) > sleeps; }));
        farTimer.reset();
        auto nearTimer = manager.startTimer(near, 1, false, false);  // wakes the thread
        ASSERT_TRUE(support::waitUntil([&] { return near.count == 1; }));
        EXPECT_EQ(far.count, 0);
    }
    manager.stopManager();
}

}  // namespace
}  // namespace timer
}  // namespace common
}  // namespace orv
