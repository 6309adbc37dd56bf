// Writing one document of 10,000 records to a std::string: our JSON writer beside
// nlohmann::json's dump() of an equal document, both built once outside the timing loop.

#include <benchmark/benchmark.h>

#include <memory>
#include <string>

#include <nlohmann/json.hpp>

#include "orv/dataformats/StringAppendConsumer.h"
#include "orv/dataformats/data/Array.h"
#include "orv/dataformats/data/Boolean.h"
#include "orv/dataformats/data/Float.h"
#include "orv/dataformats/data/Integer.h"
#include "orv/dataformats/data/Object.h"
#include "orv/dataformats/data/String.h"
#include "orv/dataformats/json/Writer.h"

namespace {

namespace data = orv::dataformats::data;

constexpr int kRecords = 10000;

struct Record {
    std::string name;
    std::string uri;
    int id;
    int level;
    double ratio;
    bool active;
};

Record makeRecord(int i) {
    return {"device \"" + std::to_string(i) + "\" in room\t" + std::to_string(i % 97),
            ":8080/devices/items/" + std::to_string(i * 7919),
            i,
            (i * 37) % 1000 - 500,
            i / 7.0 + 0.1,
            i % 3 == 0};
}

std::unique_ptr<data::Value> makeOurs() {
    auto root = std::make_unique<data::Array>();
    for (int i = 0; i < kRecords; ++i) {
        const Record r = makeRecord(i);
        auto* object = new data::Object();
        object->setNew("name", new data::String(r.name));
        object->setNew("uri", new data::String(r.uri));
        object->setNew("id", new data::Integer(r.id));
        object->setNew("level", new data::Integer(r.level));
        object->setNew("ratio", new data::Float(r.ratio));
        object->setNew("active", new data::Boolean(r.active));
        auto* tags = new data::Array();
        tags->pushNew(new data::Integer(i % 5));
        tags->pushNew(new data::String("tag"));
        tags->pushNew(new data::Integer(-i));
        object->setNew("tags", tags);
        root->pushNew(object);
    }
    return root;
}

nlohmann::json makePeer() {
    nlohmann::json root = nlohmann::json::array();
    for (int i = 0; i < kRecords; ++i) {
        const Record r = makeRecord(i);
        nlohmann::json object = nlohmann::json::object();
        object["name"] = r.name;
        object["uri"] = r.uri;
        object["id"] = r.id;
        object["level"] = r.level;
        object["ratio"] = r.ratio;
        object["active"] = r.active;
        object["tags"] = nlohmann::json::array({i % 5, "tag", -i});
        root.push_back(std::move(object));
    }
    return root;
}

void BM_OrvJsonWriter(benchmark::State& state) {
    const std::unique_ptr<data::Value> tree = makeOurs();
    std::size_t bytes = 0;
    for (auto _ : state) {
        std::string text;
        orv::dataformats::StringAppendConsumer consumer(text);
        orv::dataformats::json::Writer writer(consumer);
        writer.visit(tree.get());
        bytes = text.size();
        benchmark::DoNotOptimize(text.data());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes));
}
BENCHMARK(BM_OrvJsonWriter)->Unit(benchmark::kMillisecond);

void BM_NlohmannDump(benchmark::State& state) {
    const nlohmann::json tree = makePeer();
    std::size_t bytes = 0;
    for (auto _ : state) {
        std::string text = tree.dump();
        bytes = text.size();
        benchmark::DoNotOptimize(text.data());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes));
}
BENCHMARK(BM_NlohmannDump)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
