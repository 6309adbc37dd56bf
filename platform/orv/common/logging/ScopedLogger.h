#pragma once

#include <memory>
#include <sstream>

#include "orv/common/Export.h"
#include "orv/common/logging/LogWriter.h"
#include "orv/common/types/SmartPtr.h"

namespace orv {
namespace common {
namespace logging {

// Collects one message through a stream and emits it at a fixed level when it goes out of
// scope. It is active only when the writer exists and lets that level through at
// construction; an inactive logger builds no stream text (its stream discards everything).
//
//   {
//       ScopedLogger line(writer, 5);
//       if (line.isActive()) line.stream() << "queue length " << n << '\n';
//   }  // emitted here
//
// Thread: one object belongs to one thread. Failure: the destructor swallows any error of
// the emission (it never throws).
class ORV_COMMON_API ScopedLogger {
public:
    ScopedLogger(const types::SmartPtr<LogWriter>& writer, int level);
    ScopedLogger(const ScopedLogger&) = delete;
    ScopedLogger& operator=(const ScopedLogger&) = delete;
    ~ScopedLogger();

    bool isActive() const noexcept { return m_text != nullptr; }
    std::ostream& stream() noexcept;

private:
    types::SmartPtr<LogWriter> m_writer;
    int m_level;
    std::unique_ptr<std::ostringstream> m_text;
};

}  // namespace logging
}  // namespace common
}  // namespace orv
