// Fuzz target: JSON of arbitrary data trees.
// - The platform writer's output is one valid JSON text (RFC 8259, strictly) with one value per
//   node of the tree; the same writer writes the same text again, and a copy of the tree
//   (getCopy) gives the same text.
// - The library's writer completes links: its output for a tree with data::Url values equals
//   the platform writer's output for the same tree with each link replaced by the plain string
//   it stands for ("http://" + host + text for a text beginning with ":", the host in brackets
//   when it holds a ":", "unknown" for the empty host). Utils::jsonOfDataValue gives the same.
// Input: a byte choosing the host, then the tree (see TreeBuilder).

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "helpers/Check.h"
#include "helpers/FuzzInput.h"
#include "helpers/JsonValidator.h"
#include "helpers/TreeBuilder.h"
#include "orv/dataformats/StringAppendConsumer.h"
#include "orv/dataformats/data/String.h"
#include "orv/dataformats/json/Writer.h"
#include "orv/nol/common/Utils.h"
#include "orv/nol/common/data/Url.h"
#include "orv/nol/common/json/Writer.h"

namespace {

using orv::fuzz::check;
using orv::fuzz::FuzzInput;
using orv::fuzz::printable;
using orv::fuzz::TreeBuilder;
namespace data = orv::dataformats::data;

std::string hostOf(FuzzInput& input) {
    static const std::array<std::string, 4> hosts = {"", "10.0.0.7", "fe80::1", "host.example"};
    const std::uint8_t choice = input.byte();
    return choice < 0xF0 ? hosts[choice % hosts.size()] : input.text(choice - 0xF0);
}

// The text a link is written as by the library's writer.
std::string completedLink(const std::string& text, const std::string& host) {
    if (text.empty() || text.front() != ':') {
        return text;
    }
    const std::string shown = host.empty() ? "unknown" : host;
    return shown.find(':') == std::string::npos ? "http://" + shown + text
                                                : "http://[" + shown + "]" + text;
}

std::string platformJson(orv::dataformats::json::Writer& writer, std::string& output,
                         const data::Value& tree) {
    output.clear();
    writer.visit(&tree);
    return output;
}

std::string completingJson(const data::Value& tree, const std::string& host) {
    std::string output;
    orv::dataformats::StringAppendConsumer consumer(output);
    orv::nol::common::json::Writer writer(consumer, host);
    writer.visit(&tree);
    return output;
}

void checkPlatformWriter(const data::Value& tree) {
    std::string output;
    orv::dataformats::StringAppendConsumer consumer(output);
    orv::dataformats::json::Writer writer(consumer);
    const std::string first = platformJson(writer, output, tree);
    const orv::fuzz::JsonCheck json = orv::fuzz::checkJson(first);
    check(json.valid, "the writer's output is valid JSON", [&] {
        return json.error + " at offset " + std::to_string(json.errorOffset) + " of " +
               printable(first);
    });
    const std::size_t nodes = orv::fuzz::countValues(&tree);
    check(json.values == nodes, "the output holds one value per node", [&] {
        return std::to_string(json.values) + " values for " + std::to_string(nodes) +
               " nodes: " + printable(first);
    });
    const std::string second = platformJson(writer, output, tree);
    check(second == first, "the same writer writes the same text again",
          [&] { return "first:  " + printable(first) + "\nsecond: " + printable(second); });
    const std::unique_ptr<data::Value> copy = tree.getCopy();
    const std::string ofCopy = platformJson(writer, output, *copy);
    check(ofCopy == first, "a copy of the tree is written as the tree",
          [&] { return "tree: " + printable(first) + "\ncopy: " + printable(ofCopy); });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput hostInput(data, size);
    const std::string host = hostOf(hostInput);
    const std::size_t treeStart = hostInput.used();

    FuzzInput linkInput(data + treeStart, size - treeStart);
    const std::unique_ptr<data::Value> tree =
        TreeBuilder(linkInput, [](const std::string& text) {
            return std::make_unique<orv::nol::common::data::Url>(text);
        }).value();
    FuzzInput plainInput(data + treeStart, size - treeStart);
    const std::unique_ptr<data::Value> completed =
        TreeBuilder(plainInput, [&](const std::string& text) {
            return std::make_unique<data::String>(completedLink(text, host));
        }).value();

    checkPlatformWriter(*tree);
    checkPlatformWriter(*completed);

    std::string expected;
    orv::dataformats::StringAppendConsumer consumer(expected);
    orv::dataformats::json::Writer(consumer).visit(completed.get());
    const std::string actual = completingJson(*tree, host);
    check(actual == expected, "the library's writer completes links with the host", [&] {
        return "host: " + printable(host) + "\nwritten:  " + printable(actual) +
               "\nexpected: " + printable(expected);
    });
    const std::string ofUtils = orv::nol::common::Utils::jsonOfDataValue(*tree, host);
    check(ofUtils == actual, "Utils::jsonOfDataValue writes as the library's writer does", [&] {
        return "jsonOfDataValue: " + printable(ofUtils) + "\nwriter: " + printable(actual);
    });
    return 0;
}
