#include "orv/common/timer/ITimer.h"

#include "orv/common/timer/ITimerCallback.h"

namespace orv {
namespace common {
namespace timer {

ITimer::~ITimer() = default;

ITimerCallback::~ITimerCallback() = default;

}  // namespace timer
}  // namespace common
}  // namespace orv
