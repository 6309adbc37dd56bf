#pragma once

#include <string_view>

namespace orv {
namespace nol {
namespace common {
namespace queries {
namespace detail {

// Calls `onToken` with each token of `text` split at `delimiter`, empty tokens included: a text
// with n delimiters gives n + 1 tokens, the empty text one empty token. The same tokens as
// split(text, {delimiter}), as views into `text` and without building a list.
template <typename OnToken>
void forEachToken(std::string_view text, char delimiter, OnToken&& onToken) {
    std::size_t start = 0;
    for (;;) {
        const std::size_t end = text.find(delimiter, start);
        if (end == std::string_view::npos) {
            onToken(text.substr(start));
            return;
        }
        onToken(text.substr(start, end - start));
        start = end + 1;
    }
}

// The number of tokens that forEachToken gives for `text`.
inline std::size_t tokenCount(std::string_view text, char delimiter) {
    std::size_t count = 1;
    for (const char c : text) {
        count += c == delimiter ? 1 : 0;
    }
    return count;
}

// True if `text` holds `c` exactly once: a piece that splits into exactly two tokens.
inline bool hasExactlyOne(std::string_view text, char c, std::size_t& position) {
    position = text.find(c);
    return position != std::string_view::npos &&
           text.find(c, position + 1) == std::string_view::npos;
}

}  // namespace detail
}  // namespace queries
}  // namespace common
}  // namespace nol
}  // namespace orv
