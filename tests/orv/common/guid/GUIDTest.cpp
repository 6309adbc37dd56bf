// GUID: the byte order of the text form, strict parsing in either case, round trips.
#include "orv/common/guid/GUID.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>

namespace {

using namespace std::string_view_literals;
using orv::common::guid::GUID;
using Bytes = std::array<std::uint8_t, GUID::Size>;

const GUID Counting(Bytes{0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0x99, 0xaa, 0xbb,
                          0xcc, 0xdd, 0xee, 0xff});

TEST(GUIDTest, TextFormShowsTheFirstThreeGroupsReversedAndRoundTrips) {
    EXPECT_TRUE(GUID().isNil());
    EXPECT_EQ(GUID().toString(), "00000000-0000-0000-0000-000000000000");
    std::string chars(GUID::TextLength + 1, '#');
    Counting.toChars(chars.data());
    EXPECT_EQ(chars, "33221100-5544-7766-8899-aabbccddeeff#");
    GUID parsed;
    EXPECT_TRUE(GUID::parse("33221100-5544-7766-8899-AAbbCCddEEff", parsed) && parsed == Counting);
    std::mt19937 random(20240607);
    for (int i = 0; i < 2000; ++i) {
        Bytes bytes;
        std::generate(bytes.begin(), bytes.end(), [&] { return random(); });
        const std::string text = GUID(bytes).toString();
        ASSERT_TRUE(GUID::parse(text, parsed)) << text;
        EXPECT_EQ(parsed, GUID(bytes)) << text;
    }
}

TEST(GUIDTest, ParseRejectsMalformedTextAndLeavesTheOutputAlone) {
    for (std::string_view text :
         {""sv, "33221100-5544-7766-8899-aabbccddeef"sv, "33221100-5544-7766-8899-aabbccddeeff0"sv,
          "3322110-05544-7766-8899-aabbccddeeff"sv, "33221100-5544-7766_8899-aabbccddeeff"sv,
          "{3221100-5544-7766-8899-aabbccddeef}"sv, "33221100-5544-7766-8899-aabbccddeefg"sv,
          "G3221100-5544-7766-8899-aabbccddeeff"sv, "3322110:-5544-77 6-8899-aabbccddeef/"sv,
          "33221100-5544-7766-8899-aabbccddee\xc3\xa9"sv,
          "33221100-5544-7766-8899-aabbcc\0\0eeff"sv}) {
        GUID out = Counting;
        EXPECT_FALSE(GUID::parse(text.data(), text.size(), out)) << text;
        EXPECT_EQ(out, Counting) << text;
    }
}

}  // namespace
