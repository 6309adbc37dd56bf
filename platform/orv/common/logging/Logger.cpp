#include "orv/common/logging/Logger.h"

namespace orv {
namespace common {
namespace logging {

Logger::Logger(const types::SmartPtr<LogWriter>& writer) : m_writer(writer) {}

void Logger::log(int level, const std::string& message) const {
    if (m_writer) {
        m_writer->write(level, message);
    }
}

}  // namespace logging
}  // namespace common
}  // namespace orv
