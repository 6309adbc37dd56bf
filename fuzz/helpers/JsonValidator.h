#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace orv {
namespace fuzz {

// What checkJson found.
struct JsonCheck {
    bool valid = false;
    // The number of values in the text, the nested ones included (object keys do not count).
    std::size_t values = 0;
    // Where the first error was found, and what it was; empty when valid.
    std::size_t errorOffset = 0;
    std::string error;
};

// Checks that `text` is exactly one JSON value with optional white space around it, by the
// grammar of RFC 8259, strictly: no trailing commas, no leading zeros, no "+" or "." without
// digits, no raw control characters in strings, only the escapes the RFC lists, with four hex
// digits after \u. Bytes of 0x80 and above are accepted in strings as they stand (they are not
// checked to be UTF-8, as our writer passes them through); surrogate pairs are not checked.
// Arrays and objects nested deeper than `maxDepth` count as an error, so that the check itself
// stays within a small stack.
JsonCheck checkJson(std::string_view text, std::size_t maxDepth = 256);

}  // namespace fuzz
}  // namespace orv
