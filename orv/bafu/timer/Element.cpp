#include "orv/bafu/timer/Element.h"

#include <utility>

#include "orv/bafu/timer/Manager.h"
#include "orv/common/timer/Timer.h"

namespace orv {
namespace bafu {
namespace timer {

Element::Element(unsigned long id, std::function<void(unsigned long)>&& callback, Manager& manager)
    : m_id(id), m_callback(std::move(callback)), m_manager(manager) {}

Element::Element(Element&& other) noexcept
    : ITimerCallback(other),
      m_id(other.m_id),
      m_commonTimer(std::move(other.m_commonTimer)),
      m_callback(std::move(other.m_callback)),
      m_manager(other.m_manager) {}

Element::~Element() {
    // The platform timer goes first: once it is stopped no expiry uses the callback.
    m_commonTimer.reset();
}

void Element::setCommonTimer(std::unique_ptr<common::timer::ITimer> commonTimer) {
    m_commonTimer = std::move(commonTimer);
}

void Element::expired(common::timer::ITimer* timer) {
    const auto* platformTimer = static_cast<const common::timer::Timer*>(timer);
    if (platformTimer != nullptr && !platformTimer->getCyclic()) {
        const unsigned long id = m_id;
        m_id = 0;
        // May destroy this element: nothing of it is used afterwards.
        m_manager.callAndErase(std::move(m_callback), id);
        return;
    }
    m_manager.call(m_callback, m_id);
}

}  // namespace timer
}  // namespace bafu
}  // namespace orv
