#pragma once

// A small HTTP/1.1 server on Boost.Beast: it reads requests on a few I/O threads, hands each to
// one handler and writes the reply the handler gives back, with keep-alive and pipelining. The
// handler may answer at once or later from any thread; the reply carries its own reason phrase,
// so the status line shows the text the service chooses.
//
// Every request that arrives is answered: requests the server refuses itself (malformed 400,
// a trickling header 408, body 413, target 414, header block 431, too many connections 503) get
// the reply the ErrorReplies callback builds, and the connection is then closed. The listener
// survives every accept error; the limits and deadlines are HttpLimits.
//
// Boost stays inside HttpServer.cpp; the rest of the service sees only these types.

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace mediaservice {

struct HttpRequest {
    std::string method;  // "GET", "POST", "HEAD", ...
    std::string target;  // as sent: path and query string, still %-encoded
    std::string host;    // the Host header ("127.0.0.1:8080", "[::1]:8080"), may be empty
    std::string body;
};

struct HttpReply {
    int status = 200;
    std::string reason;  // for the status line: "HTTP/1.1 404 NotFound"
    std::string body;    // left out on the wire when the request was HEAD
    std::string contentType = "application/json";
    std::vector<std::pair<std::string, std::string>> headers;  // more fields: "Allow", ...
};

// What the server accepts and how long it waits. A request over a size limit is refused with
// 413 (body), 414 (target) or 431 (header fields).
struct HttpLimits {
    std::size_t maxBodyBytes = 1024 * 1024;
    std::size_t maxTargetBytes = 8 * 1024;
    std::size_t maxHeaderBytes = 16 * 1024;  // the header fields, without the request line
    std::size_t maxConnections = 2048;       // more are answered with 503 and closed
    // From a request's first byte to the end of its header fields (a keep-alive connection's
    // age does not count); a body then has the idle time to arrive.
    std::chrono::milliseconds headerTimeout{5000};
    std::chrono::milliseconds idleTimeout{30000};   // a connection waiting for its next request
    std::chrono::milliseconds writeTimeout{10000};  // writing one reply
};

// Sends the reply of one request; may be called from any thread, at most once. A request
// whose responder is destroyed uncalled has its connection closed.
using Responder = std::function<void(HttpReply)>;

// Called on an I/O thread for every request; must not throw and must not block for long.
using RequestHandler = std::function<void(HttpRequest, Responder)>;

// Builds the reply of a request the server refuses itself (status and a message for the
// client); called on the I/O threads, must not throw.
using ErrorReplies = std::function<HttpReply(int status, const std::string& message)>;

// Receives the server's own log lines (accept errors); called on the I/O threads.
using HttpLog = std::function<void(const std::string& line)>;

// Thread: listen() and run() from one thread, before the handler can be called; stop() and
// shutdown() from any thread but an I/O thread. Failure: listen() throws; afterwards nothing
// throws, connection errors close that connection.
class HttpServer {
public:
    HttpServer(RequestHandler handler, ErrorReplies errorReplies, HttpLog log, HttpLimits limits);
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

    // Stops accepting, closes idle connections, lets requests in flight be answered (each
    // connection closes after its answer) and waits until no connection is left or `grace`
    // has passed; then stop(). Returns the number of connections still open at the end.
    std::size_t shutdown(std::chrono::milliseconds grace);

    // Closes the listener and every connection and joins the I/O threads. Replies sent after
    // this are dropped. Idempotent.
    void stop();

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace mediaservice
