#pragma once

#include "orv/common/system/Mutex.h"

namespace orv {
namespace common {
namespace system {

// Holds a Mutex for a scope: locks on construction and, if still held, unlocks on
// destruction. Inside the scope the lock may be released with unlock() (for instance around a
// call-out) and taken again with lock(); calling either in the wrong state does nothing.
//
//   MutexGuard guard(m_lock);
//   auto work = takeWork();
//   guard.unlock();
//   work();           // runs without the lock
//   guard.lock();
class MutexGuard {
public:
    explicit MutexGuard(Mutex& mutex) : m_mutex(mutex) { m_mutex.lock(); }
    MutexGuard(const MutexGuard&) = delete;
    MutexGuard& operator=(const MutexGuard&) = delete;
    ~MutexGuard() {
        if (m_locked) {
            m_mutex.unlock();
        }
    }

    void lock() {
        if (!m_locked) {
            m_mutex.lock();
            m_locked = true;
        }
    }
    void unlock() {
        if (m_locked) {
            m_mutex.unlock();
            m_locked = false;
        }
    }
    bool isLocked() const noexcept { return m_locked; }

private:
    Mutex& m_mutex;
    bool m_locked = true;
};

}  // namespace system
}  // namespace common
}  // namespace orv
