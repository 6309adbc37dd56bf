#pragma once

#include <cstdint>
#include <functional>

#include "orv/common/logging/Logger.h"
#include "orv/common/system/CondVar.h"
#include "orv/common/system/Mutex.h"
#include "orv/nol/common/Export.h"

namespace orv {
namespace bafu {

// The lifecycle gate of a module. Each entry point of the module brackets itself with a
// *_Begin, which says whether it may proceed, and the matching *_End:
//
//   configuration methods   configMethod_Begin/End   only before initialisation
//   the initialisation      init_Begin/init_End      only from Off
//   ordinary methods        method_Begin/End         only while Running
//   the shutdown            shutdown_Begin/End       waits for what is still running
//
// Life: Off -> Configuration (while configuration methods run) -> Off -> Initialization ->
// Running (or InitFailed) -> ShuttingDown -> Off, and round again.
//
// shutdown_Begin by the state it finds: Off: refused. Configuration: waits until the running
// configuration methods have ended, returns to Off and answers false. Initialization: waits
// once for init_End and answers true. Running: calls onShutdown (so that the module can make
// its running methods return), then waits until they have all ended and answers true.
// ShuttingDown: waits once for the other shutdown to end and answers false. InitFailed:
// answers true at once. A shutdown that answered true must be closed with shutdown_End().
//
// Failure: nothing is thrown for a state reason. A refusal answers false and an unexpected
// *_End is ignored; each writes its message to getLogger() at level 5 (emitted when the
// writer's level is 5 or less). Errors of the platform's logging and locking pass through.
//
// Thread: any operation from any thread; one mutex serialises them all and is held
// throughout, also while writing to the log and while onShutdown runs. onShutdown must
// therefore not use this handler, nor wait for a method that needs it. shutdown_Begin blocks
// its caller as said above. Ownership: the log writer is shared with the logger it was built
// from (or a new one named "nix"); nothing else is held.
class ORV_NOL_API ModuleStateHandler {
public:
    enum EState : std::int32_t {
        Off = 0,
        Configuration = 1,
        Initialization = 2,
        Running = 3,
        ShuttingDown = 4,
        InitFailed = 5,
    };

    // Remembers the action it began and ends it when it goes away: an initialisation left open
    // (say, by an exception) ends as failed. It holds at most one open action; a second begin,
    // or an end that does not match the open action, is refused and logged. One guard belongs
    // to one thread. An exception from the end called by the destructor ends the process.
    class ORV_NOL_API Guard {
    public:
        enum EAction : std::int32_t {
            None = 0,
            ConfigMethod = 1,
            Init = 2,
            Method = 3,
            Shutdown = 4,
        };

        explicit Guard(ModuleStateHandler& handler);
        Guard(const Guard&) = delete;
        Guard& operator=(const Guard&) = delete;
        virtual ~Guard();

        bool configMethod_Begin();
        bool init_Begin();
        bool method_Begin();
        bool shutdown_Begin(std::function<void()> onShutdown = [] {});

        void configMethod_End();
        void init_End(bool success);
        void method_End();
        void shutdown_End();

        // Calls `begin` unless an action is open; on success `action` becomes the open one.
        bool internBegin(EAction action, std::function<bool()> begin);
        // Calls `end` if `action` is the open one, which is then closed.
        void internEnd(EAction action, std::function<void()> end);

    private:
        ModuleStateHandler& m_handler;
        EAction m_action = None;
    };

    // Logs through a new writer named "nix".
    ModuleStateHandler();
    // Logs through the writer of `logger`, shared with it.
    explicit ModuleStateHandler(common::logging::Logger& logger);
    ModuleStateHandler(const ModuleStateHandler&) = delete;
    ModuleStateHandler& operator=(const ModuleStateHandler&) = delete;
    virtual ~ModuleStateHandler();

    EState getState() const;
    common::logging::Logger& getLogger();

    bool configMethod_Begin();
    void configMethod_End();
    bool init_Begin();
    void init_End(bool success);
    bool method_Begin();
    void method_End();
    // Blocks as described above; onShutdown runs only when the state is Running, with the
    // handler's mutex held.
    bool shutdown_Begin(std::function<void()> onShutdown);
    void shutdown_End();

private:
    void log(const char* message) const;

    common::logging::Logger m_logger;
    common::system::CondVar m_condition;   // broadcast whenever a waiting shutdown may go on
    mutable common::system::Mutex m_lock;  // guards m_state, m_configCount and m_methodCount
    EState m_state = Off;
    std::uint64_t m_configCount = 0;  // configuration methods begun and not ended
    std::uint64_t m_methodCount = 0;  // methods begun and not ended
};

}  // namespace bafu
}  // namespace orv
