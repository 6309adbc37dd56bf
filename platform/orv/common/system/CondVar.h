#pragma once

#include <chrono>
#include <condition_variable>

#include "orv/common/Export.h"
#include "orv/common/system/Mutex.h"

namespace orv {
namespace common {
namespace system {

// A condition variable used with a Mutex that the caller holds. As with every condition
// variable, a waiter may wake without a signal: wait in a loop that re-checks the condition.
//
//   MutexGuard guard(m_lock);
//   while (!m_ready) m_changed.wait(m_lock);
//
// Thread: signal() and broadcast() may be called with or without the mutex held.
class ORV_COMMON_API CondVar {
public:
    CondVar() = default;
    CondVar(const CondVar&) = delete;
    CondVar& operator=(const CondVar&) = delete;

    // Releases `mutex` (held by the caller), waits for a signal and takes it again.
    void wait(Mutex& mutex);

    // As wait(), but gives up after `timeout` on the monotonic clock; false when it timed out.
    bool waitFor(Mutex& mutex, std::chrono::nanoseconds timeout);

    // Wakes one waiter.
    void signal() noexcept { m_condition.notify_one(); }
    // Wakes every waiter.
    void broadcast() noexcept { m_condition.notify_all(); }

private:
    std::condition_variable m_condition;
};

}  // namespace system
}  // namespace common
}  // namespace orv
