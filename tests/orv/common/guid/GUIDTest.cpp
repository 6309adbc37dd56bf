#include "orv/common/guid/GUID.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <random>
#include <set>
#include <string>

namespace {

using orv::common::guid::GUID;

using Bytes = std::array<std::uint8_t, GUID::Size>;

const Bytes CountingBytes = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77,
                             0x88, 0x99, 0xaa, 0xbb, 0xcc, 0xdd, 0xee, 0xff};
// CountingBytes in the text form: the first three groups show their bytes reversed.
const char* const CountingText = "33221100-5544-7766-8899-aabbccddeeff";

std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

TEST(GUIDTest, DefaultIsNil) {
    const GUID nil;
    EXPECT_TRUE(nil.isNil());
    for (std::size_t i = 0; i < GUID::Size; ++i) {
        EXPECT_EQ(nil[i], 0);
    }
    EXPECT_EQ(nil.toString(), "00000000-0000-0000-0000-000000000000");
    EXPECT_EQ(nil, GUID(Bytes{}));
}

TEST(GUIDTest, TextFormShowsTheBytesInDisplayOrder) {
    const GUID id(CountingBytes);
    EXPECT_EQ(id.bytes(), CountingBytes);
    EXPECT_EQ(id[3], 0x33);
    EXPECT_EQ(id.toString(), CountingText);

    char chars[GUID::TextLength + 1] = {};
    chars[GUID::TextLength] = '#';
    id.toChars(chars);
    EXPECT_EQ(std::string(chars, GUID::TextLength), CountingText);
    EXPECT_EQ(chars[GUID::TextLength], '#') << "toChars wrote past the text";
}

TEST(GUIDTest, ParseReadsTheDisplayOrderInEitherCase) {
    const char* const texts[] = {CountingText, "33221100-5544-7766-8899-AABBCCDDEEFF",
                                 "33221100-5544-7766-8899-aAbBcCdDeEfF"};
    for (const char* text : texts) {
        SCOPED_TRACE(text);
        GUID id;
        ASSERT_TRUE(GUID::parse(text, id));
        EXPECT_EQ(id, GUID(CountingBytes));
        GUID fromChars;
        ASSERT_TRUE(GUID::parse(text, GUID::TextLength, fromChars));
        EXPECT_EQ(fromChars, id);
    }
}

TEST(GUIDTest, RandomGuidsRoundTripThroughText) {
    std::mt19937 random(20240607);
    std::uniform_int_distribution<int> byte(0, 255);
    std::bernoulli_distribution upper(0.5);
    for (int i = 0; i < 2000; ++i) {
        Bytes bytes;
        for (std::uint8_t& b : bytes) {
            b = static_cast<std::uint8_t>(byte(random));
        }
        const GUID original(bytes);
        const std::string text = original.toString();
        ASSERT_EQ(text, lowerCase(text));

        std::string mixed = text;
        for (char& c : mixed) {
            if (upper(random)) {
                c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
            }
        }
        GUID parsed;
        ASSERT_TRUE(GUID::parse(mixed, parsed)) << mixed;
        EXPECT_EQ(parsed, original) << mixed;
        EXPECT_EQ(parsed.toString(), lowerCase(mixed));
    }
}

TEST(GUIDTest, ParseRejectsMalformedTextAndLeavesTheOutputAlone) {
    const std::string valid = CountingText;
    struct Case {
        const char* why;
        std::string text;
    };
    const Case cases[] = {
        {"empty", ""},
        {"35 characters", valid.substr(0, 35)},
        {"37 characters", valid + "0"},
        {"leading space", " " + valid.substr(0, 35)},
        {"no dashes", "33221100554477668899aabbccddeeff0000"},
        {"dash moved left", "3322110-05544-7766-8899-aabbccddeeff"},
        {"dash moved right", "33221100-55447-766-8899-aabbccddeeff"},
        {"dash replaced", "33221100-5544-7766_8899-aabbccddeeff"},
        {"extra dash in a group", "33221100-5544-7766-8899-aabbccdd-eff"},
        {"braces", "{3221100-5544-7766-8899-aabbccddeef}"},
        {"letter past f", "33221100-5544-7766-8899-aabbccddeefg"},
        {"capital past F", "G3221100-5544-7766-8899-aabbccddeeff"},
        {"space in a group", "33221100-5544-77 6-8899-aabbccddeeff"},
        {"sign", "+3221100-5544-7766-8899-aabbccddeeff"},
        {"digit neighbours", "3322110:-5544-7766-8899-aabbccddeef/"},
        {"byte past ASCII", "33221100-5544-7766-8899-aabbccddee\xc3\xa9"},
        {"embedded NUL", std::string("33221100-5544-7766-8899-aabbccdd\0eff", 36)},
    };
    const GUID sentinel(CountingBytes);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.why);
        GUID out = sentinel;
        EXPECT_FALSE(GUID::parse(c.text, out)) << c.text;
        EXPECT_EQ(out, sentinel);
    }

    GUID out = sentinel;
    EXPECT_FALSE(GUID::parse(nullptr, GUID::TextLength, out));
    EXPECT_FALSE(GUID::parse(CountingText, GUID::TextLength - 1, out));
    EXPECT_EQ(out, sentinel);
}

TEST(GUIDTest, ComparisonsOrderByBytes) {
    const GUID nil;
    const GUID counting(CountingBytes);
    Bytes lastByteUp = CountingBytes;
    lastByteUp[15] = 0xf0;  // smaller than 0xff
    const GUID smallerLast(lastByteUp);
    Bytes firstByteUp{};
    firstByteUp[0] = 1;
    const GUID first(firstByteUp);

    EXPECT_TRUE(counting == GUID(CountingBytes));
    EXPECT_FALSE(counting != GUID(CountingBytes));
    EXPECT_TRUE(counting != smallerLast);
    EXPECT_FALSE(counting == smallerLast);

    EXPECT_TRUE(nil < counting);
    EXPECT_FALSE(counting < nil);
    EXPECT_TRUE(smallerLast < counting);
    EXPECT_FALSE(counting < counting);
    EXPECT_TRUE(nil < first);

    // A strict weak order: distinct values stay distinct in an ordered set.
    const std::set<GUID> ordered = {counting, nil, smallerLast, first, GUID(CountingBytes)};
    EXPECT_EQ(ordered.size(), 4U);
    EXPECT_EQ(*ordered.begin(), nil);
}

}  // namespace
