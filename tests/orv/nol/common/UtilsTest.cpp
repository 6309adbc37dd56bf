#include "orv/nol/common/Utils.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "orv/dataformats/data/Integer.h"
#include "orv/dataformats/data/Object.h"
#include "orv/dataformats/data/String.h"
#include "support/PythonRunner.h"

namespace orv {
namespace nol {
namespace common {
namespace {

using orv::common::guid::GUID;
namespace data = orv::dataformats::data;

constexpr char SampleText[] = "00112233-4455-6677-8899-aabbccddeeff";

GUID randomGuid(std::mt19937& random) {
    std::array<std::uint8_t, GUID::Size> bytes{};
    for (auto& byte : bytes) {
        byte = static_cast<std::uint8_t>(random());
    }
    return GUID(bytes);
}

std::string upperCased(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

TEST(UtilsTest, UriOfPartsStopsAtTheFirstEmptyPart) {
    const struct {
        const char* first;
        const char* second;
        const char* id;
        const char* uri;
        const char* chain;
    } cases[] = {
        {"", "", "", "/", "ROOT"},
        {"", "b", "c", "/", "ROOT"},
        {"a", "", "", "/a/", "a"},
        {"a", "", "c", "/a/", "a"},
        {"a", "b", "", "/a/b/", "a->b"},
        {"a", "b", "c", "/a/b/c", "a->b->c"},
        {"x/y", "->", "%20", "/x/y/->/%20", "x/y->->->%20"},  // nothing is escaped
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Utils::getUriOfParts(c.first, c.second, c.id, false), c.uri)
            << c.first << '|' << c.second << '|' << c.id;
        EXPECT_EQ(Utils::getUriOfParts(c.first, c.second, c.id, true), c.chain)
            << c.first << '|' << c.second << '|' << c.id;
    }
}

TEST(UtilsTest, GuidTextShowsTheFirstThreeGroupsLittleEndian) {
    const GUID guid = Utils::getGuidOfStr(SampleText);
    const std::array<std::uint8_t, GUID::Size> expected = {0x33, 0x22, 0x11, 0x00, 0x55, 0x44,
                                                           0x77, 0x66, 0x88, 0x99, 0xaa, 0xbb,
                                                           0xcc, 0xdd, 0xee, 0xff};
    EXPECT_EQ(guid.bytes(), expected);
    EXPECT_EQ(guid.toString(), SampleText);
}

TEST(UtilsTest, GuidOfStrAcceptsEitherCase) {
    const GUID expected = Utils::getGuidOfStr(SampleText);
    ASSERT_FALSE(expected.isNil());
    EXPECT_EQ(Utils::getGuidOfStr("00112233-4455-6677-8899-AABBCCDDEEFF"), expected);
    EXPECT_EQ(Utils::getGuidOfStr("00112233-4455-6677-8899-AaBbCcDdEeFf"), expected);
}

TEST(UtilsTest, GuidOfStrIsStrict) {
    const std::string valid = SampleText;
    const std::string rejected[] = {
        "",
        "{" + valid + "}",
        valid + "0",
        valid + " ",
        " " + valid,
        valid.substr(1),
        "0011223344556677-8899-aabbccddeeff0",
        "00112233-4455-6677-8899-aabbccddeef\n",
        std::string("00112233-4455-6677-8899-aabbccddeef\0", 36),
        "0x112233-4455-6677-8899-aabbccddeeff",
        "+0112233-4455-6677-8899-aabbccddeeff",
        "urn:uuid:00112233-4455-6677-8899-aa",
    };
    for (const auto& text : rejected) {
        EXPECT_TRUE(Utils::getGuidOfStr(text).isNil()) << text;
    }
}

TEST(UtilsTest, GuidOfStrRejectsAnyWrongCharacterAnywhere) {
    const std::string valid = SampleText;
    for (std::size_t i = 0; i < valid.size(); ++i) {
        const bool isDash = valid[i] == '-';
        for (char wrong : {'g', 'G', '-', 'a', ' ', '\0', '\xe4'}) {
            const bool stillValid =
                isDash ? wrong == '-' : std::isxdigit(static_cast<unsigned char>(wrong)) != 0;
            if (stillValid) {
                continue;
            }
            std::string text = valid;
            text[i] = wrong;
            EXPECT_TRUE(Utils::getGuidOfStr(text).isNil()) << "position " << i << ": " << text;
        }
    }
}

TEST(UtilsTest, NilGuidTextReadsAsTheNilGuid) {
    EXPECT_TRUE(Utils::getGuidOfStr("00000000-0000-0000-0000-000000000000").isNil());
    EXPECT_TRUE(Utils::getGuidOfStr("no guid").isNil());
}

TEST(UtilsTest, GuidTextRoundTripsForRandomGuids) {
    std::mt19937 random(20240611);
    for (int i = 0; i < 20000; ++i) {
        const GUID guid = randomGuid(random);
        const std::string text = guid.toString();
        ASSERT_EQ(Utils::getGuidOfStr(text), guid) << text;
        ASSERT_EQ(Utils::getGuidOfStr(upperCased(text)), guid) << text;
        ASSERT_EQ(Utils::getGuidOfUri(Utils::getUriOfParts("svc", "type", text)), guid) << text;
    }
}

TEST(UtilsTest, SplitUriGivesSegmentsAndGuid) {
    const GUID sample = Utils::getGuidOfStr(SampleText);
    const struct {
        std::string uri;
        const char* first;
        const char* second;
        GUID guid;
    } cases[] = {
        {std::string("/s/t/") + SampleText, "s", "t", sample},
        {std::string("s/t/") + SampleText, "s", "t", sample},
        {std::string("/s/t/") + SampleText + "/more", "s", "t", sample},
        {std::string("/s/t/") + SampleText + "?x", "s", "t", GUID()},
        {"/s/t/", "s", "t", GUID()},
        {"/s", "s", "", GUID()},
        {"", "", "", GUID()},
        {std::string("http://h/s/t/") + SampleText, "http:", "", GUID()},
    };
    for (const auto& c : cases) {
        std::string first = "junk";
        std::string second = "junk";
        GUID guid = Utils::createHashedGuid("junk");
        Utils::splitUri(c.uri, first, second, guid);
        EXPECT_EQ(first, c.first) << c.uri;
        EXPECT_EQ(second, c.second) << c.uri;
        EXPECT_EQ(guid, c.guid) << c.uri;
        EXPECT_EQ(Utils::getGuidOfUri(c.uri), c.guid) << c.uri;
    }
}

TEST(UtilsTest, ObjectUriIsReadOnlyFromAStringMemberNamedUri) {
    const std::string uri = std::string("/s/t/") + SampleText;
    data::Object withUri;
    withUri.setNew("uri", new data::String(uri));
    data::Object withIntegerUri;
    withIntegerUri.setNew("uri", new data::Integer(5));
    data::Object withOtherCase;
    withOtherCase.setNew("URI", new data::String(uri));
    const data::Object empty;

    EXPECT_EQ(Utils::getUriOfObject(withUri), uri);
    EXPECT_EQ(Utils::getGuidOfObject(withUri), Utils::getGuidOfStr(SampleText));
    std::string first;
    std::string second;
    GUID guid;
    Utils::splitUri(withUri, first, second, guid);
    EXPECT_EQ(first, "s");
    EXPECT_EQ(second, "t");
    EXPECT_EQ(guid, Utils::getGuidOfStr(SampleText));
    Utils::splitUri(withUri, first = "", second = "");
    EXPECT_EQ(first, "s");
    EXPECT_EQ(second, "t");

    for (const data::Object* object :
         std::vector<const data::Object*>{&withIntegerUri, &withOtherCase, &empty}) {
        EXPECT_EQ(Utils::getUriOfObject(*object), "");
        EXPECT_TRUE(Utils::getGuidOfObject(*object).isNil());
        Utils::splitUri(*object, first = "x", second = "x");
        EXPECT_EQ(first, "");
        EXPECT_EQ(second, "");
    }
}

TEST(UtilsTest, HashedGuidOfTheEmptyNameKeepsTheDigestLayout) {
    // SHA-1("") = da39a3ee 5e6b4b0d 3255bfef 95601890 afd80709; bytes 0 to 3 show reversed,
    // byte 7 0d gets version 5, byte 8 32 gets variant 10.
    EXPECT_EQ(Utils::createHashedGuid("").toString(), "eea339da-6b5e-5d4b-b255-bfef95601890");
}

TEST(UtilsTest, HashedGuidIsStableAndMarkedAsVersion5) {
    for (const std::string& name :
         std::vector<std::string>{"", "a", "kitchen lamp", std::string(1000, 'x')}) {
        const GUID guid = Utils::createHashedGuid(name);
        EXPECT_EQ(Utils::createHashedGuid(name), guid);
        EXPECT_FALSE(guid.isNil());
        const std::string text = guid.toString();
        EXPECT_EQ(text[14], '5') << text;
        EXPECT_NE(std::string("89ab").find(text[19]), std::string::npos) << text;
    }
    EXPECT_NE(Utils::createHashedGuid("a"), Utils::createHashedGuid("b"));
}

std::string hexOf(const std::string& bytes) {
    static constexpr char digits[] = "0123456789abcdef";
    std::string hex;
    for (unsigned char c : bytes) {
        hex += digits[c >> 4];
        hex += digits[c & 0xF];
    }
    return hex;
}

// Names of every length around the SHA-1 block boundaries, with all byte values.
std::vector<std::string> sampleNames() {
    std::mt19937 random(42);
    std::vector<std::string> names = {"", "a", "abc", "urn:device:1", "\xc3\xa4rger"};
    for (std::size_t length = 1; length <= 200; ++length) {
        std::string name(length, '\0');
        for (auto& c : name) {
            c = static_cast<char>(random());
        }
        names.push_back(name);
    }
    return names;
}

TEST(UtilsTest, HashedGuidMatchesAnIndependentComputation) {
    if (!support::havePython3()) {
        GTEST_SKIP() << "python3 is not available";
    }
    // Digest bytes 0 to 15 with version 5 and variant 10, shown in the mixed-endian text form.
    const std::string program =
        "import sys, hashlib, uuid\n"
        "for line in open(sys.argv[1]):\n"
        "    d = bytearray(hashlib.sha1(bytes.fromhex(line.strip())).digest()[:16])\n"
        "    d[7] = (d[7] & 0x0f) | 0x50\n"
        "    d[8] = (d[8] & 0x3f) | 0x80\n"
        "    print(uuid.UUID(bytes_le=bytes(d)))\n";
    const std::vector<std::string> names = sampleNames();
    std::vector<std::string> hexNames;
    hexNames.reserve(names.size());
    for (const auto& name : names) {
        hexNames.push_back(hexOf(name));
    }
    const std::vector<std::string> expected = support::runPython3(program, hexNames);
    ASSERT_EQ(expected.size(), names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
        EXPECT_EQ(Utils::createHashedGuid(names[i]).toString(), expected[i]) << hexNames[i];
    }
}

// The trace of `payload` between two markers, which must stay in place.
std::string traced(const std::string& payload, std::uint64_t maxLength = 1000) {
    std::ostringstream out;
    out << "<" << Utils::TraceDescriptor{payload.data(), payload.size(), maxLength} << ">";
    const std::string text = out.str();
    EXPECT_TRUE(text.size() >= 2 && text.front() == '<' && text.back() == '>') << text;
    return text.substr(1, text.size() - 2);
}

TEST(UtilsTest, TracePrintsJsonOnOneLine) {
    const struct {
        std::string payload;
        std::string expected;
    } cases[] = {
        {"{\n  \"a b\": 1,\r\n  \"c\":\t\"x \ty\"\n}", R"({"a b":1,"c":"x  y"})"},
        {"plain words here", "plainwordshere"},
        {R"("a\" b" c)", R"("a\" b"c)"},  // an escaped quote keeps the section open
        {R"("a\\" b")", R"("a\\" b")"},   // the quote after "\\" is taken as escaped too
        {"ab\x01"
         "cd",
         "ab...Binary Data..."},
        {"\x1f", "...Binary Data..."},
        {"a\x7f\xe4\xff", "a\x7f\xe4\xff"},
        {"", ""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(traced(c.payload), c.expected) << c.payload;
    }
}

TEST(UtilsTest, TraceExaminesMaxLengthPlusOneBytes) {
    const struct {
        std::string payload;
        std::uint64_t maxLength;
        std::string expected;
    } cases[] = {
        {"abcdefghij", 3, "abcd..."},
        {"abcd", 3, "abcd"},  // nothing remains, so no "..."
        {"abcde", 3, "abcd..."},
        {"ab", 0, "a..."},
        {"a", 0, "a"},
        {"\n\n\nabc", 1, "..."},  // skipped bytes count as examined
        {"abc\x01", 3, "abc...Binary Data..."},
        {"abc\x01", 2, "abc..."},
        {"abc\x01", 1, "ab..."},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(traced(c.payload, c.maxLength), c.expected) << c.payload << " / " << c.maxLength;
    }
}

}  // namespace
}  // namespace common
}  // namespace nol
}  // namespace orv
