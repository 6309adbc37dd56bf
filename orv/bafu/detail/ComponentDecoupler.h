#pragma once

// Internal: not part of the interface. Installed only because timer::Manager and
// terminal::Input hold a ComponentDecoupler member; client code never names it. It keeps the
// namespace orv::bafu (not detail) so that its exported symbols stay those of the 1.0 interface.

#include <atomic>
#include <functional>
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
// get(), call() and removeUserCalls() are used by the component's methods, from any thread,
// while it runs. Failure: allocation errors of ensure() reach the caller; exceptions of the
// decoupler pass through call() and removeUserCalls().
class ORV_NOL_API ComponentDecoupler {
public:
    // Stores `decoupler` if `state` accepts a configuration method now; otherwise the handler
    // logs its refusal and the decoupler is not stored.
    void setOptional(ModuleStateHandler& state, IDecoupler* decoupler);

    // The decoupler, after creating an owned NoneDecoupler if none was given.
    IDecoupler& ensure();

    // Destroys a decoupler that ensure() created; one given by the client stays set.
    void releaseOwned() noexcept;

    // The decoupler's call(), counted as in progress while it lasts.
    void call(std::function<void()>&& function, unsigned int userId, unsigned char priority);

    // The decoupler's blocking removeUserCalls(userId). With the NoneDecoupler of ensure() it
    // is skipped when no call() is in progress: that decoupler is nobody else's, so when every
    // call reaches it through call(), none of its calls runs then and its removal would return
    // at once. (A component that calls get()->call() directly must not rely on this.)
    void removeUserCalls(unsigned int userId);

    IDecoupler* get() const noexcept { return m_decoupler; }
    IDecoupler* operator->() const noexcept { return m_decoupler; }

private:
    IDecoupler* m_decoupler = nullptr;
    std::unique_ptr<IDecoupler> m_owned;  // set while ensure()'s decoupler lives
    std::atomic<unsigned int> m_callsInProgress{0};
};

}  // namespace bafu
}  // namespace orv
