#include "orv/bafu/Conversion.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "orv/common/errors/InvalidArgumentException.h"

namespace orv {
namespace bafu {
namespace {

using Bytes = std::vector<unsigned char>;
using common::errors::InvalidArgumentException;

const char* const OddLength = "Hex string length is not divisible by 2.";
const char* const InvalidCharacters = "Hex string contains invalid characters.";

// The message of the InvalidArgumentException that binaryOfHexString throws, or "".
std::string failureOf(const std::string& hex) {
    try {
        Conversion::binaryOfHexString(hex);
    } catch (const InvalidArgumentException& e) {
        return e.what();
    }
    return "";
}

TEST(HexStringOfBinary, WritesTwoLowerCaseDigitsPerByte) {
    EXPECT_EQ(Conversion::hexStringOfBinary({0x00, 0xAB, 0x7f}), "00ab7f");
    EXPECT_EQ(Conversion::hexStringOfBinary({}), "");
}

TEST(HexStringOfBinary, MatchesPrintfForEveryByteValue) {
    Bytes all;
    std::string expected;
    for (int value = 0; value < 256; ++value) {
        all.push_back(static_cast<unsigned char>(value));
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02hhx", static_cast<unsigned char>(value));
        expected += digits;
    }
    EXPECT_EQ(Conversion::hexStringOfBinary(all), expected);
    EXPECT_EQ(Conversion::binaryOfHexString(expected), all);
}

TEST(BinaryOfHexString, ReadsPairsInEitherCase) {
    const std::vector<std::pair<std::string, Bytes>> cases{
        {"00ab7F", {0x00, 0xAB, 0x7F}},
        {"", {}},
        {"FFff", {0xFF, 0xFF}},
    };
    for (const auto& [hex, bytes] : cases) {
        SCOPED_TRACE(hex);
        EXPECT_EQ(Conversion::binaryOfHexString(hex), bytes);
    }
}

// Each pair is scanned like "%hhx" on its own: white space and a sign before the digits are
// taken, and a lone leading digit is enough.
TEST(BinaryOfHexString, IsAsLenientAsTheCScanOfEachPair) {
    const std::vector<std::pair<std::string, Bytes>> cases{
        {"0g", {0x00}}, {"5g", {0x05}}, {"5 ", {0x05}},  {" 1", {0x01}},
        {"-1", {0xFF}}, {"+a", {0x0A}}, {"\t7", {0x07}}, {"ab5g", {0xAB, 0x05}},
    };
    for (const auto& [hex, bytes] : cases) {
        SCOPED_TRACE(hex);
        EXPECT_EQ(Conversion::binaryOfHexString(hex), bytes);
    }
}

TEST(BinaryOfHexString, RefusesOddLengthBeforeLookingAtCharacters) {
    for (const std::string hex : {"abc", "z", "0g0"}) {
        SCOPED_TRACE(hex);
        EXPECT_EQ(failureOf(hex), OddLength);
    }
}

TEST(BinaryOfHexString, RefusesPairsWithoutALeadingDigit) {
    for (const std::string& hex :
         std::vector<std::string>{"g0", "zz", "  ", "--", "00g5", std::string("\0\0", 2)}) {
        SCOPED_TRACE(hex);
        EXPECT_EQ(failureOf(hex), InvalidCharacters);
    }
}

// Every possible pair, compared with the C library's scan of that pair on its own.
TEST(BinaryOfHexString, AgreesWithTheCScanOnEveryPair) {
    int mismatches = 0;
    for (int first = 0; first < 256; ++first) {
        for (int second = 0; second < 256; ++second) {
            const std::string pair{static_cast<char>(first), static_cast<char>(second)};
            unsigned char scanned = 0;
            std::optional<unsigned char> expected;
            if (std::sscanf(pair.c_str(), "%hhx", &scanned) == 1) {  // NOLINT(cert-err34-c)
                expected = scanned;
            }
            std::optional<unsigned char> actual;
            try {
                actual = Conversion::binaryOfHexString(pair).at(0);
            } catch (const InvalidArgumentException&) {
            }
            if (actual != expected && ++mismatches <= 5) {
                ADD_FAILURE() << "pair " << first << "," << second;
            }
        }
    }
    EXPECT_EQ(mismatches, 0);
}

}  // namespace
}  // namespace bafu
}  // namespace orv
