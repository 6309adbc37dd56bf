#pragma once

#include "orv/nol/common/Export.h"

namespace orv {
namespace bafu {

class IDecoupler;

namespace timer {

class IManager;

// The face of a timer manager that the code wiring a module together uses: configure it,
// bring it up and take it down again. Call in this order: setOptional_Decoupler (optional),
// init(), then use getProvided_Manager(), and shutdown() at the end.
class ORV_NOL_API ISetup {
public:
    ISetup() = default;
    ISetup(const ISetup&) = delete;
    ISetup& operator=(const ISetup&) = delete;
    virtual ~ISetup();

    // The manager's operations.
    virtual IManager& getProvided_Manager() = 0;
    // Delivers expiries through `decoupler` (not owned; must outlive the manager's use of it).
    // Accepted only before init(); refused (and logged) afterwards.
    virtual void setOptional_Decoupler(IDecoupler* decoupler) = 0;
    // Starts the manager; true when it is (now or already) running.
    virtual bool init() = 0;
    // Stops every timer and the manager's thread; the manager may be initialised again.
    virtual void shutdown() = 0;
};

}  // namespace timer
}  // namespace bafu
}  // namespace orv
