// The smallest complete module on the framework: one worker thread (a DefaultDecoupler) runs
// everything the module does; a cyclic timer and a console feed it calls; a ModuleStateHandler
// gates the module's own methods. Type "status" for the tick count, "quit" (or end the input)
// to stop.
//
// The order is the point: create the parts, give each the decoupler, init the module before
// the parts that call it, and shut down in reverse: first what produces calls (console,
// timers), then the module, and the decoupler last, when nothing can call it any more.

#include <condition_variable>
#include <iostream>
#include <mutex>
#include <string>
#include <vector>

#include "orv/bafu/DefaultDecoupler.h"
#include "orv/bafu/ModuleStateHandler.h"
#include "orv/bafu/terminal/Factory.h"
#include "orv/bafu/terminal/Input.h"
#include "orv/bafu/timer/Factory.h"
#include "orv/bafu/timer/Manager.h"

namespace {

using orv::bafu::ModuleStateHandler;

// The module: counts ticks and reports them. Every entry point brackets itself with the state
// handler, so a tick arriving before init() or after shutdown() is refused, not run.
class TickCounter {
public:
    bool init() {
        ModuleStateHandler::Guard guard(m_state);
        if (!guard.init_Begin()) {
            return false;
        }
        m_ticks = 0;
        guard.init_End(true);
        return true;
    }

    void tick() {
        ModuleStateHandler::Guard guard(m_state);
        if (guard.method_Begin()) {
            ++m_ticks;
            guard.method_End();
        }
    }

    std::string status() {
        ModuleStateHandler::Guard guard(m_state);
        if (!guard.method_Begin()) {
            return "not running";
        }
        const std::string text = "running, " + std::to_string(m_ticks) + " ticks";
        guard.method_End();
        return text;
    }

    // Waits for the methods still running, then refuses new ones.
    void shutdown() {
        ModuleStateHandler::Guard guard(m_state);
        if (guard.shutdown_Begin()) {
            guard.shutdown_End();
        }
    }

private:
    ModuleStateHandler m_state;
    unsigned long m_ticks = 0;  // touched only on the decoupler's worker thread
};

// Set by the "quit" command (on the worker thread), awaited by main().
class QuitSignal {
public:
    // True for the first call only.
    bool raise() {
        const std::lock_guard<std::mutex> lock(m_lock);
        const bool first = !m_raised;
        m_raised = true;
        m_changed.notify_all();
        return first;
    }
    void wait() {
        std::unique_lock<std::mutex> lock(m_lock);
        m_changed.wait(lock, [this] { return m_raised; });
    }

private:
    std::mutex m_lock;  // guards m_raised
    std::condition_variable m_changed;
    bool m_raised = false;
};

}  // namespace

int main() {
    // 1. Create: the worker thread first, then the module and the framework parts.
    orv::bafu::DefaultDecoupler decoupler("MinimalWorker");
    TickCounter counter;
    QuitSignal quit;
    auto timers = orv::bafu::timer::Factory::create("MinimalTimers");
    auto console = orv::bafu::terminal::Factory::create("MinimalConsole");

    // 2. Give the decoupler (configuration, only before init): timer expiries and commands now
    //    run on the worker thread, one at a time, so the module needs no lock of its own.
    timers->setOptional_Decoupler(&decoupler);
    console->setOptional_Decoupler(&decoupler);

    // 3. Init: the module first, then the parts that call it.
    if (!counter.init() || !timers->init()) {
        std::cerr << "init failed\n";
        return 1;
    }
    console->getProvided_Input().registerCommand(
        "status", [&counter](const std::vector<std::string>&) {
            std::cout << "status: " << counter.status() << std::endl;
        });
    const auto stop = [&quit](const std::vector<std::string>&) {
        if (quit.raise()) {
            std::cout << "quitting" << std::endl;
        }
    };
    console->getProvided_Input().registerCommand("quit", stop);
    // At the end of standard input the console reads empty lines: they stop the module too.
    console->getProvided_Input().registerCommand("", stop);
    if (!console->init()) {
        std::cerr << "console failed\n";
        timers->shutdown();
        return 1;
    }

    // 4. Work: a tick every 100 ms, commands as they are typed.
    const unsigned long timer = timers->getProvided_Manager().startTimer(
        [&counter](unsigned long) { counter.tick(); }, 100, true);
    std::cout << "minimal-module running (timer " << (timer != 0 ? "started" : "refused")
              << "); commands: status, quit" << std::endl;
    quit.wait();

    // 5. Shutdown in reverse: no new commands, no new ticks, then the module. The decoupler
    //    goes when `decoupler` leaves scope, after everything that used it has shut down.
    console->shutdown();
    timers->shutdown();
    counter.shutdown();
    std::cout << "stopped" << std::endl;
    return 0;
}
