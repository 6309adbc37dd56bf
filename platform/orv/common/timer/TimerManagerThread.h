#pragma once

#include <string>

#include "orv/common/Export.h"
#include "orv/common/system/Thread.h"
#include "orv/common/timer/TimerManager.h"

namespace orv {
namespace common {
namespace timer {

// A TimerManager with the one thread that fires its timers. The thread carries the given
// name; every callback runs on it, one at a time, in deadline order. A callback that throws is
// written to Thread::getLogWriter() and the thread goes on.
//
//   TimerManagerThread timers("Timers");
//   timers.startManager();
//   auto handle = timers.startTimer(callback, 100, true, false);
//   ...
//   timers.stopManager();  // no callback runs after this returns
//
// Lifecycle: startManager() starts the thread (a second call while it runs does nothing);
// stopManager() stops it, waiting for a callback in progress; pending timers stay queued and
// fire once the manager is started again. The destructor stops the manager. Called from
// inside a callback, stopManager() cannot wait for itself: it only asks the thread to end.
// Thread: startManager() and stopManager() belong to the owner's thread (not run
// concurrently with each other); startTimer() and the handles, to any thread.
class ORV_COMMON_API TimerManagerThread : public TimerManager, private system::Thread {
public:
    explicit TimerManagerThread(const std::string& name);
    ~TimerManagerThread() override;

    void startManager();
    void stopManager();

    using system::Thread::getName;
    using system::Thread::isRunning;

private:
    void run() override;
    void requestStop() override;
};

}  // namespace timer
}  // namespace common
}  // namespace orv
