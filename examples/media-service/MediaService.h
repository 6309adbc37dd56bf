#pragma once

// The media service put together: the catalogue and its routes, the HTTP server, and the
// framework components around them.
//
//   HTTP I/O threads --request--> DefaultDecoupler worker --reply--> HTTP I/O threads
//                                  (catalogue, routes, actions,
//                                   statistics timer, console commands)
//
// Every request under /media is handed to one DefaultDecoupler, so the catalogue is only ever
// touched on its worker thread and needs no lock; a WatchGuard per request logs a request
// still running after 1 s. A timer::Manager writes the statistics line every 10 s, and a
// terminal::Input runs the console commands, both through the same decoupler. GET /health and
// paths outside /media get a fixed answer straight from the I/O thread.
//
// Start-up and shut-down (stop(), the reverse order of start()): the HTTP server stops
// accepting, lets requests in flight be answered (up to options.stopGrace) and joins its
// threads; the console and the timer are shut down (each waits for
// its calls already queued); the decoupler is destroyed, dropping requests still queued; only
// then the HTTP server, whose connections those requests hold, is destroyed.

#include <memory>
#include <string>

#include "Catalogue.h"
#include "Console.h"
#include "HttpServer.h"
#include "MainThreadEvents.h"
#include "MediaRoutes.h"
#include "Options.h"
#include "Statistics.h"
#include "orv/bafu/DefaultDecoupler.h"
#include "orv/bafu/terminal/Input.h"
#include "orv/bafu/timer/Manager.h"
#include "orv/common/logging/LogWriter.h"
#include "orv/common/types/SmartPtr.h"

namespace mediaservice {

class MediaService {
public:
    // Loads the catalogue (the built-in one, or options.catalogueFile). Throws
    // std::runtime_error for a catalogue file that cannot be read.
    MediaService(const Options& options, MainThreadEvents& events);
    ~MediaService();

    MediaService(const MediaService&) = delete;
    MediaService& operator=(const MediaService&) = delete;

    // Starts the decoupler, binds the HTTP server, and starts the statistics timer and, when
    // standard input can carry commands, the console. Throws when the address cannot be bound.
    void start();

    // Waits on the main thread until SIGINT, SIGTERM or "quit"; stops the console alone when
    // its input ends.
    void runUntilStopped();

    // Shuts everything down in order; idempotent.
    void stop();

    unsigned short port() const { return m_port; }
    const Catalogue& catalogue() const { return m_catalogue; }

private:
    void onRequest(HttpRequest request, Responder respond);
    void answer(const ApiRequest& request, const std::string& linkHost, const Responder& respond);
    std::string linkHostOf(const std::string& hostHeader) const;
    void startStatisticsTimer();
    void startConsole();
    void stopConsole();
    void log(const std::string& message) const;

    const Options m_options;
    MainThreadEvents& m_events;
    orv::common::types::SmartPtr<orv::common::logging::LogWriter> m_log;
    Catalogue m_catalogue;
    Statistics m_statistics;
    std::unique_ptr<MediaRoutes> m_routes;
    std::string m_notFoundBody;  // the fixed answer outside /media
    std::string m_faultPath;     // a test's path that fails inside the service; empty: none
    unsigned short m_port = 0;

    // Declared in the order of destruction's needs: the decoupler (below) goes before the HTTP
    // server, because queued requests hold the server's connections.
    std::unique_ptr<HttpServer> m_server;
    std::unique_ptr<orv::bafu::DefaultDecoupler> m_decoupler;
    unsigned int m_requestUserId = 0;
    std::unique_ptr<orv::bafu::timer::Manager> m_timers;
    std::unique_ptr<orv::bafu::terminal::Input> m_terminal;
    std::unique_ptr<Console> m_console;
};

}  // namespace mediaservice
