#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

#include "orv/common/timer/Timer.h"

namespace orv {
namespace common {
namespace timer {
namespace detail {

// The pending timers of one manager in a 4-ary min-heap ordered by (deadline, start order),
// each timer knowing its own heap slot, so that starting and stopping cost O(log n). A heap
// entry carries its timer's key beside the pointer, so that sifting compares entries that lie
// next to each other (the four children of a slot share one or two cache lines) instead of
// visiting the timers themselves; only a timer that moves is written to, for its new slot.
// One thread at a time runs loop(), which fires the timers as they fall due.
class TimerQueue {
public:
    using Clock = Timer::Clock;

    // Queues `timer` for its deadline.
    void schedule(Timer& timer);
    // Takes `timer` out; waits for its running callback unless called on the loop's thread.
    void cancel(Timer& timer);

    // Fires due timers until requestStop(); returns after the callback in progress.
    void loop();
    void requestStop();
    // Clears a stop request so that loop() may run again.
    void allowRun();

private:
    // A queued timer and the key it is ordered by (copied from the timer when it is queued).
    struct Entry {
        Clock::time_point due;
        std::uint64_t sequence;
        Timer* timer;
    };
    static constexpr std::size_t kArity = 4;

    static bool earlier(const Entry& a, const Entry& b) noexcept;
    void place(const Entry& entry, std::size_t index) noexcept;
    void push(Timer* timer);
    void remove(Timer* timer) noexcept;
    void siftUp(std::size_t index) noexcept;
    void siftDown(std::size_t index) noexcept;

    void fire(std::unique_lock<std::mutex>& lock, Timer* timer);
    void reportFailure(const char* what) noexcept;

    std::mutex m_lock;               // guards everything below and the queue fields of every Timer
    std::condition_variable m_wake;  // the loop's deadline or stop may have changed
    std::condition_variable m_callbackDone;  // m_running has been cleared
    std::vector<Entry> m_heap;
    std::uint64_t m_nextSequence = 0;
    Timer* m_running = nullptr;       // the timer whose callback runs now
    bool m_runningCancelled = false;  // m_running was stopped (and may be gone) meanwhile
    bool m_stopRequested = false;
    std::thread::id m_loopThread;
};

}  // namespace detail
}  // namespace timer
}  // namespace common
}  // namespace orv
