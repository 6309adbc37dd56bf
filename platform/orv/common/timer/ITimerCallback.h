#pragma once

#include "orv/common/Export.h"

namespace orv {
namespace common {
namespace timer {

class ITimer;

// Receives the expiries of a timer. expired() runs on the timer manager's thread with the
// timer's handle as argument (a Timer; use getCyclic() to tell the kinds apart). While it
// runs, the manager holds no lock: the callback may start timers, and may stop or destroy any
// handle, its own included.
class ORV_COMMON_API ITimerCallback {
public:
    virtual ~ITimerCallback();
    virtual void expired(ITimer* timer) = 0;
};

}  // namespace timer
}  // namespace common
}  // namespace orv
