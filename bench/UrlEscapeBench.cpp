// Percent escaping and unescaping of URL content: stringEscapeURLContent and
// stringUnescapeURLContent beside Boost.URL's encode and decode, on 1 KiB of mixed bytes and
// on 1 KiB of plain letters. Each side decodes its own encoding of the same input.

#include <benchmark/benchmark.h>

#include <boost/url/encode.hpp>
#include <boost/url/pct_string_view.hpp>
#include <boost/url/rfc/unreserved_chars.hpp>
#include <boost/url/src.hpp>

#include <cstdint>
#include <string>

#include "orv/nol/common/StringUtils.h"

namespace {

constexpr std::size_t kInputSize = 1024;

enum class Input { Mixed, Letters };

std::string makeInput(Input kind) {
    std::string data(kInputSize, '\0');
    std::uint32_t x = 12345;
    for (auto& c : data) {
        x = x * 1103515245U + 12345U;
        const auto value = static_cast<std::uint8_t>(x >> 24);
        c = kind == Input::Mixed ? static_cast<char>(value) : static_cast<char>('a' + value % 26);
    }
    return data;
}

std::string boostEncode(const std::string& text) {
    return boost::urls::encode(text, boost::urls::unreserved_chars);
}

std::string boostDecode(const std::string& encoded) {
    return boost::urls::make_pct_string_view(encoded).value().decode();
}

void setBytes(benchmark::State& state) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(kInputSize));
}

void BM_Orv_Escape(benchmark::State& state, Input kind) {
    const std::string text = makeInput(kind);
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores)
        benchmark::DoNotOptimize(orv::nol::common::stringEscapeURLContent(text));
    }
    setBytes(state);
}

void BM_BoostUrl_Encode(benchmark::State& state, Input kind) {
    const std::string text = makeInput(kind);
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores)
        benchmark::DoNotOptimize(boostEncode(text));
    }
    setBytes(state);
}

void BM_Orv_Unescape(benchmark::State& state, Input kind) {
    const std::string text = makeInput(kind);
    const std::string escaped = orv::nol::common::stringEscapeURLContent(text);
    if (orv::nol::common::stringUnescapeURLContent(escaped) != text) {
        state.SkipWithError("unescape does not give the input back");
        return;
    }
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores)
        benchmark::DoNotOptimize(orv::nol::common::stringUnescapeURLContent(escaped));
    }
    setBytes(state);
}

void BM_BoostUrl_Decode(benchmark::State& state, Input kind) {
    const std::string text = makeInput(kind);
    const std::string encoded = boostEncode(text);
    if (boostDecode(encoded) != text) {
        state.SkipWithError("decode does not give the input back");
        return;
    }
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores)
        benchmark::DoNotOptimize(boostDecode(encoded));
    }
    setBytes(state);
}

}  // namespace

BENCHMARK_CAPTURE(BM_Orv_Escape, mixed, Input::Mixed);
BENCHMARK_CAPTURE(BM_BoostUrl_Encode, mixed, Input::Mixed);
BENCHMARK_CAPTURE(BM_Orv_Escape, letters, Input::Letters);
BENCHMARK_CAPTURE(BM_BoostUrl_Encode, letters, Input::Letters);
BENCHMARK_CAPTURE(BM_Orv_Unescape, mixed, Input::Mixed);
BENCHMARK_CAPTURE(BM_BoostUrl_Decode, mixed, Input::Mixed);
BENCHMARK_CAPTURE(BM_Orv_Unescape, letters, Input::Letters);
BENCHMARK_CAPTURE(BM_BoostUrl_Decode, letters, Input::Letters);

BENCHMARK_MAIN();
