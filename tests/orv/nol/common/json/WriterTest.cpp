// The JSON writer that completes relative links (data::Url) with scheme and host, and
// Utils::jsonOfDataValue built on it.

#include "orv/nol/common/json/Writer.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "orv/dataformats/StringAppendConsumer.h"
#include "orv/dataformats/data/Array.h"
#include "orv/dataformats/data/Integer.h"
#include "orv/dataformats/data/Object.h"
#include "orv/nol/common/Utils.h"
#include "orv/nol/common/data/Url.h"

using namespace orv::nol::common;
namespace pdata = orv::dataformats::data;

// The member "link" holding Url(url), written for `host` and read back by an independent parser.
TEST(WriterTest, CompletesRelativeLinksWithSchemeAndHost) {
    const std::string longPath(9999, 'p');
    // clang-format off
    const std::string cases[][3] = {
        {"myhost", ":8080/s/t/id", "http://myhost:8080/s/t/id"}, {"10.0.0.7", ":80/a", "http://10.0.0.7:80/a"},
        {"fe80::1", ":443/a", "http://[fe80::1]:443/a"}, {"::1", ":", "http://[::1]:"}, {"", ":80/a", "http://unknown:80/a"},
        {"h", "/s/t/id", "/s/t/id"}, {"h", "https://o:1/x", "https://o:1/x"}, {"h", "8080:/x", "8080:/x"}, {"h", "", ""},
        {"h\"ost", ":1/\x01\xc3\xa4\\", "http://h\"ost:1/\x01\xc3\xa4\\"},
        // Around the length up to which a link is put together on the stack, and far beyond.
        {"example.org", ":" + longPath.substr(0, 493), "http://example.org:" + longPath.substr(0, 493)},
        {"example.org", ":" + longPath.substr(0, 494), "http://example.org:" + longPath.substr(0, 494)},
        {"example.org", ":" + longPath, "http://example.org:" + longPath}};
    // clang-format on
    for (const auto& [host, url, expected] : cases) {
        pdata::Object object;
        object.setNew("link", new data::Url(url));
        const auto json = nlohmann::json::parse(Utils::jsonOfDataValue(object, host));
        EXPECT_EQ(json.at("link").get<std::string>(), expected) << host << " " << url;
    }
}

// Any other visitor, the platform's JSON writer included, sees a Url as a plain string; writers
// derived from this one complete links too.
TEST(WriterTest, OnlyThisWriterAndWritersDerivedFromItCompleteLinks) {
    struct Derived : json::Writer {
        using json::Writer::Writer;
    };
    pdata::Array list;
    list.pushNew(new data::Url(":8080/s/1"));
    list.pushNew(new pdata::String(":8080/s/\t\"2"));
    list.pushNew(new pdata::Integer(3));
    std::string platform, derived;
    orv::dataformats::StringAppendConsumer platformOutput(platform), derivedOutput(derived);
    orv::dataformats::json::Writer(platformOutput).visit(&list);
    Derived(derivedOutput, "h").visit(&list);
    EXPECT_EQ(platform, R"([":8080/s/1",":8080/s/\t\"2",3])");
    EXPECT_EQ(derived, R"(["http://h:8080/s/1",":8080/s/\t\"2",3])");
    EXPECT_EQ(Utils::jsonOfDataValue(list, "h"), derived);
}
