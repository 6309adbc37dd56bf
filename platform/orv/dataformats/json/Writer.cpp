#include "orv/dataformats/json/Writer.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <iterator>

#include "orv/dataformats/data/Value.h"

namespace orv {
namespace dataformats {
namespace json {

namespace {

// For every byte: 0 if it goes into a JSON string unchanged, otherwise the letter of its short
// escape (b f n r t " \), or 'u' for the \u00XX form.
constexpr std::array<char, 256> makeEscapeTable() {
    std::array<char, 256> table{};
    for (int c = 0; c < 0x20; ++c) {
        table[c] = 'u';
    }
    table['\b'] = 'b';
    table['\f'] = 'f';
    table['\n'] = 'n';
    table['\r'] = 'r';
    table['\t'] = 't';
    table['"'] = '"';
    table['\\'] = '\\';
    return table;
}

constexpr std::array<char, 256> kEscape = makeEscapeTable();

constexpr char kHexDigits[] = "0123456789abcdef";

constexpr char kBase64Digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Longest text of a double from std::to_chars in its shortest form, e.g.
// "-2.2250738585072014e-308" (24 characters), with room to spare.
constexpr std::size_t kMaxFloatText = 32;
// "-2147483648"
constexpr std::size_t kMaxIntegerText = 11;

// Longest escape of one byte: \u00XX.
constexpr std::size_t kMaxEscape = 6;

// Texts up to this length are escaped straight into the buffer (see Writer::writeQuoted).
constexpr std::size_t kShortString = 256;

// The eight-bytes-at-a-time path of short strings (Writer::writeQuoted). It stays because
// ResourceJsonBench needs it: without it jsonOfDataValue and the link completion rows take about
// 20 % longer. Its invariants:
// - needsEscape(word) is true exactly when one of the eight bytes has a non-zero kEscape entry
//   (below 0x20, '"' or '\\'); bytes of 0x80 and above never count, so they are copied as they
//   are, as the byte loop copies them. A false "false" would write an unescaped byte; each test
//   is the classic "has a zero byte" trick, exact as to whether such a byte exists (not which
//   one), which is all the loop asks.
// - A word that needs an escape is written byte by byte through writeEscaped(), the same code
//   as the tail and the long path, so both paths produce the same bytes.
// - The room reserved up front (kMaxEscape per byte plus the quotes) covers the worst case of
//   either way of writing, so the word loop never checks the buffer.
// True if any of the eight bytes in `word` is below 0x20, a quote or a backslash.
inline bool needsEscape(std::uint64_t word) {
    constexpr std::uint64_t kOnes = 0x0101010101010101ULL;
    constexpr std::uint64_t kHighs = 0x8080808080808080ULL;
    const std::uint64_t quote = word ^ (kOnes * '"');
    const std::uint64_t backslash = word ^ (kOnes * '\\');
    const std::uint64_t below = (word - kOnes * 0x20) & ~word;
    const std::uint64_t isQuote = (quote - kOnes) & ~quote;
    const std::uint64_t isBackslash = (backslash - kOnes) & ~backslash;
    return ((below | isQuote | isBackslash) & kHighs) != 0;
}

// Writes `c` at `out` as it goes into a JSON string; returns the position after it.
inline char* writeEscaped(char* out, unsigned char c) {
    const char escape = kEscape[c];
    if (escape == 0) {
        *out = static_cast<char>(c);
        return out + 1;
    }
    out[0] = '\\';
    out[1] = escape;
    if (escape != 'u') {
        return out + 2;
    }
    out[2] = '0';
    out[3] = '0';
    out[4] = kHexDigits[c >> 4];
    out[5] = kHexDigits[c & 0xF];
    return out + 6;
}

// Asks for the node that will be visited next while the current one is written: trees are
// scattered over the heap, and waiting for each node in turn is most of the cost of writing.
inline void prefetch(const data::Value* value) {
    __builtin_prefetch(value);
}

// Runs of bytes at least this long bypass the buffer once it has been emptied.
constexpr std::size_t kDirectRun = 1024;

}  // namespace

Writer::Writer(DataConsumer& consumer) noexcept : m_consumer(consumer) {}

// Nothing can be pending here: every finished top-level value has been handed on, and an
// unfinished one was dropped when its failure left the writer.
Writer::~Writer() = default;

// The small helpers are inline so that the compiler may inline them: the class is exported,
// and an exported out-of-line member could be interposed, which rules that out.

// What ConstVisitor::visit does, in a form the compiler can inline: the child picks the
// operation through its own visit(), so subclasses of the kinds are honoured.
inline void Writer::visitChild(const data::Value* child) {
    if (child == nullptr) {
        visitNull();
    } else {
        child->visit(*this);
    }
}

inline void Writer::put(char c) {
    if (m_used == kBufferSize) {
        flush();
    }
    m_buffer[m_used++] = c;
}

inline void Writer::append(const char* data, std::size_t size) {
    if (size == 0) {
        return;  // data may then be null, which memcpy must not see
    }
    if (size <= kBufferSize - m_used) {
        std::memcpy(m_buffer + m_used, data, size);
        m_used += size;
        return;
    }
    flush();
    if (size >= kDirectRun) {
        m_consumer.consume(data, size);
        return;
    }
    std::memcpy(m_buffer, data, size);
    m_used = size;
}

// Room for `size` (at most kBufferSize) more bytes at the returned position; the caller adds
// to m_used what it wrote there.
inline char* Writer::reserve(std::size_t size) {
    if (size > kBufferSize - m_used) {
        flush();
    }
    return m_buffer + m_used;
}

void Writer::writeQuoted(const char* data, std::size_t size) {
    const auto* next = reinterpret_cast<const unsigned char*>(data);
    const auto* end = next + size;
    if (size <= kShortString) {
        // Even fully escaped, the text fits into the buffer: write straight into it, eight
        // bytes at a time where none of them needs an escape.
        char* const start = reserve(kMaxEscape * size + 2);
        char* out = start;
        *out++ = '"';
        for (; end - next >= 8; next += 8) {
            std::uint64_t word;
            std::memcpy(&word, next, 8);
            if (!needsEscape(word)) {
                std::memcpy(out, next, 8);
                out += 8;
                continue;
            }
            for (int i = 0; i < 8; ++i) {
                out = writeEscaped(out, next[i]);
            }
        }
        for (; next != end; ++next) {
            out = writeEscaped(out, *next);
        }
        *out++ = '"';
        m_used += static_cast<std::size_t>(out - start);
        return;
    }
    // A long text: copy each run of bytes that need no escape at once, past the buffer if long.
    put('"');
    const auto* run = next;
    for (; next != end; ++next) {
        if (kEscape[*next] == 0) {
            continue;
        }
        append(reinterpret_cast<const char*>(run), static_cast<std::size_t>(next - run));
        char* out = reserve(kMaxEscape);
        m_used += static_cast<std::size_t>(writeEscaped(out, *next) - out);
        run = next + 1;
    }
    append(reinterpret_cast<const char*>(run), static_cast<std::size_t>(end - run));
    put('"');
}

void Writer::writeBase64(const unsigned char* data, std::size_t size) {
    const unsigned char* end = data + size;
    for (; end - data >= 3; data += 3) {
        const unsigned bits = (unsigned{data[0]} << 16) | (unsigned{data[1]} << 8) | data[2];
        char* out = reserve(4);
        out[0] = kBase64Digits[(bits >> 18) & 0x3F];
        out[1] = kBase64Digits[(bits >> 12) & 0x3F];
        out[2] = kBase64Digits[(bits >> 6) & 0x3F];
        out[3] = kBase64Digits[bits & 0x3F];
        m_used += 4;
    }
    if (data == end) {
        return;
    }
    const bool two = end - data == 2;
    const unsigned bits = (unsigned{data[0]} << 16) | (two ? unsigned{data[1]} << 8 : 0U);
    char* out = reserve(4);
    out[0] = kBase64Digits[(bits >> 18) & 0x3F];
    out[1] = kBase64Digits[(bits >> 12) & 0x3F];
    out[2] = two ? kBase64Digits[(bits >> 6) & 0x3F] : '=';
    out[3] = '=';
    m_used += 4;
}

inline void Writer::enterContainer() noexcept {
    ++m_depth;
}

inline void Writer::leaveContainer() noexcept {
    --m_depth;
}

// A container left by an exception: once the outermost one is left, what remains of its
// document in the buffer is dropped, so the next document starts clean.
void Writer::abandonContainer() noexcept {
    if (--m_depth == 0) {
        m_used = 0;
    }
}

inline void Writer::endValue() {
    if (m_depth == 0) {
        flush();
    }
}

void Writer::flush() {
    const std::size_t size = m_used;
    // Emptied first: if the consumer throws, these bytes count as handed on.
    m_used = 0;
    if (size != 0) {
        m_consumer.consume(m_buffer, size);
    }
}

void Writer::visitNull() {
    append("null", 4);
    endValue();
}

void Writer::visitBoolean(bool value) {
    if (value) {
        append("true", 4);
    } else {
        append("false", 5);
    }
    endValue();
}

void Writer::visitInteger(int value) {
    char* out = reserve(kMaxIntegerText);
    m_used += static_cast<std::size_t>(std::to_chars(out, out + kMaxIntegerText, value).ptr - out);
    endValue();
}

void Writer::visitFloat(double value) {
    if (!std::isfinite(value)) {
        // JSON has no form for NaN or the infinities.
        append("null", 4);
    } else {
        // The shortest digits that read back to the same double; always digits with an optional
        // fraction and exponent, which is valid JSON.
        char* out = reserve(kMaxFloatText);
        m_used +=
            static_cast<std::size_t>(std::to_chars(out, out + kMaxFloatText, value).ptr - out);
    }
    endValue();
}

void Writer::visitString(orv::common::types::BufferDescriptor<const char> bytes) {
    writeQuoted(bytes.ptr(), bytes.size());
    endValue();
}

void Writer::visitBlob(orv::common::types::BufferDescriptor<const char> bytes) {
    put('"');
    writeBase64(reinterpret_cast<const unsigned char*>(bytes.ptr()), bytes.size());
    put('"');
    endValue();
}

void Writer::visitArray(const data::PtrVector<data::Value>& elements) {
    put('[');
    enterContainer();
    try {
        const std::size_t count = elements.size();
        for (std::size_t i = 0; i < count; ++i) {
            if (i + 1 < count) {
                prefetch(elements[i + 1].get());
            }
            if (i != 0) {
                put(',');
            }
            visitChild(elements[i].get());
        }
    } catch (...) {
        abandonContainer();
        throw;
    }
    leaveContainer();
    put(']');
    endValue();
}

void Writer::visitObject(const data::PtrMap<std::string, data::Value>& members) {
    put('{');
    enterContainer();
    try {
        const auto end = members.end();
        for (auto member = members.begin(); member != end;) {
            const auto next = std::next(member);
            if (next != end) {
                prefetch(next->second.get());
            }
            if (member != members.begin()) {
                put(',');
            }
            writeQuoted(member->first.data(), member->first.size());
            put(':');
            visitChild(member->second.get());
            member = next;
        }
    } catch (...) {
        abandonContainer();
        throw;
    }
    leaveContainer();
    put('}');
    endValue();
}

}  // namespace json
}  // namespace dataformats
}  // namespace orv
