// The listener outlives running out of descriptors: a connection that arrives while the process
// has none left waits in the backlog and is answered once descriptors are free again. Only a
// test inside the server's process can take its descriptors away; the end-to-end script covers
// everything else the server answers.

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <mutex>
#include <string>
#include <vector>

#include "HttpServer.h"
#include "support/Concurrency.h"

// Present when UBSan checks dynamic types. That check opens a pipe to probe memory; with no
// descriptor left it reports a sound object as one with an invalid vptr, so the test cannot run
// under it (it runs in the release and tsan presets).
extern "C" void __ubsan_handle_dynamic_type_cache_miss_abort(...) __attribute__((weak));

namespace mediaservice {
namespace {

class LogLines {
public:
    void add(const std::string& line) {
        std::lock_guard<std::mutex> guard(m_lock);
        m_text += line + "\n";
    }
    bool holds(const std::string& part) {
        std::lock_guard<std::mutex> guard(m_lock);
        return m_text.find(part) != std::string::npos;
    }

private:
    std::mutex m_lock;
    std::string m_text;
};

// Takes every free descriptor below a lowered soft limit; gives them and the limit back.
class DescriptorDrought {
public:
    DescriptorDrought() {
        getrlimit(RLIMIT_NOFILE, &m_saved);
        const int firstFree = open("/dev/null", O_RDONLY);
        close(firstFree);
        const rlimit lowered{static_cast<rlim_t>(firstFree) + 16, m_saved.rlim_max};
        setrlimit(RLIMIT_NOFILE, &lowered);
        for (int fd = open("/dev/null", O_RDONLY); fd >= 0; fd = open("/dev/null", O_RDONLY)) {
            m_taken.push_back(fd);
        }
        m_exhausted = errno == EMFILE;
    }
    ~DescriptorDrought() { end(); }
    DescriptorDrought(const DescriptorDrought&) = delete;
    DescriptorDrought& operator=(const DescriptorDrought&) = delete;

    // True when no descriptor is left and at least one was taken (to give back).
    bool exhausted() const { return m_exhausted && !m_taken.empty(); }
    void giveOneBack() {
        close(m_taken.back());
        m_taken.pop_back();
    }
    void end() {
        for (const int fd : m_taken) {
            close(fd);
        }
        m_taken.clear();
        setrlimit(RLIMIT_NOFILE, &m_saved);
    }

private:
    rlimit m_saved{};
    std::vector<int> m_taken;
    bool m_exhausted = false;
};

int connectTo(unsigned short port) {
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    if (fd < 0) {
        return -1;
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const timeval patience{30, 0};  // a server that never answers fails the test, not hangs it
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): the sockets API takes it so
    if (connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        close(fd);
        return -1;
    }
    return fd;
}

std::string exchange(int fd, const std::string& request) {
    send(fd, request.data(), request.size(), 0);
    std::string received;
    char chunk[512];
    for (ssize_t got = recv(fd, chunk, sizeof chunk, 0); got > 0;
         got = recv(fd, chunk, sizeof chunk, 0)) {
        received.append(chunk, static_cast<std::size_t>(got));
    }
    return received;
}

TEST(HttpServer, AcceptsAgainAfterRunningOutOfDescriptors) {
    if (&__ubsan_handle_dynamic_type_cache_miss_abort != nullptr) {
        GTEST_SKIP() << "UBSan's vptr check needs descriptors of its own";
    }
    LogLines log;
    const auto answerOk = [](HttpRequest, Responder respond) {
        respond(HttpReply{200, "OK", "{}", "text/plain", {}});
    };
    const auto refuse = [](int status, const std::string&) {
        return HttpReply{status, "", "", "text/plain", {}};
    };
    HttpServer server(
        answerOk, refuse, [&log](const std::string& line) { log.add(line); }, HttpLimits{});
    const unsigned short port = server.listen("127.0.0.1", 0);
    server.run(1);

    DescriptorDrought drought;
    ASSERT_TRUE(drought.exhausted());
    drought.giveOneBack();  // for the client's socket; the server's accept finds none
    const int client = connectTo(port);
    ASSERT_GE(client, 0);
    EXPECT_TRUE(support::waitUntil([&log] { return log.holds("accept failed: "); }));
    drought.end();

    const std::string answer = exchange(client, "GET / HTTP/1.1\r\nConnection: close\r\n\r\n");
    close(client);
    EXPECT_EQ(answer.rfind("HTTP/1.1 200", 0), 0U) << answer;
    EXPECT_TRUE(log.holds("accepting again after "));
    server.stop();
}

}  // namespace
}  // namespace mediaservice
