#pragma once

#include <functional>
#include <memory>

#include "orv/nol/common/Export.h"

namespace orv {
namespace bafu {
namespace timer {

// The face of a timer manager that a module uses: start and stop millisecond timers whose
// expiries reach the module through the manager's decoupler.
//
// A timer is named by its id, which is never 0; 0 is the answer of a start that was refused
// or failed. The expiry callback receives the timer's id. Which thread runs it, and what a
// stop guarantees, is the implementation's contract (see Manager).
class ORV_NOL_API IManager {
public:
    IManager() = default;
    IManager(const IManager&) = delete;
    IManager& operator=(const IManager&) = delete;
    virtual ~IManager();

    // Starts a timer that expires after `milliseconds`, and every `milliseconds` after that
    // when `cyclic`. Takes the callback over (the caller's object is left empty). Returns the
    // timer id, or 0 when the start was refused or failed.
    virtual unsigned long startTimer(std::function<void(unsigned long)>&& callback,
                                     unsigned int milliseconds, bool cyclic) = 0;

    // Stops the timer and withdraws its expiries still pending; returns when that is done.
    virtual void stopTimer(unsigned long id) = 0;
    // As above without waiting: `onRemoved(true)` reports that the withdrawal is done.
    virtual void stopTimer(unsigned long id,
                           std::weak_ptr<std::function<void(bool)>> onRemoved) = 0;
};

}  // namespace timer
}  // namespace bafu
}  // namespace orv
