// Range checks of the numbers in a query string, on the text as sent.

#include "QueryNumbers.h"

#include <cstdint>
#include <limits>
#include <string_view>

#include "ApiError.h"

namespace mediaservice {

namespace {

constexpr unsigned long kDeepestLevel = 5;
constexpr unsigned long kLargestCount = std::numeric_limits<std::int32_t>::max();

// Text the query reader takes for a number: digits with an optional sign.
bool looksNumeric(std::string_view text) {
    if (!text.empty() && (text[0] == '-' || text[0] == '+')) {
        text.remove_prefix(1);
    }
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

bool withinRange(std::string_view text, unsigned long highest) {
    if (text.empty() || text.find_first_not_of("0123456789") != std::string_view::npos) {
        return false;  // signed, or not a number at all
    }
    const std::size_t firstDigit = text.find_first_not_of('0');
    if (firstDigit == std::string_view::npos) {
        return true;
    }
    text.remove_prefix(firstDigit);
    return text.size() <= 10 && std::stoul(std::string(text)) <= highest;
}

void require(bool inRange, const std::string& what, std::string_view text, unsigned long highest) {
    if (!inRange) {
        throw ApiError(
            HttpStatusCode::BadRequest,
            what + ": '" + std::string(text) + "' is out of range 0 to " + std::to_string(highest));
    }
}

void checkCount(const std::string& what, std::string_view text) {
    if (looksNumeric(text)) {
        require(withinRange(text, kLargestCount), what, text, kLargestCount);
    }
}

// Each ","-token of "$expand" that begins like a number is a level.
void checkExpand(std::string_view value) {
    while (true) {
        const std::size_t comma = value.find(',');
        const std::string_view token = value.substr(0, comma);
        if (!token.empty() &&
            (token[0] == '-' || token[0] == '+' || (token[0] >= '0' && token[0] <= '9'))) {
            require(withinRange(token, kDeepestLevel), "$expand", token, kDeepestLevel);
        }
        if (comma == std::string_view::npos) {
            return;
        }
        value.remove_prefix(comma + 1);
    }
}

// The paging of list fields: "tracks($offset:2,$limit:3)".
void checkFieldPaging(std::string_view value) {
    for (const std::string_view key : {"$offset:", "$limit:"}) {
        for (std::size_t at = value.find(key); at != std::string_view::npos;
             at = value.find(key, at + 1)) {
            const std::string_view rest = value.substr(at + key.size());
            checkCount("$fields " + std::string(key.substr(0, key.size() - 1)),
                       rest.substr(0, rest.find_first_of(",)")));
        }
    }
}

}  // namespace

void checkNumberRanges(const std::string& queryText) {
    std::string_view rest(queryText);
    while (!rest.empty()) {
        const std::size_t ampersand = rest.find('&');
        const std::string_view piece = rest.substr(0, ampersand);
        const std::size_t equals = piece.find('=');
        if (equals != std::string_view::npos) {
            const std::string_view key = piece.substr(0, equals);
            const std::string_view value = piece.substr(equals + 1);
            if (key == "$expand") {
                checkExpand(value);
            } else if (key == "$offset" || key == "$limit") {
                checkCount(std::string(key), value);
            } else if (key == "$fields") {
                checkFieldPaging(value);
            }
        }
        if (ampersand == std::string_view::npos) {
            return;
        }
        rest.remove_prefix(ampersand + 1);
    }
}

}  // namespace mediaservice
