#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "orv/common/Export.h"

namespace orv {
namespace common {
namespace guid {

// A 16-byte globally unique identifier. The default value is the nil GUID (all bytes 0),
// which stands for "no GUID".
//
// Text form: 36 characters, 8-4-4-4-12 hexadecimal digits joined by "-", showing the bytes in
// the order 3 2 1 0, 5 4, 7 6, 8 9, 10 to 15 (the first three groups are little-endian
// numbers). toString() writes lower case; parse() reads either case, strictly.
//
//   GUID id;
//   if (GUID::parse("00112233-4455-6677-8899-aabbccddeeff", id)) { ... }  // id[0] == 0x33
//
// Thread: a plain value; const operations may run concurrently. Failure: none.
class ORV_COMMON_API GUID {
public:
    static constexpr std::size_t Size = 16;
    static constexpr std::size_t TextLength = 36;

    constexpr GUID() noexcept = default;
    explicit GUID(const std::array<std::uint8_t, Size>& bytes) noexcept : m_bytes(bytes) {}

    std::uint8_t operator[](std::size_t index) const noexcept { return m_bytes[index]; }
    std::uint8_t& operator[](std::size_t index) noexcept { return m_bytes[index]; }
    const std::array<std::uint8_t, Size>& bytes() const noexcept { return m_bytes; }

    bool isNil() const noexcept;

    // The lower-case 36-character text form.
    std::string toString() const;
    // Writes the text form into `out` (exactly TextLength characters, no terminator).
    void toChars(char* out) const noexcept;

    // Reads a text form: exactly 36 characters, "-" at positions 8, 13, 18 and 23, hexadecimal
    // digits of either case everywhere else. On success stores the GUID in `out` and returns
    // true; otherwise leaves `out` unchanged and returns false.
    static bool parse(const std::string& text, GUID& out) noexcept;
    static bool parse(const char* text, std::size_t length, GUID& out) noexcept;

    friend bool operator==(const GUID& a, const GUID& b) noexcept { return a.m_bytes == b.m_bytes; }
    friend bool operator!=(const GUID& a, const GUID& b) noexcept { return a.m_bytes != b.m_bytes; }
    friend bool operator<(const GUID& a, const GUID& b) noexcept { return a.m_bytes < b.m_bytes; }

private:
    std::array<std::uint8_t, Size> m_bytes{};
};

}  // namespace guid
}  // namespace common
}  // namespace orv
