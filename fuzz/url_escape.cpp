// Fuzz target: URL escaping and splitting of arbitrary bytes.
// - stringUnescapeURLContent(stringEscapeURLContent(x)) gives x back, and the escaped form is
//   the documented one (letters and digits kept, every other byte as "%" and two hex digits,
//   the first a space below 16);
// - stringUnescapeURLContent of any text gives what the documented algorithm gives (read with
//   sscanf's "%hhx", substrings cut with std::string::substr); the only exception is
//   std::out_of_range, and exactly for the text "%";
// - split at delimiters taken from the input gives the tokens between the delimiter bytes.
// Input: one byte for the number of delimiters (0 to 4), the delimiters, then the text.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

#include "helpers/Check.h"
#include "helpers/FuzzInput.h"
#include "orv/nol/common/StringUtils.h"

namespace {

using orv::fuzz::check;
using orv::fuzz::printable;
namespace common = orv::nol::common;

// What a call of an unescaping function came to: its text or the exception it threw.
struct Outcome {
    std::string text;
    std::string exception;  // empty when the call returned
};

template <typename Unescape>
Outcome outcomeOf(Unescape unescape, const std::string& text) {
    try {
        return {unescape(text), {}};
    } catch (const std::out_of_range& error) {
        return {{}, std::string("std::out_of_range: ") + error.what()};
    } catch (const std::exception& error) {
        return {{}, std::string("other exception: ") + error.what()};
    }
}

std::string describe(const Outcome& outcome) {
    return outcome.exception.empty() ? printable(outcome.text) : outcome.exception;
}

std::string literalEscape(const std::string& text) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string escaped;
    for (const char c : text) {
        const auto value = static_cast<unsigned char>(c);
        if ((value >= '0' && value <= '9') || (value >= 'A' && value <= 'Z') ||
            (value >= 'a' && value <= 'z')) {
            escaped += c;
        } else {
            escaped += '%';
            escaped += value < 16 ? ' ' : kDigits[value >> 4U];
            escaped += kDigits[value & 0xFU];
        }
    }
    return escaped;
}

// The unescaping algorithm step by step, with the C library and std::string doing the work.
std::string literalUnescape(const std::string& text) {
    std::size_t percent = text.find('%');
    if (percent == std::string::npos) {
        return text;
    }
    std::string result;
    std::size_t start = 0;
    while (percent != std::string::npos && percent < text.size() - 2) {
        result += text.substr(start, percent - start);
        const std::string digits = text.substr(percent + 1, 2);
        unsigned char byte = 0;
        if (std::sscanf(digits.c_str(), "%hhx", &byte) == 1) {
            result += static_cast<char>(byte);
        } else {
            result += text.substr(percent, 3);
        }
        start = percent + 3;
        percent = text.find('%', start);
    }
    return result + text.substr(start);
}

std::vector<std::string> literalSplit(const std::string& text, const std::string& delimiters) {
    if (delimiters.empty()) {
        return {text};
    }
    std::vector<std::string> tokens(1);
    for (const char c : text) {
        if (delimiters.find(c) != std::string::npos) {
            tokens.emplace_back();
        } else {
            tokens.back() += c;
        }
    }
    return tokens;
}

std::string joined(const std::vector<std::string>& tokens) {
    std::string text;
    for (const std::string& token : tokens) {
        text += printable(token) + " ";
    }
    return text;
}

void checkEscapeRoundTrip(const std::string& text) {
    const std::string escaped = common::stringEscapeURLContent(text);
    check(escaped == literalEscape(text), "escaping gives the documented form", [&] {
        return "input:    " + printable(text) + "\nescaped:  " + printable(escaped) +
               "\nexpected: " + printable(literalEscape(text));
    });
    const Outcome back = outcomeOf(common::stringUnescapeURLContent, escaped);
    check(back.exception.empty() && back.text == text, "unescaping the escaped text gives it back",
          [&] {
              return "input:    " + printable(text) + "\nescaped:  " + printable(escaped) +
                     "\nback:     " + describe(back);
          });
}

void checkUnescape(const std::string& text) {
    const Outcome actual = outcomeOf(common::stringUnescapeURLContent, text);
    const Outcome expected = outcomeOf(literalUnescape, text);
    check(actual.text == expected.text && actual.exception.empty() == expected.exception.empty(),
          "unescaping follows the documented algorithm", [&] {
              return "input:    " + printable(text) + "\nresult:   " + describe(actual) +
                     "\nexpected: " + describe(expected);
          });
    const bool documentedException = text == "%";
    check(actual.exception.empty() != documentedException ||
              (documentedException &&
               actual.exception.rfind("std::out_of_range: basic_string::substr", 0) == 0),
          "unescaping throws std::out_of_range for \"%\" and for nothing else",
          [&] { return "input: " + printable(text) + "\nresult: " + describe(actual); });
}

void checkSplit(const std::string& text, const std::string& delimiters) {
    const std::vector<std::string> tokens = common::split(text, delimiters);
    const std::vector<std::string> expected = literalSplit(text, delimiters);
    check(tokens == expected, "split gives the tokens between the delimiters", [&] {
        return "text: " + printable(text) + "\ndelimiters: " + printable(delimiters) +
               "\ntokens:   " + joined(tokens) + "\nexpected: " + joined(expected);
    });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string whole(reinterpret_cast<const char*>(data), size);
    orv::fuzz::FuzzInput input(data, size);
    const std::string delimiters = input.text(input.byte() % 5);
    const std::string text = input.rest();

    checkEscapeRoundTrip(whole);
    checkUnescape(whole);
    checkUnescape(text);
    checkSplit(text, delimiters);
    return 0;
}
