// Utils: resource URIs and arrow chains of parts, GUIDs read from text, URIs and data objects,
// name-based GUIDs, and the one-line trace of a payload.

#include "orv/nol/common/Utils.h"

#include <gtest/gtest.h>
#include <openssl/sha.h>

#include <algorithm>
#include <array>
#include <random>
#include <sstream>
#include <string>

#include "orv/dataformats/data/Integer.h"
#include "orv/dataformats/data/Object.h"
#include "orv/dataformats/data/String.h"

using namespace orv::nol::common;
using orv::common::guid::GUID;
namespace data = orv::dataformats::data;

static const std::string kSample = "00112233-4455-6677-8899-aabbccddeeff";

TEST(UtilsTest, UriOfPartsStopsAtTheFirstEmptyPart) {
    // clang-format off
    const std::string cases[][5] = {{"", "b", "c", "/", "ROOT"}, {"a", "", "c", "/a/", "a"},
        {"a", "b", "", "/a/b/", "a->b"}, {"a", "b", "c", "/a/b/c", "a->b->c"},
        {"a", "kitchen", "", "/a/kitchen/", "a->kitchen"}, {"a", "b", "0123456789", "/a/b/0123456789", "a->b->0123456789"},
        {"x/y", "->", "%20", "/x/y/->/%20", "x/y->->->%20"}};  // nothing is escaped
    // clang-format on
    for (const auto& [first, second, id, uri, chain] : cases) {
        EXPECT_EQ(Utils::getUriOfParts(first, second, id), uri);
        EXPECT_EQ(Utils::getUriOfParts(first, second, id, true), chain);
    }
}

// A URI carries the GUID text as its third segment; the text is read strictly, in either case.
TEST(UtilsTest, GuidsAreReadStrictlyFromTextAndUris) {
    const GUID sample = Utils::getGuidOfStr(kSample);
    EXPECT_EQ(Utils::getGuidOfStr("00112233-4455-6677-8899-AaBbCcDdEeFf"), sample);
    // clang-format off
    const std::pair<std::string, GUID> cases[] = {{"/s/t/" + kSample, sample}, {"s/t/" + kSample + "/more", sample},
        {"/s/t/{" + kSample + "}", GUID()}, {"/s/t/" + kSample + "0", GUID()}, {"/s/t/" + kSample.substr(1), GUID()},
        {"/s/t/" + kSample + "?x", GUID()}, {"/s/t", GUID()}, {"http://h/s/t/" + kSample, GUID()}};
    // clang-format on
    for (const auto& [uri, expected] : cases)
        EXPECT_EQ(Utils::getGuidOfUri(uri), expected) << uri;
    std::mt19937 random(20240611);
    for (int i = 0; i < 2000; ++i) {
        const GUID guid = Utils::createHashedGuid(std::to_string(random()));
        ASSERT_EQ(Utils::getGuidOfUri("/svc/type/" + guid.toString()), guid);
    }
}

// The URI of an object is its String member "uri"; splitUri gives its first two segments.
TEST(UtilsTest, ObjectsAreSplitByTheirStringMemberNamedUri) {
    data::Object objects[3];
    objects[0].setNew("uri", new data::String("/s/t/" + kSample));
    objects[1].setNew("uri", new data::Integer(5));
    objects[2].setNew("URI", new data::String("/s/t/" + kSample));
    for (const data::Object& object : objects) {
        std::string first = "x", second = "x";
        Utils::splitUri(object, first, second);
        EXPECT_EQ(
            Utils::getUriOfObject(object) + "|" + first + second + "|" +
                Utils::getGuidOfObject(object).toString(),
            &object == objects ? "/s/t/" + kSample + "|st|" + kSample : "||" + GUID().toString());
    }
}

// The first 16 bytes of the name's SHA-1 digest, marked as version 5 and variant 10.
TEST(UtilsTest, HashedGuidIsTheSha1OfTheNameMarkedAsVersion5) {
    // SHA-1("") = da39a3ee 5e6b4b0d 3255bfef 95601890 afd80709, the first groups shown reversed.
    EXPECT_EQ(Utils::createHashedGuid("").toString(), "eea339da-6b5e-5d4b-b255-bfef95601890");
    std::mt19937 random(42);
    std::string name;
    for (int length = 0; length <= 200; ++length, name += static_cast<char>(random())) {
        std::array<std::uint8_t, SHA_DIGEST_LENGTH> digest{};
        SHA1(reinterpret_cast<const unsigned char*>(name.data()), name.size(), digest.data());
        std::array<std::uint8_t, GUID::Size> bytes{};
        std::copy_n(digest.begin(), bytes.size(), bytes.begin());
        bytes[7] = static_cast<std::uint8_t>((bytes[7] & 0x0f) | 0x50);
        bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3f) | 0x80);
        EXPECT_EQ(Utils::createHashedGuid(name), GUID(bytes)) << length;
    }
}

TEST(UtilsTest, TracePrintsThePayloadOnOneLine) {
    // clang-format off
    const std::tuple<std::string, std::uint64_t, std::string> cases[] = {
        {"{\n  \"a b\": 1,\r\n  \"c\":\t\"x \ty\"\n}", 100, R"({"a b":1,"c":"x  y"})"}, {"a\x7f\xe4\xff", 100, "a\x7f\xe4\xff"},
        {R"("a\" b" c)", 100, R"("a\" b"c)"}, {R"("a\\" b")", 100, R"("a\\" b")"},  // a quote after "\" does not close
        {"ab\x01" "cd", 100, "ab...Binary Data..."}, {"abc\x01", 3, "abc...Binary Data..."}, {"abc\x01", 2, "abc..."},
        // At most maxLength + 1 bytes are examined; "..." only when bytes remain.
        {"abcdefghij", 3, "abcd..."}, {"abcd", 3, "abcd"}, {"ab", 0, "a..."}, {"\n\n\nabc", 1, "..."}, {"", 0, ""}};
    // clang-format on
    for (const auto& [payload, maxLength, expected] : cases) {
        std::ostringstream out;
        out << "<" << Utils::TraceDescriptor{payload.data(), payload.size(), maxLength} << ">";
        EXPECT_EQ(out.str(), "<" + expected + ">") << payload << " / " << maxLength;
    }
}
