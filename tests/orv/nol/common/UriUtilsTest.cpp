// URI splitting: path segments, port numbers, and host, port and segments of a whole URI.

#include "orv/nol/common/UriUtils.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

using namespace orv::nol::common;

TEST(UriUtilsTest, UriSplittedTakesThreeSegmentsAfterOneLeadingSlash) {
    // clang-format off
    const std::pair<const char*, const char*> cases[] = {
        {"/a/b/c/d", "a|b|c"}, {"a/b", "a|b|"}, {"", "||"}, {"/", "||"}, {"//x", "|x|"}, {"a//b", "a||b"},
        {"/a/b/c?x=1#f", "a|b|c?x=1#f"}, {"/a%2fb/c", "a%2fb|c|"}};
    // clang-format on
    for (const auto& [uri, expected] : cases) {
        std::string first = "1", second = "2", third = "3";  // every output is assigned
        getUriSplitted(uri, first, second, third);
        EXPECT_EQ(first + "|" + second + "|" + third, expected) << uri;
    }
    std::string text = "/a/b/c", second, third;  // the input is also an output
    getUriSplitted(text, text, second, third);
    EXPECT_EQ(text + second + third, "abc");
}

TEST(UriUtilsTest, PortFromStringStoresOnlyValuesUpTo65535) {
    // clang-format off
    const std::pair<const char*, int> cases[] = {{"65535", 65535}, {"0", 0}, {"8080/", 8080}, {"80abc", 80},
        {" 443", 443}, {"+81", 81}, {"65536", -1}, {"-1", -1}, {"", -1}, {"4294967376", -1}};  // -1: not stored
    // clang-format on
    for (const auto& [text, expected] : cases) {
        unsigned short port = 7;
        EXPECT_EQ(getPortFromString(text, port), expected >= 0) << text;
        EXPECT_EQ(port, expected >= 0 ? expected : 7) << text;
    }
    unsigned short port = 7;
    EXPECT_THROW(getPortFromString(" +", port), std::invalid_argument);
    EXPECT_THROW(getPortFromString("99999999999999999999", port), std::out_of_range);
}

// Every case starts from a record whose members show whether they were written: IPv4 flag,
// host, port and the three segments.
TEST(UriUtilsTest, RetrieveUriInfosWritesWhatItFinds) {
    // clang-format off
    const std::pair<const char*, const char*> cases[] = {
        {"http://host:8080/s/t/id", "4 host 8080 s|t|id"}, {"https://[fe80::1]:443/a/b/c", "6 fe80::1 443 a|b|c"},
        {"https://[fe80::1/a", "false 6 old 7 o1|o2|o3"}, {"http://host", "4 host 7 o1|o2|o3"}, {"http://", "4  7 o1|o2|o3"},
        {"http://host/", "4 host 7 o1|o2|o3"}, {"http://host:/a/b/c", "4 host 7 a|b|c"}, {"http://host:", "4 host 7 o1|o2|o3"},
        {"http://host:8080", "4 host 8080 o1|o2|o3"}, {"http://host:99999/a", "4 host 7 a||"}, {"/", "6 old 7 o1|o2|o3"},
        {"http://10.0.0.1/x/y", "4 10.0.0.1 7 x|y|"}, {"http://host/a:b/c", "4 host 7 a:b|c|"}, {"", "6 old 7 o1|o2|o3"},
        {"https://[::1]/a/b/c", "6 ::1 7 a|b|c"}, {"http://[::1]:8080", "6 ::1 8080 o1|o2|o3"}, {"/s/t/id", "6 old 7 s|t|id"},
        // The character after "]", and without a scheme the first one, is skipped whatever it is.
        {"https://[::1]x/a/b", "6 ::1 7 a|b|"}, {"s/t/id", "6 old 7 t|id|"}, {"HTTP://host/a", "6 old 7 TTP:||host"}};
    // clang-format on
    for (const auto& [uri, expected] : cases) {
        UriInfos infos{false, "old", 7, "o1", "o2", "o3"};
        const std::string result = retrieveUriInfos(uri, infos) ? "" : "false ";
        EXPECT_EQ(result + (infos.isIPv4 ? "4 " : "6 ") + infos.host + " " +
                      std::to_string(infos.port) + " " + infos.firstSegment + "|" +
                      infos.secondSegment + "|" + infos.thirdSegment,
                  expected);
    }
    UriInfos infos{true, "old", 7, "", "", ""};
    EXPECT_TRUE(retrieveUriInfos("/s/t/id", infos) && infos.isIPv4);  // host members left alone
    EXPECT_THROW(retrieveUriInfos("http://host:abc/x", infos), std::invalid_argument);
    EXPECT_THROW(retrieveUriInfos("https://[::1]:x", infos), std::invalid_argument);
    EXPECT_THROW(retrieveUriInfos("http://h:123456789012345678901/x", infos), std::out_of_range);
}
