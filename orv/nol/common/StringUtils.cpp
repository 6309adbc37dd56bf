#include "orv/nol/common/StringUtils.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <cstdlib>

namespace orv {
namespace nol {
namespace common {

namespace {

// What stringEscapeURLContent writes for each byte: nothing for a digit or letter (the byte is
// kept), otherwise the two characters that follow the "%".
struct EscapeTable {
    std::array<bool, 256> keep{};
    std::array<std::array<char, 2>, 256> code{};
};

constexpr bool isAsciiAlnum(unsigned value) {
    return (value >= '0' && value <= '9') || (value >= 'A' && value <= 'Z') ||
           (value >= 'a' && value <= 'z');
}

constexpr EscapeTable makeEscapeTable() {
    constexpr char kDigits[] = "0123456789abcdef";
    EscapeTable table;
    for (unsigned value = 0; value < 256; ++value) {
        table.keep[value] = isAsciiAlnum(value);
        // Width 2, right-aligned, padded with a space: values below 16 give " x".
        table.code[value][0] = value < 16 ? ' ' : kDigits[value >> 4U];
        table.code[value][1] = kDigits[value & 0xFU];
    }
    return table;
}

constexpr EscapeTable kEscapeTable = makeEscapeTable();

constexpr std::array<signed char, 256> makeHexValueTable() {
    std::array<signed char, 256> table{};
    for (unsigned value = 0; value < 256; ++value) {
        if (value >= '0' && value <= '9') {
            table[value] = static_cast<signed char>(value - '0');
        } else if (value >= 'a' && value <= 'f') {
            table[value] = static_cast<signed char>(value - 'a' + 10);
        } else if (value >= 'A' && value <= 'F') {
            table[value] = static_cast<signed char>(value - 'A' + 10);
        } else {
            table[value] = -1;
        }
    }
    return table;
}

constexpr std::array<signed char, 256> kHexValue = makeHexValueTable();

int hexValue(char c) {
    return kHexValue[static_cast<unsigned char>(c)];
}

// Reads the byte that an escape "%xy" stands for, from the (at most two) characters at `pos`,
// exactly as sscanf's "%hhx" reads them from a string that ends at the first NUL byte. The two
// common forms (two hex digits, and the space-padded "% x") are decoded from the table; anything
// else (a sign, other white space, a single digit, a "0x", a NUL) is left to sscanf itself, so
// that every odd case reads as it always has.
bool readEscapedByte(const std::string& text, std::size_t pos, unsigned char& byte) {
    const char first = pos < text.size() ? text[pos] : '\0';
    const char second = pos + 1 < text.size() ? text[pos + 1] : '\0';
    const int high = hexValue(first);
    const int low = hexValue(second);
    if (low >= 0 && (high >= 0 || first == ' ')) {
        byte = static_cast<unsigned char>(high >= 0 ? (high << 4) | low : low);
        return true;
    }
    const char digits[3] = {first, second, '\0'};
    // NOLINTNEXTLINE(cert-err34-c): the lax reading of sscanf is the documented behaviour.
    return std::sscanf(digits, "%hhx", &byte) == 1;
}

// The position of the next "%" from `from`, or npos. Escapes often follow each other closely,
// so a few bytes are looked at before the search is handed to memchr.
std::size_t findPercent(const std::string& text, std::size_t from) {
    constexpr std::size_t kNearby = 4;
    const std::size_t size = text.size();
    const std::size_t nearEnd = std::min(size, from + kNearby);
    for (std::size_t i = from; i < nearEnd; ++i) {
        if (text[i] == '%') {
            return i;
        }
    }
    return nearEnd < size ? text.find('%', nearEnd) : std::string::npos;
}

// Copies [from, to) of `in` to `out`: short runs byte by byte, long ones in one block.
char* copyRun(const char* in, std::size_t from, std::size_t to, char* out) {
    if (to - from <= 8) {
        for (std::size_t i = from; i < to; ++i) {
            *out++ = in[i];
        }
        return out;
    }
    return std::copy(in + from, in + to, out);
}

// Only the text "%" leaves the read position beyond the end; substr reports that as
// std::out_of_range ("basic_string::substr"), which is what callers have always seen.
void throwIfBeyondEnd(const std::string& text, std::size_t start) {
    if (start > text.size()) {
        static_cast<void>(text.substr(start));
    }
}

// The literal replacement loop, kept for the cases that the single pass cannot stand for: an
// empty search (which never ends) and arguments that alias the subject.
void replaceInPlaceLoop(std::string& subject, const std::string& search,
                        const std::string& replace) {
    std::size_t pos = 0;
    while ((pos = subject.find(search, pos)) != std::string::npos) {
        subject.replace(pos, search.size(), replace);
        pos += replace.size();
    }
}

}  // namespace

void ReplaceStringInPlace(std::string& subject, const std::string& search,
                          const std::string& replace) {
    if (search.empty() || &search == &subject || &replace == &subject) {
        replaceInPlaceLoop(subject, search, replace);
        return;
    }
    // One pass over the original text gives the same result as the loop: the search goes on
    // right after each inserted replacement, which is where the rest of the original text is.
    std::size_t found = subject.find(search);
    if (found == std::string::npos) {
        return;
    }
    std::string result;
    result.reserve(subject.size());
    std::size_t start = 0;
    do {
        result.append(subject, start, found - start);
        result += replace;
        start = found + search.size();
        found = subject.find(search, start);
    } while (found != std::string::npos);
    result.append(subject, start);
    subject.swap(result);
}

std::int32_t int32ofString(const std::string& text) {
    // Narrowing keeps the low 32 bits (two's complement).
    return static_cast<std::int32_t>(std::strtol(text.c_str(), nullptr, 10));
}

std::uint8_t uint8ofString(const std::string& text) {
    return static_cast<std::uint8_t>(std::strtol(text.c_str(), nullptr, 10));
}

orv::common::types::BufferDescriptor<const char> getBytesOfString(const std::string& text) {
    return {text.data(), text.size()};
}

std::string stringUpcase(const std::string& text) {
    std::string result(text.size(), '\0');
    std::transform(text.begin(), text.end(), result.begin(), [](char c) {
        return static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    });
    return result;
}

std::string stringEscapeURLContent(const std::string& text) {
    const auto escapedCount =
        static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
            return !kEscapeTable.keep[static_cast<unsigned char>(c)];
        }));
    std::string result(text.size() + 2 * escapedCount, '\0');
    char* out = result.data();
    for (const char c : text) {
        const auto value = static_cast<unsigned char>(c);
        if (kEscapeTable.keep[value]) {
            *out++ = c;
        } else {
            out[0] = '%';
            out[1] = kEscapeTable.code[value][0];
            out[2] = kEscapeTable.code[value][1];
            out += 3;
        }
    }
    return result;
}

std::vector<std::string> split(const std::string& text, const std::string& delimiters) {
    std::vector<std::string> tokens;
    if (delimiters.empty()) {
        tokens.push_back(text);
        return tokens;
    }
    const bool singleDelimiter = delimiters.size() == 1;
    std::size_t start = 0;
    for (;;) {
        const std::size_t end = singleDelimiter ? text.find(delimiters[0], start)
                                                : text.find_first_of(delimiters, start);
        if (end == std::string::npos) {
            tokens.emplace_back(text, start);
            return tokens;
        }
        tokens.emplace_back(text, start, end - start);
        start = end + 1;
    }
}

std::string stringUnescapeURLContent(const std::string& text) {
    std::size_t percent = text.find('%');
    if (percent == std::string::npos) {
        return text;
    }
    // Every step writes at most as many bytes as it reads, so the text's size is enough.
    std::string result(text.size(), '\0');
    char* out = result.data();
    const char* const in = text.data();
    std::size_t start = 0;
    // Unsigned on purpose: for the text "%" the bound wraps round and the loop is entered.
    while (percent != std::string::npos && percent < text.size() - 2) {
        out = copyRun(in, start, percent, out);
        unsigned char byte = 0;
        if (readEscapedByte(text, percent + 1, byte)) {
            *out++ = static_cast<char>(byte);
        } else {
            out = std::copy_n(in + percent, std::min<std::size_t>(3, text.size() - percent), out);
        }
        start = percent + 3;
        percent = findPercent(text, start);
    }
    throwIfBeyondEnd(text, start);
    out = std::copy(in + start, in + text.size(), out);
    result.resize(static_cast<std::size_t>(out - result.data()));
    return result;
}

}  // namespace common
}  // namespace nol
}  // namespace orv
