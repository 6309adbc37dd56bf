#pragma once

// The service's console: commands typed on standard input, read by a terminal::Input and run
// on the decoupler's worker thread, beside the requests.
//
//   stats          the statistics line
//   list:<kind>    the URI and name of every element of a kind
//   get:<uri>      one element as JSON; the URI as a path (/media/tracks/<guid>) or whole
//   help           this list
//   quit           stops the service
//
// An empty line does nothing, except at the end of standard input (a closed pipe), where the
// console reports that its input has ended and the service stops the console but keeps
// serving.

#include <atomic>
#include <string>
#include <vector>

#include "MainThreadEvents.h"
#include "MediaRoutes.h"
#include "Statistics.h"
#include "orv/bafu/terminal/IInput.h"

namespace mediaservice {

class Console {
public:
    // `linkHost` completes the links in what "get" prints.
    Console(const MediaRoutes& routes, const Statistics& statistics, std::string linkHost,
            MainThreadEvents& events);

    void registerCommands(orv::bafu::terminal::IInput& input);

    // Whether standard input can carry commands at all: false, with the reason, when it is
    // closed, /dev/null, a regular file or a pipe whose writer is gone.
    static bool standardInputUsable(std::string& reason);

private:
    using Arguments = std::vector<std::string>;

    void stats() const;
    void list(const Arguments& arguments) const;
    void get(const Arguments& arguments) const;
    void emptyLine();

    const MediaRoutes& m_routes;
    const Statistics& m_statistics;
    const std::string m_linkHost;
    MainThreadEvents& m_events;
    std::atomic<bool> m_inputEnded{false};
};

}  // namespace mediaservice
