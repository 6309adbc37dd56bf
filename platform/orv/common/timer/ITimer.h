#pragma once

#include "orv/common/Export.h"

namespace orv {
namespace common {
namespace timer {

// The owning handle of a started timer. Destroying it stops the timer.
class ORV_COMMON_API ITimer {
public:
    virtual ~ITimer();

    // Stops the timer: no expiry starts after stop() returns. May be called any number of
    // times, from any thread and from inside the timer's own callback.
    virtual void stop() = 0;
};

}  // namespace timer
}  // namespace common
}  // namespace orv
