#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "orv/bafu/IDecoupler.h"
#include "orv/bafu/ModuleStateHandler.h"
#include "orv/bafu/detail/ComponentDecoupler.h"
#include "orv/bafu/terminal/IInput.h"
#include "orv/bafu/terminal/ISetup.h"
#include "orv/common/system/Mutex.h"
#include "orv/common/system/MutexGuard.h"
#include "orv/common/system/Thread.h"
#include "orv/nol/common/Export.h"

struct pollfd;

namespace orv {
namespace bafu {
namespace terminal {

// A small command console on the process's standard input. A thread of its own (named after
// the terminal) waits for input, takes what one read brings as one command line, splits it
// with splitCommand and hands the handler registered under the command word, with the
// arguments, to a decoupler at priority 128.
//
//   auto terminal = terminal::Factory::create("Terminal");
//   terminal->getProvided_Input().registerCommand(
//       "echo", [](const std::vector<std::string>& args) { ... });
//   terminal->init();       // typing "echo:a,b" now calls the handler with "a" and "b"
//   ...
//   terminal->shutdown();
//
// Input: one read of at most 128 bytes is one line, and its last byte (the line end) is
// dropped: two lines arriving together make one, a longer line is cut into pieces. At the end
// of standard input every pass reads an empty line. The terminal's messages go to std::cout
// as they are: "Command not found!\n" for an unknown command word (except the line "_exit",
// the shutdown's own wake-up), "Poll error or timeout!\n", "Invalid event!\n" when woken
// without input (say, a hang-up), and "Error: Can't open pipe!" (no line end) when init()
// cannot create the wake-up pipe; init() then answers false.
//
// Lifecycle: commands may be registered and unregistered at any time, also before init()
// and while the terminal runs (changes apply between two lines). setOptional_Decoupler only
// before init(). shutdown() writes "_exit" into the pipe to wake the thread (a command
// registered under that name is then dispatched, if the thread was waiting for input), waits
// for the thread to leave its loop, closes the pipe, waits until the decoupler has run the
// handlers already handed to it, destroys a decoupler that init() created, forgets every
// command and joins the thread. init() may then start the terminal again. A pipe failure
// leaves the terminal failed until shutdown(). The destructor shuts down.
//
// Threads: handlers run on the decoupler's thread; with the default NoneDecoupler that is the
// terminal's thread, one line at a time. No lock of the terminal is held while a handler runs
// or while the decoupler is called; the lock guards the commands and the pipe. A handler is
// copied out before it is handed on, so unregistering it does not withdraw a call already
// handed on. shutdown() must not be called from a handler: it waits for the handlers.
//
// Ownership: the terminal owns its commands, its pipe and a decoupler created by init(); a
// decoupler given by setOptional_Decoupler is not owned and must outlive the shutdown.
// Failure: errors of read and close are ignored (a failed read is an empty line). An
// exception from the decoupler (with the NoneDecoupler, from a handler) ends the terminal
// thread, which reports it; shutdown() still works.
class ORV_NOL_API Input : public ISetup, public IInput, public common::system::Thread {
public:
    explicit Input(const std::string& name);
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;
    ~Input() override;

    IInput& getProvided_Input() override;
    void setOptional_Decoupler(IDecoupler* decoupler) override;
    bool init() override;
    void shutdown() override;

    bool registerCommand(const std::string& name, Handler&& handler) override;
    bool unregisterCommand(const std::string& name) override;

    // Splits a command line: `command` gets the text up to the first ':' (all of it if there
    // is none), and every field after it, up to the next ',' or the end, is appended to
    // `arguments` (which is not cleared). Nothing is trimmed, quoted or escaped: "set:1, 2"
    // gives "1" and " 2"; "a:x,,y" gives "x", "" and "y"; "a:x," gives "x" only; "a:" none;
    // a further ':' belongs to the arguments.
    static void splitCommand(const std::string& line, std::string& command,
                             std::vector<std::string>& arguments);

protected:
    // The terminal thread: reads and dispatches lines while the terminal runs.
    void run() override;

private:
    void wake() const;
    std::string readLine(::pollfd* sources) const;
    void dispatch(const std::string& line, common::system::MutexGuard& lock);
    void closePipe();

    common::system::Mutex m_lock;  // guards m_commands and the pipe descriptors
    ModuleStateHandler m_state;
    ComponentDecoupler m_decoupler;  // given by the client, or created by init()
    unsigned int m_userId = 0xFFFFFFFFU;
    std::map<std::string, Handler> m_commands;
    int m_pipeRead = -1;  // -1 while no pipe is open
    int m_pipeWrite = -1;
};

}  // namespace terminal
}  // namespace bafu
}  // namespace orv
