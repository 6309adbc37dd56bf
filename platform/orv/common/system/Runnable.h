#pragma once

#include "orv/common/Export.h"

namespace orv {
namespace common {
namespace system {

// Something a thread can run: the body of a Thread that is given one, or the work of a
// once-initialisation.
class ORV_COMMON_API Runnable {
public:
    virtual ~Runnable();
    virtual void run() = 0;
};

}  // namespace system
}  // namespace common
}  // namespace orv
