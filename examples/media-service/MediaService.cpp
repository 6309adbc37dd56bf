// Wiring and lifecycle of the media service, and the road of a request through the decoupler.

#include "MediaService.h"

#include <sys/resource.h>

#include <algorithm>
#include <cstdlib>
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

using orv::nol::common::Utils;

constexpr unsigned int kSlowRequestMilliseconds = 1000;
constexpr unsigned int kStatisticsMilliseconds = 10000;
// The priority the framework's own components use: requests, timer expiries and console
// commands take turns in arrival order.
constexpr unsigned char kRequestPriority = 128;
// Descriptors kept free of connections: the listener, the log, the console, the signalfd.
constexpr rlim_t kSpareDescriptors = 64;
constexpr const char* kHealthPath = "/health";
constexpr const char* kHealthBody = R"({"status":"ok"})";
// Set in the environment of a test, a request for exactly this path fails inside the service:
// the road of a fault from the worker to its 500 answer is tested without a faulty catalogue.
constexpr const char* kFaultPathVariable = "ORV_MEDIA_SERVICE_FAULT_PATH";

bool isMediaPath(const std::string& path) {
    const std::string prefix = std::string("/") + kServiceSegment;
    return path == prefix || path.compare(0, prefix.size() + 1, prefix + "/") == 0;
}

HttpReply replyOf(int status, std::string body) {
    return HttpReply{status, statusText(status), std::move(body), "application/json", {}};
}

std::string errorJson(int status, const std::string& message) {
    return Utils::jsonOfDataValue(*errorBody(static_cast<HttpStatusCode>(status), message), "");
}

// Raises the soft limit of open descriptors to the hard one, so that the connection cap, not
// the descriptors, decides how many clients are served; returns the limit in force.
rlim_t raiseDescriptorLimit() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) {
        return RLIM_INFINITY;
    }
    if (limit.rlim_cur < limit.rlim_max) {
        rlimit raised{limit.rlim_max, limit.rlim_max};
        if (setrlimit(RLIMIT_NOFILE, &raised) == 0) {
            return raised.rlim_cur;
        }
    }
    return limit.rlim_cur;
}

// "/media/tracks?$limit=3" split into the path and the query text after the "?".
ApiRequest apiRequestOf(HttpRequest request) {
    const std::size_t question = request.target.find('?');
    std::string queryText =
        question == std::string::npos ? std::string() : request.target.substr(question + 1);
    request.target.resize(std::min(question, request.target.size()));
    // HEAD is answered as GET; the server leaves out the body.
    std::string method = request.method == "HEAD" ? std::string("GET") : request.method;
    return ApiRequest{std::move(method), std::move(request.target), std::move(queryText),
                      std::move(request.body)};
}

}  // namespace

MediaService::MediaService(const Options& options, MainThreadEvents& events)
    : m_options(options),
      m_events(events),
      m_log(new orv::common::logging::LogWriter("media-service")),
      m_catalogue(options.catalogueFile.empty() ? makeDefaultCatalogue()
                                                : loadCatalogueFile(options.catalogueFile)) {
    // Read before any thread of the service starts.
    if (const char* faultPath = std::getenv(kFaultPathVariable)) {  // NOLINT(concurrency-mt-unsafe)
        m_faultPath = faultPath;
    }
}

MediaService::~MediaService() {
    stop();
}

void MediaService::start() {
    m_decoupler = std::make_unique<orv::bafu::DefaultDecoupler>("MediaRequests");
    m_requestUserId = m_decoupler->createUserId();

    HttpLimits limits = m_options.limits;
    const rlim_t descriptors = raiseDescriptorLimit();
    if (descriptors != RLIM_INFINITY && limits.maxConnections + kSpareDescriptors > descriptors) {
        limits.maxConnections =
            descriptors > 2 * kSpareDescriptors ? descriptors - kSpareDescriptors : descriptors / 2;
        log("connections capped at " + std::to_string(limits.maxConnections) + ": only " +
            std::to_string(descriptors) + " descriptors");
    }
    m_server = std::make_unique<HttpServer>(
        [this](HttpRequest request, Responder respond) {
            onRequest(std::move(request), std::move(respond));
        },
        [this](int status, const std::string& message) {
            m_statistics.countAnswer(status);
            return replyOf(status, errorJson(status, message));
        },
        [this](const std::string& line) { log(line); }, limits);
    m_port = m_server->listen(m_options.host, m_options.port);
    m_routes = std::make_unique<MediaRoutes>(m_catalogue, m_port);
    m_notFoundBody = errorJson(static_cast<int>(HttpStatusCode::NotFound),
                               "nothing here; the service lives under /media");
    m_server->run(m_options.httpThreads);

    startStatisticsTimer();
    startConsole();
}

void MediaService::onRequest(HttpRequest request, Responder respond) {
    const std::string linkHost = linkHostOf(request.host);
    ApiRequest apiRequest = apiRequestOf(std::move(request));
    if (apiRequest.path == kHealthPath && apiRequest.method == "GET") {
        // Straight from the I/O thread: a busy worker does not make the service look dead.
        m_statistics.countAnswer(static_cast<int>(HttpStatusCode::Ok));
        respond(replyOf(static_cast<int>(HttpStatusCode::Ok), kHealthBody));
        return;
    }
    if (!isMediaPath(apiRequest.path)) {
        // The fixed answer, straight from the I/O thread: no catalogue, no decoupler.
        m_statistics.countAnswer(static_cast<int>(HttpStatusCode::NotFound));
        respond(replyOf(static_cast<int>(HttpStatusCode::NotFound), m_notFoundBody));
        return;
    }
    auto watch = std::make_shared<orv::bafu::WatchGuard>(
        [this, what = apiRequest.method + " " + apiRequest.path] {
            m_statistics.countSlowRequest();
            log("slow request: " + what + " still running after 1 s");
        },
        kSlowRequestMilliseconds);
    m_decoupler->call(
        [this, request = std::move(apiRequest), linkHost, respond = std::move(respond), watch] {
            answer(request, linkHost, respond);
            watch->finish();
        },
        m_requestUserId, kRequestPriority);
}

// Runs on the decoupler's worker thread. Nothing may escape from here: an exception would end
// the worker, and with it the service. A failure is answered 500; its reason goes to the log
// only.
void MediaService::answer(const ApiRequest& request, const std::string& linkHost,
                          const Responder& respond) {
    HttpReply reply;
    try {
        if (!m_faultPath.empty() && request.path == m_faultPath) {
            throw std::runtime_error("a fault injected through " + std::string(kFaultPathVariable));
        }
        const ApiResponse response = m_routes->handle(request);
        reply = replyOf(static_cast<int>(response.status),
                        Utils::jsonOfDataValue(*response.body, linkHost));
        if (!response.allow.empty()) {
            reply.headers.emplace_back("Allow", response.allow);
        }
    } catch (const std::exception& error) {
        log("request failed: " + request.method + " " + request.path + ": " + error.what());
        const int status = static_cast<int>(HttpStatusCode::InternalServerError);
        reply = replyOf(status, errorJson(status, "the service failed to answer this request"));
    }
    m_statistics.countAnswer(reply.status);
    respond(std::move(reply));
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
        kStatisticsMilliseconds, true);
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
        const std::size_t left = m_server->shutdown(m_options.stopGrace);
        if (left > 0) {
            log(std::to_string(left) + " connections still open after the stop's grace time");
        }
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
