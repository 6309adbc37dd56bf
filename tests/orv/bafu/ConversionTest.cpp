// Conversion: hexadecimal text of bytes, written as printf's "%02hhx" writes it and read as the
// C library's "%hhx" scan reads each pair on its own, with its two messages of failure.

#include "orv/bafu/Conversion.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "orv/common/errors/InvalidArgumentException.h"

namespace orv::bafu {
namespace {

// What the C library's scan of each pair on its own gives, or the message binaryOfHexString
// throws.
std::string scan(const std::string& hex) {
    std::string bytes;
    for (std::size_t at = 0; at < hex.size() && hex.size() % 2 == 0; at += 2) {
        unsigned char byte = 0;
        if (std::sscanf(hex.substr(at, 2).c_str(), "%hhx", &byte) != 1) {  // NOLINT(cert-err34-c)
            return "Hex string contains invalid characters.";
        }
        bytes += static_cast<char>(byte);
    }
    return hex.size() % 2 == 0 ? bytes : "Hex string length is not divisible by 2.";
}

// Every pair of characters, alone, twice around "00", among fifteen plain pairs (at a place
// that moves with the pair) and with an odd character after it (an odd length is refused
// before any character is looked at); every byte written, twice.
TEST(Conversion, ReadsAndWritesAsTheCLibraryDoes) {
    for (int pair = 0; pair < 65536; ++pair) {
        const std::string hex{static_cast<char>(pair >> 8), static_cast<char>(pair & 0xFF)};
        const std::size_t before = 2 * static_cast<std::size_t>(pair % 16);
        std::string among(32, '9');
        among.replace(0, before, before, 'F').replace(before, 2, hex);
        for (const std::string& text : {hex, hex + "00" + hex, among, hex + "0"}) {
            try {
                const std::vector<unsigned char> bytes = Conversion::binaryOfHexString(text);
                ASSERT_EQ(std::string(bytes.begin(), bytes.end()), scan(text)) << pair;
            } catch (const common::errors::InvalidArgumentException& e) {
                ASSERT_EQ(e.what(), scan(text)) << pair;
            }
        }
    }
    for (unsigned int byte = 0; byte < 256; ++byte) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02hhx", static_cast<unsigned char>(byte));
        const auto value = static_cast<unsigned char>(byte);
        ASSERT_EQ(Conversion::hexStringOfBinary({value, value}), std::string(digits) + digits);
    }
}

}  // namespace
}  // namespace orv::bafu
