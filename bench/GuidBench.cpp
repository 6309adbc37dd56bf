// GUIDs of resource elements beside Boost.UUID and libuuid:
// - reading the text form: Utils::getGuidOfStr beside boost::uuids::string_generator and
//   uuid_parse;
// - writing the text form: GUID::toString (a new std::string) beside boost::uuids::to_string,
//   and GUID::toChars (into a caller's buffer) beside uuid_unparse_lower;
// - name-based GUIDs: Utils::createHashedGuid of a 32-byte name beside Boost's SHA-1 name
//   generator (which hashes a 16-byte namespace and the name).
// Every loop cycles through 1024 different inputs so that nothing is folded away.

#include <benchmark/benchmark.h>
#include <uuid/uuid.h>
#include <boost/uuid/name_generator_sha1.hpp>
#include <boost/uuid/string_generator.hpp>
#include <boost/uuid/uuid.hpp>
#include <boost/uuid/uuid_io.hpp>

#include <array>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "orv/nol/common/Utils.h"

namespace {

using orv::common::guid::GUID;
using orv::nol::common::Utils;

constexpr std::size_t kInputCount = 1024;

std::vector<GUID> randomGuids() {
    std::mt19937 random(7);
    std::vector<GUID> guids;
    for (std::size_t i = 0; i < kInputCount; ++i) {
        std::array<std::uint8_t, GUID::Size> bytes{};
        for (auto& byte : bytes) {
            byte = static_cast<std::uint8_t>(random());
        }
        guids.emplace_back(bytes);
    }
    return guids;
}

std::vector<std::string> randomTexts() {
    std::vector<std::string> texts;
    for (const GUID& guid : randomGuids()) {
        texts.push_back(guid.toString());
    }
    return texts;
}

std::vector<std::string> randomNames() {
    std::mt19937 random(11);
    std::vector<std::string> names;
    for (std::size_t i = 0; i < kInputCount; ++i) {
        std::string name(32, '\0');
        for (auto& c : name) {
            c = static_cast<char>('a' + random() % 26);
        }
        names.push_back(name);
    }
    return names;
}

void BM_Parse_OrvGetGuidOfStr(benchmark::State& state) {
    const auto texts = randomTexts();
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(Utils::getGuidOfStr(texts[i++ % kInputCount]));
    }
}

void BM_Parse_BoostStringGenerator(benchmark::State& state) {
    const auto texts = randomTexts();
    const boost::uuids::string_generator generate;
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(generate(texts[i++ % kInputCount]));
    }
}

void BM_Parse_LibuuidParse(benchmark::State& state) {
    const auto texts = randomTexts();
    uuid_t id;
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(uuid_parse(texts[i++ % kInputCount].c_str(), id));
        benchmark::DoNotOptimize(id);
    }
}

void BM_String_OrvToString(benchmark::State& state) {
    const auto guids = randomGuids();
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(guids[i++ % kInputCount].toString());
    }
}

void BM_String_BoostToString(benchmark::State& state) {
    std::vector<boost::uuids::uuid> ids(kInputCount);
    const auto guids = randomGuids();
    for (std::size_t k = 0; k < kInputCount; ++k) {
        std::copy(guids[k].bytes().begin(), guids[k].bytes().end(), ids[k].begin());
    }
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(boost::uuids::to_string(ids[i++ % kInputCount]));
    }
}

void BM_Chars_OrvToChars(benchmark::State& state) {
    const auto guids = randomGuids();
    char text[GUID::TextLength + 1] = {};
    std::size_t i = 0;
    for (auto _ : state) {
        guids[i++ % kInputCount].toChars(text);
        benchmark::DoNotOptimize(text);
    }
}

void BM_Chars_LibuuidUnparseLower(benchmark::State& state) {
    std::vector<std::array<unsigned char, 16>> ids(kInputCount);
    const auto guids = randomGuids();
    for (std::size_t k = 0; k < kInputCount; ++k) {
        std::copy(guids[k].bytes().begin(), guids[k].bytes().end(), ids[k].begin());
    }
    char text[37];
    std::size_t i = 0;
    for (auto _ : state) {
        uuid_unparse_lower(ids[i++ % kInputCount].data(), text);
        benchmark::DoNotOptimize(text);
    }
}

void BM_Hashed_OrvCreateHashedGuid(benchmark::State& state) {
    const auto names = randomNames();
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(Utils::createHashedGuid(names[i++ % kInputCount]));
    }
}

void BM_Hashed_BoostNameGeneratorSha1(benchmark::State& state) {
    const auto names = randomNames();
    const boost::uuids::name_generator_sha1 generate(boost::uuids::ns::url());
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(generate(names[i++ % kInputCount]));
    }
}

}  // namespace

BENCHMARK(BM_Parse_OrvGetGuidOfStr);
BENCHMARK(BM_Parse_BoostStringGenerator);
BENCHMARK(BM_Parse_LibuuidParse);
BENCHMARK(BM_String_OrvToString);
BENCHMARK(BM_String_BoostToString);
BENCHMARK(BM_Chars_OrvToChars);
BENCHMARK(BM_Chars_LibuuidUnparseLower);
BENCHMARK(BM_Hashed_OrvCreateHashedGuid);
BENCHMARK(BM_Hashed_BoostNameGeneratorSha1);

BENCHMARK_MAIN();
