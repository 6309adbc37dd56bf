// SHA-1: both engines against OpenSSL across every padding boundary and any chunking, the
// stream going on after a digest, and a digest that writes only the bytes asked for.
#include "orv/common/checksums/SHA1.h"

#include <openssl/sha.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace {

using orv::common::checksums::SHA1;
using Bytes = orv::common::types::BufferDescriptor<const char>;
using Digest = std::vector<std::uint8_t>;

// The first `length` digest bytes in a buffer of 24 that starts filled with 0xEE.
Digest digestOf(const SHA1& sha, std::size_t length = SHA1::DigestSize) {
    Digest out(24, 0xEE);
    sha.getDigest(out.data(), length);
    return out;
}

Digest reference(const std::string& data, std::size_t length = SHA1::DigestSize) {
    Digest out(24, 0xEE), digest(SHA_DIGEST_LENGTH);
    ::SHA1(reinterpret_cast<const unsigned char*>(data.data()), data.size(), digest.data());
    std::copy_n(digest.begin(), std::min<std::size_t>(length, SHA_DIGEST_LENGTH), out.begin());
    return out;
}

// An engine the CPU lacks falls back to the portable one, so the test stays meaningful.
class SHA1EngineTest : public testing::TestWithParam<SHA1::Engine> {};

TEST_P(SHA1EngineTest, MatchesTheReferenceForAnyLengthAndChunking) {
    std::mt19937 random(1);
    std::string bytes(1000003, '\0');
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random()); });
    // Feeds `in` in pieces of random size up to `cap` (0: at once), empty ones as null.
    const auto matches = [&](const std::string& in, std::size_t cap) {
        SHA1 sha(GetParam());
        for (std::size_t at = 0, n = 0; at < in.size(); at += n) {
            n = cap == 0 ? in.size() : std::min<std::size_t>(random() % (cap + 1), in.size() - at);
            sha.update(n == 0 ? Bytes() : Bytes(in.data() + at, n));
        }
        return digestOf(sha) == reference(in);
    };
    for (std::size_t round = 0; round < 400; ++round) {  // every length to 200, then at random
        const std::string data = bytes.substr(round, round <= 200 ? round : random() % 4097);
        for (std::size_t most : {0, 1, 70, 300}) {
            ASSERT_TRUE(matches(data, most)) << data.size() << " bytes, pieces " << most;
        }
    }
    EXPECT_TRUE(matches(bytes, 0));

    SHA1 sha(GetParam());
    std::size_t at = 0;
    for (std::size_t cut : {0, 1, 55, 56, 64, 130, 700, 1000}) {
        sha.update(Bytes(bytes.data() + at, cut - at));
        at = cut;
        EXPECT_EQ(digestOf(sha), reference(bytes.substr(0, cut))) << cut;
        EXPECT_EQ(digestOf(sha, cut % 29), reference(bytes.substr(0, cut), cut % 29)) << cut;
    }
    EXPECT_EQ(sha.engine(), SHA1::isSupported(GetParam()) ? GetParam() : SHA1::Engine::Portable);
    EXPECT_EQ(SHA1().engine(), SHA1(SHA1::Engine::ShaExtensions).engine());  // the fastest
}

INSTANTIATE_TEST_SUITE_P(Engines, SHA1EngineTest,
                         testing::Values(SHA1::Engine::Portable, SHA1::Engine::ShaExtensions));

}  // namespace
