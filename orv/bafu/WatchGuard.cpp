#include "orv/bafu/WatchGuard.h"

#include <utility>

namespace orv {
namespace bafu {

using common::timer::TimerManagerThread;

common::system::os_onceinit_t WatchGuard::s_OnceInit;
TimerManagerThread* WatchGuard::s_pTimerMgr = nullptr;

TimerManagerThread* initialize() {
    auto manager = std::make_unique<TimerManagerThread>("BafuWatchGuard");
    manager->startManager();
    return manager.release();
}

WatchGuard::WatchGuard(std::function<void()>&& callback, unsigned int timeout)
    : m_callback(std::move(callback)) {
    common::system::OnceInit::init<TimerManagerThread*>(s_OnceInit, s_pTimerMgr, &initialize);
    m_timer = s_pTimerMgr->startTimer(*this, timeout, false, false);
}

// The destructor is noexcept: a guard that cannot be disarmed ends the process rather than
// leave a callback that may run on a destroyed guard.
WatchGuard::~WatchGuard() {
    finish();
}

void WatchGuard::expired(common::timer::ITimer* /*timer*/) {
    m_callback();
}

void WatchGuard::finish() {
    if (m_timer != nullptr) {
        m_timer->stop();
    }
}

}  // namespace bafu
}  // namespace orv
