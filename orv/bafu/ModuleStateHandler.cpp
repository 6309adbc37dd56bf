#include "orv/bafu/ModuleStateHandler.h"

#include "orv/bafu/detail/LogAtStateLevel.h"
#include "orv/common/logging/LogWriter.h"
#include "orv/common/system/MutexGuard.h"
#include "orv/common/types/SmartPtr.h"

namespace orv {
namespace bafu {

using common::logging::Logger;
using common::logging::LogWriter;
using common::system::MutexGuard;
using common::types::SmartPtr;

ModuleStateHandler::ModuleStateHandler() : m_logger(SmartPtr<LogWriter>(new LogWriter("nix"))) {}

ModuleStateHandler::ModuleStateHandler(Logger& logger) : m_logger(logger.getLogWriter()) {}

ModuleStateHandler::~ModuleStateHandler() = default;

ModuleStateHandler::EState ModuleStateHandler::getState() const {
    MutexGuard guard(m_lock);
    return m_state;
}

Logger& ModuleStateHandler::getLogger() {
    return m_logger;
}

bool ModuleStateHandler::configMethod_Begin() {
    MutexGuard guard(m_lock);
    switch (m_state) {
        case Off:
            m_state = Configuration;
            ++m_configCount;
            return true;
        case Configuration:
            ++m_configCount;
            return true;
        default:
            log("Configuration of module is not possible in this state.\n");
            return false;
    }
}

void ModuleStateHandler::configMethod_End() {
    MutexGuard guard(m_lock);
    if (m_configCount == 0) {
        log("Unexpected end of configuration triggered.\n");
        return;
    }
    switch (m_state) {
        case Configuration:
            if (m_configCount == 1) {
                m_state = Off;
            }
            --m_configCount;
            break;
        case ShuttingDown:
            if (--m_configCount == 0) {
                m_condition.broadcast();
            }
            break;
        default:
            log("Unexpected end of configuration triggered.\n");
            break;
    }
}

bool ModuleStateHandler::init_Begin() {
    MutexGuard guard(m_lock);
    if (m_state != Off) {
        log("Initialization of module is not possible in this state.\n");
        return false;
    }
    m_state = Initialization;
    return true;
}

void ModuleStateHandler::init_End(bool success) {
    MutexGuard guard(m_lock);
    switch (m_state) {
        case Initialization:
            m_state = success ? Running : InitFailed;
            break;
        case ShuttingDown:
            // A shutdown arrived during the initialisation and waits for its end; it stays
            // the state whatever the outcome.
            m_condition.broadcast();
            break;
        default:
            log("Unexpected end of initialization triggered.\n");
            break;
    }
}

bool ModuleStateHandler::method_Begin() {
    MutexGuard guard(m_lock);
    if (m_state != Running) {
        log("Method call not possible in this state.\n");
        return false;
    }
    ++m_methodCount;
    return true;
}

void ModuleStateHandler::method_End() {
    MutexGuard guard(m_lock);
    if (m_methodCount == 0) {
        log("Unexpected end of method triggered.\n");
        return;
    }
    switch (m_state) {
        case Running:
            --m_methodCount;
            break;
        case ShuttingDown:
            if (--m_methodCount == 0) {
                m_condition.broadcast();
            }
            break;
        default:
            log("Unexpected end of method triggered.\n");
            break;
    }
}

// The by-value parameters here and in the guard's internBegin and internEnd are the interface.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
bool ModuleStateHandler::shutdown_Begin(std::function<void()> onShutdown) {
    MutexGuard guard(m_lock);
    switch (m_state) {
        case Off:
            log("Shutdown is useless in Off state.\n");
            return false;
        case Configuration:
            m_state = ShuttingDown;
            log("Shutdown triggered while configuration.\n");
            while (m_configCount != 0) {
                m_condition.wait(m_lock);
            }
            m_state = Off;
            return false;
        case Initialization:
            m_state = ShuttingDown;
            log("Shutdown triggered while initialization.\n");
            // One wait, ended by init_End's broadcast; deliberately not a re-checking loop.
            m_condition.wait(m_lock);
            return true;
        case Running:
            m_state = ShuttingDown;
            onShutdown();
            while (m_methodCount != 0) {
                m_condition.wait(m_lock);
            }
            return true;
        case ShuttingDown:
            log("Double shutdown triggered.\n");
            // One wait, ended by the first shutdown's shutdown_End.
            m_condition.wait(m_lock);
            return false;
        case InitFailed:
            m_state = ShuttingDown;
            return true;
        default:
            log("Invalid state.\n");
            return false;
    }
}

void ModuleStateHandler::shutdown_End() {
    MutexGuard guard(m_lock);
    if (m_state != ShuttingDown) {
        log("Unexpected end of shutdown triggered.\n");
        return;
    }
    m_state = Off;
    m_condition.broadcast();
}

void ModuleStateHandler::log(const char* message) const {
    detail::logAtStateLevel(m_logger, message);
}

ModuleStateHandler::Guard::Guard(ModuleStateHandler& handler) : m_handler(handler) {}

ModuleStateHandler::Guard::~Guard() {
    switch (m_action) {
        case ConfigMethod:
            configMethod_End();
            break;
        case Init:
            init_End(false);
            break;
        case Method:
            method_End();
            break;
        case Shutdown:
            shutdown_End();
            break;
        default:
            break;
    }
}

bool ModuleStateHandler::Guard::configMethod_Begin() {
    return internBegin(ConfigMethod, [this] { return m_handler.configMethod_Begin(); });
}

bool ModuleStateHandler::Guard::init_Begin() {
    return internBegin(Init, [this] { return m_handler.init_Begin(); });
}

bool ModuleStateHandler::Guard::method_Begin() {
    return internBegin(Method, [this] { return m_handler.method_Begin(); });
}

bool ModuleStateHandler::Guard::shutdown_Begin(std::function<void()> onShutdown) {
    return internBegin(Shutdown, [this, onShutdown = std::move(onShutdown)] {
        return m_handler.shutdown_Begin(onShutdown);
    });
}

void ModuleStateHandler::Guard::configMethod_End() {
    internEnd(ConfigMethod, [this] { m_handler.configMethod_End(); });
}

void ModuleStateHandler::Guard::init_End(bool success) {
    internEnd(Init, [this, success] { m_handler.init_End(success); });
}

void ModuleStateHandler::Guard::method_End() {
    internEnd(Method, [this] { m_handler.method_End(); });
}

void ModuleStateHandler::Guard::shutdown_End() {
    internEnd(Shutdown, [this] { m_handler.shutdown_End(); });
}

// NOLINTNEXTLINE(performance-unnecessary-value-param)
bool ModuleStateHandler::Guard::internBegin(EAction action, std::function<bool()> begin) {
    if (m_action != None) {
        detail::logAtStateLevel(m_handler.getLogger(),
                                "Double beginning with module state handling guard.\n");
        return false;
    }
    const bool accepted = begin();
    if (accepted) {
        m_action = action;
    }
    return accepted;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param)
void ModuleStateHandler::Guard::internEnd(EAction action, std::function<void()> end) {
    if (m_action != action) {
        detail::logAtStateLevel(m_handler.getLogger(),
                                "End without begin with module state handling guard.\n");
        return;
    }
    end();
    m_action = None;
}

}  // namespace bafu
}  // namespace orv
