// The Boost.Beast side of HttpServer: one listener, one session per connection. A session waits
// for a request's first byte (idle deadline), reads its header (header deadline) and body, hands
// it to the handler, writes the reply (write deadline) and starts over, until the client closes,
// a deadline passes or a reply closes the connection. Deadlines are one timer per session that
// cancels the socket's operations, so that a request cut off in the middle can still be answered.

#include "HttpServer.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <unordered_map>
#include <utility>
#include <vector>

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/strand.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

namespace mediaservice {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using tcp = asio::ip::tcp;

namespace {

constexpr const char* kServerName = "orv-media-service";
// After a reply that closes the connection, input still coming is read and dropped this long,
// so that the client reads the reply rather than a reset.
constexpr std::chrono::milliseconds kDrainTime{1000};
constexpr std::size_t kDrainChunkBytes = 4096;
// How long the listener rests after running out of descriptors before it accepts again.
constexpr std::chrono::milliseconds kAcceptRetryDelay{100};
// The request line around its target: method, blanks, version and line end.
constexpr std::size_t kRequestLineSlack = 32;
constexpr const char* kRetryAfterSeconds = "1";
// What a connection waiting for its next request reads at once when it comes.
constexpr std::size_t kFirstReadBytes = 4096;

using Clock = asio::steady_timer::clock_type;

class Session;

// What the listener and every session share; sessions hold it, so it outlives the last one.
struct ServerState {
    RequestHandler handler;
    ErrorReplies errorReplies;
    HttpLog log;
    HttpLimits limits;

    std::mutex lock;  // guards sessions
    std::unordered_map<Session*, std::weak_ptr<Session>> sessions;
    std::condition_variable emptied;
    std::atomic<bool> draining{false};  // set once, when the server shuts down

    std::size_t sessionCount() {
        std::lock_guard<std::mutex> guard(lock);
        return sessions.size();
    }
    bool isDraining() const { return draining.load(std::memory_order_acquire); }
};

bool isHttpError(const beast::error_code& error) {
    return error.category() == http::make_error_code(http::error::bad_target).category();
}

class Session : public std::enable_shared_from_this<Session> {
public:
    Session(tcp::socket&& socket, std::shared_ptr<ServerState> state)
        : m_socket(std::move(socket)),
          m_timer(m_socket.get_executor()),
          m_state(std::move(state)) {}

    ~Session() {
        try {
            std::lock_guard<std::mutex> guard(m_state->lock);
            m_state->sessions.erase(this);
            if (m_state->sessions.empty()) {
                m_state->emptied.notify_all();
            }
        } catch (const std::system_error&) {
            // the lock failed: the entry stays, and a shutdown waits out its grace time
        }
    }

    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // Serves the connection; `overloaded`: answers 503 at once and closes.
    void start(bool overloaded) {
        {
            std::lock_guard<std::mutex> guard(m_state->lock);
            m_state->sessions.emplace(this, weak_from_this());
        }
        asio::dispatch(m_socket.get_executor(), [self = shared_from_this(), overloaded] {
            if (overloaded) {
                self->refuse(503, "too many connections; try again shortly");
            } else {
                self->waitForRequest();
            }
        });
    }

    // The server shuts down: a connection waiting for its next request closes now; the others
    // close after their current reply.
    void onDraining() {
        asio::dispatch(m_socket.get_executor(), [self = shared_from_this()] {
            if (self->m_phase == Phase::Idle) {
                self->closeNow();
            }
        });
    }

private:
    enum class Phase { Idle, Reading, Handling, Writing, Closing };

    void waitForRequest() {
        if (m_state->isDraining()) {
            closeNow();
            return;
        }
        if (m_buffer.size() > 0) {  // the next request of a pipeline is here already
            readHeader();
            return;
        }
        m_phase = Phase::Idle;
        arm(m_state->limits.idleTimeout);
        m_socket.async_read_some(
            m_buffer.prepare(kFirstReadBytes),
            [self = shared_from_this()](beast::error_code error, std::size_t bytes) {
                if (error) {
                    self->closeNow();  // idle too long, closed, or the server shuts down
                } else {
                    self->m_buffer.commit(bytes);
                    self->readHeader();
                }
            });
    }

    void readHeader() {
        const HttpLimits& limits = m_state->limits;
        m_phase = Phase::Reading;
        m_parser.emplace();
        // Beast has one limit for request line and header fields; onHeader() tells them apart.
        m_parser->header_limit(static_cast<std::uint32_t>(
            limits.maxTargetBytes + kRequestLineSlack + limits.maxHeaderBytes));
        m_parser->body_limit(limits.maxBodyBytes);
        arm(limits.headerTimeout);
        http::async_read_header(m_socket, m_buffer, *m_parser,
                                beast::bind_front_handler(&Session::onHeader, shared_from_this()));
    }

    void onHeader(beast::error_code error, std::size_t bytes) {
        if (error) {
            onReadError(error);
            return;
        }
        const auto& request = m_parser->get();
        const HttpLimits& limits = m_state->limits;
        const std::size_t lineBytes =
            request.method_string().size() + request.target().size() + kRequestLineSlack;
        if (request.target().size() > limits.maxTargetBytes) {
            refuse(414, "the request target is longer than " +
                            std::to_string(limits.maxTargetBytes) + " bytes");
        } else if (bytes > lineBytes + limits.maxHeaderBytes) {
            refuse(431, "the header fields are longer than " +
                            std::to_string(limits.maxHeaderBytes) + " bytes");
        } else if (m_parser->is_done()) {
            handOver();
        } else {
            arm(limits.idleTimeout);
            http::async_read(m_socket, m_buffer, *m_parser,
                             beast::bind_front_handler(&Session::onBody, shared_from_this()));
        }
    }

    void onBody(beast::error_code error, std::size_t /*bytes*/) {
        if (error) {
            onReadError(error);
        } else {
            handOver();
        }
    }

    void onReadError(const beast::error_code& error) {
        const HttpLimits& limits = m_state->limits;
        if (m_timedOut) {
            refuse(408, "the request did not arrive in time");
        } else if (error == http::error::header_limit) {
            // The parser takes in the request line first: without a target it was the line
            // that ran over, so the target is too long; otherwise the fields are.
            if (m_parser->get().target().empty()) {
                refuse(414, "the request target is longer than " +
                                std::to_string(limits.maxTargetBytes) + " bytes");
            } else {
                refuse(431, "the header fields are longer than " +
                                std::to_string(limits.maxHeaderBytes) + " bytes");
            }
        } else if (error == http::error::body_limit) {
            refuse(413,
                   "the body is larger than " + std::to_string(limits.maxBodyBytes) + " bytes");
        } else if (isHttpError(error) && error != http::error::end_of_stream &&
                   error != http::error::partial_message) {
            refuse(400, "malformed request: " + error.message());
        } else {
            closeNow();  // the client has closed or reset the connection
        }
    }

    void handOver() {
        m_phase = Phase::Handling;
        disarm();
        auto& message = m_parser->get();
        m_head = message.method() == http::verb::head;
        m_keepAlive = message.keep_alive();
        m_version = message.version();
        HttpRequest request{std::string(message.method_string()), std::string(message.target()),
                            std::string(message[http::field::host]), std::move(message.body())};
        m_parser.reset();
        auto self = shared_from_this();
        try {
            m_state->handler(std::move(request), [self](HttpReply reply) {
                // Back onto the connection's strand, whichever thread the reply came from.
                asio::post(self->m_socket.get_executor(),
                           [self, reply = std::move(reply)]() mutable {
                               self->write(std::move(reply), false);
                           });
            });
        } catch (const std::exception&) {
            refuse(500, "the request could not be handled");
        }
    }

    // A request the server answers itself; the connection closes after the reply.
    void refuse(int status, const std::string& message) {
        m_head = false;
        m_version = 11;
        HttpReply reply;
        try {
            reply = m_state->errorReplies(status, message);
        } catch (const std::exception&) {
            reply = HttpReply{status, "Error", "", "application/json", {}};
        }
        if (status == 503) {
            reply.headers.emplace_back("Retry-After", kRetryAfterSeconds);
        }
        write(std::move(reply), true);
    }

    void write(HttpReply reply, bool close) {
        m_phase = Phase::Writing;
        m_response = {};
        m_response.version(m_version);
        m_response.result(static_cast<unsigned>(reply.status));
        m_response.reason(reply.reason);
        m_response.set(http::field::server, kServerName);
        m_response.set(http::field::content_type, reply.contentType);
        for (const auto& [name, value] : reply.headers) {
            m_response.set(name, value);
        }
        const std::size_t bodyBytes = reply.body.size();
        if (!m_head) {
            m_response.body() = std::move(reply.body);
        }
        m_response.content_length(bodyBytes);
        m_response.keep_alive(m_keepAlive && !close && !m_state->isDraining());
        arm(m_state->limits.writeTimeout);
        http::async_write(m_socket, m_response,
                          beast::bind_front_handler(&Session::onWritten, shared_from_this()));
    }

    void onWritten(beast::error_code error, std::size_t /*bytes*/) {
        disarm();
        if (error) {
            closeNow();
        } else if (m_response.keep_alive()) {
            waitForRequest();
        } else {
            closeGracefully();
        }
    }

    // Ends sending, then reads and drops what the client still sends for a short while, so
    // that the reply is not lost to a reset caused by unread input.
    void closeGracefully() {
        m_phase = Phase::Closing;
        beast::error_code ignored;
        m_socket.shutdown(tcp::socket::shutdown_send, ignored);
        arm(kDrainTime);
        drain();
    }

    void drain() {
        if (!m_drained) {
            m_drained = std::make_unique<std::array<char, kDrainChunkBytes>>();
        }
        m_socket.async_read_some(
            asio::buffer(*m_drained),
            [self = shared_from_this()](beast::error_code error, std::size_t /*bytes*/) {
                if (error) {
                    self->closeNow();
                } else {
                    self->drain();
                }
            });
    }

    void closeNow() {
        disarm();
        m_timer.cancel();  // lets go of the session at once
        beast::error_code ignored;
        m_socket.close(ignored);
    }

    // One deadline at a time: a new one replaces the last; when it passes, the socket's
    // operations are cancelled and their handlers see m_timedOut. Setting a deadline is mostly
    // an assignment: the timer is restarted only for a deadline earlier than its expiry, and
    // a timer that wakes before the deadline in force waits again.
    void arm(std::chrono::milliseconds timeout) {
        m_timedOut = false;
        m_deadline = Clock::now() + timeout;
        if (!m_timerWaiting || m_deadline < m_timer.expiry()) {
            startTimer();
        }
    }

    void disarm() { m_deadline = Clock::time_point::max(); }

    void startTimer() {
        m_timer.expires_at(m_deadline);  // a wait still pending ends as operation_aborted
        m_timerWaiting = true;
        m_timer.async_wait(
            [self = shared_from_this(), generation = ++m_generation](beast::error_code error) {
                if (generation != self->m_generation) {
                    return;  // replaced by a later wait
                }
                self->m_timerWaiting = false;
                if (error || self->m_deadline == Clock::time_point::max()) {
                    return;
                }
                if (self->m_deadline > Clock::now()) {
                    self->startTimer();
                    return;
                }
                self->m_timedOut = true;
                beast::error_code ignored;
                self->m_socket.cancel(ignored);
            });
    }

    tcp::socket m_socket;
    asio::steady_timer m_timer;
    std::shared_ptr<ServerState> m_state;
    Phase m_phase = Phase::Idle;
    Clock::time_point m_deadline = Clock::time_point::max();  // max: none
    std::uint64_t m_generation = 0;                           // of the timer's current wait
    bool m_timerWaiting = false;
    bool m_timedOut = false;
    beast::flat_buffer m_buffer;
    std::optional<http::request_parser<http::string_body>> m_parser;
    http::response<http::string_body> m_response;
    bool m_head = false;
    bool m_keepAlive = false;
    unsigned m_version = 11;
    std::unique_ptr<std::array<char, kDrainChunkBytes>> m_drained;  // only while closing
};

bool outOfDescriptors(const beast::error_code& error) {
    return error == asio::error::no_descriptors || error == asio::error::no_buffer_space ||
           error == asio::error::no_memory ||
           error == boost::system::errc::too_many_files_open_in_system;
}

}  // namespace

struct HttpServer::Impl {
    explicit Impl(std::shared_ptr<ServerState> serverState) : state(std::move(serverState)) {}

    // Accepting goes on after every error; only closing the listener ends it. Errors are
    // logged once per run of failures; after running out of descriptors the listener rests
    // briefly, so that closing connections can free some.
    void acceptNext() {
        acceptor.async_accept(asio::make_strand(io),
                              [this](beast::error_code error, tcp::socket socket) {
                                  onAccept(error, std::move(socket));
                              });
    }

    void onAccept(const beast::error_code& error, tcp::socket socket) {
        if (error == asio::error::operation_aborted || !acceptor.is_open()) {
            return;
        }
        if (error) {
            if (failedAccepts++ == 0) {
                state->log("accept failed: " + error.message() + "; the listener goes on");
            }
            if (outOfDescriptors(error)) {
                retry.expires_after(kAcceptRetryDelay);
                retry.async_wait([this](beast::error_code waited) {
                    if (!waited) {
                        acceptNext();
                    }
                });
            } else {
                acceptNext();
            }
            return;
        }
        if (failedAccepts > 0) {
            state->log("accepting again after " + std::to_string(failedAccepts) +
                       " failed accepts");
            failedAccepts = 0;
        }
        const bool overloaded = state->sessionCount() >= state->limits.maxConnections;
        std::make_shared<Session>(std::move(socket), state)->start(overloaded);
        acceptNext();
    }

    std::shared_ptr<ServerState> state;
    asio::io_context io;
    // The listener's handlers and the shutdown's close run on one strand.
    asio::strand<asio::io_context::executor_type> listenerStrand{io.get_executor()};
    tcp::acceptor acceptor{listenerStrand};
    asio::steady_timer retry{listenerStrand};
    std::uint64_t failedAccepts = 0;  // in the current run of failures
    std::vector<std::thread> threads;
};

HttpServer::HttpServer(RequestHandler handler, ErrorReplies errorReplies, HttpLog log,
                       HttpLimits limits) {
    auto state = std::make_shared<ServerState>();
    state->handler = std::move(handler);
    state->errorReplies = std::move(errorReplies);
    state->log = std::move(log);
    state->limits = limits;
    m_impl = std::make_unique<Impl>(std::move(state));
}

HttpServer::~HttpServer() {
    stop();
}

unsigned short HttpServer::listen(const std::string& host, unsigned short port) {
    tcp::resolver resolver(m_impl->io);
    const tcp::endpoint endpoint =
        resolver.resolve(host, std::to_string(port), tcp::resolver::passive)->endpoint();
    tcp::acceptor& acceptor = m_impl->acceptor;
    acceptor.open(endpoint.protocol());
    acceptor.set_option(asio::socket_base::reuse_address(true));
    acceptor.bind(endpoint);
    acceptor.listen(asio::socket_base::max_listen_connections);
    return acceptor.local_endpoint().port();
}

void HttpServer::run(unsigned int threadCount) {
    asio::post(m_impl->listenerStrand, [impl = m_impl.get()] { impl->acceptNext(); });
    for (unsigned int i = 0; i < std::max(threadCount, 1U); ++i) {
        m_impl->threads.emplace_back([this] { m_impl->io.run(); });
    }
}

std::size_t HttpServer::shutdown(std::chrono::milliseconds grace) {
    if (m_impl->threads.empty()) {
        return 0;
    }
    asio::post(m_impl->listenerStrand, [impl = m_impl.get()] {
        beast::error_code ignored;
        impl->acceptor.close(ignored);
        impl->retry.cancel();
    });
    ServerState& state = *m_impl->state;
    std::vector<std::shared_ptr<Session>> open;
    {
        std::lock_guard<std::mutex> guard(state.lock);
        state.draining.store(true, std::memory_order_release);
        for (const auto& entry : state.sessions) {
            if (auto session = entry.second.lock()) {
                open.push_back(std::move(session));
            }
        }
    }
    for (const auto& session : open) {
        session->onDraining();
    }
    open.clear();
    std::size_t left = 0;
    {
        std::unique_lock<std::mutex> guard(state.lock);
        state.emptied.wait_for(guard, grace, [&] { return state.sessions.empty(); });
        left = state.sessions.size();
    }
    stop();
    return left;
}

void HttpServer::stop() {
    m_impl->io.stop();
    for (std::thread& thread : m_impl->threads) {
        thread.join();
    }
    m_impl->threads.clear();
    beast::error_code ignored;
    m_impl->acceptor.close(ignored);
}

}  // namespace mediaservice
