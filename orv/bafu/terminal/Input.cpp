#include "orv/bafu/terminal/Input.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <iostream>
#include <sstream>
#include <utility>

#include "orv/bafu/detail/AwaitRemoval.h"

namespace orv {
namespace bafu {
namespace terminal {

using common::system::MutexGuard;

namespace {

// The priority of every command handed to the decoupler.
constexpr unsigned char kCommandPriority = 128;

// What the shutdown writes into the pipe to wake the terminal thread; it is no command.
constexpr char kExitLine[] = "_exit";
constexpr std::size_t kExitLineLength = sizeof(kExitLine) - 1;

// One read takes at most this many bytes; a pipe message keeps room for its terminator.
constexpr std::size_t kLineBufferSize = 128;

// The slots of the two sources in the poll set; the pipe is looked at first.
constexpr std::size_t kPipeSource = 0;
constexpr std::size_t kInputSource = 1;
constexpr nfds_t kSourceCount = 2;

void print(const char* message) {
    std::cout << message << std::flush;
}

}  // namespace

IInput::~IInput() = default;

ISetup::~ISetup() = default;

Input::Input(const std::string& name) : Thread(name) {}

Input::~Input() {
    try {
        if (m_state.getState() != ModuleStateHandler::Off) {
            Input::shutdown();
        }
    } catch (...) {  // NOLINT(bugprone-empty-catch): a destructor lets nothing out
    }
}

IInput& Input::getProvided_Input() {
    return *this;
}

void Input::setOptional_Decoupler(IDecoupler* decoupler) {
    m_decoupler.setOptional(m_state, decoupler);
}

bool Input::init() {
    ModuleStateHandler::Guard guard(m_state);
    if (!guard.init_Begin()) {
        return m_state.getState() == ModuleStateHandler::Running;
    }
    m_decoupler.ensure();
    m_userId = m_decoupler->createUserId();
    // Held until the thread is started, so that a shutdown arriving meanwhile joins it.
    MutexGuard lock(m_lock);
    int ends[2] = {-1, -1};
    const bool opened = ::pipe2(ends, O_CLOEXEC) == 0;
    if (opened) {
        m_pipeRead = ends[0];
        m_pipeWrite = ends[1];
    } else {
        print("Error: Can't open pipe!");
    }
    guard.init_End(opened);
    start();  // after a failure too: the thread then ends at once
    return opened;
}

// The terminal's lock is taken before the handler's (getState() in the loop), never after it:
// wake() runs inside the handler's lock and so writes to the pipe without the terminal's.
void Input::shutdown() {
    ModuleStateHandler::Guard guard(m_state);
    if (!guard.shutdown_Begin([this] { wake(); })) {
        return;
    }
    MutexGuard lock(m_lock);
    closePipe();
    lock.unlock();
    // Lets the commands already handed on run first.
    detail::awaitRemoval(*m_decoupler.get(), m_userId);
    lock.lock();
    m_decoupler.releaseOwned();
    std::map<std::string, Handler> commands;
    commands.swap(m_commands);
    join();
    lock.unlock();  // the handlers are destroyed without the lock
}

bool Input::registerCommand(const std::string& name, Handler&& handler) {
    MutexGuard lock(m_lock);
    return m_commands.try_emplace(name, std::move(handler)).second;
}

bool Input::unregisterCommand(const std::string& name) {
    std::map<std::string, Handler>::node_type removed;  // destroyed after the lock is gone
    MutexGuard lock(m_lock);
    removed = m_commands.extract(name);
    return !removed.empty();
}

void Input::splitCommand(const std::string& line, std::string& command,
                         std::vector<std::string>& arguments) {
    std::istringstream stream(line);
    std::getline(stream, command, ':');
    std::string field;
    while (std::getline(stream, field, ',')) {
        arguments.push_back(field);
    }
}

void Input::run() {
    ModuleStateHandler::Guard guard(m_state);
    if (!guard.method_Begin()) {
        return;
    }
    MutexGuard lock(m_lock);
    pollfd sources[kSourceCount] = {};
    sources[kPipeSource] = {m_pipeRead, POLLIN, 0};
    sources[kInputSource] = {STDIN_FILENO, POLLIN, 0};
    while (m_state.getState() == ModuleStateHandler::Running) {
        lock.unlock();
        const int ready = ::poll(sources, kSourceCount, -1);
        lock.lock();
        if (ready <= 0) {
            print("Poll error or timeout!\n");
            continue;
        }
        dispatch(readLine(sources), lock);
    }
}

void Input::wake() const {
    const ssize_t written = ::write(m_pipeWrite, kExitLine, kExitLineLength);
    static_cast<void>(written);
}

// Reads what one source has ready, the pipe first, as one line: the text up to the first NUL,
// without the last byte read from standard input (its line end).
std::string Input::readLine(pollfd* sources) const {
    char buffer[kLineBufferSize] = {};
    if ((sources[kPipeSource].revents & POLLIN) != 0) {
        sources[kPipeSource].revents = 0;
        const ssize_t count = ::read(m_pipeRead, buffer, kLineBufferSize - 1);
        buffer[count > 0 ? count : 0] = '\0';
        return buffer;
    }
    if ((sources[kInputSource].revents & POLLIN) != 0) {
        sources[kInputSource].revents = 0;
        const ssize_t count = ::read(STDIN_FILENO, buffer, kLineBufferSize);
        buffer[count > 0 ? count - 1 : 0] = '\0';
        return buffer;
    }
    print("Invalid event!\n");
    return {};
}

// Hands the handler of the line's command to the decoupler, with the lock released.
void Input::dispatch(const std::string& line, MutexGuard& lock) {
    std::string command;
    std::vector<std::string> arguments;
    splitCommand(line, command, arguments);
    const auto found = m_commands.find(command);
    if (found == m_commands.end()) {
        if (line != kExitLine) {
            print("Command not found!\n");
        }
        return;
    }
    Handler handler = found->second;
    lock.unlock();
    m_decoupler->call(
        [handler = std::move(handler), arguments = std::move(arguments)] { handler(arguments); },
        m_userId, kCommandPriority);
    lock.lock();
}

void Input::closePipe() {
    if (m_pipeWrite >= 0) {
        ::close(m_pipeWrite);
    }
    if (m_pipeRead >= 0) {
        ::close(m_pipeRead);
    }
    m_pipeWrite = -1;
    m_pipeRead = -1;
}

}  // namespace terminal
}  // namespace bafu
}  // namespace orv
