// The JSON writer: exact output for every kind, escapes, numbers, base64 and nesting; one writer
// going on cleanly after a failed document; random trees read back by an independent parser.

#include "orv/dataformats/json/Writer.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <cfloat>
#include <climits>
#include <cmath>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "orv/dataformats/Trees.h"
#include "orv/dataformats/data/Blob.h"
#include "orv/dataformats/data/Boolean.h"
#include "orv/dataformats/data/Float.h"
#include "orv/dataformats/data/Integer.h"
#include "orv/dataformats/data/Null.h"

namespace orv::dataformats::json {
namespace {

using namespace data;
using namespace testing;

Blob* blobOf(const std::string& bytes) {
    return new Blob({bytes.begin(), bytes.end()});
}

TEST(WriterTest, WritesCompactJson) {
    const std::vector<std::pair<Value*, std::string>> cases = {
        {nullptr, "null"},
        {new Integer(0), "0"},
        {new Boolean(true), "true"},
        {arrayOf({new Null(), new Boolean(true), new Boolean(false), new Integer(INT_MAX),
                  new Integer(INT_MIN)}),
         "[null,true,false,2147483647,-2147483648]"},
        // The shortest text that reads back to the same double; JSON has no NaN or infinity.
        {arrayOf({new Float(1.0), new Float(-0.0), new Float(0.1), new Float(-2.5e-7),
                  new Float(1e300), new Float(5e-324), new Float(DBL_MAX), new Float(NAN),
                  new Float(HUGE_VAL), new Float(-HUGE_VAL)}),
         "[1,-0,0.1,-2.5e-07,1e+300,5e-324,1.7976931348623157e+308,null,null,null]"},
        {arrayOf({new String(""), new String("a/b\x7f\xc3\xa9\xff\x80"),
                  new String(std::string("\b\f\n\r\t\"\\\x00\x01\x1f", 10)),
                  // Escapes inside an eight-byte word and in the tail behind one.
                  new String("0123\"5670123\\5670123\036567\001\002")}),
         "[\"\",\"a/b\x7f\xc3\xa9\xff\x80\","
         R"("\b\f\n\r\t\"\\\u0000\u0001\u001f","0123\"5670123\\5670123\u001e567\u0001\u0002"])"},
        {arrayOf({blobOf(""), blobOf("f"), blobOf("fo"), blobOf("foo"), blobOf("foob"),
                  blobOf("fooba"), blobOf("foobar"), blobOf("\xff\xfe\xfd\xfb\xff")}),
         R"(["","Zg==","Zm8=","Zm9v","Zm9vYg==","Zm9vYmE=","Zm9vYmFy","//79+/8="])"},
        // Only three digits of a group of four still fit into the buffer when it fills up.
        {blobOf(std::string(4500, '\0')), '"' + std::string(6000, 'A') + '"'},
        {arrayOf({new Integer(-1), new Null(), arrayOf({}), objectOf({}), arrayOf({arrayOf({})})}),
         "[-1,null,[],{},[[]]]"},
        // Members in the byte order of their keys, keys escaped like strings; a value presenting
        // itself differently is honoured at any depth.
        {objectOf({{"b", arrayOf({new Bracketed("x"), objectOf({{"", new Bracketed("y")}})})},
                   {"a", new Bracketed("z")},
                   {"\xff", new Integer(4)},
                   {"c\n\"", new Null()}}),
         "{\"a\":\"[z]\",\"b\":[\"[x]\",{\"\":\"[y]\"}],\"c\\n\\\"\":null,\"\xff\":4}"},
    };
    for (const auto& c : cases) {
        const std::unique_ptr<Value> value(c.first);
        EXPECT_EQ(jsonOf(value.get()), c.second);
    }
}

// Throws from its second consume() and keeps everything else.
class FailingSecond : public DataConsumer {
public:
    std::string text;
    int calls = 0;
    void consume(const char* data, std::size_t size) override {
        if (++calls == 2) {
            throw std::runtime_error("consumer failed");
        }
        text.append(data, size);
    }
};

// A value whose presentation fails.
class Broken : public Null {
public:
    void visit(ConstVisitor&) const override { throw std::runtime_error("value failed"); }
};

TEST(WriterTest, AFailedDocumentIsDroppedAndTheNextStartsClean) {
    FailingSecond consumer;
    Writer writer(consumer);
    const std::unique_ptr<Value> broken(
        objectOf({{"a", arrayOf({new Integer(1), objectOf({{"b", new Broken()}})})}}));
    EXPECT_THROW(writer.visit(broken.get()), std::runtime_error);
    writer.visitInteger(5);  // a top-level value reaches the consumer before the call returns
    EXPECT_THROW(writer.visitString({"x", 1}), std::runtime_error);
    writer.visitNull();
    EXPECT_EQ(consumer.text, "5null");
}

// Random trees with the JSON a reader should find in their text: integers of every size, floats
// of every magnitude, UTF-8 texts from free of escapes to made of them, some long enough to
// cross the writer's buffer in pieces or in one run. The other kinds have exact tests.
class TreeGenerator {
public:
    Value* tree(nlohmann::json& expected, int depth = 0) {
        switch (pick(depth < 4 ? 5 : 3)) {
            case 0:
                expected = static_cast<int>(m_random()) >> pick(32);
                return new Integer(expected.get<int>());
            case 1:  // finite, from subnormal to the largest
                expected = std::ldexp(std::uniform_real_distribution<double>(-1, 1)(m_random),
                                      pick(2099) - 1074);
                return new Float(expected.get<double>());
            case 2:
                expected = text();
                return new String(expected.get<std::string>());
            case 3: {
                auto* array = new Array();
                expected = nlohmann::json::array();
                for (int i = pick(6); i > 0; --i) {
                    array->pushNew(tree(expected.emplace_back(), depth + 1));
                }
                return array;
            }
            default: {
                auto* object = new Object();
                expected = nlohmann::json::object();
                for (int i = pick(6); i > 0; --i) {
                    const std::string key = text();
                    object->setNew(key, tree(expected[key], depth + 1));
                }
                return object;
            }
        }
    }

private:
    int pick(int count) { return static_cast<int>(m_random() % static_cast<unsigned>(count)); }

    std::string text() {
        static const char* const specials[] = {"\"",       "\\",           "\x7f",
                                               "\xc3\xa9", "\xe2\x82\xac", "\xf0\x9f\x98\x80"};
        const int rarity = 1 << pick(13);  // one special in `rarity` characters
        std::string out;
        for (int i = pick(20) == 0 ? 200 + pick(6000) : pick(24); i > 0; --i) {
            out += pick(rarity) != 0 ? std::string(1, static_cast<char>('a' + pick(26)))
                   : pick(2) == 0    ? std::string(1, static_cast<char>(pick(0x20)))
                                     : std::string(specials[pick(6)]);
        }
        return out;
    }

    std::mt19937 m_random{2024};
};

TEST(WriterPropertyTest, RandomTreesReadBackAsWritten) {
    TreeGenerator generator;
    for (int i = 0; i < 1000; ++i) {
        nlohmann::json expected;
        const std::unique_ptr<Value> tree(generator.tree(expected));
        EXPECT_EQ(nlohmann::json::parse(jsonOf(tree.get())), expected) << "tree " << i;
    }
}

}  // namespace
}  // namespace orv::dataformats::json
