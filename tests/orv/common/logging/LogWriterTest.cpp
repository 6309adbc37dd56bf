#include "orv/common/logging/LogWriter.h"

#include <gtest/gtest.h>

#include <atomic>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "support/Concurrency.h"

namespace {

using orv::common::logging::LogWriter;

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

TEST(LogWriterTest, NewWriterHasLevelFive) {
    const LogWriter writer("fresh");
    EXPECT_EQ(writer.getLogLevel(), 5);
    EXPECT_EQ(writer.getName(), "fresh");
}

TEST(LogWriterTest, EmitsExactlyTheLevelsAtOrAboveTheThreshold) {
    struct Case {
        int threshold;
        int level;
        bool emitted;
    };
    const Case cases[] = {
        {5, 4, false}, {5, 5, true}, {5, 6, true},   {0, 0, true},    {0, -1, false},
        {9, 8, false}, {9, 9, true}, {-3, -3, true}, {-3, -4, false}, {5, 100, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE("threshold " + std::to_string(c.threshold) + ", level " +
                     std::to_string(c.level));
        std::ostringstream out;
        LogWriter writer("filter");
        writer.setOutput(out);
        writer.setLogLevel(c.threshold);
        EXPECT_EQ(writer.getLogLevel(), c.threshold);
        EXPECT_EQ(writer.isEnabled(c.level), c.emitted);
        writer.write(c.level, "message");
        EXPECT_EQ(out.str().find("message") != std::string::npos, c.emitted) << out.str();
    }
}

TEST(LogWriterTest, WritesOneLineHoldingTheMessageUnchanged) {
    struct Case {
        const char* message;
        const char* text;  // the message without a final line end
    };
    const Case cases[] = {
        {"plain", "plain"},
        {"ends with a line end\n", "ends with a line end"},
        {"  spaced\tand 100% {odd} \"chars\" ", "  spaced\tand 100% {odd} \"chars\" "},
        {"", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.message);
        std::ostringstream out;
        LogWriter writer("component");
        writer.setOutput(out);
        writer.write(5, c.message);

        const std::string written = out.str();
        ASSERT_FALSE(written.empty());
        EXPECT_EQ(written.back(), '\n');
        const std::vector<std::string> lines = linesOf(written);
        ASSERT_EQ(lines.size(), 1U) << "a line end must be added once, never doubled";
        const std::string& line = lines[0];
        ASSERT_GE(line.size(), std::string(c.text).size());
        EXPECT_EQ(line.substr(line.size() - std::string(c.text).size()), c.text);
    }
}

TEST(LogWriterTest, SetOutputRedirectsLaterLines) {
    std::ostringstream first;
    std::ostringstream second;
    LogWriter writer("redirect");
    writer.setOutput(first);
    writer.write(5, "to first");
    writer.setOutput(second);
    writer.write(5, "to second");
    writer.setOutput(std::clog);

    EXPECT_NE(first.str().find("to first"), std::string::npos);
    EXPECT_EQ(first.str().find("to second"), std::string::npos);
    EXPECT_NE(second.str().find("to second"), std::string::npos);
}

// Several threads, through two writers that share one stream: every line arrives whole.
TEST(LogWriterTest, LinesFromManyThreadsNeverInterleave) {
    constexpr int Threads = 4;
    constexpr int LinesPerThread = 500;
    std::ostringstream out;
    LogWriter left("left");
    LogWriter right("right");
    left.setOutput(out);
    right.setOutput(out);

    auto payload = [](int thread, int line) {
        return "<" + std::to_string(thread) + ":" + std::to_string(line) + ":" +
               std::string(64, static_cast<char>('a' + thread)) + ">";
    };

    support::Latch start(Threads);
    std::vector<std::thread> threads;
    threads.reserve(Threads);
    for (int t = 0; t < Threads; ++t) {
        threads.emplace_back([&, t] {
            LogWriter& writer = t % 2 == 0 ? left : right;
            start.arriveAndWait();
            for (int i = 0; i < LinesPerThread; ++i) {
                // Half the messages bring their own line end.
                writer.write(5, payload(t, i) + (i % 2 == 0 ? "\n" : ""));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }

    const std::vector<std::string> lines = linesOf(out.str());
    ASSERT_EQ(lines.size(), static_cast<std::size_t>(Threads * LinesPerThread));
    std::vector<int> nextLine(Threads, 0);
    for (const std::string& line : lines) {
        const std::size_t open = line.find('<');
        ASSERT_NE(open, std::string::npos) << line;
        const int thread = std::stoi(line.substr(open + 1));
        ASSERT_GE(thread, 0);
        ASSERT_LT(thread, Threads);
        const std::string prefix = thread % 2 == 0 ? "left" : "right";
        EXPECT_EQ(line.compare(0, prefix.size(), prefix), 0) << line;
        // Each thread's lines arrive whole and in the order it wrote them.
        EXPECT_EQ(line.substr(open), payload(thread, nextLine[thread]));
        ++nextLine[thread];
    }
}

// A stream that has been replaced may be destroyed while other threads go on writing.
TEST(LogWriterTest, ReplacedStreamIsNoLongerUsed) {
    LogWriter writer("swap");
    auto current = std::make_unique<std::ostringstream>();
    writer.setOutput(*current);

    std::atomic<bool> stop{false};
    std::thread writing([&] {
        while (!stop.load()) {
            writer.write(5, "busy");
        }
    });
    for (int i = 0; i < 2000; ++i) {
        auto next = std::make_unique<std::ostringstream>();
        writer.setOutput(*next);
        current = std::move(next);  // the replaced stream dies here
    }
    stop.store(true);
    writing.join();
    writer.setOutput(std::clog);
    SUCCEED();
}

}  // namespace
