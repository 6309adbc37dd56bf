#pragma once

#include <functional>
#include <memory>

#include "orv/common/system/OnceInit.h"
#include "orv/common/timer/ITimer.h"
#include "orv/common/timer/ITimerCallback.h"
#include "orv/common/timer/TimerManagerThread.h"
#include "orv/nol/common/Export.h"

namespace orv {
namespace bafu {

// Creates and starts a timer manager whose thread is named "BafuWatchGuard" and hands it to
// the caller, who owns it. The watch guards call it once per process for the manager they
// share; a direct call makes a further, independent one.
ORV_NOL_API common::timer::TimerManagerThread* initialize();

// A watchdog for an operation that must end within a time: armed by the constructor, it calls
// the callback once if `timeout` milliseconds pass before finish() or the destructor.
//
//   WatchGuard watch([] { reportHang(); }, 2000);
//   doWork();
//   watch.finish();  // or let it go out of scope
//
// Threads: all watch guards of the process share one timer thread, "BafuWatchGuard", started
// by the first guard ever built and never stopped. Callbacks run there, one at a time, so a
// long callback delays every other guard's. finish() and the destructor wait for a callback
// of this guard that is running on that thread; a guard must therefore not be finished or
// destroyed while holding a lock that its callback takes, nor be destroyed from inside its
// own callback. No lock is held while the callback runs.
// Ownership: the guard owns the callback and its timer; the shared manager is never deleted.
// Failure: if the timer cannot be started, the constructor throws and the callback is
// destroyed; an empty callback throws std::bad_function_call on the timer thread, where it is
// reported.
class ORV_NOL_API WatchGuard : public common::timer::ITimerCallback {
public:
    WatchGuard(std::function<void()>&& callback, unsigned int timeout);
    WatchGuard(const WatchGuard&) = delete;
    WatchGuard& operator=(const WatchGuard&) = delete;
    ~WatchGuard() override;

    // Runs the callback; called by the timer thread when the time is up.
    void expired(common::timer::ITimer* timer) override;

    // Disarms the guard: the callback does not start any more. It may already have run.
    void finish();

    // Makes the creation of the shared manager happen once per process.
    static common::system::os_onceinit_t s_OnceInit;
    // The shared manager; null until the first guard is built.
    static common::timer::TimerManagerThread* s_pTimerMgr;

private:
    std::function<void()> m_callback;
    std::unique_ptr<common::timer::ITimer> m_timer;
};

}  // namespace bafu
}  // namespace orv
