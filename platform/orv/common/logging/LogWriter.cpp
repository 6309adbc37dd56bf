#include "orv/common/logging/LogWriter.h"

#include <iostream>
#include <mutex>

namespace orv {
namespace common {
namespace logging {

namespace {

// One lock for all writers: several writers may share a stream such as std::clog.
std::mutex& outputLock() {
    static std::mutex lock;
    return lock;
}

}  // namespace

LogWriter::LogWriter(const std::string& name) : m_name(name), m_output(&std::clog) {}

LogWriter::~LogWriter() = default;

void LogWriter::setOutput(std::ostream& output) noexcept {
    // Under the output lock, so that no line is still being written to the stream replaced
    // once this returns: the caller may destroy it then.
    std::lock_guard<std::mutex> guard(outputLock());
    m_output.store(&output, std::memory_order_release);
}

void LogWriter::write(int level, const std::string& message) {
    if (!isEnabled(level)) {
        return;
    }
    std::string line;
    line.reserve(m_name.size() + message.size() + 3);
    line.append(m_name).append(": ").append(message);
    if (line.back() != '\n') {
        line.push_back('\n');
    }
    std::lock_guard<std::mutex> guard(outputLock());
    std::ostream& output = *m_output.load(std::memory_order_acquire);
    output.write(line.data(), static_cast<std::streamsize>(line.size()));
    output.flush();
}

}  // namespace logging
}  // namespace common
}  // namespace orv
