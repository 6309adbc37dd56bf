#include "orv/common/system/Thread.h"

#include <pthread.h>

#include <exception>

#include "orv/common/errors/IllegalStateException.h"

namespace orv {
namespace common {
namespace system {

namespace {

constexpr std::size_t kMaxOsNameLength = 15;

void setOsName(pthread_t thread, const std::string& name) {
    const std::string shortName = name.substr(0, kMaxOsNameLength);
    pthread_setname_np(thread, shortName.c_str());
}

}  // namespace

Thread::Thread(const std::string& name, Runnable* runnable) : m_name(name), m_runnable(runnable) {}

Thread::~Thread() {
    std::lock_guard<std::mutex> guard(m_lifecycle);
    if (!m_thread.joinable()) {
        return;
    }
    if (m_thread.get_id() == std::this_thread::get_id()) {
        m_thread.detach();
    } else {
        m_thread.join();
    }
}

void Thread::start() {
    std::lock_guard<std::mutex> guard(m_lifecycle);
    if (m_thread.joinable()) {
        throw errors::IllegalStateException("Thread " + m_name + " is already started");
    }
    m_running.store(true, std::memory_order_release);
    try {
        m_thread = std::thread(&Thread::body, this);
    } catch (...) {
        m_running.store(false, std::memory_order_release);
        throw;
    }
    // Named here too, so that the name is in place when start() returns.
    setOsName(m_thread.native_handle(), m_name);
}

void Thread::join() {
    std::lock_guard<std::mutex> guard(m_lifecycle);
    if (!m_thread.joinable()) {
        return;
    }
    if (m_thread.get_id() == std::this_thread::get_id()) {
        throw errors::IllegalStateException("Thread " + m_name + " cannot join itself");
    }
    m_thread.join();
}

bool Thread::isCurrentThread() const noexcept {
    return m_threadId.load(std::memory_order_acquire) == std::this_thread::get_id();
}

void Thread::requestStop() {}

void Thread::preExecute() {}

void Thread::run() {
    if (m_runnable != nullptr) {
        m_runnable->run();
    }
}

void Thread::postExecute() {}

types::SmartPtr<logging::LogWriter> Thread::getLogWriter() {
    static const types::SmartPtr<logging::LogWriter> writer(new logging::LogWriter("orv.thread"));
    return writer;
}

void Thread::body() noexcept {
    m_threadId.store(std::this_thread::get_id(), std::memory_order_release);
    setOsName(pthread_self(), m_name);  // named before any of its own code runs
    const char* stage = "preExecute";
    try {
        preExecute();
        stage = "run";
        run();
        stage = "postExecute";
        postExecute();
    } catch (const std::exception& exception) {
        report(stage, exception.what());
    } catch (...) {
        report(stage, "an exception of unknown type");
    }
    m_threadId.store(std::thread::id(), std::memory_order_release);
    m_running.store(false, std::memory_order_release);
}

void Thread::report(const char* stage, const char* what) noexcept {
    try {
        getLogWriter()->write(ErrorLevel,
                              "Thread \"" + m_name + "\" ended: " + stage + "() threw: " + what);
    } catch (...) {  // NOLINT(bugprone-empty-catch): nothing is left to report to
    }
}

}  // namespace system
}  // namespace common
}  // namespace orv
