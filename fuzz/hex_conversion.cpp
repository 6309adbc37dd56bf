// Fuzz target: hexadecimal conversion. The input's bytes written by hexStringOfBinary read back
// through binaryOfHexString unchanged, two lower-case digits per byte. The input taken as text
// reads exactly as a pair-by-pair "%hhx" scan of the C library reads it: the same bytes, or the
// same exception and message for an odd length or a pair that gives no value.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "helpers/Check.h"
#include "orv/bafu/Conversion.h"
#include "orv/common/errors/InvalidArgumentException.h"

namespace {

using orv::bafu::Conversion;
using orv::common::errors::InvalidArgumentException;
using orv::fuzz::check;
using orv::fuzz::printable;

// The bytes the documented scan gives, or the message it fails with.
struct Expected {
    std::vector<unsigned char> bytes;
    std::string failure;
};

Expected scanPairs(const std::string& text) {
    if (text.size() % 2 != 0) {
        return {{}, "Hex string length is not divisible by 2."};
    }
    Expected expected;
    for (std::size_t i = 0; i < text.size(); i += 2) {
        const std::string pair = text.substr(i, 2);
        unsigned char value = 0;
        if (std::sscanf(pair.c_str(), "%hhx", &value) != 1) {
            return {{}, "Hex string contains invalid characters."};
        }
        expected.bytes.push_back(value);
    }
    return expected;
}

void checkRoundTrip(const std::vector<unsigned char>& bytes) {
    const std::string hex = Conversion::hexStringOfBinary(bytes);
    check(hex.size() == 2 * bytes.size(), "two digits per byte", [&] { return printable(hex); });
    check(hex.find_first_not_of("0123456789abcdef") == std::string::npos, "only lower-case digits",
          [&] { return printable(hex); });
    check(Conversion::binaryOfHexString(hex) == bytes, "hex text reads back to its bytes",
          [&] { return printable(hex); });
}

void checkScan(const std::string& text) {
    const Expected expected = scanPairs(text);
    try {
        const std::vector<unsigned char> bytes = Conversion::binaryOfHexString(text);
        check(expected.failure.empty() && bytes == expected.bytes, "reads like the pair scan",
              [&] { return printable(text); });
    } catch (const InvalidArgumentException& exception) {
        check(exception.what() == expected.failure, "fails like the pair scan",
              [&] { return printable(text) + " threw " + exception.what(); });
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    checkRoundTrip(std::vector<unsigned char>(data, data + size));
    checkScan(std::string(reinterpret_cast<const char*>(data), size));
    return 0;
}
