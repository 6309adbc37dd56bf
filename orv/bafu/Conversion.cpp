#include "orv/bafu/Conversion.h"

#include <array>
#include <cstdio>
#include <cstring>

#include "orv/common/errors/InvalidArgumentException.h"

namespace orv {
namespace bafu {

namespace {

constexpr std::size_t ByteValues = 256;
constexpr unsigned char NoDigit = 0xFF;

// The two lower-case digits of every byte value, side by side.
constexpr std::array<char, 2 * ByteValues> makeDigitPairs() {
    constexpr char digits[] = "0123456789abcdef";
    std::array<char, 2 * ByteValues> pairs{};
    for (std::size_t value = 0; value < ByteValues; ++value) {
        pairs[2 * value] = digits[value >> 4U];
        pairs[2 * value + 1] = digits[value & 0xFU];
    }
    return pairs;
}

// The value of every hexadecimal digit character, NoDigit for all other characters.
constexpr std::array<unsigned char, ByteValues> makeDigitValues() {
    std::array<unsigned char, ByteValues> values{};
    for (std::size_t c = 0; c < ByteValues; ++c) {
        values[c] = NoDigit;
    }
    for (unsigned char d = 0; d < 10; ++d) {
        values['0' + d] = d;
    }
    for (unsigned char d = 0; d < 6; ++d) {
        values['a' + d] = static_cast<unsigned char>(10 + d);
        values['A' + d] = static_cast<unsigned char>(10 + d);
    }
    return values;
}

constexpr std::array<char, 2 * ByteValues> DigitPairs = makeDigitPairs();
constexpr std::array<unsigned char, ByteValues> DigitValues = makeDigitValues();

// Reads a pair that is not simply two digits the way the C library's scan does, so that its
// leniency (white space, sign, a lone leading digit) is kept exactly. The scan with "%hhX" is a
// second try that accepts nothing "%hhx" does not; it stays for faithfulness.
unsigned char scanUnusualPair(const std::string& hex, std::size_t position) {
    const std::string pair = hex.substr(position, 2);
    unsigned char value = 0;
    // NOLINTBEGIN(cert-err34-c,bugprone-unchecked-string-to-number-conversion): the scan's
    // leniency is the behaviour wanted here.
    if (std::sscanf(pair.c_str(), "%hhx", &value) == 1 ||
        std::sscanf(pair.c_str(), "%hhX", &value) == 1) {
        return value;
    }
    // NOLINTEND(cert-err34-c,bugprone-unchecked-string-to-number-conversion)
    throw common::errors::InvalidArgumentException("Hex string contains invalid characters.");
}

}  // namespace

std::string Conversion::hexStringOfBinary(const std::vector<unsigned char>& bytes) {
    std::string hex(2 * bytes.size(), '0');
    char* out = hex.data();
    for (const unsigned char byte : bytes) {
        std::memcpy(out, &DigitPairs[2 * std::size_t{byte}], 2);
        out += 2;
    }
    return hex;
}

std::vector<unsigned char> Conversion::binaryOfHexString(const std::string& hex) {
    if (hex.size() % 2 != 0) {
        throw common::errors::InvalidArgumentException("Hex string length is not divisible by 2.");
    }
    std::vector<unsigned char> bytes(hex.size() / 2);
    const auto* in = reinterpret_cast<const unsigned char*>(hex.data());
    for (std::size_t k = 0; k < bytes.size(); ++k) {
        const unsigned char high = DigitValues[in[2 * k]];
        const unsigned char low = DigitValues[in[2 * k + 1]];
        if (((high | low) & 0xF0U) == 0) {
            bytes[k] = static_cast<unsigned char>((high << 4U) | low);
        } else {
            bytes[k] = scanUnusualPair(hex, 2 * k);
        }
    }
    return bytes;
}

}  // namespace bafu
}  // namespace orv
