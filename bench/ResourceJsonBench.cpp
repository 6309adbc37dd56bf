// Rendering a resource list of 10,000 elements, each with a link (data::Url), as JSON text:
// - Utils::jsonOfDataValue, which completes every link with "http://" and the host;
// - the platform JSON writer alone on the same tree into a string through StringAppendConsumer
//   (the links come out uncompleted): the plain way to render a tree;
// - the cost of completion itself: this library's writer beside the platform writer, both
//   writing the same tree into one reused string, so that only the writers differ;
// - RapidJSON's Writer on a Document holding an equal document (links already complete), which
//   must give the same text as jsonOfDataValue.
// Each tree is built once outside the timing loop.

#include <benchmark/benchmark.h>
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <memory>
#include <string>

#include "orv/dataformats/StringAppendConsumer.h"
#include "orv/dataformats/data/Array.h"
#include "orv/dataformats/data/Boolean.h"
#include "orv/dataformats/data/Integer.h"
#include "orv/dataformats/data/Object.h"
#include "orv/dataformats/data/String.h"
#include "orv/dataformats/json/Writer.h"
#include "orv/nol/common/Utils.h"
#include "orv/nol/common/data/Url.h"
#include "orv/nol/common/json/Writer.h"
#include "orv/nol/common/tlib/Element.h"

namespace {

namespace pdata = orv::dataformats::data;
using orv::nol::common::Utils;

constexpr int kElementCount = 10000;
constexpr char kHost[] = "192.168.100.20";
constexpr char kPort[] = ":8080";

class Device : public orv::nol::common::tlib::Element {
public:
    std::string getFirstUriSegment() const override { return "devices"; }
    std::string getSecondUriSegment() const override { return "lamp"; }
};

// The members of one element, in the key order in which both writers emit them.
struct Fields {
    bool active;
    std::string id;
    int level;
    std::string name;
    std::string link;  // relative: ":8080/devices/lamp/<id>"
    std::string uri;
};

Fields fieldsOf(int i) {
    Device device;
    device.id = Utils::createHashedGuid("device " + std::to_string(i));
    device.name = "lamp \"" + std::to_string(i) + "\"\tin room " + std::to_string(i % 97);
    const std::string uri = device.getUri().value();
    return {i % 3 == 0,
            device.id.value().toString(),
            (i * 37) % 1000 - 500,
            device.name.value(),
            kPort + uri,
            uri};
}

std::unique_ptr<pdata::Object> makeTree() {
    auto root = std::make_unique<pdata::Object>();
    auto* items = new pdata::Array();
    root->setNew("items", items);
    root->setNew("count", new pdata::Integer(kElementCount));
    for (int i = 0; i < kElementCount; ++i) {
        const Fields f = fieldsOf(i);
        auto* item = new pdata::Object();
        item->setNew("active", new pdata::Boolean(f.active));
        item->setNew("id", new pdata::String(f.id));
        item->setNew("level", new pdata::Integer(f.level));
        item->setNew("name", new pdata::String(f.name));
        item->setNew("self", new orv::nol::common::data::Url(f.link));
        item->setNew("uri", new pdata::String(f.uri));
        items->pushNew(item);
    }
    return root;
}

std::unique_ptr<rapidjson::Document> makeDocument() {
    auto document = std::make_unique<rapidjson::Document>();
    auto& allocator = document->GetAllocator();
    const std::string prefix = std::string("http://") + kHost;
    rapidjson::Value items(rapidjson::kArrayType);
    for (int i = 0; i < kElementCount; ++i) {
        const Fields f = fieldsOf(i);
        const std::string self = prefix + f.link;
        rapidjson::Value item(rapidjson::kObjectType);
        item.AddMember("active", f.active, allocator);
        item.AddMember("id", rapidjson::Value(f.id.c_str(), allocator), allocator);
        item.AddMember("level", f.level, allocator);
        item.AddMember("name", rapidjson::Value(f.name.c_str(), allocator), allocator);
        item.AddMember("self", rapidjson::Value(self.c_str(), allocator), allocator);
        item.AddMember("uri", rapidjson::Value(f.uri.c_str(), allocator), allocator);
        items.PushBack(item, allocator);
    }
    document->SetObject();
    document->AddMember("count", kElementCount, allocator);
    document->AddMember("items", items, allocator);
    return document;
}

std::string platformJsonOf(const pdata::Value& tree) {
    std::string text;
    orv::dataformats::StringAppendConsumer consumer(text);
    orv::dataformats::json::Writer writer(consumer);
    writer.visit(&tree);
    return text;
}

std::string rapidJsonOf(const rapidjson::Document& document) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    document.Accept(writer);
    return {buffer.GetString(), buffer.GetSize()};
}

void BM_OrvJsonOfDataValue(benchmark::State& state) {
    const auto tree = makeTree();
    for (auto _ : state) {
        benchmark::DoNotOptimize(Utils::jsonOfDataValue(*tree, kHost));
    }
}

void BM_PlatformWriterAlone(benchmark::State& state) {
    const auto tree = makeTree();
    for (auto _ : state) {
        benchmark::DoNotOptimize(platformJsonOf(*tree));
    }
}

// Writes the tree with a writer made by `makeWriter` into one string that keeps its capacity.
template <typename MakeWriter>
void writeIntoReusedString(benchmark::State& state, MakeWriter makeWriter) {
    const auto tree = makeTree();
    std::string text;
    orv::dataformats::StringAppendConsumer consumer(text);
    for (auto _ : state) {
        text.clear();
        auto writer = makeWriter(consumer);
        writer->visit(tree.get());
        benchmark::DoNotOptimize(text.data());
    }
}

void BM_Completion_OrvWriter(benchmark::State& state) {
    writeIntoReusedString(state, [](orv::dataformats::DataConsumer& consumer) {
        return std::make_unique<orv::nol::common::json::Writer>(consumer, kHost);
    });
}

void BM_Completion_PlatformWriter(benchmark::State& state) {
    writeIntoReusedString(state, [](orv::dataformats::DataConsumer& consumer) {
        return std::make_unique<orv::dataformats::json::Writer>(consumer);
    });
}

void BM_RapidJsonWriter(benchmark::State& state) {
    const auto tree = makeTree();
    const auto document = makeDocument();
    if (rapidJsonOf(*document) != Utils::jsonOfDataValue(*tree, kHost)) {
        state.SkipWithError("the documents differ");
        return;
    }
    for (auto _ : state) {
        rapidjson::StringBuffer buffer;
        rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
        document->Accept(writer);
        benchmark::DoNotOptimize(buffer.GetString());
    }
}

}  // namespace

BENCHMARK(BM_OrvJsonOfDataValue)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_PlatformWriterAlone)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_RapidJsonWriter)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Completion_OrvWriter)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Completion_PlatformWriter)->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
