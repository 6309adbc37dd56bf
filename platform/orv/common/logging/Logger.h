#pragma once

#include <string>

#include "orv/common/Export.h"
#include "orv/common/logging/LogWriter.h"
#include "orv/common/types/SmartPtr.h"

namespace orv {
namespace common {
namespace logging {

// A component's handle on a shared LogWriter. Copies of a Logger, and every Logger built on
// the same SmartPtr, write through the same writer (its reference count keeps it alive).
//
// Thread: as LogWriter; `log` may be called from any thread. Failure: none of its own.
class ORV_COMMON_API Logger {
public:
    explicit Logger(const types::SmartPtr<LogWriter>& writer);

    types::SmartPtr<LogWriter> getLogWriter() const { return m_writer; }

    // Writes `message` at `level` through the writer, if there is one.
    void log(int level, const std::string& message) const;

private:
    types::SmartPtr<LogWriter> m_writer;
};

}  // namespace logging
}  // namespace common
}  // namespace orv
