#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

#include "orv/common/Export.h"

namespace orv {
namespace common {
namespace system {

// A counting semaphore whose count never exceeds a limit: up() on a full semaphore does
// nothing, so any number of up() calls between two down() calls leave at most `limit`
// wake-ups. With limit 1 it is a wake-up flag that cannot be lost and cannot pile up.
//
//   LimitedSemaphore done(0, 1);
//   startWork([&] { done.up(); });
//   done.down();  // waits for the work
//
// Thread: every operation may be called from any thread. up() never blocks on a waiter.
// A limit below the initial count is raised to it; a negative count or limit counts as 0.
class ORV_COMMON_API LimitedSemaphore {
public:
    LimitedSemaphore(int count, int limit);
    LimitedSemaphore(const LimitedSemaphore&) = delete;
    LimitedSemaphore& operator=(const LimitedSemaphore&) = delete;

    // Raises the count by one unless it is at the limit, waking one waiter.
    void up();
    // Waits until the count is positive, then lowers it by one.
    void down();
    // Lowers a positive count by one without waiting; false if the count was 0.
    bool tryDown() noexcept;
    // As down(), but gives up after `timeout`; false when it timed out.
    bool downFor(std::chrono::nanoseconds timeout);

    int getCount() const noexcept { return m_count.load(std::memory_order_acquire); }
    int getLimit() const noexcept { return m_limit; }

private:
    bool takeLocked() noexcept;

    // Changed only under m_mutex, and a waiter returns only after taking m_mutex, so up() has
    // let go of the object before down() returns: a semaphore may be destroyed right after a
    // down() that the last up() satisfied. Atomic so that up() can see "full" without the lock.
    std::atomic<int> m_count;
    const int m_limit;
    std::mutex m_mutex;
    std::condition_variable m_raised;
    int m_waiters = 0;  // guarded by m_mutex
};

}  // namespace system
}  // namespace common
}  // namespace orv
