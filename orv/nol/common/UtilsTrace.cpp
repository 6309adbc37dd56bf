// Utils: the one-line trace printer.

#include <cstdint>
#include <ostream>
#include <string>

#include "orv/nol/common/Utils.h"

namespace orv {
namespace nol {
namespace common {

namespace {

// Builds one trace line from the payload; see operator<< in the header.
class TraceLine {
public:
    explicit TraceLine(const Utils::TraceDescriptor& trace) : m_trace(trace) {}

    std::string print() {
        if (m_trace.size == 0) {
            return m_line;
        }
        m_line.reserve(reservation());
        for (std::uint64_t index = 0;;) {
            const auto c = static_cast<unsigned char>(m_trace.data[index]);
            if (!printByte(c)) {
                m_line += "...Binary Data...";
                break;
            }
            m_previous = c;
            ++index;
            if (index == m_trace.size) {
                break;
            }
            if (index > m_trace.maxLength) {
                m_line += "...";
                break;
            }
        }
        return m_line;
    }

private:
    static constexpr unsigned char kTab = 9;
    static constexpr unsigned char kLineFeed = 10;
    static constexpr unsigned char kCarriageReturn = 13;
    static constexpr unsigned char kBlank = 32;
    static constexpr unsigned char kQuote = 34;
    static constexpr unsigned char kBackslash = 92;
    static constexpr std::uint64_t kReservationLimit = 4096;

    std::size_t reservation() const {
        std::uint64_t bytes = m_trace.size;
        if (m_trace.maxLength < bytes) {
            bytes = m_trace.maxLength + 1;
        }
        return static_cast<std::size_t>(bytes < kReservationLimit ? bytes : kReservationLimit) +
               sizeof "...Binary Data...";
    }

    // Prints what byte `c` yields; false for a control byte that marks binary data.
    bool printByte(unsigned char c) {
        switch (c) {
            case kLineFeed:
            case kCarriageReturn:
                return true;
            case kBlank:
            case kTab:
                if (m_insideQuotes) {
                    m_line += ' ';
                }
                return true;
            case kQuote:
                m_line += '"';
                if (m_previous != kBackslash) {
                    m_insideQuotes = !m_insideQuotes;
                }
                return true;
            default:
                if (c < kBlank) {
                    return false;
                }
                m_line += static_cast<char>(c);
                return true;
        }
    }

    const Utils::TraceDescriptor& m_trace;
    std::string m_line;
    bool m_insideQuotes = false;
    unsigned char m_previous = 0;
};

}  // namespace

std::ostream& operator<<(std::ostream& stream, const Utils::TraceDescriptor& trace) {
    const std::string line = TraceLine(trace).print();
    return stream.write(line.data(), static_cast<std::streamsize>(line.size()));
}

}  // namespace common
}  // namespace nol
}  // namespace orv
