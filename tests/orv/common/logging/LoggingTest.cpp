// Logging: the level threshold and the "<name>: <message>" line through LogWriter, Logger and
// ScopedLogger, and whole lines from many threads while the stream is being replaced.
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "orv/common/logging/LogWriter.h"
#include "orv/common/logging/Logger.h"
#include "orv/common/logging/ScopedLogger.h"

namespace {

using namespace orv::common::logging;
using orv::common::types::SmartPtr;

TEST(LoggingTest, LevelsAtOrAboveTheThresholdGiveOneNamedLine) {
    const struct {
        bool scoped;
        int threshold, level;
        const char *message, *written;
    } cases[] = {
        {false, 5, 5, "plain", "app: plain\n"},
        {false, 5, 4, "below", ""},
        {false, -3, 100, "ends with a line end\n", "app: ends with a line end\n"},
        {true, 5, 5, "queue length 12\n", "app: queue length 12\n"},
        {true, 5, 9, "", ""},
        {true, 6, 5, "filtered", ""},
    };
    for (const auto& c : cases) {
        std::ostringstream out;
        const Logger logger(SmartPtr<LogWriter>(new LogWriter("app")));  // keeps it alive
        logger.getLogWriter()->setOutput(out);
        logger.getLogWriter()->setLogLevel(c.threshold);
        if (c.scoped) {  // emitted once, when the scope ends
            ScopedLogger line(logger.getLogWriter(), c.level);
            EXPECT_EQ(line.isActive(), c.threshold <= c.level);
            line.stream() << c.message;
            EXPECT_EQ(out.str(), "");
        } else {
            logger.log(c.level, c.message);
        }
        EXPECT_EQ(out.str(), c.written) << c.message;
    }
    Logger(SmartPtr<LogWriter>()).log(9, "nowhere");
    EXPECT_FALSE(ScopedLogger(SmartPtr<LogWriter>(), 9).isActive());
}

// Threads write through two writers that share a stream while the main thread keeps moving
// both to a fresh stream and destroying the old one: no line may be lost or torn, and none
// may reach a replaced stream.
TEST(LogWriterStress, LinesStayWholeAndAReplacedStreamIsNoLongerUsed) {
    LogWriter writers[] = {LogWriter("l"), LogWriter("r")};
    auto current = std::make_unique<std::ostringstream>();
    std::string text;
    const auto replace = [&] {
        auto next = std::make_unique<std::ostringstream>();
        writers[0].setOutput(*next);
        writers[1].setOutput(*next);
        text += current->str();
        current = std::move(next);  // the replaced stream dies here
    };
    replace();
    std::atomic<int> done{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 500; ++i) {  // every other message brings its own line end
                writers[t % 2].write(5, std::string(64, "lr"[t % 2]) + (i % 2 == 0 ? "\n" : ""));
            }
            ++done;
        });
    }
    while (done < 4) {
        replace();
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    replace();
    std::istringstream lines(text);
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count) {
        EXPECT_EQ(line, std::string(1, line[0]) + ": " + std::string(64, line[0]));
    }
    EXPECT_EQ(count, 2000);
}

}  // namespace
