#pragma once

// A small HTTP/1.1 server on Boost.Beast: it reads requests on a few I/O threads, hands each to
// one handler and writes the reply the handler gives back, with keep-alive. The handler may
// answer at once or later from any thread; the reply carries its own reason phrase, so the
// status line shows the text the service chooses.
//
// Boost stays inside HttpServer.cpp; the rest of the service sees only these types.

#include <functional>
#include <memory>
#include <string>

namespace mediaservice {

struct HttpRequest {
    std::string method;  // "GET", "POST", ...
    std::string target;  // as sent: path and query string, still %-encoded
    std::string host;    // the Host header ("127.0.0.1:8080", "[::1]:8080"), may be empty
    std::string body;
};

struct HttpReply {
    int status = 200;
    std::string reason;  // for the status line: "HTTP/1.1 404 NotFound"
    std::string body;
    std::string contentType = "application/json";
};

// Sends the reply of one request; may be called from any thread, at most once. A request
// whose responder is destroyed uncalled has its connection closed.
using Responder = std::function<void(HttpReply)>;

// Called on an I/O thread for every request; must not throw and must not block for long.
using RequestHandler = std::function<void(HttpRequest, Responder)>;

class HttpServer {
public:
    explicit HttpServer(RequestHandler handler);
    // Stops the server if it still runs. Responders still held elsewhere must be destroyed
    // before the server.
    ~HttpServer();

    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    // Binds to `host` (a name or address) and `port` (0: any free port) and listens; returns
    // the port. Throws std::exception with the reason when the address cannot be bound.
    // Connections wait until run().
    unsigned short listen(const std::string& host, unsigned short port);

    // Starts `threadCount` I/O threads (at least one), which accept and serve connections.
    void run(unsigned int threadCount);

    // Closes the listener and every connection and joins the I/O threads. Replies sent after
    // this are dropped. Idempotent.
    void stop();

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace mediaservice
