// The console commands and the checks on standard input.

#include "Console.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <iostream>

#include "orv/nol/common/UriUtils.h"
#include "orv/nol/common/Utils.h"

namespace mediaservice {

namespace {

using orv::nol::common::Utils;

constexpr const char* kHelpText =
    "commands: stats | list:<kind> | get:<uri> | help | quit   (kinds: artists, albums, tracks)";

// True when standard input has nothing more to give: hung up, or readable with no bytes.
bool standardInputAtEnd() {
    pollfd input{STDIN_FILENO, POLLIN, 0};
    if (poll(&input, 1, 0) <= 0) {
        return false;
    }
    if ((input.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0) {
        return true;
    }
    int waiting = 0;
    return (input.revents & POLLIN) != 0 && ioctl(STDIN_FILENO, FIONREAD, &waiting) == 0 &&
           waiting == 0;
}

bool isDevNull(const struct stat& input) {
    struct stat devNull {};
    return stat("/dev/null", &devNull) == 0 && S_ISCHR(input.st_mode) &&
           input.st_rdev == devNull.st_rdev;
}

}  // namespace

Console::Console(const MediaRoutes& routes, const Statistics& statistics, std::string linkHost,
                 MainThreadEvents& events)
    : m_routes(routes),
      m_statistics(statistics),
      m_linkHost(std::move(linkHost)),
      m_events(events) {}

void Console::registerCommands(orv::bafu::terminal::IInput& input) {
    input.registerCommand("stats", [this](const Arguments&) { stats(); });
    input.registerCommand("list", [this](const Arguments& arguments) { list(arguments); });
    input.registerCommand("get", [this](const Arguments& arguments) { get(arguments); });
    input.registerCommand("help", [](const Arguments&) { std::cout << kHelpText << std::endl; });
    input.registerCommand("quit", [this](const Arguments&) {
        std::cout << "quitting" << std::endl;
        m_events.post(MainThreadEvents::Event::Quit);
    });
    input.registerCommand("", [this](const Arguments&) { emptyLine(); });
}

void Console::stats() const {
    std::cout << m_statistics.line(m_routes.catalogue()) << std::endl;
}

void Console::list(const Arguments& arguments) const {
    if (arguments.size() != 1 || !Catalogue::isKind(arguments[0])) {
        std::cout << "usage: list:<kind>   (kinds: artists, albums, tracks)" << std::endl;
        return;
    }
    const auto& elements = m_routes.catalogue().elementsOf(arguments[0]);
    std::cout << elements.size() << ' ' << arguments[0] << '\n';
    for (const MediaElement* element : elements) {
        std::cout << "  " << element->getUri().value() << "  " << element->name.value() << '\n';
    }
    std::cout << std::flush;
}

void Console::get(const Arguments& arguments) const {
    if (arguments.size() != 1) {
        std::cout << "usage: get:<uri>   (/media/<kind>/<guid>, or the whole link)" << std::endl;
        return;
    }
    // retrieveUriInfos takes both forms apart: with "http://host:port" and without.
    orv::nol::common::UriInfos uri;
    GUID id;
    try {
        if (orv::nol::common::retrieveUriInfos(arguments[0], uri)) {
            id = Utils::getGuidOfStr(uri.thirdSegment);
        }
    } catch (const std::exception&) {
        // a port that is no number: nothing found below
    }
    const MediaElement* element = uri.firstSegment == kServiceSegment
                                      ? m_routes.catalogue().find(uri.secondSegment, id)
                                      : nullptr;
    if (element == nullptr) {
        std::cout << "no element at " << arguments[0] << std::endl;
        return;
    }
    const auto object = m_routes.renderer().element(*element, FieldSelection(), Expansion());
    std::cout << Utils::jsonOfDataValue(*object, m_linkHost) << std::endl;
}

void Console::emptyLine() {
    if (standardInputAtEnd() && !m_inputEnded.exchange(true)) {
        m_events.post(MainThreadEvents::Event::ConsoleInputEnded);
    }
}

bool Console::standardInputUsable(std::string& reason) {
    struct stat input {};
    if (fcntl(STDIN_FILENO, F_GETFD) < 0 || fstat(STDIN_FILENO, &input) != 0) {
        reason = "standard input is closed";
    } else if (isDevNull(input)) {
        reason = "standard input is /dev/null";
    } else if (S_ISREG(input.st_mode)) {
        reason = "standard input is a file, not a terminal or pipe";
    } else if (standardInputAtEnd()) {
        reason = "standard input has already ended";
    } else {
        return true;
    }
    return false;
}

}  // namespace mediaservice
