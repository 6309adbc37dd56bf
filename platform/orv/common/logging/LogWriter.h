#pragma once

#include <atomic>
#include <iosfwd>
#include <string>

#include "orv/common/Export.h"

namespace orv {
namespace common {
namespace logging {

// A named log sink with a level threshold. A message written at level L is emitted when
// `getLogLevel() <= L`, so higher levels are more important; a new writer has level 5 and
// writes to `std::clog`.
//
// Each emitted message becomes one line "<name>: <message>" (a line end is added when the
// message has none). Lines are written whole under one process-wide lock, so lines from any
// number of threads and writers never interleave on a stream.
//
// Thread: every operation may be called from any thread. Ownership: the output stream is not
// owned and must outlive the writer (or be replaced first). Failure: stream errors are left in
// the stream's state; nothing is thrown for them.
class ORV_COMMON_API LogWriter {
public:
    static constexpr int DefaultLevel = 5;

    explicit LogWriter(const std::string& name);
    LogWriter(const LogWriter&) = delete;
    LogWriter& operator=(const LogWriter&) = delete;
    ~LogWriter();

    const std::string& getName() const noexcept { return m_name; }
    int getLogLevel() const noexcept { return m_level.load(std::memory_order_relaxed); }
    void setLogLevel(int level) noexcept { m_level.store(level, std::memory_order_relaxed); }

    // Sends later lines to `output` instead.
    void setOutput(std::ostream& output) noexcept;

    // Whether a message at `level` would be emitted now.
    bool isEnabled(int level) const noexcept { return getLogLevel() <= level; }

    // Emits `message` as one line if `level` passes the threshold.
    void write(int level, const std::string& message);

private:
    const std::string m_name;
    std::atomic<int> m_level{DefaultLevel};
    std::atomic<std::ostream*> m_output;
};

}  // namespace logging
}  // namespace common
}  // namespace orv
