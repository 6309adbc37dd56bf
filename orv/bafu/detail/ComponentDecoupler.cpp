#include "orv/bafu/detail/ComponentDecoupler.h"

#include <utility>

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

void ComponentDecoupler::call(std::function<void()>&& function, unsigned int userId,
                              unsigned char priority) {
    struct InProgress {
        explicit InProgress(std::atomic<unsigned int>& count) : count(count) { ++count; }
        InProgress(const InProgress&) = delete;
        InProgress& operator=(const InProgress&) = delete;
        ~InProgress() { --count; }
        std::atomic<unsigned int>& count;
    } inProgress(m_callsInProgress);
    m_decoupler->call(std::move(function), userId, priority);
}

void ComponentDecoupler::removeUserCalls(unsigned int userId) {
    // Sequentially consistent with the count of call(): a call that the NoneDecoupler is
    // running has been counted here before it started and is uncounted only after it ended.
    if (m_owned != nullptr && m_callsInProgress.load() == 0) {
        return;
    }
    m_decoupler->removeUserCalls(userId);
}

void ComponentDecoupler::releaseOwned() noexcept {
    if (m_owned != nullptr) {
        m_owned.reset();
        m_decoupler = nullptr;
    }
}

}  // namespace bafu
}  // namespace orv
