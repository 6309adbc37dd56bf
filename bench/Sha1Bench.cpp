// SHA-1 throughput of orv::common::checksums::SHA1 (default and portable engine) beside OpenSSL,
// on a short message and on 1 MiB. The fair peer is OpenSSL's low-level SHA1_Init, SHA1_Update
// and SHA1_Final, which like ours make, feed and finalise a plain object; the one-shot SHA1()
// of OpenSSL 3 also fetches an algorithm object on every call, which dominates short messages.

// The low-level calls are deprecated in OpenSSL 3 but still its fastest way to hash (faster
// than EVP with one reused context).
#define OPENSSL_SUPPRESS_DEPRECATED

#include <benchmark/benchmark.h>
#include <openssl/sha.h>

#include <cstdint>
#include <string>

#include "orv/common/checksums/SHA1.h"

namespace {

using orv::common::checksums::SHA1;

std::string input(std::size_t size) {
    std::string data(size, '\0');
    std::uint32_t x = 12345;
    for (auto& c : data) {
        x = x * 1103515245u + 12345u;
        c = static_cast<char>(x >> 24);
    }
    return data;
}

void ours(benchmark::State& state, SHA1::Engine engine, bool useDefault) {
    const std::string data = input(static_cast<std::size_t>(state.range(0)));
    std::uint8_t digest[SHA1::DigestSize];
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores)
        SHA1 sha = useDefault ? SHA1() : SHA1(engine);
        sha.update(orv::common::types::BufferDescriptor<const char>(data.data(), data.size()));
        sha.getDigest(digest, sizeof digest);
        benchmark::DoNotOptimize(digest);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
}

void BM_Orv_Default(benchmark::State& state) {
    ours(state, SHA1::Engine::Portable, true);
}
void BM_Orv_Portable(benchmark::State& state) {
    ours(state, SHA1::Engine::Portable, false);
}

void BM_OpenSSL(benchmark::State& state) {
    const std::string data = input(static_cast<std::size_t>(state.range(0)));
    unsigned char digest[SHA_DIGEST_LENGTH];
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores)
        ::SHA1(reinterpret_cast<const unsigned char*>(data.data()), data.size(), digest);
        benchmark::DoNotOptimize(digest);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
}

void BM_OpenSSL_LowLevel(benchmark::State& state) {
    const std::string data = input(static_cast<std::size_t>(state.range(0)));
    unsigned char digest[SHA_DIGEST_LENGTH];
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores)
        SHA_CTX context;
        SHA1_Init(&context);
        SHA1_Update(&context, data.data(), data.size());
        SHA1_Final(digest, &context);
        benchmark::DoNotOptimize(digest);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
}

}  // namespace

BENCHMARK(BM_Orv_Default)->Arg(32)->Arg(1 << 20);
BENCHMARK(BM_OpenSSL_LowLevel)->Arg(32)->Arg(1 << 20);
BENCHMARK(BM_OpenSSL)->Arg(32)->Arg(1 << 20);
BENCHMARK(BM_Orv_Portable)->Arg(32)->Arg(1 << 20);

BENCHMARK_MAIN();
