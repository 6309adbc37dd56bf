#pragma once

#include <string>
#include <string_view>

namespace orv {
namespace fuzz {

// Reports a broken property on standard error, with the evidence, and aborts, so that libFuzzer
// counts the input as a crash and keeps it.
[[noreturn]] void failProperty(std::string_view property, const std::string& evidence);

// Fails with `property` unless `holds`; `evidence` (a callable giving a string) is only built
// for a failure, so that checks cost nothing on the common path.
template <typename Evidence>
void check(bool holds, std::string_view property, Evidence&& evidence) {
    if (!holds) {
        failProperty(property, evidence());
    }
}

// `bytes` in quotes, with backslash, quote, control bytes and bytes of 0x7f and above written as
// \xNN, and cut (marked by "...") after a few thousand characters.
std::string printable(std::string_view bytes);

}  // namespace fuzz
}  // namespace orv
