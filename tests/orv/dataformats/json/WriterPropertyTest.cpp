// Random trees written by the writer and read back by an independent JSON parser (Python's
// json module, which unlike most parsers takes arbitrary bytes through `surrogateescape`), then
// compared with the tree in a canonical form both sides produce.

#include "orv/dataformats/json/Writer.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "orv/dataformats/JsonOf.h"
#include "orv/dataformats/data/Array.h"
#include "orv/dataformats/data/Blob.h"
#include "orv/dataformats/data/Boolean.h"
#include "orv/dataformats/data/ConstVisitor.h"
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
using orv::common::types::BufferDescriptor;

// Reads one JSON document per line and prints each in the canonical form of Canonical below:
// numbers as the bits of their double, texts as hexadecimal bytes, members in document order.
constexpr const char* kCanonicalScript = R"PY(
import json, struct, sys

def reject(token):
    raise ValueError('not JSON: ' + token)

def canon(value, out):
    if value is None:
        out.append('N')
    elif value is True:
        out.append('T')
    elif value is False:
        out.append('F')
    elif isinstance(value, float):
        out.append('n%d;' % struct.unpack('<Q', struct.pack('<d', value))[0])
    elif isinstance(value, str):
        out.append('s' + value.encode('utf-8', 'surrogateescape').hex() + ';')
    elif isinstance(value, list):
        out.append('[')
        for element in value:
            canon(element, out)
        out.append(']')
    elif isinstance(value, dict):
        out.append('{')
        for key, member in value.items():
            out.append(key.encode('utf-8', 'surrogateescape').hex() + ':')
            canon(member, out)
        out.append('}')
    else:
        raise TypeError(type(value))

with open(sys.argv[1], 'rb') as source:
    text = source.read().decode('utf-8', 'surrogateescape')
with open(sys.argv[2], 'w') as target:
    for line in text.split('\n')[:-1]:
        try:
            value = json.loads(line, parse_int=float, parse_constant=reject)
            out = []
            canon(value, out)
            target.write(''.join(out) + '\n')
        except Exception as error:
            target.write('ERROR %r\n' % error)
)PY";

std::string hex(const char* data, std::size_t size) {
    static const char digits[] = "0123456789abcdef";
    std::string out;
    for (std::size_t i = 0; i < size; ++i) {
        const auto byte = static_cast<unsigned char>(data[i]);
        out += digits[byte >> 4];
        out += digits[byte & 0xF];
    }
    return out;
}

// Base64 one bit at a time, to compare the writer's table-driven form with.
std::string base64(BufferDescriptor<const char> bytes) {
    static const char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    unsigned group = 0;
    int bits = 0;
    for (char c : bytes) {
        for (int bit = 7; bit >= 0; --bit) {
            group = (group << 1) | ((static_cast<unsigned char>(c) >> bit) & 1U);
            if (++bits == 6) {
                out += digits[group];
                group = 0;
                bits = 0;
            }
        }
    }
    if (bits != 0) {
        out += digits[group << (6 - bits)];
    }
    while (out.size() % 4 != 0) {
        out += '=';
    }
    return out;
}

// The tree as a JSON reader should see it, in the script's canonical form.
class Canonical : public ConstVisitor {
public:
    std::string text;

    void visitNull() override { text += 'N'; }
    void visitBoolean(bool value) override { text += value ? 'T' : 'F'; }
    void visitInteger(int value) override { number(value); }
    void visitFloat(double value) override {
        if (std::isfinite(value)) {
            number(value);
        } else {
            text += 'N';
        }
    }
    void visitString(BufferDescriptor<const char> bytes) override {
        text += 's' + hex(bytes.ptr(), bytes.size()) + ';';
    }
    void visitBlob(BufferDescriptor<const char> bytes) override {
        const std::string encoded = base64(bytes);
        visitString({encoded.data(), encoded.size()});
    }
    void visitArray(const PtrVector<Value>& elements) override {
        text += '[';
        for (const auto& element : elements) {
            visit(element.get());
        }
        text += ']';
    }
    void visitObject(const PtrMap<std::string, Value>& members) override {
        text += '{';
        for (const auto& member : members) {
            text += hex(member.first.data(), member.first.size()) + ':';
            visit(member.second.get());
        }
        text += '}';
    }

private:
    void number(double value) {
        std::uint64_t bits = 0;
        std::memcpy(&bits, &value, sizeof value);
        text += 'n' + std::to_string(bits) + ';';
    }
};

class TreeGenerator {
public:
    explicit TreeGenerator(unsigned seed) : m_random(seed) {}

    std::unique_ptr<Value> tree() { return std::unique_ptr<Value>(value(0)); }

private:
    Value* value(int depth) {
        const int kind = pick(depth < 4 ? 9 : 7);
        switch (kind) {
            case 0:
                return new Null();
            case 1:
                return new Boolean(pick(2) == 1);
            case 2:
                return new Integer(integer());
            case 3:
                return new Float(floating());
            case 4:
                return new String(text());
            case 5: {
                const std::string bytes = text();
                return new Blob(std::vector<std::uint8_t>(bytes.begin(), bytes.end()));
            }
            case 6:
                return new String(text());
            case 7: {
                auto* array = new Array();
                for (int i = pick(6); i > 0; --i) {
                    array->pushNew(value(depth + 1));
                }
                return array;
            }
            default: {
                auto* object = new Object();
                for (int i = pick(6); i > 0; --i) {
                    object->setNew(text(), value(depth + 1));
                }
                return object;
            }
        }
    }

    int pick(int count) { return static_cast<int>(m_random() % static_cast<unsigned>(count)); }

    int integer() {
        switch (pick(4)) {
            case 0:
                return INT_MIN + pick(2);
            case 1:
                return INT_MAX - pick(2);
            case 2:
                return pick(200) - 100;
            default:
                return static_cast<int>(m_random());
        }
    }

    double floating() {
        if (pick(2) == 0) {
            return std::uniform_real_distribution<double>(-1e3, 1e3)(m_random);
        }
        // Any bit pattern: subnormals, extremes, NaN and infinities included.
        const std::uint64_t bits = (std::uint64_t{m_random()} << 32) | m_random();
        double value = 0;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    }

    // Bytes of every value, with control characters, quotes, backslashes and bytes of 0x80 and
    // above, now and then long enough to cross the writer's buffer.
    std::string text() {
        const int length = pick(20) == 0 ? 200 + pick(6000) : pick(24);
        std::string out;
        for (int i = 0; i < length; ++i) {
            switch (pick(4)) {
                case 0:
                    out += static_cast<char>(pick(256));
                    break;
                case 1:
                    out += "\"\\\x1f\x7f\x80"[pick(5)];
                    break;
                default:
                    out += static_cast<char>('a' + pick(26));
                    break;
            }
        }
        return out;
    }

    std::mt19937 m_random;
};

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

TEST(WriterPropertyTest, RandomTreesReadBackAsWritten) {
    constexpr int kTrees = 400;
    const std::string base =
        ::testing::TempDir() + "orv_writer_property_" + std::to_string(::getpid());
    const std::string script = base + ".py";
    const std::string documents = base + ".json";
    const std::string canonical = base + ".out";

    std::vector<std::string> expected;
    {
        std::ofstream(script) << kCanonicalScript;
        std::ofstream out(documents, std::ios::binary);
        TreeGenerator generator(2024);
        for (int i = 0; i < kTrees; ++i) {
            const std::unique_ptr<Value> tree = generator.tree();
            const std::string json = testing::jsonOf(*tree);
            ASSERT_EQ(json.find('\n'), std::string::npos);
            out << json << '\n';
            Canonical reader;
            reader.visit(tree.get());
            expected.push_back(reader.text);
        }
    }

    const std::string command = "python3 '" + script + "' '" + documents + "' '" + canonical + "'";
    // NOLINTNEXTLINE(concurrency-mt-unsafe): this test starts no threads of its own.
    const int status = std::system(command.c_str());
    ASSERT_EQ(status, 0) << "could not run: " << command;

    std::istringstream lines(readFile(canonical));
    std::string line;
    int index = 0;
    while (std::getline(lines, line)) {
        ASSERT_LT(index, kTrees);
        EXPECT_EQ(line, expected[index]) << "tree " << index;
        ++index;
    }
    EXPECT_EQ(index, kTrees);

    std::remove(script.c_str());
    std::remove(documents.c_str());
    std::remove(canonical.c_str());
}

}  // namespace
}  // namespace json
}  // namespace dataformats
}  // namespace orv
