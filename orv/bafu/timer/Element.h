#pragma once

#include <functional>
#include <memory>

#include "orv/common/timer/ITimer.h"
#include "orv/common/timer/ITimerCallback.h"
#include "orv/nol/common/Export.h"

namespace orv {
namespace bafu {
namespace timer {

class Manager;

// One started timer of a Manager: the user's callback, the timer id and the platform timer
// that fires it. The platform's timer thread calls expired(), which hands the callback on to
// the manager: a cyclic timer hands a copy on every expiry, a one-shot timer hands the
// callback itself once and asks the manager to forget the timer.
//
// Thread: expired() runs on the manager's timer thread; the element is built and given its
// platform timer on the thread that starts the timer. Handing a one-shot expiry on may destroy
// the element (the manager drops it from its map), so expired() does not touch the element
// after that.
// Ownership: the element owns the platform timer and the callback; the manager owns the
// elements (shared with a start in progress). The destructor stops the platform timer first,
// which waits for an expiry running on another thread, and only then destroys the callback.
class ORV_NOL_API Element : public common::timer::ITimerCallback {
public:
    Element(unsigned long id, std::function<void(unsigned long)>&& callback, Manager& manager);
    Element(Element&& other) noexcept;
    Element(const Element&) = delete;
    Element& operator=(const Element&) = delete;
    Element& operator=(Element&&) = delete;
    ~Element() override;

    // Takes over the platform timer that fires this element; destroys the one held before.
    void setCommonTimer(std::unique_ptr<common::timer::ITimer> commonTimer);

    // Hands the expiry on to the manager; `timer` tells a one-shot timer from a cyclic one.
    void expired(common::timer::ITimer* timer) override;

private:
    unsigned long m_id;  // set to 0 once the one-shot expiry has been handed on
    std::unique_ptr<common::timer::ITimer> m_commonTimer;
    std::function<void(unsigned long)> m_callback;
    Manager& m_manager;
};

}  // namespace timer
}  // namespace bafu
}  // namespace orv
