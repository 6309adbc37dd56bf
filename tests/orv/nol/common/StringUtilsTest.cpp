// Text helpers: replacing, reading integers, upper case, URL escaping and unescaping, splitting
// at delimiter characters.

#include "orv/nol/common/StringUtils.h"

#include <gtest/gtest.h>

#include <cctype>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

using namespace orv::nol::common;
using namespace std::string_literals;

TEST(StringUtilsTest, ReplaceGoesLeftToRightWithoutSearchingInsertedText) {
    // clang-format off
    std::string cases[][4] = {{"aaa", "a", "aa", "aaaaaa"}, {"abcabc", "bc", "", "aa"}, {"aaaa", "aa", "a", "aa"},
                              {"abc", "x", "y", "abc"}, {"a\0b"s, "\0"s, "-", "a-b"}, {"a-a", "-", "a-a", "aa-aa"}};
    // clang-format on
    for (auto& [subject, search, replace, expected] : cases) {
        // A replacement equal to the subject is passed as the subject itself.
        ReplaceStringInPlace(subject, search, subject == replace ? subject : replace);
        EXPECT_EQ(subject, expected) << search;
    }
}

TEST(StringUtilsTest, ConversionsFollowTheCLibraryAndKeepTheLowBits) {
    // clang-format off
    const std::tuple<const char*, std::int32_t, int> cases[] = {
        {"12abc", 12, 12}, {"x", 0, 0}, {"  -42", -42, 214}, {"+7", 7, 7}, {"300", 300, 44}, {"256", 256, 0},
        {"4294967297", 1, 1}, {"99999999999999999999", -1, 255}, {"-99999999999999999999", 0, 0}, {"0x10", 0, 0}};
    // clang-format on
    for (const auto& [text, int32, uint8] : cases) {
        EXPECT_EQ(int32ofString(text), int32) << text;
        EXPECT_EQ(uint8ofString(text), uint8) << text;
    }
    EXPECT_EQ(stringUpcase("abc XYZ 09-_\xe4\0z"s), "ABC XYZ 09-_\xe4\0Z"s);
}

// Every byte but a digit or letter becomes "%" and its value in lower-case hex, padded to width
// 2 with a space; unescaping undoes it.
TEST(StringUtilsTest, EscapeWritesAllButDigitsAndLettersAsSpacePaddedHex) {
    std::string all;
    for (int value = 0; value < 256; ++value) {
        const std::string byte(1, static_cast<char>(value));
        char escaped[8];
        std::snprintf(escaped, sizeof escaped, "%%%2x", static_cast<unsigned>(value));
        EXPECT_EQ(stringEscapeURLContent(byte), std::isalnum(value) ? byte : escaped) << value;
        all += byte;
    }
    EXPECT_EQ(stringUnescapeURLContent(stringEscapeURLContent(all + all)), all + all);
}

// An escape reads the (at most two) characters after "%" as sscanf's "%hhx" reads them, and is
// left as it stands when that fails.
TEST(StringUtilsTest, UnescapeDecodesWhatSscanfReadsAndKeepsTheRest) {
    // clang-format off
    const std::string cases[][2] = {
        {"a%20b%2Fc", "a b/c"}, {"% a", "\n"}, {"%\tA", "\n"}, {"%+f", "\x0f"}, {"%-1x", "\xffx"},
        {"%zz1", "%zz1"}, {"%x1", "%x1"}, {"100%", "100%"}, {"%a", "%a"}, {"a+b", "a+b"}, {"%\00041"s, "%\00041"s},
        {"%%41", "%%41"},  // the first "%" takes "%4" with it and cannot read it
        {"%4g", "\x04"},   // one digit read, the second character dropped
        {"x%41%42yyyyyyyyyyyy%43", "xAByyyyyyyyyyyyC"}};
    // clang-format on
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(stringUnescapeURLContent(text), expected) << text;
    EXPECT_THROW(stringUnescapeURLContent("%"), std::out_of_range);
}

TEST(StringUtilsTest, SplitEndsATokenAtEachDelimiterCharacterAndKeepsEmptyOnes) {
    // clang-format off
    const std::tuple<const char*, const char*, std::vector<std::string>> cases[] = {
        {"", ",", {""}}, {"abc", "", {"abc"}}, {"a,b;c", ",;", {"a", "b", "c"}}, {"a,,b", ",", {"a", "", "b"}},
        {",a,", ",", {"", "a", ""}}, {"a<>b", "<>", {"a", "", "b"}}};
    // clang-format on
    for (const auto& [text, delimiters, expected] : cases)
        EXPECT_EQ(split(text, delimiters), expected) << text;
}
