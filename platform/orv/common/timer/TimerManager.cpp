#include "orv/common/timer/TimerManager.h"

#include <chrono>

#include "orv/common/timer/Timer.h"
#include "orv/common/timer/detail/TimerQueue.h"

namespace orv {
namespace common {
namespace timer {

TimerManager::TimerManager() : m_queue(std::make_shared<detail::TimerQueue>()) {}

TimerManager::~TimerManager() = default;

std::unique_ptr<ITimer> TimerManager::startTimer(ITimerCallback& callback,
                                                 unsigned int milliseconds, bool cyclic,
                                                 bool immediate) {
    const unsigned int periodMs = (cyclic && milliseconds == 0) ? 1U : milliseconds;
    const Timer::Clock::duration period = std::chrono::milliseconds(periodMs);
    std::unique_ptr<Timer> timer(new Timer(m_queue, callback, period, cyclic));
    timer->m_due = Timer::Clock::now() + (immediate ? Timer::Clock::duration::zero() : period);
    m_queue->schedule(*timer);
    return timer;
}

}  // namespace timer
}  // namespace common
}  // namespace orv
