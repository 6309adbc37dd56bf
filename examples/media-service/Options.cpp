// Reading the command line.

#include "Options.h"

#include <cstddef>
#include <functional>
#include <limits>
#include <vector>

#include "orv/nol/common/queries/Query.h"

namespace mediaservice {

namespace {

bool readNumber(const std::string& text, unsigned long highest, unsigned long& number) {
    if (text.empty() || text.size() > 10 || text[0] == '-' || text[0] == '+' ||
        !orv::nol::common::queries::isNumber(text)) {
        return false;
    }
    number = std::stoul(text);
    return number <= highest;
}

// A numeric option: its name, its range, and where its value goes.
struct NumberOption {
    const char* name;
    unsigned long lowest;
    unsigned long highest;
    std::function<void(Options&, unsigned long)> apply;
};

constexpr unsigned long kMaxBytes = 1UL << 30;
constexpr unsigned long kMaxMilliseconds = 3600UL * 1000;

std::function<void(Options&, unsigned long)> size(std::size_t HttpLimits::*field) {
    return [field](Options& options, unsigned long value) { options.limits.*field = value; };
}

std::function<void(Options&, unsigned long)> milliseconds(
    std::chrono::milliseconds HttpLimits::*field) {
    return [field](Options& options, unsigned long value) {
        options.limits.*field = std::chrono::milliseconds(value);
    };
}

// Built on first use: a failure to build it throws from parseOptions, not before main().
const std::vector<NumberOption>& numberOptions() {
    static const std::vector<NumberOption> table{
        {"--port", 0, 65535,
         [](Options& options, unsigned long value) {
             options.port = static_cast<unsigned short>(value);
         }},
        {"--threads", 1, 64,
         [](Options& options, unsigned long value) {
             options.httpThreads = static_cast<unsigned int>(value);
         }},
        {"--max-body", 0, kMaxBytes, size(&HttpLimits::maxBodyBytes)},
        {"--max-target", 16, kMaxBytes, size(&HttpLimits::maxTargetBytes)},
        {"--max-headers", 64, kMaxBytes, size(&HttpLimits::maxHeaderBytes)},
        {"--max-connections", 1, 1000000, size(&HttpLimits::maxConnections)},
        {"--header-timeout", 1, kMaxMilliseconds, milliseconds(&HttpLimits::headerTimeout)},
        {"--idle-timeout", 1, kMaxMilliseconds, milliseconds(&HttpLimits::idleTimeout)},
        {"--write-timeout", 1, kMaxMilliseconds, milliseconds(&HttpLimits::writeTimeout)},
        {"--stop-grace", 0, kMaxMilliseconds,
         [](Options& options, unsigned long value) {
             options.stopGrace = std::chrono::milliseconds(value);
         }},
    };
    return table;
}

const NumberOption* findNumberOption(const std::string& name) {
    for (const NumberOption& option : numberOptions()) {
        if (name == option.name) {
            return &option;
        }
    }
    return nullptr;
}

std::string outOfRange(const std::string& option, const std::string& value) {
    return option + ": '" + value + "' is out of range";
}

}  // namespace

bool parseOptions(int argc, char** argv, Options& options, std::string& error) {
    for (int index = 1; index < argc; ++index) {
        const std::string argument = argv[index];
        auto value = [&](std::string& out) {
            if (index + 1 >= argc) {
                error = argument + " needs a value";
                return false;
            }
            out = argv[++index];
            return true;
        };
        std::string text;
        unsigned long number = 0;
        if (argument == "--help" || argument == "-h") {
            options.help = true;
        } else if (argument == "--no-console") {
            options.console = false;
        } else if (argument == "--host") {
            if (!value(options.host)) {
                return false;
            }
        } else if (argument == "--catalogue") {
            if (!value(options.catalogueFile)) {
                return false;
            }
        } else if (const NumberOption* option = findNumberOption(argument)) {
            if (!value(text)) {
                return false;
            }
            if (!readNumber(text, option->highest, number) || number < option->lowest) {
                error = outOfRange(argument, text);
                return false;
            }
            option->apply(options, number);
        } else if (readNumber(argument, 65535, number)) {
            options.port = static_cast<unsigned short>(number);  // a bare number is the port
        } else {
            error = "unknown argument '" + argument + "'";
            return false;
        }
    }
    return true;
}

void printUsage(std::ostream& out) {
    out << "usage: orv_media_service [PORT] [--port PORT] [--host ADDRESS] [--catalogue FILE]\n"
           "                         [--threads N] [--no-console] [LIMITS]\n"
           "\n"
           "Serves a media catalogue (artists, albums, tracks) as JSON over HTTP under /media.\n"
           "  PORT, --port PORT  port to listen on (default 8080; 0 picks a free one)\n"
           "  --host ADDRESS     address to bind (default 127.0.0.1; ::1 for IPv6)\n"
           "  --catalogue FILE   serve the catalogue in this JSON file instead of the built-in "
           "one\n"
           "  --threads N        HTTP I/O threads (default 2)\n"
           "  --no-console       do not read commands from standard input\n"
           "\n"
           "Limits (a request over one is answered 413, 414 or 431; times in milliseconds):\n"
           "  --max-body BYTES         request body (default 1048576)\n"
           "  --max-target BYTES       request target, path and query (default 8192)\n"
           "  --max-headers BYTES      header fields of a request (default 16384)\n"
           "  --max-connections N      open connections; more get 503 (default 2048)\n"
           "  --header-timeout MS      from a request's first byte to its last header field "
           "(default 5000)\n"
           "  --idle-timeout MS        keep-alive connection without a request (default 30000)\n"
           "  --write-timeout MS       writing one reply (default 10000)\n"
           "  --stop-grace MS          on SIGTERM, time for requests in flight (default 5000)\n"
           "\n"
           "Console commands on standard input: stats, list:<kind>, get:<uri>, help, quit.\n";
}

}  // namespace mediaservice
