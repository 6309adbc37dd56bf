#include "orv/common/system/OnceInit.h"

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>

namespace orv {
namespace common {
namespace system {
namespace os {
namespace onceinit {

namespace {

enum : int { NotDone = 0, Running = 1, Done = 2 };

// One lock and condition for all records: initialisations are rare and short-lived, and a
// waiter only sleeps while some record is Running.
std::mutex& stateLock() {
    static std::mutex lock;
    return lock;
}
std::condition_variable& stateChanged() {
    static std::condition_variable changed;
    return changed;
}

void finish(os_onceinit_t& control, int state) {
    std::lock_guard<std::mutex> guard(stateLock());
    control.state.store(state, std::memory_order_release);
    stateChanged().notify_all();
}

}  // namespace

void init(os_onceinit_t& control, Runnable& runnable) {
    if (control.state.load(std::memory_order_acquire) == Done) {
        return;
    }
    {
        std::unique_lock<std::mutex> lock(stateLock());
        stateChanged().wait(
            lock, [&] { return control.state.load(std::memory_order_relaxed) != Running; });
        if (control.state.load(std::memory_order_relaxed) == Done) {
            return;
        }
        control.state.store(Running, std::memory_order_relaxed);
    }
    try {
        runnable.run();
    } catch (...) {
        finish(control, NotDone);
        throw;
    }
    finish(control, Done);
}

os_onceinit_t& controlFor(const void* target) {
    static std::mutex lock;
    static std::map<const void*, std::unique_ptr<os_onceinit_t>> controls;
    std::lock_guard<std::mutex> guard(lock);
    std::unique_ptr<os_onceinit_t>& control = controls[target];
    if (control == nullptr) {
        control = std::make_unique<os_onceinit_t>();
    }
    return *control;
}

}  // namespace onceinit
}  // namespace os
}  // namespace system
}  // namespace common
}  // namespace orv
