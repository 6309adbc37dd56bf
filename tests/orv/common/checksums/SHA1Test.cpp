#include "orv/common/checksums/SHA1.h"

#include <openssl/sha.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace orv {
namespace common {
namespace checksums {
namespace {

using Bytes = types::BufferDescriptor<const char>;
using Digest = std::vector<std::uint8_t>;

Bytes bytesOf(const std::string& text) {
    return Bytes(text.data(), text.size());
}

Digest digestOf(const SHA1& sha) {
    Digest out(SHA1::DigestSize);
    sha.getDigest(out.data(), out.size());
    return out;
}

Digest fromHex(const std::string& hex) {
    Digest out;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
        out.push_back(static_cast<std::uint8_t>(std::stoul(hex.substr(i, 2), nullptr, 16)));
    }
    return out;
}

// Independent reference for the comparisons below.
Digest referenceDigest(const std::string& data) {
    Digest out(SHA_DIGEST_LENGTH);
    ::SHA1(reinterpret_cast<const unsigned char*>(data.data()), data.size(), out.data());
    return out;
}

std::string randomBytes(std::mt19937& random, std::size_t size) {
    std::uniform_int_distribution<int> byte(0, 255);
    std::string out(size, '\0');
    for (auto& c : out) {
        c = static_cast<char>(byte(random));
    }
    return out;
}

// Feeds `data` in chunks of random sizes (including empty ones), biased towards the small
// sizes that exercise the partial-block path.
void updateInRandomChunks(SHA1& sha, const std::string& data, std::mt19937& random) {
    std::size_t offset = 0;
    while (offset < data.size()) {
        const std::size_t limit = random() % 4 == 0 ? 300 : 70;
        const std::size_t chunk =
            std::min<std::size_t>(random() % (limit + 1), data.size() - offset);
        sha.update(Bytes(data.data() + offset, chunk));
        offset += chunk;
    }
}

class SHA1EngineTest : public ::testing::TestWithParam<SHA1::Engine> {
protected:
    void SetUp() override {
        if (!SHA1::isSupported(GetParam())) {
            GTEST_SKIP() << "this CPU lacks the engine";
        }
    }
    SHA1 make() const { return SHA1(GetParam()); }
};

TEST_P(SHA1EngineTest, PublishedVectors) {
    struct Case {
        std::string input;
        const char* digest;
    };
    const Case cases[] = {
        {"", "da39a3ee5e6b4b0d3255bfef95601890afd80709"},
        {"abc", "a9993e364706816aba3e25717850c26c9cd0d89d"},
        {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
         "84983e441c3bd26ebaae4aa1f95129e5e54670f1"},
        {"abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmnhijklmnoijklmnopjklmnopqklmnopqr"
         "lmnopqrsmnopqrstnopqrstu",
         "a49b2446a02c645bf419f995b67091253a04a259"},
        {std::string(1000000, 'a'), "34aa973cd4c4daa4f61eeb2bdbad27316534016f"},
    };
    for (const auto& c : cases) {
        SHA1 sha = make();
        sha.update(bytesOf(c.input));
        EXPECT_EQ(digestOf(sha), fromHex(c.digest)) << "input size " << c.input.size();
    }
}

TEST_P(SHA1EngineTest, EveryLengthAroundThePaddingBoundariesMatchesReference) {
    std::mt19937 random(1);
    const std::string data = randomBytes(random, 200);
    for (std::size_t length = 0; length <= data.size(); ++length) {
        const std::string input = data.substr(0, length);
        SHA1 whole = make();
        whole.update(bytesOf(input));
        EXPECT_EQ(digestOf(whole), referenceDigest(input)) << "length " << length;

        SHA1 byteWise = make();
        for (char c : input) {
            byteWise.update(Bytes(&c, 1));
        }
        EXPECT_EQ(digestOf(byteWise), referenceDigest(input)) << "length " << length;
    }
}

TEST_P(SHA1EngineTest, RandomInputsInRandomChunksMatchReference) {
    std::mt19937 random(2);
    for (int round = 0; round < 300; ++round) {
        const std::string input = randomBytes(random, random() % 4097);
        SHA1 whole = make();
        whole.update(bytesOf(input));
        SHA1 chunked = make();
        updateInRandomChunks(chunked, input, random);
        const Digest expected = referenceDigest(input);
        ASSERT_EQ(digestOf(whole), expected) << "size " << input.size();
        ASSERT_EQ(digestOf(chunked), expected) << "size " << input.size();
    }
}

TEST_P(SHA1EngineTest, EmptyAndNullBuffersChangeNothing) {
    SHA1 sha = make();
    sha.update(Bytes(nullptr, 0));
    sha.update(bytesOf("ab"));
    sha.update(Bytes(nullptr, 0));
    sha.update(Bytes("x", 0));
    sha.update(bytesOf("c"));
    EXPECT_EQ(digestOf(sha), referenceDigest("abc"));
}

TEST_P(SHA1EngineTest, TruncatedDigestIsPrefixAndWritesNothingBeyond) {
    SHA1 sha = make();
    sha.update(bytesOf("abc"));
    const Digest full = referenceDigest("abc");
    for (std::size_t length = 0; length <= 24; ++length) {
        Digest out(32, 0xEE);
        sha.getDigest(out.data(), length);
        const std::size_t written = std::min<std::size_t>(length, 20);
        EXPECT_TRUE(std::equal(out.begin(), out.begin() + written, full.begin())) << length;
        EXPECT_TRUE(std::all_of(out.begin() + written, out.end(), [](std::uint8_t b) {
            return b == 0xEE;
        })) << length;
    }
    sha.getDigest(nullptr, 0);
}

TEST_P(SHA1EngineTest, UpdateAfterGetDigestContinuesTheStream) {
    std::mt19937 random(3);
    const std::string input = randomBytes(random, 1000);
    SHA1 sha = make();
    std::size_t offset = 0;
    for (std::size_t cut : {0, 1, 55, 56, 64, 130, 131, 700, 1000}) {
        sha.update(Bytes(input.data() + offset, cut - offset));
        offset = cut;
        EXPECT_EQ(digestOf(sha), referenceDigest(input.substr(0, cut))) << "prefix " << cut;
        EXPECT_EQ(digestOf(sha), referenceDigest(input.substr(0, cut))) << "asked twice " << cut;
    }
}

TEST_P(SHA1EngineTest, CopyContinuesIndependently) {
    SHA1 sha = make();
    sha.update(bytesOf(std::string(100, 'q')));
    SHA1 copy = sha;
    copy.update(bytesOf("tail"));
    EXPECT_EQ(digestOf(sha), referenceDigest(std::string(100, 'q')));
    EXPECT_EQ(digestOf(copy), referenceDigest(std::string(100, 'q') + "tail"));
    EXPECT_EQ(copy.engine(), GetParam());
}

TEST_P(SHA1EngineTest, ResetStartsAnEmptyStreamOnTheSameEngine) {
    SHA1 sha = make();
    sha.update(bytesOf(std::string(77, 'z')));
    sha.reset();
    sha.update(bytesOf("abc"));
    EXPECT_EQ(digestOf(sha), referenceDigest("abc"));
    EXPECT_EQ(sha.engine(), GetParam());
}

INSTANTIATE_TEST_SUITE_P(Engines, SHA1EngineTest,
                         ::testing::Values(SHA1::Engine::Portable, SHA1::Engine::ShaExtensions),
                         [](const ::testing::TestParamInfo<SHA1::Engine>& info) {
                             return info.param == SHA1::Engine::Portable ? "Portable"
                                                                         : "ShaExtensions";
                         });

// The default constructor and an explicit request for the fast engine both end on the fastest
// engine the CPU has, Portable when it lacks the SHA extensions.
TEST(SHA1Test, EngineChoiceFallsBackToPortable) {
    const SHA1::Engine fastest = SHA1::isSupported(SHA1::Engine::ShaExtensions)
                                     ? SHA1::Engine::ShaExtensions
                                     : SHA1::Engine::Portable;
    EXPECT_TRUE(SHA1::isSupported(SHA1::Engine::Portable));
    EXPECT_EQ(SHA1().engine(), fastest);
    EXPECT_EQ(SHA1(SHA1::Engine::ShaExtensions).engine(), fastest);
    EXPECT_EQ(SHA1(SHA1::Engine::Portable).engine(), SHA1::Engine::Portable);
}

}  // namespace
}  // namespace checksums
}  // namespace common
}  // namespace orv
