#pragma once

#include <algorithm>
#include <string_view>

namespace orv {
namespace nol {
namespace common {
namespace queries {
namespace detail {

// True if every character is a decimal digit, except that the first may be "-"; the empty text
// and "-" are numbers. The rule of isNumber, on a view, for the parsers that work on views.
inline bool isNumberText(std::string_view text) {
    if (!text.empty() && text.front() == '-') {
        text.remove_prefix(1);
    }
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

}  // namespace detail
}  // namespace queries
}  // namespace common
}  // namespace nol
}  // namespace orv
