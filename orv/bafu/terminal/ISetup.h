#pragma once

#include "orv/nol/common/Export.h"

namespace orv {
namespace bafu {

class IDecoupler;

namespace terminal {

class IInput;

// The face of a command terminal that the code wiring a module together uses: configure it,
// bring it up and take it down again. Call in this order: setOptional_Decoupler (optional),
// init(), and shutdown() at the end; getProvided_Input() at any time.
class ORV_NOL_API ISetup {
public:
    ISetup() = default;
    ISetup(const ISetup&) = delete;
    ISetup& operator=(const ISetup&) = delete;
    virtual ~ISetup();

    // The terminal's command registry.
    virtual IInput& getProvided_Input() = 0;
    // Runs command handlers through `decoupler` (not owned; must outlive the terminal's use of
    // it). Accepted only before init(); refused (and logged) afterwards.
    virtual void setOptional_Decoupler(IDecoupler* decoupler) = 0;
    // Starts reading commands; false when the terminal could not be started.
    virtual bool init() = 0;
    // Stops reading commands and waits for the handlers already handed on.
    virtual void shutdown() = 0;
};

}  // namespace terminal
}  // namespace bafu
}  // namespace orv
