#include "orv/common/timer/Timer.h"

#include "orv/common/timer/detail/TimerQueue.h"

namespace orv {
namespace common {
namespace timer {

Timer::Timer(std::shared_ptr<detail::TimerQueue> queue, ITimerCallback& callback,
             Clock::duration period, bool cyclic)
    : m_queue(std::move(queue)), m_callback(callback), m_period(period), m_cyclic(cyclic) {}

Timer::~Timer() {
    try {
        stop();
    } catch (...) {  // NOLINT(bugprone-empty-catch): a destructor lets nothing out
    }
}

void Timer::stop() {
    m_queue->cancel(*this);
}

}  // namespace timer
}  // namespace common
}  // namespace orv
