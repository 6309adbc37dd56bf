#include "orv/nol/common/StringUtils.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace orv::nol::common;
using namespace std::string_literals;

struct TextCase {
    std::string input;
    std::string expected;
};

TEST(ReplaceStringInPlaceTest, ReplacesLeftToRightWithoutSearchingInsertedText) {
    struct Case {
        std::string subject, search, replace, expected;
    };
    const Case cases[] = {
        {"aaa", "a", "aa", "aaaaaa"}, {"abcabc", "bc", "", "aa"},   {"abc", "x", "y", "abc"},
        {"aaaa", "aa", "a", "aa"},    {"a\0b"s, "\0"s, "-", "a-b"},
    };
    for (const Case& c : cases) {
        std::string subject = c.subject;
        ReplaceStringInPlace(subject, c.search, c.replace);
        EXPECT_EQ(subject, c.expected) << c.subject << " / " << c.search;
    }
    std::string aliased = "a-a";  // the replacement is the subject itself
    ReplaceStringInPlace(aliased, "-", aliased);
    EXPECT_EQ(aliased, "aa-aa");
}

TEST(IntegerOfStringTest, ReadsLikeStrtolAndKeepsTheLowBits) {
    const std::pair<std::string, std::int32_t> int32Cases[] = {
        {"12abc", 12},
        {"x", 0},
        {"  -42", -42},
        {"+7", 7},
        {"4294967297", 1},
        {"99999999999999999999", -1},  // LONG_MAX narrowed
        {"-99999999999999999999", 0},  // LONG_MIN narrowed
        {"0x10", 0},
    };
    for (const auto& [text, expected] : int32Cases) {
        EXPECT_EQ(int32ofString(text), expected) << text;
    }
    const std::pair<std::string, int> uint8Cases[] = {
        {"300", 44}, {"256", 0}, {"-1", 255}, {"owner", 0}, {" 2", 2},
    };
    for (const auto& [text, expected] : uint8Cases) {
        EXPECT_EQ(uint8ofString(text), expected) << text;
    }
}

TEST(StringHelpersTest, BytesViewTheStringAndUpcaseChangesOnlyAsciiLetters) {
    const std::string text = "a\0b"s;
    EXPECT_EQ(getBytesOfString(text).ptr(), text.data());
    EXPECT_EQ(getBytesOfString(text).size(), 3U);
    EXPECT_NE(getBytesOfString(std::string()).ptr(), nullptr);

    EXPECT_EQ(stringUpcase("abc XYZ 09-_\xe4\0z"s), "ABC XYZ 09-_\xe4\0Z"s);
}

TEST(StringEscapeURLContentTest, EscapesAllButDigitsAndLettersWithSpacePadding) {
    const TextCase cases[] = {
        {"a b/c", "a%20b%2fc"}, {"A-z_9", "A%2dz%5f9"}, {"\t", "% 9"},        {"\n", "% a"},
        {"\0"s, "% 0"},         {"\xff", "%ff"},        {".~+", "%2e%7e%2b"},
    };
    for (const TextCase& c : cases) {
        EXPECT_EQ(stringEscapeURLContent(c.input), c.expected) << c.input;
    }
    for (int value = 0; value < 256; ++value) {
        const std::string byte(1, static_cast<char>(value));
        const bool kept = (value >= '0' && value <= '9') || (value >= 'A' && value <= 'Z') ||
                          (value >= 'a' && value <= 'z');
        char formatted[8];
        std::snprintf(formatted, sizeof formatted, "%%%2x", static_cast<unsigned>(value));
        EXPECT_EQ(stringEscapeURLContent(byte), kept ? byte : std::string(formatted)) << value;
    }
}

TEST(StringUnescapeURLContentTest, DecodesEscapesAndKeepsWhatItCannotRead) {
    const TextCase cases[] = {
        {"a%20b%2Fc", "a b/c"}, {"% a", "\n"},
        {"%zz1", "%zz1"},       {"100%", "100%"},
        {"%%41", "%%41"},  // the first "%" takes "%4" with it and cannot read it
        {"a+b", "a+b"},         {"%4g", "\x04"},  // one digit read, the second character dropped
        {"%-1x", "\xffx"},                        // a sign is accepted
        {"%a", "%a"},           {"%\00041"s, "%\00041"s},  // reading stops at the NUL byte
    };
    for (const TextCase& c : cases) {
        EXPECT_EQ(stringUnescapeURLContent(c.input), c.expected) << c.input;
    }
    EXPECT_THROW(stringUnescapeURLContent("%"), std::out_of_range);
}

// One escape read by sscanf on the substring after the "%", written out: the oracle for the
// table-driven reading.
std::string unescapeWithSscanf(const std::string& text) {
    std::string result;
    std::size_t start = 0;
    std::size_t percent = text.find('%');
    while (percent != std::string::npos && percent < text.size() - 2) {
        result += text.substr(start, percent - start);
        unsigned char byte = 0;
        if (std::sscanf(text.substr(percent + 1, 2).c_str(), "%hhx", &byte) == 1) {
            result += static_cast<char>(byte);
        } else {
            result += text.substr(percent, 3);
        }
        start = percent + 3;
        percent = text.find('%', start);
    }
    return result + text.substr(start);
}

TEST(StringUnescapeURLContentTest, ReadsEveryTwoCharacterEscapeAsSscanfDoes) {
    const std::string alphabet = "0123456789abcdefABCDEFgxXz \t\n\v\f\r+-%\0\x80\xff"s;
    for (const char first : alphabet) {
        for (const char second : alphabet) {
            const std::string text = "<%"s + first + second + ">";
            EXPECT_EQ(stringUnescapeURLContent(text), unescapeWithSscanf(text))
                << static_cast<int>(first) << "," << static_cast<int>(second);
        }
    }
}

TEST(StringUnescapeURLContentTest, UndoesEscapeForAnyBytes) {
    std::mt19937 random(20240611);
    std::uniform_int_distribution<int> byte(0, 255);
    std::uniform_int_distribution<std::size_t> length(0, 64);
    for (int round = 0; round < 2000; ++round) {
        std::string text(length(random), '\0');
        for (char& c : text) {
            c = static_cast<char>(byte(random));
        }
        ASSERT_EQ(stringUnescapeURLContent(stringEscapeURLContent(text)), text);
    }
}

TEST(SplitTest, SplitsAtEachDelimiterCharacterAndKeepsEmptyTokens) {
    struct Case {
        std::string text, delimiters;
        std::vector<std::string> expected;
    };
    const Case cases[] = {
        {"", ",", {""}},
        {"abc", "", {"abc"}},
        {"a,b;c", ",;", {"a", "b", "c"}},
        {"a,,b", ",", {"a", "", "b"}},
        {",a,", ",", {"", "a", ""}},
        {"a<>b", "<>", {"a", "", "b"}},  // a set of characters, not a substring
    };
    for (const Case& c : cases) {
        EXPECT_EQ(split(c.text, c.delimiters), c.expected) << c.text << " at " << c.delimiters;
    }
}

}  // namespace
