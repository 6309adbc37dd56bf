// The tree builder must stay within its bounds for any bytes and give the same tree for the
// same bytes; the JSON target compares two builds over one input and relies on both.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "helpers/FuzzInput.h"
#include "helpers/TreeBuilder.h"
#include "orv/dataformats/StringAppendConsumer.h"
#include "orv/dataformats/data/Array.h"
#include "orv/dataformats/data/Object.h"
#include "orv/dataformats/data/String.h"
#include "orv/dataformats/json/Writer.h"

namespace {

namespace data = orv::dataformats::data;
using orv::fuzz::FuzzInput;
using orv::fuzz::TreeBuilder;
using orv::fuzz::TreeLimits;

std::unique_ptr<data::Value> build(const std::vector<std::uint8_t>& bytes, TreeLimits limits) {
    FuzzInput input(bytes.data(), bytes.size());
    return TreeBuilder(
               input, [](const std::string& text) { return std::make_unique<data::String>(text); },
               limits)
        .value();
}

int depthOf(const data::Value* value) {
    int deepest = 0;
    if (value != nullptr && value->getType() == data::Value::EType::Array) {
        for (const auto& element : static_cast<const data::Array*>(value)->get()) {
            deepest = std::max(deepest, depthOf(element.get()));
        }
        return deepest + 1;
    }
    if (value != nullptr && value->getType() == data::Value::EType::Object) {
        for (const auto& member : static_cast<const data::Object*>(value)->get()) {
            deepest = std::max(deepest, depthOf(member.second.get()));
        }
        return deepest + 1;
    }
    return 0;
}

std::string jsonOf(const data::Value& value) {
    std::string text;
    orv::dataformats::StringAppendConsumer consumer(text);
    orv::dataformats::json::Writer(consumer).visit(&value);
    return text;
}

std::vector<std::uint8_t> randomBytes(std::mt19937& random, std::size_t size) {
    std::vector<std::uint8_t> bytes(size);
    for (auto& byte : bytes) {
        byte = static_cast<std::uint8_t>(random());
    }
    return bytes;
}

TEST(TreeBuilderTest, StaysWithinItsLimitsForAnyBytes) {
    const TreeLimits limits{4, 50, 100};
    std::mt19937 random(7);
    int deepest = 0;
    std::size_t largest = 0;
    for (int round = 0; round < 2000; ++round) {
        // Bytes 7 and 8 start containers; more of them reach the bounds.
        auto bytes = randomBytes(random, random() % 600);
        for (auto& byte : bytes) {
            byte = random() % 2 == 0 ? static_cast<std::uint8_t>(7 + random() % 2) : byte;
        }
        const auto tree = build(bytes, limits);
        deepest = std::max(deepest, depthOf(tree.get()));
        largest = std::max(largest, orv::fuzz::countValues(tree.get()));
    }
    EXPECT_EQ(deepest, limits.maxDepth);
    EXPECT_EQ(largest, limits.maxValues);
}

TEST(TreeBuilderTest, ContainersAndLongTextsAreReached) {
    // An object (kind 8) with one member: the pool key "name", not a null pointer, a String of
    // the repeated kind: the piece "a" up to 300 bytes.
    const std::vector<std::uint8_t> bytes = {8, 1, 1, 1, 0, 4, 1, 0, 'a', 0x01, 0x2C};
    const auto tree = build(bytes, TreeLimits{});
    EXPECT_EQ(jsonOf(*tree), "{\"name\":\"" + std::string(300, 'a') + "\"}");
}

TEST(TreeBuilderTest, TheSameBytesGiveTheSameTree) {
    std::mt19937 random(11);
    for (int round = 0; round < 500; ++round) {
        const auto bytes = randomBytes(random, random() % 400);
        EXPECT_EQ(jsonOf(*build(bytes, TreeLimits{})), jsonOf(*build(bytes, TreeLimits{})));
    }
}

TEST(TreeBuilderTest, EmptyInputGivesASmallTree) {
    const auto tree = build({}, TreeLimits{});
    EXPECT_EQ(jsonOf(*tree), "null");
}

}  // namespace
