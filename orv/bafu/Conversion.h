#pragma once

#include <string>
#include <vector>

#include "orv/nol/common/Export.h"

namespace orv {
namespace bafu {

// Conversions between bytes and their hexadecimal text, two digits per byte.
//
//   Conversion::hexStringOfBinary({0x00, 0xAB, 0x7F})  // "00ab7f"
//   Conversion::binaryOfHexString("00ab7F")            // {0x00, 0xAB, 0x7F}
//
// Reading is as lenient as the C library's "%hhx" scan of each pair taken on its own: either
// letter case, leading white space and a sign are accepted ("-1" is 0xFF, " 1" is 0x01), and a
// pair whose second character is no digit gives the value of the first ("5g" is 0x05). A pair
// fails only when no digit can be read at its start ("g5", "zz", two blanks).
//
// Thread: stateless; callable from any thread. Failure: binaryOfHexString throws
// orv::common::errors::InvalidArgumentException with "Hex string length is not divisible by
// 2." for an odd length, before looking at any character, and with "Hex string contains
// invalid characters." for a pair that gives no value; no partial result is returned.
class ORV_NOL_API Conversion {
public:
    // Two lower-case digits per byte, as printf's "%02hhx" writes them; empty for no bytes.
    static std::string hexStringOfBinary(const std::vector<unsigned char>& bytes);

    // One byte per pair of characters; empty for an empty string.
    static std::vector<unsigned char> binaryOfHexString(const std::string& hex);
};

}  // namespace bafu
}  // namespace orv
