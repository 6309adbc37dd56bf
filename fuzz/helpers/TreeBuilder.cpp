#include "helpers/TreeBuilder.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "orv/common/guid/GUID.h"
#include "orv/dataformats/data/Blob.h"
#include "orv/dataformats/data/Boolean.h"
#include "orv/dataformats/data/Float.h"
#include "orv/dataformats/data/Integer.h"
#include "orv/dataformats/data/Null.h"
#include "orv/dataformats/data/String.h"

namespace orv {
namespace fuzz {

namespace data = orv::dataformats::data;

namespace {

constexpr std::size_t kMaxChildren = 8;
constexpr std::size_t kMaxShortText = 40;
constexpr std::size_t kMaxRepeatedPiece = 16;

// Texts that mean something to the writers and to our elements.
constexpr std::array<std::string_view, 10> kTextPool = {"",
                                                        ":",
                                                        ":8080/service/type/id",
                                                        "http://host/x",
                                                        "\"\\/\b\f\n\r\t",
                                                        std::string_view("\0", 1),
                                                        "\x1f\x7f",
                                                        "\xc3\xa4\xe2\x80\xa8",
                                                        "\xff\xfe",
                                                        "1e5"};

constexpr std::array<std::string_view, 8> kKeyPool = {"id", "name", "uri", "Name",
                                                      "ID", "",     "a",   "id "};

enum LeafKind : unsigned { Null, Boolean, Integer, Float, String, Blob, Link, LeafKinds };

}  // namespace

TreeBuilder::TreeBuilder(FuzzInput& input, LinkMaker makeLink, TreeLimits limits)
    : m_input(input), m_makeLink(std::move(makeLink)), m_limits(limits) {}

std::unique_ptr<data::Value> TreeBuilder::value() {
    return value(1);
}

std::unique_ptr<data::Object> TreeBuilder::object() {
    ++m_values;
    return object(1);
}

std::unique_ptr<data::Value> TreeBuilder::value(int depth) {
    if (full()) {
        return std::make_unique<data::Null>();
    }
    ++m_values;
    const unsigned kind = m_input.byte() % (LeafKinds + 2);
    if (kind >= LeafKinds && depth <= m_limits.maxDepth) {
        if (kind == LeafKinds) {
            return array(depth);
        }
        return object(depth);
    }
    return leaf(kind % LeafKinds);
}

std::unique_ptr<data::Object> TreeBuilder::object(int depth) {
    auto object = std::make_unique<data::Object>();
    const std::size_t members = m_input.upTo(kMaxChildren);
    for (std::size_t i = 0; i < members && !full(); ++i) {
        std::string name = key();
        if (m_input.byte() == 0xFF) {
            // Stored straight into the map: a member whose pointer is null.
            ++m_values;
            object->get()[name] = nullptr;
            continue;
        }
        // A key given twice replaces the earlier value, as setNew does.
        object->setNew(name, value(depth + 1).release());
    }
    return object;
}

std::unique_ptr<data::Array> TreeBuilder::array(int depth) {
    auto array = std::make_unique<data::Array>();
    const std::size_t elements = m_input.upTo(kMaxChildren);
    for (std::size_t i = 0; i < elements && !full(); ++i) {
        if (m_input.byte() == 0xFF) {
            ++m_values;
            array->get().emplace_back(nullptr);
            continue;
        }
        array->pushNew(value(depth + 1).release());
    }
    return array;
}

std::unique_ptr<data::Value> TreeBuilder::leaf(unsigned kind) {
    switch (kind) {
        case Null:
            return std::make_unique<data::Null>();
        case Boolean:
            return std::make_unique<data::Boolean>(m_input.flag());
        case Integer:
            return std::make_unique<data::Integer>(m_input.raw<int>());
        case Float:
            return std::make_unique<data::Float>(m_input.raw<double>());
        case String:
            return std::make_unique<data::String>(text());
        case Blob: {
            const std::string bytes = text();
            return std::make_unique<data::Blob>(
                std::vector<std::uint8_t>(bytes.begin(), bytes.end()));
        }
        default:
            // Mostly links relative to the server, which writers complete with the host.
            return m_makeLink(m_input.flag() ? ":" + text() : text());
    }
}

std::string TreeBuilder::text() {
    switch (m_input.byte() % 4) {
        case 0:
            return m_input.text(m_input.upTo(kMaxShortText));
        case 1:
            return repeatedText();
        case 2:
            return guidText();
        default:
            return std::string(kTextPool[m_input.byte() % kTextPool.size()]);
    }
}

std::string TreeBuilder::key() {
    if (m_input.flag()) {
        return std::string(kKeyPool[m_input.byte() % kKeyPool.size()]);
    }
    return text();
}

// A short piece of the input repeated up to a length that crosses the writers' buffer sizes.
std::string TreeBuilder::repeatedText() {
    std::string piece = m_input.text(1 + m_input.upTo(kMaxRepeatedPiece - 1));
    const std::size_t length = m_input.upTo(m_limits.maxTextLength);
    if (piece.empty()) {
        piece = "x";  // the input is used up
    }
    std::string text;
    text.reserve(length);
    while (text.size() < length) {
        text.append(piece, 0, std::min(piece.size(), length - text.size()));
    }
    return text;
}

// The text form of a GUID made from the input, upper-case where the input says so, and now and
// then one character off.
std::string TreeBuilder::guidText() {
    std::string text =
        orv::common::guid::GUID(m_input.raw<std::array<std::uint8_t, 16>>()).toString();
    const std::uint8_t shape = m_input.byte();
    if ((shape & 1U) != 0) {
        std::transform(text.begin(), text.end(), text.begin(),
                       [](char c) { return c >= 'a' && c <= 'f' ? static_cast<char>(c - 32) : c; });
    }
    if ((shape & 2U) != 0) {
        text[m_input.upTo(text.size() - 1)] = static_cast<char>(m_input.byte());
    }
    return text;
}

std::size_t countValues(const data::Value* value) {
    if (value == nullptr) {
        return 1;
    }
    std::size_t count = 1;
    if (value->getType() == data::Value::EType::Array) {
        for (const auto& element : static_cast<const data::Array*>(value)->get()) {
            count += countValues(element.get());
        }
    } else if (value->getType() == data::Value::EType::Object) {
        for (const auto& member : static_cast<const data::Object*>(value)->get()) {
            count += countValues(member.second.get());
        }
    }
    return count;
}

}  // namespace fuzz
}  // namespace orv
