#include "orv/common/guid/GUID.h"

#include <algorithm>

namespace orv {
namespace common {
namespace guid {

namespace {

// Byte index shown at each of the 16 two-digit places of the text form, and where each
// place starts in the text.
constexpr std::uint8_t kByteOrder[GUID::Size] = {3, 2, 1,  0,  5,  4,  7,  6,
                                                 8, 9, 10, 11, 12, 13, 14, 15};
constexpr std::uint8_t kTextPosition[GUID::Size] = {0,  2,  4,  6,  9,  11, 14, 16,
                                                    19, 21, 24, 26, 28, 30, 32, 34};
constexpr std::size_t kDashPositions[] = {8, 13, 18, 23};

constexpr char kLowerDigits[] = "0123456789abcdef";

// Value of a hexadecimal digit, or -1.
constexpr int digitValue(char c) noexcept {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return -1;
}

}  // namespace

bool GUID::isNil() const noexcept {
    return std::all_of(m_bytes.begin(), m_bytes.end(), [](std::uint8_t byte) { return byte == 0; });
}

void GUID::toChars(char* out) const noexcept {
    for (std::size_t dash : kDashPositions) {
        out[dash] = '-';
    }
    for (std::size_t place = 0; place < Size; ++place) {
        const std::uint8_t byte = m_bytes[kByteOrder[place]];
        out[kTextPosition[place]] = kLowerDigits[byte >> 4];
        out[kTextPosition[place] + 1] = kLowerDigits[byte & 0x0f];
    }
}

std::string GUID::toString() const {
    std::string text(TextLength, '\0');
    toChars(text.data());
    return text;
}

bool GUID::parse(const std::string& text, GUID& out) noexcept {
    return parse(text.data(), text.size(), out);
}

bool GUID::parse(const char* text, std::size_t length, GUID& out) noexcept {
    if (text == nullptr || length != TextLength) {
        return false;
    }
    for (std::size_t dash : kDashPositions) {
        if (text[dash] != '-') {
            return false;
        }
    }
    std::array<std::uint8_t, Size> bytes{};
    for (std::size_t place = 0; place < Size; ++place) {
        const int high = digitValue(text[kTextPosition[place]]);
        const int low = digitValue(text[kTextPosition[place] + 1]);
        if (high < 0 || low < 0) {
            return false;
        }
        bytes[kByteOrder[place]] = static_cast<std::uint8_t>((high << 4) | low);
    }
    out.m_bytes = bytes;
    return true;
}

}  // namespace guid
}  // namespace common
}  // namespace orv
