#include "orv/common/logging/ScopedLogger.h"

#include <ostream>

namespace orv {
namespace common {
namespace logging {

namespace {

// A stream whose writes go nowhere: what an inactive logger hands out.
std::ostream& discardingStream() {
    static thread_local std::ostream sink(nullptr);
    return sink;
}

}  // namespace

ScopedLogger::ScopedLogger(const types::SmartPtr<LogWriter>& writer, int level)
    : m_writer(writer), m_level(level) {
    if (m_writer && m_writer->isEnabled(level)) {
        m_text = std::make_unique<std::ostringstream>();
    }
}

ScopedLogger::~ScopedLogger() {
    if (m_text == nullptr) {
        return;
    }
    try {
        const std::string text = m_text->str();
        if (!text.empty()) {
            m_writer->write(m_level, text);
        }
    } catch (...) {  // NOLINT(bugprone-empty-catch): a log line is not worth a crash
    }
}

std::ostream& ScopedLogger::stream() noexcept {
    return m_text != nullptr ? *m_text : discardingStream();
}

}  // namespace logging
}  // namespace common
}  // namespace orv
