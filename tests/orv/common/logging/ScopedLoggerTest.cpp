#include "orv/common/logging/ScopedLogger.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace {

using orv::common::logging::LogWriter;
using orv::common::logging::ScopedLogger;
using orv::common::types::SmartPtr;

class ScopedLoggerTest : public testing::Test {
protected:
    ScopedLoggerTest() : m_writer(new LogWriter("scoped")) { m_writer->setOutput(m_out); }

    std::ostringstream m_out;
    SmartPtr<LogWriter> m_writer;
};

TEST_F(ScopedLoggerTest, EmitsOnceWhenTheScopeEnds) {
    {
        ScopedLogger line(m_writer, 5);
        ASSERT_TRUE(line.isActive());
        line.stream() << "queue length " << 12;
        line.stream() << ", limit " << 20;
        EXPECT_EQ(m_out.str(), "") << "nothing may be emitted before the scope ends";
    }
    const std::string written = m_out.str();
    EXPECT_NE(written.find("queue length 12, limit 20\n"), std::string::npos) << written;
    EXPECT_EQ(written.find("queue length"), written.rfind("queue length")) << "emitted twice";
}

TEST_F(ScopedLoggerTest, LineEndGivenByTheCallerIsNotDoubled) {
    { ScopedLogger(m_writer, 5).stream() << "done\n"; }
    const std::string written = m_out.str();
    EXPECT_NE(written.find("done\n"), std::string::npos);
    EXPECT_EQ(written.find("\n\n"), std::string::npos);
}

TEST_F(ScopedLoggerTest, FilteredLevelIsInactiveAndEmitsNothing) {
    m_writer->setLogLevel(6);
    {
        ScopedLogger line(m_writer, 5);
        EXPECT_FALSE(line.isActive());
        line.stream() << "discarded " << 1 << '\n';  // writing must be harmless
        line.stream() << "discarded " << 2.5;
    }
    EXPECT_EQ(m_out.str(), "");

    {
        ScopedLogger line(m_writer, 6);
        EXPECT_TRUE(line.isActive());
        line.stream() << "passes";
    }
    EXPECT_NE(m_out.str().find("passes"), std::string::npos);
}

TEST_F(ScopedLoggerTest, EmptyTextEmitsNothing) {
    { ScopedLogger line(m_writer, 9); }
    { ScopedLogger(m_writer, 9).stream() << ""; }
    EXPECT_EQ(m_out.str(), "");
}

TEST_F(ScopedLoggerTest, KeepsTheWriterForItsWholeScope) {
    {
        ScopedLogger line(m_writer, 5);
        m_writer.reset();
        line.stream() << "writer outlives its other owners";
    }
    EXPECT_NE(m_out.str().find("writer outlives its other owners"), std::string::npos);
}

}  // namespace
