// Hexadecimal conversion of 1 MiB: orv::bafu::Conversion beside boost::algorithm's hex,
// hex_lower (the same output as ours) and unhex, and Abseil's HexStringToBytes (which checks
// nothing: the fastest reading there is). Each program run measures all of them side by side;
// compare the bytes_per_second of the pairs.

#include <benchmark/benchmark.h>

#include <boost/algorithm/hex.hpp>
#include <cstdint>
#include <iterator>
#include <string>
#include <vector>

#include "orv/bafu/Conversion.h"

#ifdef ORV_BENCH_ABSEIL
#include <absl/strings/escaping.h>
#endif

namespace {

using orv::bafu::Conversion;

constexpr std::size_t kSize = std::size_t{1} << 20;

std::vector<unsigned char> randomBytes(std::size_t size) {
    std::vector<unsigned char> bytes(size);
    std::uint32_t x = 12345;
    for (auto& b : bytes) {
        x = x * 1103515245U + 12345U;
        b = static_cast<unsigned char>(x >> 24);
    }
    return bytes;
}

void setBytes(benchmark::State& state, std::size_t perIteration) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(perIteration));
}

void BM_Orv_HexStringOfBinary(benchmark::State& state) {
    const auto bytes = randomBytes(kSize);
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores)
        std::string hex = Conversion::hexStringOfBinary(bytes);
        benchmark::DoNotOptimize(hex.data());
    }
    setBytes(state, kSize);
}

void BM_Boost_HexLower(benchmark::State& state) {
    const auto bytes = randomBytes(kSize);
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores)
        std::string hex;
        hex.reserve(2 * bytes.size());
        boost::algorithm::hex_lower(bytes.begin(), bytes.end(), std::back_inserter(hex));
        benchmark::DoNotOptimize(hex.data());
    }
    setBytes(state, kSize);
}

void BM_Boost_Hex(benchmark::State& state) {
    const auto bytes = randomBytes(kSize);
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores)
        std::string hex;
        hex.reserve(2 * bytes.size());
        boost::algorithm::hex(bytes.begin(), bytes.end(), std::back_inserter(hex));
        benchmark::DoNotOptimize(hex.data());
    }
    setBytes(state, kSize);
}

void BM_Orv_BinaryOfHexString(benchmark::State& state) {
    const std::string hex = Conversion::hexStringOfBinary(randomBytes(kSize));
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores)
        std::vector<unsigned char> bytes = Conversion::binaryOfHexString(hex);
        benchmark::DoNotOptimize(bytes.data());
    }
    setBytes(state, kSize);
}

void BM_Boost_Unhex(benchmark::State& state) {
    const std::string hex = Conversion::hexStringOfBinary(randomBytes(kSize));
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores)
        std::vector<unsigned char> bytes;
        bytes.reserve(hex.size() / 2);
        boost::algorithm::unhex(hex.begin(), hex.end(), std::back_inserter(bytes));
        benchmark::DoNotOptimize(bytes.data());
    }
    setBytes(state, kSize);
}

#ifdef ORV_BENCH_ABSEIL
void BM_Absl_HexStringToBytes(benchmark::State& state) {
    const std::string hex = Conversion::hexStringOfBinary(randomBytes(kSize));
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores)
        std::string bytes = absl::HexStringToBytes(hex);
        benchmark::DoNotOptimize(bytes.data());
    }
    setBytes(state, kSize);
}
#endif

}  // namespace

BENCHMARK(BM_Orv_HexStringOfBinary);
BENCHMARK(BM_Boost_HexLower);
BENCHMARK(BM_Boost_Hex);
BENCHMARK(BM_Orv_BinaryOfHexString);
#ifdef ORV_BENCH_ABSEIL
BENCHMARK(BM_Absl_HexStringToBytes);
#endif
BENCHMARK(BM_Boost_Unhex);

BENCHMARK_MAIN();
