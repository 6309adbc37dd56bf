// The Boost.Beast side of HttpServer: one listener, one session per connection, each reading a
// request, waiting for the handler's reply and writing it, until the client closes or goes idle.

#include "HttpServer.h"

#include <algorithm>
#include <chrono>
#include <thread>
#include <utility>
#include <vector>

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/strand.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

namespace mediaservice {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using tcp = asio::ip::tcp;

namespace {

// A connection with no request for this long is closed; so is one whose reply takes as long
// to write.
constexpr std::chrono::seconds IdleTimeout{30};

constexpr const char* ServerName = "orv-media-service";

class Session : public std::enable_shared_from_this<Session> {
public:
    Session(tcp::socket&& socket, const RequestHandler& handler)
        : m_stream(std::move(socket)), m_handler(handler) {}

    void readRequest() {
        m_request = {};
        m_stream.expires_after(IdleTimeout);
        http::async_read(m_stream, m_buffer, m_request,
                         beast::bind_front_handler(&Session::onRequest, shared_from_this()));
    }

private:
    void onRequest(beast::error_code error, std::size_t /*bytes*/) {
        if (error) {
            // end_of_stream: the client closed; anything else (timeout, reset, a malformed
            // request): drop the connection.
            closeConnection();
            return;
        }
        HttpRequest request{std::string(m_request.method_string()), std::string(m_request.target()),
                            std::string(m_request[http::field::host]), std::move(m_request.body())};
        auto self = shared_from_this();
        m_handler(std::move(request), [self](HttpReply reply) {
            // Back onto the connection's strand, whichever thread the reply came from.
            asio::post(self->m_stream.get_executor(), [self, reply = std::move(reply)]() mutable {
                self->write(std::move(reply));
            });
        });
    }

    void write(HttpReply reply) {
        m_response = {};
        m_response.version(m_request.version());
        m_response.keep_alive(m_request.keep_alive());
        m_response.result(static_cast<unsigned>(reply.status));
        m_response.reason(reply.reason);
        m_response.set(http::field::server, ServerName);
        m_response.set(http::field::content_type, reply.contentType);
        m_response.body() = std::move(reply.body);
        m_response.prepare_payload();
        m_stream.expires_after(IdleTimeout);
        http::async_write(m_stream, m_response,
                          beast::bind_front_handler(&Session::onWritten, shared_from_this()));
    }

    void onWritten(beast::error_code error, std::size_t /*bytes*/) {
        if (error || !m_response.keep_alive()) {
            closeConnection();
            return;
        }
        readRequest();
    }

    void closeConnection() {
        beast::error_code ignored;
        m_stream.socket().shutdown(tcp::socket::shutdown_send, ignored);
    }

    beast::tcp_stream m_stream;
    beast::flat_buffer m_buffer;
    http::request<http::string_body> m_request;
    http::response<http::string_body> m_response;
    const RequestHandler& m_handler;
};

}  // namespace

struct HttpServer::Impl {
    explicit Impl(RequestHandler requestHandler) : handler(std::move(requestHandler)) {}

    void acceptNext() {
        acceptor.async_accept(
            asio::make_strand(io), [this](beast::error_code error, tcp::socket socket) {
                if (error) {
                    return;  // the listener was closed
                }
                std::make_shared<Session>(std::move(socket), handler)->readRequest();
                acceptNext();
            });
    }

    RequestHandler handler;
    asio::io_context io;
    tcp::acceptor acceptor{io};
    std::vector<std::thread> threads;
};

HttpServer::HttpServer(RequestHandler handler)
    : m_impl(std::make_unique<Impl>(std::move(handler))) {}

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
    m_impl->acceptNext();
    for (unsigned int i = 0; i < std::max(threadCount, 1U); ++i) {
        m_impl->threads.emplace_back([this] { m_impl->io.run(); });
    }
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
