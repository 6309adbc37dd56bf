#include "orv/dataformats/json/Writer.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "orv/dataformats/JsonOf.h"
#include "orv/dataformats/StringAppendConsumer.h"
#include "orv/dataformats/data/Array.h"
#include "orv/dataformats/data/Blob.h"
#include "orv/dataformats/data/Boolean.h"
#include "orv/dataformats/data/Bracketed.h"
#include "orv/dataformats/data/Float.h"
#include "orv/dataformats/data/Integer.h"
#include "orv/dataformats/data/Null.h"
#include "orv/dataformats/data/Object.h"
#include "orv/dataformats/data/String.h"

namespace orv {
namespace dataformats {
namespace json {
namespace {

using namespace data;
using testing::Bracketed;
using testing::jsonOf;

Array* arrayOf(const std::vector<Value*>& elements) {
    auto* array = new Array();
    for (Value* element : elements) {
        array->pushNew(element);
    }
    return array;
}

Object* objectOf(const std::vector<std::pair<std::string, Value*>>& members) {
    auto* object = new Object();
    for (const auto& member : members) {
        object->setNew(member.first, member.second);
    }
    return object;
}

struct TextCase {
    std::function<Value*()> make;
    std::string json;
};

TEST(WriterTest, WritesCompactJsonOfFixedTrees) {
    const std::vector<TextCase> cases = {
        {[] { return new Null(); }, "null"},
        {[] { return new Boolean(true); }, "true"},
        {[] { return new Boolean(false); }, "false"},
        {[] { return new Integer(0); }, "0"},
        {[] { return new Integer(-1); }, "-1"},
        {[] { return new Integer(INT_MAX); }, "2147483647"},
        {[] { return new Integer(INT_MIN); }, "-2147483648"},
        {[] { return new Float(1.0); }, "1"},
        {[] { return new Float(-0.0); }, "-0"},
        {[] { return new Float(0.1); }, "0.1"},
        {[] { return new Float(-2.5e-7); }, "-2.5e-07"},
        {[] { return new Float(1e300); }, "1e+300"},
        {[] { return new Float(5e-324); }, "5e-324"},
        {[] { return new Float(DBL_MAX); }, "1.7976931348623157e+308"},
        {[] { return new String(""); }, R"("")"},
        {[] { return new String("a/b"); }, R"("a/b")"},
        {[] { return new String("\xc3\xa9\xff\x80"); }, "\"\xc3\xa9\xff\x80\""},
        {[] { return new Array(); }, "[]"},
        {[] { return new Object(); }, "{}"},
        {[] {
             return arrayOf({new Integer(1), new Null(), arrayOf({}), objectOf({})});
         },
         "[1,null,[],{}]"},
        {[] {
             return objectOf({{"b", new Integer(2)},
                              {"a", arrayOf({new Boolean(true), new String("x")})},
                              {"c\n\"", objectOf({{"", new Null()}})}});
         },
         R"({"a":[true,"x"],"b":2,"c\n\"":{"":null}})"},
    };
    for (const auto& c : cases) {
        std::unique_ptr<Value> value(c.make());
        EXPECT_EQ(jsonOf(*value), c.json);
    }
}

TEST(WriterTest, NullPointersAreWrittenAsNull) {
    EXPECT_EQ(jsonOf(nullptr), "null");
    Object object;
    object.get()["k"] = nullptr;
    auto* array = new Array();
    array->get().push_back(nullptr);
    object.setNew("a", array);
    EXPECT_EQ(jsonOf(object), R"({"a":[null],"k":null})");
}

std::string expectedEscape(unsigned char c) {
    switch (c) {
        case '\b':
            return "\\b";
        case '\f':
            return "\\f";
        case '\n':
            return "\\n";
        case '\r':
            return "\\r";
        case '\t':
            return "\\t";
        case '"':
            return "\\\"";
        case '\\':
            return "\\\\";
        default:
            break;
    }
    if (c < 0x20) {
        static const char hex[] = "0123456789abcdef";
        return std::string("\\u00") + hex[c >> 4] + hex[c & 0xF];
    }
    return {static_cast<char>(c)};
}

TEST(WriterTest, EscapesEveryControlCharacterQuoteAndBackslash) {
    std::vector<unsigned char> mustEscape = {'"', '\\'};
    for (int c = 0; c < 0x20; ++c) {
        mustEscape.push_back(static_cast<unsigned char>(c));
    }
    for (unsigned char c : mustEscape) {
        const std::string text = "a" + std::string(1, static_cast<char>(c)) + "b";
        // Alone, and inside an eight-byte word as well as in the tail behind one.
        for (const std::string& sample : {text, "01234567" + text, text + "01234567"}) {
            const std::string json = jsonOf(String(sample));
            std::string expected = "\"";
            for (unsigned char s : sample) {
                expected += expectedEscape(s);
            }
            expected += "\"";
            EXPECT_EQ(json, expected) << "byte " << int{c};
            EXPECT_EQ(nlohmann::json::parse(json).get<std::string>(), sample) << "byte " << int{c};
        }
    }
}

TEST(WriterTest, LongTextsRoundTripThroughAParser) {
    // Lengths around the buffer and the short-text limit, with escapes scattered through.
    std::mt19937 random(7);
    for (std::size_t length : {255u, 256u, 257u, 1000u, 4095u, 4096u, 4097u, 20000u}) {
        for (int density : {0, 1, 50}) {
            std::string text(length, 'x');
            for (auto& c : text) {
                c = static_cast<char>(random() % 100 < static_cast<unsigned>(density)
                                          ? random() % 0x20
                                          : 'a' + random() % 26);
            }
            auto* object = objectOf({{text, new String(text)}});
            const std::unique_ptr<Value> root(arrayOf({new Integer(1), object, new String(text)}));
            const auto parsed = nlohmann::json::parse(jsonOf(*root));
            EXPECT_EQ(parsed, nlohmann::json::array({1, {{text, text}}, text}))
                << "length " << length << " density " << density;
        }
    }
}

TEST(WriterTest, NonFiniteFloatsAreWrittenAsNull) {
    const std::unique_ptr<Value> root(
        arrayOf({new Float(std::numeric_limits<double>::quiet_NaN()),
                 new Float(std::numeric_limits<double>::infinity()),
                 new Float(-std::numeric_limits<double>::infinity()), new Float(-std::nan("1"))}));
    EXPECT_EQ(jsonOf(*root), "[null,null,null,null]");
}

void expectReadsBackExactly(double value) {
    const std::string json = jsonOf(Float(value));
    ASSERT_TRUE(nlohmann::json::accept(json)) << json;
    const double back = std::strtod(json.c_str(), nullptr);
    std::uint64_t bits = 0;
    std::uint64_t backBits = 0;
    std::memcpy(&bits, &value, sizeof value);
    std::memcpy(&backBits, &back, sizeof back);
    ASSERT_EQ(backBits, bits) << json;
}

TEST(WriterTest, FloatsReadBackExactly) {
    for (double value : {0.0, -0.0, 1.0, 0.1, 1.0 / 3, 1e21, 1e22, 123456789012345678.0, DBL_MIN,
                         DBL_MAX, -DBL_MAX, DBL_TRUE_MIN, DBL_EPSILON, 9007199254740993.0}) {
        expectReadsBackExactly(value);
    }
    std::mt19937_64 random(42);
    for (int i = 0; i < 20000; ++i) {
        const std::uint64_t bits = random();
        double value = 0;
        std::memcpy(&value, &bits, sizeof value);
        if (std::isfinite(value)) {
            expectReadsBackExactly(value);
        }
        expectReadsBackExactly(std::uniform_real_distribution<double>(-1e6, 1e6)(random));
    }
}

TEST(WriterTest, BlobsAreStandardBase64WithPadding) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"", ""},
        {"f", "Zg=="},
        {"fo", "Zm8="},
        {"foo", "Zm9v"},
        {"foob", "Zm9vYg=="},
        {"fooba", "Zm9vYmE="},
        {"foobar", "Zm9vYmFy"},
        {"\xff\xfe\xfd", "//79"},
        {"\xfb\xff", "+/8="},
        {std::string(1, '\0'), "AA=="},
    };
    for (const auto& c : cases) {
        const Blob blob(std::vector<std::uint8_t>(c.first.begin(), c.first.end()));
        EXPECT_EQ(jsonOf(blob), "\"" + c.second + "\"") << c.first;
    }
}

TEST(WriterTest, StringSubclassIsWrittenThroughItsOverrideAtAnyDepth) {
    const std::unique_ptr<Value> root(
        objectOf({{"link", new Bracketed("a")},
                  {"list", arrayOf({new Bracketed("b"), objectOf({{"c", new Bracketed("c")}})})}}));
    EXPECT_EQ(jsonOf(*root), R"({"link":"[a]","list":["[b]",{"c":"[c]"}]})");
}

// A writer with an operation of its own, as a library built on this one adds: it writes a
// reference as a string with a prefix, through the base writer's visitString.
class PrefixWriter : public Writer {
public:
    PrefixWriter(DataConsumer& consumer, std::string prefix)
        : Writer(consumer), m_prefix(std::move(prefix)) {}

    void visitReference(const std::string& target) {
        const std::string text = m_prefix + target;
        visitString({text.data(), text.size()});
    }

private:
    std::string m_prefix;
};

// A string that a PrefixWriter writes as a reference; every other visitor sees the plain text.
class Reference : public String {
public:
    using String::String;

    void visit(Visitor& visitor) override { String::visit(visitor); }
    void visit(ConstVisitor& visitor) const override {
        if (auto* writer = dynamic_cast<PrefixWriter*>(&visitor)) {
            writer->visitReference(get());
        } else {
            String::visit(visitor);
        }
    }
};

TEST(WriterTest, DerivedWriterCanWriteAnywhereInADocument) {
    const std::unique_ptr<Value> root(objectOf(
        {{"a", new Reference("/x")}, {"b", arrayOf({new Integer(1), new Reference("/y\"")})}}));
    std::string text;
    StringAppendConsumer consumer(text);
    PrefixWriter writer(consumer, "http://h");
    writer.visit(root.get());
    EXPECT_EQ(text, R"({"a":"http://h/x","b":[1,"http://h/y\""]})");

    // At the top level, the text is there as soon as the call returns.
    text.clear();
    writer.visitReference("/z");
    EXPECT_EQ(text, R"("http://h/z")");

    // The plain writer sees an ordinary string.
    EXPECT_EQ(jsonOf(*root), R"({"a":"/x","b":[1,"/y\""]})");
}

TEST(WriterTest, EveryTopLevelValueReachesTheConsumerBeforeTheCallReturns) {
    std::string text;
    StringAppendConsumer consumer(text);
    Writer writer(consumer);
    const std::unique_ptr<Value> big(arrayOf({}));
    for (int i = 0; i < 3000; ++i) {
        static_cast<Array&>(*big).pushNew(new String("element"));
    }
    const std::string bigJson = jsonOf(*big);
    const std::vector<std::pair<std::function<void()>, std::string>> steps = {
        {[&] { writer.visitInteger(5); }, "5"},
        {[&] { writer.visit(big.get()); }, bigJson},
        {[&] {
             writer.visitBlob({"f", 1});
         },
         R"("Zg==")"},
        {[&] { writer.visitNull(); }, "null"},
    };
    std::string expected;
    for (const auto& step : steps) {
        step.first();
        expected += step.second;
        EXPECT_EQ(text, expected);
    }
}

// Throws from consume() while armed; keeps what it accepted.
class FailingConsumer : public DataConsumer {
public:
    bool armed = false;
    std::string accepted;

    void consume(const char* data, std::size_t size) override {
        if (armed) {
            throw std::runtime_error("consumer failed");
        }
        accepted.append(data, size);
    }
};

// A value whose presentation fails.
class Broken : public Null {
public:
    void visit(ConstVisitor&) const override { throw std::runtime_error("value failed"); }
};

TEST(WriterTest, AfterAFailureTheNextDocumentStartsClean) {
    FailingConsumer consumer;
    Writer writer(consumer);

    const std::unique_ptr<Value> big(arrayOf({}));
    for (int i = 0; i < 3000; ++i) {
        static_cast<Array&>(*big).pushNew(new Integer(i));
    }
    consumer.armed = true;
    EXPECT_THROW(writer.visit(big.get()), std::runtime_error);
    consumer.armed = false;
    writer.visit(nullptr);
    EXPECT_EQ(consumer.accepted, "null");

    consumer.accepted.clear();
    const std::unique_ptr<Value> broken(
        objectOf({{"a", arrayOf({new Integer(1), objectOf({{"b", new Broken()}})})}}));
    EXPECT_THROW(writer.visit(broken.get()), std::runtime_error);
    const std::unique_ptr<Value> small(arrayOf({new Integer(1)}));
    writer.visit(small.get());
    EXPECT_EQ(consumer.accepted, "[1]");
}

}  // namespace
}  // namespace json
}  // namespace dataformats
}  // namespace orv
