#include "orv/bafu/detail/ComponentDecoupler.h"

#include "orv/bafu/NoneDecoupler.h"

namespace orv {
namespace bafu {

void ComponentDecoupler::setOptional(ModuleStateHandler& state, IDecoupler* decoupler) {
    ModuleStateHandler::Guard guard(state);
    if (guard.configMethod_Begin()) {
        m_decoupler = decoupler;
    }
}

IDecoupler& ComponentDecoupler::ensure() {
    if (m_decoupler == nullptr) {
        m_owned = std::make_unique<NoneDecoupler>();
        m_decoupler = m_owned.get();
    }
    return *m_decoupler;
}

void ComponentDecoupler::releaseOwned() noexcept {
    if (m_owned != nullptr) {
        m_owned.reset();
        m_decoupler = nullptr;
    }
}

}  // namespace bafu
}  // namespace orv
