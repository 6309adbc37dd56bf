// orv_media_service: a resource service on liborv.nol.common that serves a media catalogue
// (artists, albums, tracks) as JSON over HTTP. See the README for a tour.

#include <csignal>
#include <exception>
#include <iostream>
#include <string>

#include "MainThreadEvents.h"
#include "MediaService.h"
#include "Options.h"

namespace {

std::string baseUrl(const mediaservice::Options& options, unsigned short port) {
    const bool ipv6 = options.host.find(':') != std::string::npos;
    const std::string host = ipv6 ? "[" + options.host + "]" : options.host;
    return "http://" + host + ":" + std::to_string(port);
}

}  // namespace

int main(int argc, char** argv) {
    using namespace mediaservice;
    try {
        // First of all, before any thread starts: SIGINT and SIGTERM are then only ever read
        // by the main thread (see MainThreadEvents).
        MainThreadEvents events;
        // A client that goes away must not end the process; the write just fails.
        signal(SIGPIPE, SIG_IGN);

        Options options;
        std::string error;
        if (!parseOptions(argc, argv, options, error)) {
            std::cerr << "orv_media_service: " << error << "\n\n";
            printUsage(std::cerr);
            return 2;
        }
        if (options.help) {
            printUsage(std::cout);
            return 0;
        }

        MediaService service(options, events);
        service.start();
        const std::string url = baseUrl(options, service.port());
        std::cout << "media service on " << url << "/media\n"
                  << "try:     curl '" << url << "/media/tracks?$limit=3'\n"
                  << "console: stats | list:<kind> | get:<uri> | help | quit" << std::endl;

        service.runUntilStopped();
        service.stop();
        std::cout << "media service stopped" << std::endl;
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "orv_media_service: " << error.what() << std::endl;
        return 1;
    }
}
