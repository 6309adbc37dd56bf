// terminal::Input: command lines read from standard input reach their handlers through the
// decoupler; its messages and lifecycle.

#include "orv/bafu/terminal/Input.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <iostream>
#include <mutex>
#include <numeric>
#include <string>
#include <tuple>
#include <vector>

#include "orv/bafu/DecouplerTestSupport.h"
#include "orv/bafu/terminal/Factory.h"

namespace orv::bafu::terminal {
namespace {

using namespace test_support;

const std::string kNotFound = "Command not found!\n";

// Captures std::cout while it lives; the terminal thread writes while the test reads.
struct CoutCapture : std::streambuf {
    CoutCapture() : previous(std::cout.rdbuf(this)) {}
    ~CoutCapture() override { std::cout.rdbuf(previous); }
    int_type overflow(int_type c) override {
        const std::lock_guard<std::mutex> guard(lock);
        return text.push_back(traits_type::to_char_type(c)), c;
    }
    std::string get() {
        const std::lock_guard<std::mutex> guard(lock);
        return text;
    }
    std::streambuf* previous;
    std::mutex lock;
    std::string text;
};

// Lines typed on a pipe in place of standard input, each dealt with before the next. A line is
// split at the first ':' and then at every ',', nothing trimmed, a last ',' adding nothing. One
// read is one line without its last byte, so lines typed together are one and a long one comes
// in pieces of 128 bytes. Unknown commands are reported, except a typed "_exit". Commands come and
// go while the terminal runs. The shutdown wakes the terminal thread with "_exit" (which
// dispatches a command of that name) and forgets every command. Handlers run on the decoupler's
// thread: with the NoneDecoupler of init(), the terminal thread.
TEST(TerminalInput, TypedLinesReachTheirHandlers) {
    CoutCapture output;
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const int savedStdin = ::dup(STDIN_FILENO);
    ::dup2(ends[0], STDIN_FILENO);
    Notes calls;
    std::atomic<pid_t> terminalThread{0};
    const auto handler = [&](const std::string& name) {
        return [&, name](const Strings& arguments) {
            const auto join = [](std::string all, const std::string& one) {
                return all + one + ";";
            };
            calls.add(std::accumulate(arguments.begin(), arguments.end(), name + "(", join) + ")@" +
                      threadName());
        };
    };
    auto terminal = Factory::create("Terminal");
    ASSERT_TRUE(terminal->getProvided_Input().registerCommand("echo", handler("echo")));
    EXPECT_FALSE(terminal->registerCommand("echo", handler("second")));  // the first stays
    terminal->registerCommand("tid", [&](const Strings&) { terminalThread = gettid(); });
    ASSERT_TRUE(terminal->init() && terminal->init());
    const std::tuple<std::string, std::size_t, std::size_t, std::function<void()>> lines[] = {
        // typed, handler calls and messages in total, what the test does then
        {"echo:a,b\n", 1, 0, [] {}},
        {"echo\n", 2, 0, [] {}},
        {"_exit\n", 2, 0, [] {}},
        {"echo:a,, b:c,\n", 3, 0, [&] { terminal->registerCommand("later", handler("later")); }},
        {"later:1\n", 4, 0, [&] { EXPECT_TRUE(terminal->unregisterCommand("later")); }},
        {"later:2\n", 4, 1, [] {}},
        {"echo:a\necho:b\n", 5, 1, [] {}},
        {"echo:" + std::string(194, 'x') + "\n", 6, 2,
         [&] { terminal->registerCommand("_exit", handler("_exit")); }},
        {"tid\n", 6, 2,
         [&] {
             EXPECT_TRUE(
                 support::waitUntil([&] { return isSleeping(terminalThread); }));  // in poll
             terminal->shutdown();
             EXPECT_TRUE(terminal->init());
         }},
        {"_exit:\n", 7, 3, [&] { terminal->shutdown(); }},
    };
    for (const auto& [typed, handled, messages, then] : lines) {
        ASSERT_EQ(::write(ends[1], typed.data(), typed.size()), static_cast<ssize_t>(typed.size()));
        ASSERT_TRUE(support::waitUntil([&, handled = handled, messages = messages] {
            int unread = 0;
            return ::ioctl(STDIN_FILENO, FIONREAD, &unread) == 0 && unread == 0 &&
                   calls.get().size() == handled &&
                   output.get().size() == messages * kNotFound.size();
        })) << typed;
        then();
    }
    ::dup2(savedStdin, STDIN_FILENO), ::close(savedStdin), ::close(ends[0]), ::close(ends[1]);
    const std::string at = ")@Terminal";
    EXPECT_EQ(calls.get(), (Strings{"echo(a;b;" + at, "echo(" + at, "echo(a;; b:c;" + at,
                                    "later(1;" + at, "echo(a\necho:b;" + at,
                                    "echo(" + std::string(122, 'x') + ";" + at, "_exit(" + at}));
    EXPECT_EQ(output.get(), kNotFound + kNotFound + kNotFound);
}

}  // namespace
}  // namespace orv::bafu::terminal
