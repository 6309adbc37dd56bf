#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "orv/common/Export.h"
#include "orv/common/timer/ITimer.h"

namespace orv {
namespace common {
namespace timer {

class ITimerCallback;

namespace detail {
class TimerQueue;
}

// A timer started by a TimerManager; the handle that startTimer() returns. A one-shot timer
// expires once; a cyclic one expires every period, each deadline the previous deadline plus
// the period (so it does not drift; after a delay it catches up).
//
// Thread: stop() and the destructor may be called from any thread. When called on another
// thread while the timer's callback runs, they wait for the callback to return, so once they
// have returned the callback object is no longer used and may be destroyed; called from inside
// the callback they return at once. Do not stop a timer while holding a lock that its callback
// takes. Ownership: the callback is not owned. The handle may outlive its manager.
class ORV_COMMON_API Timer final : public ITimer {
public:
    using Clock = std::chrono::steady_clock;

    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;
    ~Timer() override;

    void stop() override;

    bool getCyclic() const noexcept { return m_cyclic; }
    // Time between two expiries of a cyclic timer; the delay of a one-shot one.
    Clock::duration getPeriod() const noexcept { return m_period; }

private:
    friend class TimerManager;
    friend class detail::TimerQueue;

    static constexpr std::size_t kNotQueued = static_cast<std::size_t>(-1);

    Timer(std::shared_ptr<detail::TimerQueue> queue, ITimerCallback& callback,
          Clock::duration period, bool cyclic);

    const std::shared_ptr<detail::TimerQueue> m_queue;
    ITimerCallback& m_callback;
    const Clock::duration m_period;
    const bool m_cyclic;
    // The fields below are guarded by the queue's lock.
    Clock::time_point m_due;
    std::uint64_t m_sequence = 0;
    std::size_t m_heapIndex = kNotQueued;
};

}  // namespace timer
}  // namespace common
}  // namespace orv
