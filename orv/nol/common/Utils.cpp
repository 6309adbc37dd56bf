#include "orv/nol/common/Utils.h"

#include <array>

#include "orv/common/checksums/SHA1.h"
#include "orv/dataformats/StringAppendConsumer.h"
#include "orv/dataformats/data/Object.h"
#include "orv/dataformats/data/String.h"
#include "orv/nol/common/StringUtils.h"
#include "orv/nol/common/UriUtils.h"
#include "orv/nol/common/json/Writer.h"

namespace orv {
namespace nol {
namespace common {

using orv::common::guid::GUID;
namespace data = orv::dataformats::data;

namespace {

constexpr char UriSeparator[] = "/";
constexpr char ChainSeparator[] = "->";
constexpr char ChainRoot[] = "ROOT";

// Version 5 (name-based, SHA-1) in the high nibble of byte 7, variant 10 in the top bits of
// byte 8.
constexpr std::size_t VersionByte = 7;
constexpr std::uint8_t VersionBits = 0x50;
constexpr std::size_t VariantByte = 8;
constexpr std::uint8_t VariantBits = 0x80;

std::string uriOfParts(const std::string& first, const std::string& second, const std::string& id) {
    std::string uri;
    uri.reserve(first.size() + second.size() + id.size() + 3);
    uri += UriSeparator;
    if (first.empty()) {
        return uri;
    }
    uri += first;
    uri += UriSeparator;
    if (second.empty()) {
        return uri;
    }
    uri += second;
    uri += UriSeparator;
    uri += id;
    return uri;
}

std::string chainOfParts(const std::string& first, const std::string& second,
                         const std::string& id) {
    if (first.empty()) {
        return ChainRoot;
    }
    std::string chain;
    chain.reserve(first.size() + second.size() + id.size() + 4);
    chain += first;
    if (second.empty()) {
        return chain;
    }
    chain += ChainSeparator;
    chain += second;
    if (id.empty()) {
        return chain;
    }
    chain += ChainSeparator;
    chain += id;
    return chain;
}

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
    static constexpr unsigned char Tab = 9;
    static constexpr unsigned char LineFeed = 10;
    static constexpr unsigned char CarriageReturn = 13;
    static constexpr unsigned char Blank = 32;
    static constexpr unsigned char Quote = 34;
    static constexpr unsigned char Backslash = 92;
    static constexpr std::uint64_t ReservationLimit = 4096;

    std::size_t reservation() const {
        std::uint64_t bytes = m_trace.size;
        if (m_trace.maxLength < bytes) {
            bytes = m_trace.maxLength + 1;
        }
        return static_cast<std::size_t>(bytes < ReservationLimit ? bytes : ReservationLimit) +
               sizeof "...Binary Data...";
    }

    // Prints what byte `c` yields; false for a control byte that marks binary data.
    bool printByte(unsigned char c) {
        switch (c) {
            case LineFeed:
            case CarriageReturn:
                return true;
            case Blank:
            case Tab:
                if (m_insideQuotes) {
                    m_line += ' ';
                }
                return true;
            case Quote:
                m_line += '"';
                if (m_previous != Backslash) {
                    m_insideQuotes = !m_insideQuotes;
                }
                return true;
            default:
                if (c < Blank) {
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

// jsonOfDataValue collects its output in a per-thread buffer that keeps its capacity between
// calls and copies it once into a result of the exact size. Why: a multi-megabyte string that
// grows piece by piece takes a fresh allocation at every doubling, and with the C library's
// allocator most of the time then goes into page faults on that fresh memory. A buffer that
// grew beyond this size is released after the call rather than kept for the thread's life.
constexpr std::size_t KeptScratchCapacity = std::size_t{8} * 1024 * 1024;

void writeJson(const data::Value& value, const std::string& host, std::string& output) {
    orv::dataformats::StringAppendConsumer consumer(output);
    json::Writer writer(consumer, host);
    writer.visit(&value);
}

// Marks the per-thread buffer as taken for the lifetime of the object, so that a nested call
// (a value whose visit renders another document) falls back to a buffer of its own.
class ScratchClaim {
public:
    explicit ScratchClaim(bool& taken) noexcept : m_taken(taken), m_claimed(!taken) {
        m_taken = true;
    }
    ScratchClaim(const ScratchClaim&) = delete;
    ScratchClaim& operator=(const ScratchClaim&) = delete;
    ~ScratchClaim() {
        if (m_claimed) {
            m_taken = false;
        }
    }
    bool claimed() const noexcept { return m_claimed; }

private:
    bool& m_taken;
    bool m_claimed;
};

}  // namespace

std::string Utils::getUriOfParts(const std::string& firstSegment, const std::string& secondSegment,
                                 const std::string& idSegment, bool asChain) {
    return asChain ? chainOfParts(firstSegment, secondSegment, idSegment)
                   : uriOfParts(firstSegment, secondSegment, idSegment);
}

void Utils::splitUri(const std::string& uri, std::string& firstSegment, std::string& secondSegment,
                     GUID& guid) {
    std::string idSegment;
    getUriSplitted(uri, firstSegment, secondSegment, idSegment);
    guid = getGuidOfStr(idSegment);
}

void Utils::splitUri(const data::Object& object, std::string& firstSegment,
                     std::string& secondSegment, GUID& guid) {
    splitUri(getUriOfObject(object), firstSegment, secondSegment, guid);
}

void Utils::splitUri(const data::Object& object, std::string& firstSegment,
                     std::string& secondSegment) {
    GUID ignored;
    splitUri(object, firstSegment, secondSegment, ignored);
}

GUID Utils::getGuidOfStr(const std::string& text) {
    GUID guid;
    // A failed parse leaves the nil GUID in place.
    static_cast<void>(GUID::parse(text, guid));
    return guid;
}

GUID Utils::getGuidOfUri(const std::string& uri) {
    std::string firstSegment;
    std::string secondSegment;
    GUID guid;
    splitUri(uri, firstSegment, secondSegment, guid);
    return guid;
}

std::string Utils::getUriOfObject(const data::Object& object) {
    const data::Value* uri = object.find("uri");
    if (uri == nullptr || uri->getType() != data::Value::EType::String) {
        return {};
    }
    const auto* text = dynamic_cast<const data::String*>(uri);
    return text == nullptr ? std::string() : text->get();
}

GUID Utils::getGuidOfObject(const data::Object& object) {
    return getGuidOfUri(getUriOfObject(object));
}

GUID Utils::createHashedGuid(const std::string& name) {
    orv::common::checksums::SHA1 sha;
    sha.update(getBytesOfString(name));
    std::array<std::uint8_t, GUID::Size> bytes{};
    sha.getDigest(bytes.data(), bytes.size());
    bytes[VersionByte] = static_cast<std::uint8_t>((bytes[VersionByte] & 0x0F) | VersionBits);
    bytes[VariantByte] = static_cast<std::uint8_t>((bytes[VariantByte] & 0x3F) | VariantBits);
    return GUID(bytes);
}

std::string Utils::jsonOfDataValue(const data::Value& value, const std::string& host) {
    thread_local std::string scratch;
    thread_local bool scratchTaken = false;
    const ScratchClaim claim(scratchTaken);
    if (!claim.claimed()) {
        std::string result;
        writeJson(value, host, result);
        return result;
    }
    scratch.clear();
    writeJson(value, host, scratch);
    std::string result(scratch);
    if (scratch.capacity() > KeptScratchCapacity) {
        std::string().swap(scratch);
    }
    return result;
}

std::ostream& operator<<(std::ostream& stream, const Utils::TraceDescriptor& trace) {
    const std::string line = TraceLine(trace).print();
    return stream.write(line.data(), static_cast<std::streamsize>(line.size()));
}

}  // namespace common
}  // namespace nol
}  // namespace orv
