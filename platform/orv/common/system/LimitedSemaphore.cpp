#include "orv/common/system/LimitedSemaphore.h"

#include "orv/common/system/detail/Deadline.h"

#include <algorithm>

namespace orv {
namespace common {
namespace system {

LimitedSemaphore::LimitedSemaphore(int count, int limit)
    : m_count(std::max(count, 0)), m_limit(std::max({count, limit, 0})) {}

void LimitedSemaphore::up() {
    // A full semaphore stays full whatever happens next, so the common "already signalled"
    // case needs no lock.
    if (m_count.load(std::memory_order_acquire) >= m_limit) {
        return;
    }
    std::lock_guard<std::mutex> guard(m_mutex);
    const int count = m_count.load(std::memory_order_relaxed);
    if (count < m_limit) {
        m_count.store(count + 1, std::memory_order_release);
        if (m_waiters > 0) {
            m_raised.notify_one();
        }
    }
}

bool LimitedSemaphore::tryDown() noexcept {
    std::lock_guard<std::mutex> guard(m_mutex);
    return takeLocked();
}

bool LimitedSemaphore::takeLocked() noexcept {
    const int count = m_count.load(std::memory_order_relaxed);
    if (count <= 0) {
        return false;
    }
    m_count.store(count - 1, std::memory_order_release);
    return true;
}

void LimitedSemaphore::down() {
    std::unique_lock<std::mutex> lock(m_mutex);
    ++m_waiters;
    m_raised.wait(lock, [this] { return takeLocked(); });
    --m_waiters;
}

bool LimitedSemaphore::downFor(std::chrono::nanoseconds timeout) {
    const auto deadline = detail::deadlineAfter(timeout);
    std::unique_lock<std::mutex> lock(m_mutex);
    ++m_waiters;
    const bool taken = m_raised.wait_until(lock, deadline, [this] { return takeLocked(); });
    --m_waiters;
    return taken;
}

}  // namespace system
}  // namespace common
}  // namespace orv
