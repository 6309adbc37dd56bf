#include "orv/common/timer/TimerManagerThread.h"

#include "orv/common/timer/detail/TimerQueue.h"

namespace orv {
namespace common {
namespace timer {

TimerManagerThread::TimerManagerThread(const std::string& name) : system::Thread(name) {}

TimerManagerThread::~TimerManagerThread() {
    try {
        stopManager();
    } catch (...) {  // NOLINT(bugprone-empty-catch): a destructor lets nothing out
    }
}

void TimerManagerThread::startManager() {
    if (isRunning()) {
        return;
    }
    join();  // a thread that ended on its own request is reaped before the restart
    queue().allowRun();
    start();
}

void TimerManagerThread::stopManager() {
    queue().requestStop();
    if (!isCurrentThread()) {
        join();
    }
}

void TimerManagerThread::run() {
    queue().loop();
}

void TimerManagerThread::requestStop() {
    queue().requestStop();
}

}  // namespace timer
}  // namespace common
}  // namespace orv
