// Reading the command line.

#include "Options.h"

#include <limits>

#include "orv/nol/common/queries/Query.h"

namespace mediaservice {

namespace {

bool readNumber(const std::string& text, unsigned long highest, unsigned long& number) {
    if (text.empty() || text.size() > 5 || text[0] == '-' ||
        !orv::nol::common::queries::isNumber(text)) {
        return false;
    }
    number = std::stoul(text);
    return number <= highest;
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
        } else if (argument == "--port" || argument == "--threads") {
            if (!value(text)) {
                return false;
            }
            const bool isPort = argument == "--port";
            if (!readNumber(text, isPort ? 65535 : 64, number) || (!isPort && number == 0)) {
                error = outOfRange(argument, text);
                return false;
            }
            if (isPort) {
                options.port = static_cast<unsigned short>(number);
            } else {
                options.httpThreads = static_cast<unsigned int>(number);
            }
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
           "                         [--threads N] [--no-console]\n"
           "\n"
           "Serves a media catalogue (artists, albums, tracks) as JSON over HTTP under /media.\n"
           "  PORT, --port PORT  port to listen on (default 8080; 0 picks a free one)\n"
           "  --host ADDRESS     address to bind (default 127.0.0.1; ::1 for IPv6)\n"
           "  --catalogue FILE   serve the catalogue in this JSON file instead of the built-in "
           "one\n"
           "  --threads N        HTTP I/O threads (default 2)\n"
           "  --no-console       do not read commands from standard input\n"
           "\n"
           "Console commands on standard input: stats, list:<kind>, get:<uri>, help, quit.\n";
}

}  // namespace mediaservice
