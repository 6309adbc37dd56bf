#include "orv/nol/common/UriUtils.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace orv {
namespace nol {
namespace common {
namespace {

struct Segments {
    std::string first;
    std::string second;
    std::string third;
};

bool operator==(const Segments& a, const Segments& b) {
    return a.first == b.first && a.second == b.second && a.third == b.third;
}

std::ostream& operator<<(std::ostream& out, const Segments& s) {
    return out << '"' << s.first << "\", \"" << s.second << "\", \"" << s.third << '"';
}

Segments splitted(const std::string& uri) {
    Segments s{"junk1", "junk2", "junk3"};  // every output is assigned
    getUriSplitted(uri, s.first, s.second, s.third);
    return s;
}

TEST(UriUtilsTest, UriSplittedTakesThreeSegmentsAfterOneLeadingSlash) {
    const struct {
        const char* uri;
        Segments expected;
    } cases[] = {
        {"/a/b/c/d", {"a", "b", "c"}},
        {"/s/t/id", {"s", "t", "id"}},
        {"a/b", {"a", "b", ""}},
        {"a/", {"a", "", ""}},
        {"", {"", "", ""}},
        {"/", {"", "", ""}},
        {"//x", {"", "x", ""}},
        {"a//b", {"a", "", "b"}},
        {"/a/b/c?x=1#f", {"a", "b", "c?x=1#f"}},
        {"/a%2fb/c", {"a%2fb", "c", ""}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(splitted(c.uri), c.expected) << c.uri;
    }
}

TEST(UriUtilsTest, UriSplittedReadsAllOfAnInputThatIsAlsoAnOutput) {
    std::string text = "/a/b/c";
    std::string second;
    std::string third;
    getUriSplitted(text, text, second, third);
    EXPECT_EQ(text, "a");
    EXPECT_EQ(second, "b");
    EXPECT_EQ(third, "c");
}

TEST(UriUtilsTest, PortFromStringStoresOnlyValuesUpTo65535) {
    const struct {
        const char* text;
        bool stored;
        unsigned short port;
    } cases[] = {
        {"65535", true, 65535},   {"0", true, 0},      {"8080/", true, 8080},
        {"80abc", true, 80},      {" 443", true, 443}, {"+81", true, 81},
        {"65536", false, 7},      {"-1", false, 7},    {"", false, 7},
        {"4294967376", false, 7},  // 2^32 + 80: the whole value counts, not its low bits
    };
    for (const auto& c : cases) {
        unsigned short port = 7;
        EXPECT_EQ(getPortFromString(c.text, port), c.stored) << c.text;
        EXPECT_EQ(port, c.port) << c.text;
    }
}

TEST(UriUtilsTest, PortFromStringLetsTheConversionErrorsThrough) {
    for (const char* text : {"x", " ", "+", "-", ":80"}) {
        unsigned short port = 7;
        try {
            getPortFromString(text, port);
            ADD_FAILURE() << "no exception for \"" << text << '"';
        } catch (const std::invalid_argument& e) {
            EXPECT_STREQ(e.what(), "stoull") << text;
        }
        EXPECT_EQ(port, 7) << text;
    }
    unsigned short port = 7;
    EXPECT_THROW(getPortFromString("99999999999999999999", port), std::out_of_range);
}

// Every case starts from this record, so that members left alone are visible.
UriInfos initialInfos() {
    UriInfos infos;
    infos.isIPv4 = false;
    infos.host = "old";
    infos.port = 7;
    infos.firstSegment = "o1";
    infos.secondSegment = "o2";
    infos.thirdSegment = "o3";
    return infos;
}

TEST(UriUtilsTest, RetrieveUriInfosWritesWhatItFinds) {
    const struct {
        const char* uri;
        bool result;
        bool isIPv4;
        unsigned short port;
        const char* host;
        Segments segments;
    } cases[] = {
        {"http://host:8080/s/t/id", true, true, 8080, "host", {"s", "t", "id"}},
        {"https://[fe80::1]:443/a/b/c", true, false, 443, "fe80::1", {"a", "b", "c"}},
        {"https://[fe80::1/a", false, false, 7, "old", {"o1", "o2", "o3"}},
        {"http://host", true, true, 7, "host", {"o1", "o2", "o3"}},
        {"http://host/", true, true, 7, "host", {"o1", "o2", "o3"}},
        {"http://host:/a/b/c", true, true, 7, "host", {"a", "b", "c"}},
        {"http://host:", true, true, 7, "host", {"o1", "o2", "o3"}},
        {"http://host:8080", true, true, 8080, "host", {"o1", "o2", "o3"}},
        {"http://host:8080/", true, true, 8080, "host", {"o1", "o2", "o3"}},
        {"http://host:99999/a", true, true, 7, "host", {"a", "", ""}},
        {"http://10.0.0.1/x/y", true, true, 7, "10.0.0.1", {"x", "y", ""}},
        {"http://host/a:b/c", true, true, 7, "host", {"a:b", "c", ""}},
        {"http://host/a/b/c?x=1#f", true, true, 7, "host", {"a", "b", "c?x=1#f"}},
        {"https://[::1]/a/b/c", true, false, 7, "::1", {"a", "b", "c"}},
        {"https://[::1]", true, false, 7, "::1", {"o1", "o2", "o3"}},
        {"http://[::1]:8080", true, false, 8080, "::1", {"o1", "o2", "o3"}},
        // The character after "]" is skipped like the "/" it normally is.
        {"https://[::1]x/a/b", true, false, 7, "::1", {"a", "b", ""}},
        {"http://", true, true, 7, "", {"o1", "o2", "o3"}},
        {"/s/t/id", true, false, 7, "old", {"s", "t", "id"}},
        // Without a scheme the first character is skipped whatever it is.
        {"s/t/id", true, false, 7, "old", {"t", "id", ""}},
        {"HTTP://host/a", true, false, 7, "old", {"TTP:", "", "host"}},
        {"", true, false, 7, "old", {"o1", "o2", "o3"}},
        {"/", true, false, 7, "old", {"o1", "o2", "o3"}},
    };
    for (const auto& c : cases) {
        UriInfos infos = initialInfos();
        EXPECT_EQ(retrieveUriInfos(c.uri, infos), c.result) << c.uri;
        EXPECT_EQ(infos.isIPv4, c.isIPv4) << c.uri;
        EXPECT_EQ(infos.host, c.host) << c.uri;
        EXPECT_EQ(infos.port, c.port) << c.uri;
        EXPECT_EQ((Segments{infos.firstSegment, infos.secondSegment, infos.thirdSegment}),
                  c.segments)
            << c.uri;
    }
}

TEST(UriUtilsTest, RetrieveUriInfosWithoutHostLeavesTheHostMembersAlone) {
    UriInfos infos = initialInfos();
    infos.isIPv4 = true;
    ASSERT_TRUE(retrieveUriInfos("/s/t/id", infos));
    EXPECT_TRUE(infos.isIPv4);
    EXPECT_EQ(infos.host, "old");
    EXPECT_EQ(infos.port, 7);
}

TEST(UriUtilsTest, RetrieveUriInfosLetsAPortWithoutDigitsThrow) {
    UriInfos infos = initialInfos();
    EXPECT_THROW(retrieveUriInfos("http://host:abc/x", infos), std::invalid_argument);
    EXPECT_THROW(retrieveUriInfos("https://[::1]:x", infos), std::invalid_argument);
    EXPECT_THROW(retrieveUriInfos("http://h:123456789012345678901/x", infos), std::out_of_range);
}

}  // namespace
}  // namespace common
}  // namespace nol
}  // namespace orv
