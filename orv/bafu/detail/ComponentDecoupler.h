#pragma once

// Internal: not part of the interface. Installed only because timer::Manager and
// terminal::Input hold a ComponentDecoupler member; client code never names it. It keeps the
// namespace orv::bafu (not detail) so that its exported symbols stay those of the 1.0 interface.

#include <memory>

#include "orv/bafu/IDecoupler.h"
#include "orv/bafu/ModuleStateHandler.h"
#include "orv/nol/common/Export.h"

namespace orv {
namespace bafu {

// The decoupler of a framework component (timer manager, terminal): one given by the client
// before init() and not owned, or else a NoneDecoupler that the component creates in init()
// and destroys in shutdown().
//
// Thread: used under the component's own lifecycle guard (configuration, init, shutdown);
// get() is read by the component's methods while it runs. Failure: allocation errors of
// ensure() reach the caller.
class ORV_NOL_API ComponentDecoupler {
public:
    // Stores `decoupler` if `state` accepts a configuration method now; otherwise the handler
    // logs its refusal and the decoupler is not stored.
    void setOptional(ModuleStateHandler& state, IDecoupler* decoupler);

    // The decoupler, after creating an owned NoneDecoupler if none was given.
    IDecoupler& ensure();

    // Destroys a decoupler that ensure() created; one given by the client stays set.
    void releaseOwned() noexcept;

    IDecoupler* get() const noexcept { return m_decoupler; }
    IDecoupler* operator->() const noexcept { return m_decoupler; }

private:
    IDecoupler* m_decoupler = nullptr;
    std::unique_ptr<IDecoupler> m_owned;  // set while ensure()'s decoupler lives
};

}  // namespace bafu
}  // namespace orv
