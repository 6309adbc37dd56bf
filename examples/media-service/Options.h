#pragma once

// The command line of orv_media_service.

#include <chrono>
#include <ostream>
#include <string>

#include "HttpServer.h"

namespace mediaservice {

struct Options {
    std::string host = "127.0.0.1";
    unsigned short port = 8080;
    std::string catalogueFile;     // empty: the built-in catalogue
    bool console = true;           // false with --no-console
    unsigned int httpThreads = 2;  // I/O threads of the HTTP server
    HttpLimits limits;             // request sizes, connections and deadlines
    // How long a stop waits for requests in flight to be answered.
    std::chrono::milliseconds stopGrace{5000};
    bool help = false;
};

// Reads the arguments; on a bad one returns false with the reason in `error`.
bool parseOptions(int argc, char** argv, Options& options, std::string& error);

void printUsage(std::ostream& out);

}  // namespace mediaservice
