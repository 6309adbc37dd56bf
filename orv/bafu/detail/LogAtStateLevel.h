#pragma once

#include "orv/common/logging/Logger.h"
#include "orv/common/logging/ScopedLogger.h"

namespace orv {
namespace bafu {
namespace detail {

// The level at which the module state handler reports refusals and unexpected ends.
constexpr int kStateMessageLevel = 5;

// Writes `message` (a complete line) through the logger's writer at kStateMessageLevel, if
// there is a writer and its level lets the message through.
inline void logAtStateLevel(const common::logging::Logger& logger, const char* message) {
    const auto writer = logger.getLogWriter();
    if (!writer || writer->getLogLevel() > kStateMessageLevel) {
        return;
    }
    common::logging::ScopedLogger line(writer, kStateMessageLevel);
    if (line.isActive()) {
        line.stream() << message;
    }
}

}  // namespace detail
}  // namespace bafu
}  // namespace orv
