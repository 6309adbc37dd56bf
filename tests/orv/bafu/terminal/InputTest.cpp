#include "orv/bafu/terminal/Input.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <iostream>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <thread>
#include <vector>

#include "orv/bafu/DecouplerTestSupport.h"
#include "orv/bafu/DefaultDecoupler.h"
#include "orv/bafu/SpyDecoupler.h"
#include "orv/bafu/terminal/Factory.h"
#include "support/CapturedThreadLog.h"
#include "support/Concurrency.h"

namespace orv {
namespace bafu {
namespace terminal {
namespace {

using test_support::BlockingCall;
using test_support::currentThreadName;
using test_support::SpyDecoupler;
using Arguments = std::vector<std::string>;

constexpr const char* TerminalName = "TerminalTest";

// Captures what is written to std::cout until it goes away. The buffer takes a lock of its
// own, so the test may read while the terminal thread writes.
class CoutCapture : public std::streambuf {
public:
    CoutCapture() : m_previous(std::cout.rdbuf(this)) {}
    CoutCapture(const CoutCapture&) = delete;
    CoutCapture& operator=(const CoutCapture&) = delete;
    ~CoutCapture() override { std::cout.rdbuf(m_previous); }

    std::string text() const {
        std::lock_guard<std::mutex> guard(m_lock);
        return m_text;
    }
    std::size_t occurrences(const std::string& part) const {
        const std::string all = text();
        std::size_t count = 0;
        for (auto at = all.find(part); at != std::string::npos; at = all.find(part, at + 1)) {
            ++count;
        }
        return count;
    }
    bool waitFor(const std::string& part, std::size_t count = 1) const {
        return support::waitUntil([&] { return occurrences(part) >= count; });
    }

protected:
    int_type overflow(int_type ch) override {
        if (!traits_type::eq_int_type(ch, traits_type::eof())) {
            std::lock_guard<std::mutex> guard(m_lock);
            m_text.push_back(traits_type::to_char_type(ch));
        }
        return traits_type::not_eof(ch);
    }
    std::streamsize xsputn(const char* text, std::streamsize count) override {
        std::lock_guard<std::mutex> guard(m_lock);
        m_text.append(text, static_cast<std::size_t>(count));
        return count;
    }

private:
    std::streambuf* m_previous;
    mutable std::mutex m_lock;
    std::string m_text;
};

// Replaces standard input (descriptor 0) until it goes away: by the read end of a pipe the
// test writes to, or by another file.
class StdinReplacement {
public:
    StdinReplacement() : m_saved(::dup(STDIN_FILENO)) {
        int ends[2];
        EXPECT_EQ(::pipe(ends), 0);
        ::dup2(ends[0], STDIN_FILENO);
        ::close(ends[0]);
        m_writer = ends[1];
    }
    explicit StdinReplacement(const char* path) : m_saved(::dup(STDIN_FILENO)) {
        const int file = ::open(path, O_RDONLY);
        EXPECT_GE(file, 0);
        ::dup2(file, STDIN_FILENO);
        ::close(file);
    }
    StdinReplacement(const StdinReplacement&) = delete;
    StdinReplacement& operator=(const StdinReplacement&) = delete;
    ~StdinReplacement() {
        closeWriter();
        ::dup2(m_saved, STDIN_FILENO);
        ::close(m_saved);
    }

    // Writes `text` with one write, so that it arrives at once.
    void type(const std::string& text) const {
        EXPECT_EQ(::write(m_writer, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }
    // Waits until the terminal has taken everything typed so far.
    bool waitUntilTaken() const {
        return support::waitUntil([] {
            int pending = 0;
            return ::ioctl(STDIN_FILENO, FIONREAD, &pending) == 0 && pending == 0;
        });
    }
    // The end of standard input.
    void closeWriter() {
        if (m_writer >= 0) {
            ::close(m_writer);
            m_writer = -1;
        }
    }

private:
    int m_saved;
    int m_writer = -1;
};

// The calls a command handler received: arguments and thread.
class HandlerLog {
public:
    struct Call {
        Arguments arguments;
        std::string thread;
        pid_t tid;
    };

    IInput::Handler handler() {
        return [this](const Arguments& arguments) {
            {
                std::lock_guard<std::mutex> guard(m_lock);
                m_calls.push_back({arguments, currentThreadName(), gettid()});
                m_changed.notify_all();  // under the lock: the waiter may destroy the log
            }
        };
    }
    bool waitForCount(std::size_t count) {
        std::unique_lock<std::mutex> lock(m_lock);
        return m_changed.wait_for(lock, support::GenerousDeadline,
                                  [&] { return m_calls.size() >= count; });
    }
    std::vector<Call> calls() const {
        std::lock_guard<std::mutex> guard(m_lock);
        return m_calls;
    }

private:
    mutable std::mutex m_lock;
    std::condition_variable m_changed;
    std::vector<Call> m_calls;
};

TEST(SplitCommand, KeepsBlanksAndEmptyFieldsAsTheyAre) {
    struct Case {
        std::string line;
        std::string command;
        Arguments arguments;
    };
    const Case cases[] = {
        {"echo:a,b", "echo", {"a", "b"}},
        {"echo", "echo", {}},
        {"echo:", "echo", {}},
        {"echo:a,,b", "echo", {"a", "", "b"}},
        {"echo:a,", "echo", {"a"}},
        {"echo:,", "echo", {""}},
        {"set:1, 2", "set", {"1", " 2"}},
        {"a:b:c,d", "a", {"b:c", "d"}},
        {" echo :x", " echo ", {"x"}},
        {":x", "", {"x"}},
        {"", "", {}},
        {"echo:a\necho:b", "echo", {"a\necho:b"}},
    };
    for (const Case& c : cases) {
        std::string command = "old";
        Arguments arguments;
        Input::splitCommand(c.line, command, arguments);
        EXPECT_EQ(command, c.command) << '"' << c.line << '"';
        EXPECT_EQ(arguments, c.arguments) << '"' << c.line << '"';
    }
}

TEST(SplitCommand, AppendsToTheArgumentsGiven) {
    std::string command;
    Arguments arguments{"kept"};
    Input::splitCommand("cmd:new", command, arguments);
    EXPECT_EQ(arguments, (Arguments{"kept", "new"}));
}

TEST(CommandRegistry, SecondRegistrationIsRefusedAndTheFirstStays) {
    StdinReplacement input;
    HandlerLog first;
    HandlerLog second;
    Input terminal(TerminalName);
    EXPECT_TRUE(terminal.registerCommand("cmd", first.handler()));
    EXPECT_FALSE(terminal.registerCommand("cmd", second.handler()));
    ASSERT_TRUE(terminal.init());
    input.type("cmd\n");
    ASSERT_TRUE(first.waitForCount(1));
    terminal.shutdown();
    EXPECT_TRUE(second.calls().empty());
}

TEST(CommandRegistry, UnregisterAnswersWhetherThereWasOne) {
    Input terminal(TerminalName);
    EXPECT_FALSE(terminal.unregisterCommand("cmd"));
    EXPECT_TRUE(terminal.registerCommand("cmd", [](const Arguments&) {}));
    EXPECT_TRUE(terminal.unregisterCommand("cmd"));
    EXPECT_FALSE(terminal.unregisterCommand("cmd"));
}

// A terminal reading from a pipe in place of standard input, with the default decoupler.
class TerminalOnPipe : public ::testing::Test {
protected:
    void start() {
        ASSERT_TRUE(m_terminal->registerCommand("echo", m_echo.handler()));
        ASSERT_TRUE(m_terminal->init());
    }
    // Types a line and waits until the terminal has dealt with it: a known command (the
    // next echo call) or an unknown one (the next message).
    void typeAndAwaitEcho(const std::string& text) {
        const std::size_t before = m_echo.calls().size();
        m_input.type(text);
        ASSERT_TRUE(m_echo.waitForCount(before + 1));
    }
    void typeAndAwaitNotFound(const std::string& text) {
        const std::size_t before = m_output.occurrences("Command not found!\n");
        m_input.type(text);
        ASSERT_TRUE(m_output.waitFor("Command not found!\n", before + 1));
    }

    CoutCapture m_output;
    StdinReplacement m_input;  // restored after the terminal is gone
    HandlerLog m_echo;
    std::unique_ptr<Input> m_terminal = Factory::create(TerminalName);
};

TEST_F(TerminalOnPipe, LineCallsItsHandlerWithTheArgumentsOnTheTerminalThread) {
    start();
    EXPECT_TRUE(m_terminal->init());  // a second init() answers true and changes nothing
    typeAndAwaitEcho("echo:a,b\n");
    typeAndAwaitEcho("echo\n");
    typeAndAwaitEcho("echo:a,,b\n");
    const auto calls = m_echo.calls();
    EXPECT_EQ(calls[0].arguments, (Arguments{"a", "b"}));
    EXPECT_EQ(calls[1].arguments, Arguments{});
    EXPECT_EQ(calls[2].arguments, (Arguments{"a", "", "b"}));
    EXPECT_EQ(calls[0].thread, TerminalName);
    EXPECT_EQ(m_output.text(), "");
}

TEST_F(TerminalOnPipe, UnknownCommandIsReported) {
    start();
    typeAndAwaitNotFound("nope:1\n");
    typeAndAwaitEcho("echo\n");
    EXPECT_EQ(m_output.text(), "Command not found!\n");
}

TEST_F(TerminalOnPipe, TypedExitIsIgnoredSilently) {
    start();
    m_input.type("_exit\n");
    ASSERT_TRUE(m_input.waitUntilTaken());
    typeAndAwaitEcho("echo\n");  // dealt with after the "_exit" line
    EXPECT_EQ(m_output.text(), "");
}

TEST_F(TerminalOnPipe, LinesArrivingTogetherAreOneLine) {
    start();
    typeAndAwaitEcho("echo:a\necho:b\n");
    EXPECT_EQ(m_echo.calls()[0].arguments, Arguments{"a\necho:b"});
}

TEST_F(TerminalOnPipe, LongInputIsReadInPiecesOfAtMost128Bytes) {
    start();
    const std::string text = "echo:" + std::string(194, 'x') + "\n";  // 200 bytes
    m_input.type(text);
    ASSERT_TRUE(m_echo.waitForCount(1));
    EXPECT_EQ(m_echo.calls()[0].arguments, Arguments{std::string(122, 'x')});  // 127 bytes
    // The remaining 72 bytes are the next line, a command word of 71 x's.
    EXPECT_TRUE(m_output.waitFor("Command not found!\n"));
}

TEST_F(TerminalOnPipe, CommandsMayComeAndGoWhileItRuns) {
    start();
    HandlerLog later;
    typeAndAwaitNotFound("later\n");
    ASSERT_TRUE(m_terminal->registerCommand("later", later.handler()));
    m_input.type("later:1\n");
    ASSERT_TRUE(later.waitForCount(1));
    ASSERT_TRUE(m_terminal->unregisterCommand("later"));
    typeAndAwaitNotFound("later:2\n");
    EXPECT_EQ(later.calls().size(), 1U);
    EXPECT_EQ(later.calls()[0].arguments, Arguments{"1"});
}

TEST_F(TerminalOnPipe, HandlerRegisteredAsExitRunsOnceForTheShutdownWakeUp) {
    HandlerLog exitLog;
    ASSERT_TRUE(m_terminal->registerCommand("_exit", exitLog.handler()));
    start();
    typeAndAwaitEcho("echo\n");
    // The wake-up is read only by a terminal thread that waits for input.
    const pid_t terminalThread = m_echo.calls()[0].tid;
    ASSERT_TRUE(support::waitUntil([&] { return test_support::isSleeping(terminalThread); }));
    m_terminal->shutdown();
    const auto calls = exitLog.calls();
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_EQ(calls[0].arguments, Arguments{});
    EXPECT_EQ(m_output.text(), "");
}

TEST_F(TerminalOnPipe, ShutdownForgetsTheCommandsAndInitStartsAgain) {
    start();
    typeAndAwaitEcho("echo\n");
    m_terminal->shutdown();
    ASSERT_TRUE(m_terminal->init());
    typeAndAwaitNotFound("echo\n");
    ASSERT_TRUE(m_terminal->registerCommand("echo", m_echo.handler()));
    typeAndAwaitEcho("echo:again\n");
    EXPECT_EQ(m_echo.calls().back().arguments, Arguments{"again"});
}

// At the end of standard input every pass reads an empty line. A file stays readable; a pipe
// whose writer has gone only reports a hang-up.
TEST(TerminalAtEndOfInput, EveryPassReportsTheEmptyLine) {
    struct Case {
        const char* stdinFile;  // null: a pipe whose writer is closed
        std::string eachPass;
    };
    const Case cases[] = {
        {"/dev/null", "Command not found!\n"},
        {nullptr, "Invalid event!\nCommand not found!\n"},
    };
    for (const Case& c : cases) {
        CoutCapture output;
        auto input = c.stdinFile != nullptr ? std::make_unique<StdinReplacement>(c.stdinFile)
                                            : std::make_unique<StdinReplacement>();
        input->closeWriter();
        {
            Input terminal(TerminalName);
            ASSERT_TRUE(terminal.init());
            EXPECT_TRUE(output.waitFor(c.eachPass, 3)) << output.text().substr(0, 200);
            terminal.shutdown();
        }
        const std::string text = output.text();
        EXPECT_EQ(text.size() % c.eachPass.size(), 0U);
        EXPECT_EQ(output.occurrences(c.eachPass) * c.eachPass.size(), text.size());
    }
}

TEST(TerminalLifecycle, ShutdownOfAnUninitialisedTerminalReturnsAtOnce) {
    Input terminal(TerminalName);
    terminal.shutdown();
    terminal.shutdown();
    SUCCEED();
}

// Lowers the limit of open files so that no further descriptor can be opened.
class NoFreeDescriptors {
public:
    NoFreeDescriptors() {
        ::getrlimit(RLIMIT_NOFILE, &m_saved);
        const int lowestFree = ::dup(STDIN_FILENO);
        ::close(lowestFree);
        rlimit lowered = m_saved;
        lowered.rlim_cur = static_cast<rlim_t>(lowestFree);
        ::setrlimit(RLIMIT_NOFILE, &lowered);
    }
    NoFreeDescriptors(const NoFreeDescriptors&) = delete;
    NoFreeDescriptors& operator=(const NoFreeDescriptors&) = delete;
    ~NoFreeDescriptors() { ::setrlimit(RLIMIT_NOFILE, &m_saved); }

private:
    rlimit m_saved{};
};

TEST(TerminalLifecycle, PipeFailureIsReportedAndInitAnswersFalse) {
#if defined(__SANITIZE_ADDRESS__)
    // The sanitizer runtime needs a descriptor of its own to check memory while the terminal
    // thread runs; with none left it reports its own failure as an error.
    GTEST_SKIP() << "needs free descriptors under the sanitizers";
#endif
    StdinReplacement input;
    CoutCapture output;
    Input terminal(TerminalName);
    bool started = true;
    {
        NoFreeDescriptors limit;
        started = terminal.init();
    }
    EXPECT_FALSE(started);
    EXPECT_EQ(output.text(), "Error: Can't open pipe!");
    terminal.shutdown();  // from the failed state back to Off
    EXPECT_TRUE(terminal.init());
    terminal.shutdown();
}

// With a DefaultDecoupler handlers run on its worker, and the shutdown waits for those
// already handed on.
TEST(TerminalOnDefaultDecoupler, ShutdownWaitsForCommandsHandedOn) {
    StdinReplacement input;
    SpyDecoupler decoupler("TermWorker");
    Input terminal(TerminalName);
    test_support::RunLog order;
    std::string thread;
    terminal.registerCommand("work", [&](const Arguments&) {
        thread = currentThreadName();
        order.add("handler");
    });
    terminal.setOptional_Decoupler(&decoupler);
    ASSERT_TRUE(terminal.init());
    {
        test_support::WorkerGate gate(decoupler, 99);
        input.type("work\n");
        ASSERT_TRUE(decoupler.waitForCalls(2, 1));  // the terminal's user id is the first
        BlockingCall shutdown([&] {
            terminal.shutdown();
            order.add("shut down");
        });
        ASSERT_TRUE(shutdown.waitUntilBlocked());
        gate.release();
        shutdown.join();
    }
    EXPECT_EQ(order.entries(), (std::vector<std::string>{"handler", "shut down"}));
    EXPECT_EQ(thread, "TermWorker");
    EXPECT_EQ(decoupler.priorities().back(), 128);
}

// With the NoneDecoupler a handler that throws ends the terminal thread, which reports it; the
// shutdown still works and the terminal starts again.
TEST(TerminalFailure, ThrowingHandlerEndsTheThreadAndShutdownStillWorks) {
    const support::CapturedThreadLog log;
    StdinReplacement input;
    HandlerLog echo;
    std::atomic<int> failures{0};
    {
        Input terminal(TerminalName);
        terminal.registerCommand("fail", [&](const Arguments&) {
            ++failures;
            throw std::runtime_error("handler failed");
        });
        ASSERT_TRUE(terminal.init());
        input.type("fail\n");
        ASSERT_TRUE(support::waitUntil([&] { return !terminal.isRunning(); }));
        terminal.shutdown();
        EXPECT_EQ(failures, 1);

        ASSERT_TRUE(terminal.registerCommand("echo", echo.handler()));
        ASSERT_TRUE(terminal.init());
        input.type("echo:again\n");
        ASSERT_TRUE(echo.waitForCount(1));
        terminal.shutdown();
    }
    EXPECT_TRUE(log.contains("handler failed")) << log.text();
    EXPECT_TRUE(log.contains(TerminalName)) << log.text();
}

// Discards what is written to std::clog while it lives. Made before, and gone after, every
// thread that may log.
class ClogSilencer {
public:
    ClogSilencer() : m_previous(std::clog.rdbuf(nullptr)) {}
    ClogSilencer(const ClogSilencer&) = delete;
    ClogSilencer& operator=(const ClogSilencer&) = delete;
    ~ClogSilencer() { std::clog.rdbuf(m_previous); }

private:
    std::streambuf* m_previous;
};

// Shutdown while lines are arriving, are being read and their handlers are queued or running,
// on both decouplers: once shutdown() returns no handler runs any more, and the terminal
// starts again every time.
TEST(TerminalShutdownStress, NoHandlerRunsAfterShutdownReturns) {
    constexpr int Rounds = 1000;
    const ClogSilencer quiet;  // dispatches refused during a shutdown are logged
    CoutCapture output;
    StdinReplacement input;
    // A line the terminal did not take before its shutdown is discarded, so that it does not
    // join the next round's line.
    const auto discardUnread = [] {
        int pending = 0;
        char buffer[256];
        while (::ioctl(STDIN_FILENO, FIONREAD, &pending) == 0 && pending > 0) {
            if (::read(STDIN_FILENO, buffer, sizeof buffer) <= 0) {
                break;
            }
        }
    };
    for (const bool decoupled : {false, true}) {
        SCOPED_TRACE(decoupled ? "DefaultDecoupler" : "NoneDecoupler");
        std::unique_ptr<DefaultDecoupler> decoupler;
        if (decoupled) {
            decoupler = std::make_unique<DefaultDecoupler>("TermStress");
        }
        std::atomic<int> runs{0};
        Input terminal(TerminalName);
        for (int round = 0; round < Rounds; ++round) {
            ASSERT_TRUE(terminal.registerCommand("work", [&runs](const Arguments&) {
                ++runs;
                std::this_thread::yield();
            }));
            if (decoupler != nullptr) {
                terminal.setOptional_Decoupler(decoupler.get());
            }
            ASSERT_TRUE(terminal.init());
            const int before = runs;
            input.type("work\n");
            if (round % 2 == 0) {
                ASSERT_TRUE(support::waitUntil([&] { return runs > before; }));
            }
            terminal.shutdown();
            const int atShutdown = runs;
            if (decoupler != nullptr) {
                ASSERT_TRUE(test_support::drain(*decoupler, 7));
            }
            ASSERT_EQ(runs, atShutdown) << "round " << round;
            discardUnread();
        }
    }
}

}  // namespace
}  // namespace terminal
}  // namespace bafu
}  // namespace orv
