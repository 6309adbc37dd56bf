#pragma once

// Redirects the log that reports exceptions ending a thread of the library into a string for
// one scope. Make it before, and let it go after, every thread whose end it should see; read
// text() only once those threads have stopped writing.

#include <iostream>
#include <sstream>
#include <string>

#include "orv/common/system/Thread.h"

namespace support {

class CapturedThreadLog {
public:
    CapturedThreadLog() { orv::common::system::Thread::getLogWriter()->setOutput(m_out); }
    CapturedThreadLog(const CapturedThreadLog&) = delete;
    CapturedThreadLog& operator=(const CapturedThreadLog&) = delete;
    ~CapturedThreadLog() { orv::common::system::Thread::getLogWriter()->setOutput(std::clog); }

    std::string text() const { return m_out.str(); }
    bool contains(const std::string& part) const { return text().find(part) != std::string::npos; }

private:
    std::ostringstream m_out;
};

}  // namespace support
