#include "orv/common/logging/Logger.h"

#include <gtest/gtest.h>

#include <iostream>
#include <sstream>
#include <string>

namespace {

using orv::common::logging::Logger;
using orv::common::logging::LogWriter;
using orv::common::types::SmartPtr;

TEST(LoggerTest, SharesTheWriter) {
    SmartPtr<LogWriter> writer(new LogWriter("shared"));
    const Logger first(writer);
    const Logger second = first;  // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_EQ(writer.useCount(), 3);
    EXPECT_EQ(first.getLogWriter().get(), writer.get());
    EXPECT_EQ(second.getLogWriter().get(), writer.get());

    {
        const Logger third(writer);
        EXPECT_EQ(writer.useCount(), 4);
    }
    EXPECT_EQ(writer.useCount(), 3);
}

TEST(LoggerTest, KeepsTheWriterAliveAfterOtherOwnersLeave) {
    std::ostringstream out;
    SmartPtr<LogWriter> writer(new LogWriter("kept"));
    writer->setOutput(out);
    const Logger logger(writer);
    writer.reset();

    ASSERT_TRUE(logger.getLogWriter());
    logger.log(5, "still here");
    EXPECT_NE(out.str().find("still here"), std::string::npos);
}

TEST(LoggerTest, LogsThroughTheWritersThreshold) {
    std::ostringstream out;
    SmartPtr<LogWriter> writer(new LogWriter("threshold"));
    writer->setOutput(out);
    writer->setLogLevel(7);
    const Logger logger(writer);

    logger.log(6, "filtered");
    logger.log(7, "emitted");
    EXPECT_EQ(out.str().find("filtered"), std::string::npos);
    EXPECT_NE(out.str().find("emitted"), std::string::npos);
}

}  // namespace
