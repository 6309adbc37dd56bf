// Wiring and lifecycle of the media service, and the road of a request through the decoupler.

#include "MediaService.h"

#include <exception>
#include <stdexcept>
#include <utility>

#include "Rendering.h"
#include "orv/bafu/WatchGuard.h"
#include "orv/bafu/terminal/Factory.h"
#include "orv/bafu/timer/Factory.h"
#include "orv/nol/common/UriUtils.h"
#include "orv/nol/common/Utils.h"

namespace mediaservice {

namespace {

using orv::nol::common::convertStatusCodeToString;
using orv::nol::common::Utils;

constexpr unsigned int SlowRequestMilliseconds = 1000;
constexpr unsigned int StatisticsMilliseconds = 10000;
// The priority the framework's own components use: requests, timer expiries and console
// commands take turns in arrival order.
constexpr unsigned char RequestPriority = 128;

bool isMediaPath(const std::string& target) {
    const std::string path = target.substr(0, target.find('?'));
    const std::string prefix = std::string("/") + ServiceSegment;
    return path == prefix || path.compare(0, prefix.size() + 1, prefix + "/") == 0;
}

HttpReply replyOf(HttpStatusCode status, std::string body) {
    return HttpReply{static_cast<int>(status), convertStatusCodeToString(status), std::move(body)};
}

}  // namespace

MediaService::MediaService(const Options& options, MainThreadEvents& events)
    : m_options(options),
      m_events(events),
      m_log(new orv::common::logging::LogWriter("media-service")),
      m_catalogue(options.catalogueFile.empty() ? makeDefaultCatalogue()
                                                : loadCatalogueFile(options.catalogueFile)) {}

MediaService::~MediaService() {
    stop();
}

void MediaService::start() {
    m_decoupler = std::make_unique<orv::bafu::DefaultDecoupler>("MediaRequests");
    m_requestUserId = m_decoupler->createUserId();

    m_server = std::make_unique<HttpServer>([this](HttpRequest request, Responder respond) {
        onRequest(std::move(request), std::move(respond));
    });
    m_port = m_server->listen(m_options.host, m_options.port);
    m_routes = std::make_unique<MediaRoutes>(m_catalogue, m_port);
    m_notFoundBody = Utils::jsonOfDataValue(
        *errorBody(HttpStatusCode::NotFound, "nothing here; the service lives under /media"), "");
    m_server->run(m_options.httpThreads);

    startStatisticsTimer();
    startConsole();
}

void MediaService::onRequest(HttpRequest request, Responder respond) {
    if (!isMediaPath(request.target)) {
        // The fixed answer, straight from the I/O thread: no catalogue, no decoupler.
        m_statistics.countAnswer(static_cast<int>(HttpStatusCode::NotFound));
        respond(replyOf(HttpStatusCode::NotFound, m_notFoundBody));
        return;
    }
    const std::string linkHost = linkHostOf(request.host);
    auto watch = std::make_shared<orv::bafu::WatchGuard>(
        [this, what = request.method + " " + request.target] {
            m_statistics.countSlowRequest();
            log("slow request: " + what + " still running after 1 s");
        },
        SlowRequestMilliseconds);
    m_decoupler->call(
        [this, request = std::move(request), linkHost, respond = std::move(respond), watch] {
            answer(request, linkHost, respond);
            watch->finish();
        },
        m_requestUserId, RequestPriority);
}

// Runs on the decoupler's worker thread. Nothing may escape from here: an exception would end
// the worker, and with it the service.
void MediaService::answer(const HttpRequest& request, const std::string& linkHost,
                          const Responder& respond) {
    try {
        const ApiResponse response =
            m_routes->handle(ApiRequest{request.method, request.target, request.body});
        HttpReply reply =
            replyOf(response.status, Utils::jsonOfDataValue(*response.body, linkHost));
        m_statistics.countAnswer(reply.status);
        respond(std::move(reply));
    } catch (const std::exception& error) {
        log(std::string("request failed: ") + error.what());
        m_statistics.countAnswer(static_cast<int>(HttpStatusCode::InternalServerError));
    }
}

// The host that completes the links of an answer: the one the client used, from its Host
// header ("[::1]:8080" gives "::1", which the JSON writer puts back in brackets), or the bound
// address when the header is missing or unreadable.
std::string MediaService::linkHostOf(const std::string& hostHeader) const {
    orv::nol::common::UriInfos uri;
    try {
        if (!hostHeader.empty() &&
            orv::nol::common::retrieveUriInfos("http://" + hostHeader, uri) && !uri.host.empty()) {
            return uri.host;
        }
    } catch (const std::exception&) {
        // a port that is no number
    }
    return m_options.host;
}

void MediaService::startStatisticsTimer() {
    m_timers = orv::bafu::timer::Factory::create("MediaStatistics");
    m_timers->setOptional_Decoupler(m_decoupler.get());
    if (!m_timers->init()) {
        throw std::runtime_error("the statistics timer did not start");
    }
    m_timers->getProvided_Manager().startTimer(
        [this](unsigned long /*timerId*/) {
            try {
                log(m_statistics.line(m_catalogue));
            } catch (const std::exception&) {
                // a line lost; the next one comes in 10 s
            }
        },
        StatisticsMilliseconds, true);
}

void MediaService::startConsole() {
    std::string reason = "--no-console";
    if (!m_options.console || !Console::standardInputUsable(reason)) {
        log("console off: " + reason);
        return;
    }
    m_console = std::make_unique<Console>(*m_routes, m_statistics, m_options.host, m_events);
    m_terminal = orv::bafu::terminal::Factory::create("MediaConsole");
    m_terminal->setOptional_Decoupler(m_decoupler.get());
    m_console->registerCommands(m_terminal->getProvided_Input());
    if (!m_terminal->init()) {
        log("console off: the terminal did not start");
        stopConsole();
    }
}

void MediaService::stopConsole() {
    if (m_terminal) {
        m_terminal->shutdown();
        m_terminal.reset();
    }
    m_console.reset();
}

void MediaService::runUntilStopped() {
    for (;;) {
        switch (m_events.wait()) {
            case MainThreadEvents::Event::ConsoleInputEnded:
                log("standard input has ended: console stopped, the service goes on "
                    "(stop it with Ctrl-C or SIGTERM)");
                stopConsole();
                break;
            case MainThreadEvents::Event::Signal:
                log("signal received: stopping");
                return;
            case MainThreadEvents::Event::Quit:
                log("quit: stopping");
                return;
        }
    }
}

void MediaService::stop() {
    if (m_server) {
        m_server->stop();
    }
    stopConsole();
    if (m_timers) {
        m_timers->shutdown();
        m_timers.reset();
    }
    m_decoupler.reset();
    m_server.reset();
}

void MediaService::log(const std::string& message) const {
    m_log->write(orv::common::logging::LogWriter::DefaultLevel, message);
}

}  // namespace mediaservice
