#pragma once

#include <memory>

#include "orv/common/Export.h"
#include "orv/common/timer/ITimer.h"
#include "orv/common/timer/ITimerCallback.h"

namespace orv {
namespace common {
namespace timer {

namespace detail {
class TimerQueue;
}

// Starts timers on a queue of pending deadlines on the monotonic clock. The thread that fires
// them is TimerManagerThread's; a TimerManager alone only queues.
//
// Thread: startTimer() may be called from any thread, the manager's own included. Ownership:
// the returned handle belongs to the caller and stops the timer when destroyed; the callback
// is not owned and must stay alive until the handle is stopped or destroyed. Failure:
// allocation errors reach the caller.
class ORV_COMMON_API TimerManager {
public:
    TimerManager();
    TimerManager(const TimerManager&) = delete;
    TimerManager& operator=(const TimerManager&) = delete;
    virtual ~TimerManager();

    // Starts a timer that calls `callback.expired()` after `milliseconds` and, when `cyclic`,
    // every `milliseconds` after that (a cyclic period of 0 counts as 1 ms). With `immediate`
    // the first expiry is due at once instead of after the first period. Never returns null.
    std::unique_ptr<ITimer> startTimer(ITimerCallback& callback, unsigned int milliseconds,
                                       bool cyclic, bool immediate);

protected:
    detail::TimerQueue& queue() noexcept { return *m_queue; }

private:
    // Shared with every handle, so that a handle may outlive the manager.
    std::shared_ptr<detail::TimerQueue> m_queue;
};

}  // namespace timer
}  // namespace common
}  // namespace orv
