#pragma once

#include <mutex>

#include "orv/common/Export.h"

namespace orv {
namespace common {
namespace system {

// A plain, non-recursive mutual-exclusion lock. Locking it twice on one thread, or unlocking
// it on a thread that does not hold it, is undefined, as for std::mutex. Prefer MutexGuard to
// calling lock() and unlock() by hand.
class ORV_COMMON_API Mutex {
public:
    Mutex() = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void lock() { m_mutex.lock(); }
    void unlock() { m_mutex.unlock(); }
    bool tryLock() { return m_mutex.try_lock(); }

    // The standard mutex underneath, for CondVar and for standard lock helpers.
    std::mutex& native() noexcept { return m_mutex; }

private:
    std::mutex m_mutex;
};

}  // namespace system
}  // namespace common
}  // namespace orv
