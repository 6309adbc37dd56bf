#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <thread>

#include "orv/common/Export.h"
#include "orv/common/logging/LogWriter.h"
#include "orv/common/system/Runnable.h"
#include "orv/common/types/SmartPtr.h"

namespace orv {
namespace common {
namespace system {

// An operating-system thread with a name. The thread calls preExecute(), run() and
// postExecute() in turn; run() calls the Runnable given to the constructor, or is overridden
// by a derived class.
//
// The name becomes the thread's name in the operating system, cut to the 15 bytes Linux
// allows ("BafuWatchGuard" fits). An exception that leaves preExecute(), run() or
// postExecute() is caught, written to getLogWriter() at level ErrorLevel and ends the thread;
// the process goes on.
//
// Lifecycle: start() runs the thread; join() waits for it; after join() it may be started
// again. The destructor joins a thread that is still running (so a derived class whose run()
// uses its own members must stop and join in its own destructor). Destroying the object on
// its own thread is a programming error: the destructor then detaches rather than wait for
// itself, but the ending body still touches the object.
//
// Thread: start(), join() and the destructor belong to the owning thread; isRunning() and
// getName() may be called from any thread. Ownership: the Runnable is not owned and must
// outlive the thread's run. Failure: start() throws IllegalStateException when the thread is
// already started and not joined, and std::system_error when the system cannot create it;
// join() on the thread itself throws IllegalStateException.
class ORV_COMMON_API Thread {
public:
    static constexpr int ErrorLevel = 9;

    explicit Thread(const std::string& name, Runnable* runnable = nullptr);
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;
    virtual ~Thread();

    void start();
    void join();

    const std::string& getName() const noexcept { return m_name; }
    // True from start() until the thread's body has returned.
    bool isRunning() const noexcept { return m_running.load(std::memory_order_acquire); }
    // True when called on this object's own thread.
    bool isCurrentThread() const noexcept;

    // Asks the body to finish. Does nothing here; a derived class with a loop overrides it.
    virtual void requestStop();

    // The log that reports exceptions ending a thread of this library.
    static types::SmartPtr<logging::LogWriter> getLogWriter();

protected:
    virtual void preExecute();
    virtual void run();
    virtual void postExecute();

private:
    void body() noexcept;
    void report(const char* stage, const char* what) noexcept;

    const std::string m_name;
    Runnable* const m_runnable;
    std::mutex m_lifecycle;  // guards m_thread against concurrent start/join
    std::thread m_thread;
    std::atomic<bool> m_running{false};
    std::atomic<std::thread::id> m_threadId{};
};

}  // namespace system
}  // namespace common
}  // namespace orv
