#include "orv/nol/common/json/Writer.h"

#include <gtest/gtest.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "orv/dataformats/StringAppendConsumer.h"
#include "orv/dataformats/data/Array.h"
#include "orv/dataformats/data/Blob.h"
#include "orv/dataformats/data/Boolean.h"
#include "orv/dataformats/data/Float.h"
#include "orv/dataformats/data/Integer.h"
#include "orv/dataformats/data/Null.h"
#include "orv/dataformats/data/Object.h"
#include "orv/dataformats/data/String.h"
#include "orv/nol/common/Utils.h"
#include "orv/nol/common/data/Url.h"

namespace orv {
namespace nol {
namespace common {
namespace json {
namespace {

namespace pdata = orv::dataformats::data;
using orv::dataformats::StringAppendConsumer;

// {"link": Url(url)} written with this library's writer for `host`.
std::string jsonOfLink(const std::string& url, const std::string& host) {
    pdata::Object object;
    object.setNew("link", new data::Url(url));
    return Utils::jsonOfDataValue(object, host);
}

// The same, read back with an independent JSON parser.
std::string linkOf(const std::string& url, const std::string& host) {
    return nlohmann::json::parse(jsonOfLink(url, host)).at("link").get<std::string>();
}

std::string platformJsonOf(const pdata::Value& value) {
    std::string text;
    StringAppendConsumer consumer(text);
    orv::dataformats::json::Writer writer(consumer);
    writer.visit(&value);
    return text;
}

TEST(WriterTest, CompletesRelativeLinksWithSchemeAndHost) {
    const struct {
        const char* host;
        const char* url;
        const char* expected;
    } cases[] = {
        {"myhost", ":8080/s/t/id", "http://myhost:8080/s/t/id"},
        {"10.0.0.7", ":80/a", "http://10.0.0.7:80/a"},
        {"fe80::1", ":443/a", "http://[fe80::1]:443/a"},
        {"::1", ":", "http://[::1]:"},
        {"", ":80/a", "http://unknown:80/a"},
        {"unknown", ":1", "http://unknown:1"},
        {"myhost", "/s/t/id", "/s/t/id"},
        {"myhost", "https://other:1/x", "https://other:1/x"},
        {"myhost", "8080:/x", "8080:/x"},
        {"myhost", "", ""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(linkOf(c.url, c.host), c.expected) << c.host << " " << c.url;
    }
}

TEST(WriterTest, CompletedLinksAreEscapedLikeAnyString) {
    EXPECT_EQ(jsonOfLink(":1/a\"b\\c\nd", "h"), R"({"link":"http://h:1/a\"b\\c\nd"})");
    EXPECT_EQ(linkOf(":1/\x01\xc3\xa4", "h\"ost"), "http://h\"ost:1/\x01\xc3\xa4");
}

TEST(WriterTest, CompletesLinksOfAnyLength) {
    // "http://example.org" and 494 more bytes make 512, where short links end; 4096 is the
    // size of the platform writer's buffer.
    const std::string prefix = "http://example.org";
    for (std::size_t length : {1U, 400U, 493U, 494U, 495U, 4095U, 4096U, 10000U}) {
        std::string url(length, 'p');
        url[0] = ':';
        EXPECT_EQ(linkOf(url, "example.org"), prefix + url) << length;
    }
}

TEST(WriterTest, TreeWithoutLinksIsWrittenAsThePlatformWritesIt) {
    pdata::Object root;
    root.setNew("null", new pdata::Null());
    root.setNew("bool", new pdata::Boolean(true));
    root.setNew("int", new pdata::Integer(-42));
    root.setNew("float", new pdata::Float(0.1));
    root.setNew("text", new pdata::String(":8080/looks/like/a/link"));
    root.setNew("blob", new pdata::Blob({1, 2, 3, 4}));
    auto* array = new pdata::Array();
    array->pushNew(new pdata::String("x\ty"));
    array->pushNew(new pdata::Object());
    root.setNew("array", array);

    const std::string expected = platformJsonOf(root);
    EXPECT_EQ(Utils::jsonOfDataValue(root, "host"), expected);
    EXPECT_TRUE(nlohmann::json::accept(expected));
}

// A list of `count` elements of about 72 bytes of JSON each, with a link in every one.
std::unique_ptr<pdata::Array> resourceList(int count) {
    auto list = std::make_unique<pdata::Array>();
    for (int i = 0; i < count; ++i) {
        auto* item = new pdata::Object();
        item->setNew("name", new pdata::String("element \"" + std::to_string(i) + "\"\t"));
        item->setNew("self", new data::Url(":8080/s/t/" + std::to_string(i)));
        item->setNew("level", new pdata::Integer(i % 7));
        list->pushNew(item);
    }
    return list;
}

TEST(WriterTest, DocumentsOfAnySizeAreWrittenWhole) {
    // Small, just below and just above 256 KiB (3671 and 3672 elements), and far beyond: the
    // sizes around the one up to which the text is written in one go.
    for (int count : {0, 1, 3671, 3672, 20000}) {
        const auto list = resourceList(count);
        const std::string text = Utils::jsonOfDataValue(*list, "h");
        std::string expected = platformJsonOf(*list);
        for (std::size_t at = expected.find("\":8080/"); at != std::string::npos;
             at = expected.find("\":8080/", at)) {
            expected.insert(at + 1, "http://h");
        }
        ASSERT_EQ(text.size(), expected.size()) << count;
        EXPECT_TRUE(text == expected) << count;
        const auto parsed = nlohmann::json::parse(text);
        ASSERT_EQ(parsed.size(), static_cast<std::size_t>(count));
        if (count > 0) {
            EXPECT_EQ(parsed.back()["self"], "http://h:8080/s/t/" + std::to_string(count - 1));
        }
    }
}

TEST(WriterTest, VisitUrlAtTopLevelReachesTheConsumerAtOnce) {
    std::string text;
    StringAppendConsumer consumer(text);
    Writer writer(consumer, "h");
    writer.visitUrl(":1/a");
    EXPECT_EQ(text, R"("http://h:1/a")");
    writer.visitUrl("/b");
    EXPECT_EQ(text, R"("http://h:1/a""/b")");
}

class CountingWriter : public Writer {
public:
    using Writer::Writer;
    void visitString(orv::common::types::BufferDescriptor<const char> bytes) override {
        ++strings;
        Writer::visitString(bytes);
    }
    int strings = 0;
};

TEST(WriterTest, WritersDerivedFromThisOneCompleteLinksToo) {
    pdata::Array array;
    array.pushNew(new data::Url(":2/x"));
    array.pushNew(new pdata::String("y"));
    std::string text;
    StringAppendConsumer consumer(text);
    CountingWriter writer(consumer, "h");
    writer.visit(&array);
    EXPECT_EQ(text, R"(["http://h:2/x","y"])");
    EXPECT_EQ(writer.strings, 2);  // the completed link goes through visitString
}

}  // namespace
}  // namespace json
}  // namespace common
}  // namespace nol
}  // namespace orv
