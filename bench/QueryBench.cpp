// Reading and printing a typical request query: Query::ParseFromQueryString and getString
// beside Boost.URL parsing the same text into a std::map of decoded keys and values.

#include <benchmark/benchmark.h>

#include <boost/url/encoding_opts.hpp>
#include <boost/url/parse_query.hpp>
#include <boost/url/src.hpp>

#include <map>
#include <string>
#include <string_view>

#include "orv/nol/common/queries/Query.h"

namespace {

using orv::nol::common::queries::Query;

constexpr std::string_view kTypicalQuery =
    "$fields=name,items($offset:10,$limit:5),owner&$sortby=name,-date&$expand=2&$offset=20&"
    "$limit=10&$q=rock%20music&genre=rock&year=1999";

void BM_Orv_ParseFromQueryString(benchmark::State& state) {
    const std::string text(kTypicalQuery);
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores)
        Query query;
        benchmark::DoNotOptimize(query.ParseFromQueryString(text));
        benchmark::DoNotOptimize(query);
    }
}

void BM_Orv_GetString(benchmark::State& state) {
    Query query;
    query.ParseFromQueryString(std::string(kTypicalQuery));
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores)
        benchmark::DoNotOptimize(query.getString());
    }
}

void BM_BoostUrl_ParseQueryToMap(benchmark::State& state) {
    boost::urls::encoding_opts options;
    options.space_as_plus = true;
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores)
        std::map<std::string, std::string> decoded;
        for (const auto param : boost::urls::parse_query(kTypicalQuery).value()) {
            decoded.insert_or_assign(param.key.decode(options), param.value.decode(options));
        }
        benchmark::DoNotOptimize(decoded);
    }
}

}  // namespace

BENCHMARK(BM_Orv_ParseFromQueryString);
BENCHMARK(BM_Orv_GetString);
BENCHMARK(BM_BoostUrl_ParseQueryToMap);

BENCHMARK_MAIN();
