#include "orv/common/checksums/detail/Sha1Engines.h"

namespace orv {
namespace common {
namespace checksums {
namespace detail {

namespace {

inline std::uint32_t rotl(std::uint32_t x, int n) {
    return (x << n) | (x >> (32 - n));
}

inline std::uint32_t loadBigEndian(const unsigned char* p) {
    return (std::uint32_t{p[0]} << 24) | (std::uint32_t{p[1]} << 16) | (std::uint32_t{p[2]} << 8) |
           std::uint32_t{p[3]};
}

// The round functions with their constants, one per group of twenty rounds (parity serves the
// second and the fourth group).
struct Choose {
    static constexpr std::uint32_t k = 0x5A827999;
    static std::uint32_t f(std::uint32_t b, std::uint32_t c, std::uint32_t d) {
        return d ^ (b & (c ^ d));
    }
};
template <std::uint32_t K>
struct Parity {
    static constexpr std::uint32_t k = K;
    static std::uint32_t f(std::uint32_t b, std::uint32_t c, std::uint32_t d) { return b ^ c ^ d; }
};
struct Majority {
    static constexpr std::uint32_t k = 0x8F1BBCDC;
    static std::uint32_t f(std::uint32_t b, std::uint32_t c, std::uint32_t d) {
        return (b & c) | (d & (b | c));
    }
};
using Parity1 = Parity<0x6ED9EBA1>;
using Parity2 = Parity<0xCA62C1D6>;

// The message schedule kept as a ring of the last sixteen words.
inline std::uint32_t nextWord(std::uint32_t (&w)[16], int t) {
    std::uint32_t x = rotl(w[(t + 13) & 15] ^ w[(t + 8) & 15] ^ w[(t + 2) & 15] ^ w[t & 15], 1);
    w[t & 15] = x;
    return x;
}

// Five rounds starting at round `t`. Instead of shifting the five working variables after every
// round, each round names them in rotated order, so the unrolled code moves no registers.
template <typename Round>
inline void fiveRounds(std::uint32_t& a, std::uint32_t& b, std::uint32_t& c, std::uint32_t& d,
                       std::uint32_t& e, std::uint32_t (&w)[16], int t) {
    auto word = [&w](int i) { return i < 16 ? w[i] : nextWord(w, i); };
    e += rotl(a, 5) + Round::f(b, c, d) + Round::k + word(t);
    b = rotl(b, 30);
    d += rotl(e, 5) + Round::f(a, b, c) + Round::k + word(t + 1);
    a = rotl(a, 30);
    c += rotl(d, 5) + Round::f(e, a, b) + Round::k + word(t + 2);
    e = rotl(e, 30);
    b += rotl(c, 5) + Round::f(d, e, a) + Round::k + word(t + 3);
    d = rotl(d, 30);
    a += rotl(b, 5) + Round::f(c, d, e) + Round::k + word(t + 4);
    c = rotl(c, 30);
}

void compressBlock(std::uint32_t* state, const unsigned char* block) {
    std::uint32_t w[16];
    for (std::size_t i = 0; i < 16; ++i) {
        w[i] = loadBigEndian(block + 4 * i);
    }
    std::uint32_t a = state[0];
    std::uint32_t b = state[1];
    std::uint32_t c = state[2];
    std::uint32_t d = state[3];
    std::uint32_t e = state[4];

    fiveRounds<Choose>(a, b, c, d, e, w, 0);
    fiveRounds<Choose>(a, b, c, d, e, w, 5);
    fiveRounds<Choose>(a, b, c, d, e, w, 10);
    fiveRounds<Choose>(a, b, c, d, e, w, 15);
    fiveRounds<Parity1>(a, b, c, d, e, w, 20);
    fiveRounds<Parity1>(a, b, c, d, e, w, 25);
    fiveRounds<Parity1>(a, b, c, d, e, w, 30);
    fiveRounds<Parity1>(a, b, c, d, e, w, 35);
    fiveRounds<Majority>(a, b, c, d, e, w, 40);
    fiveRounds<Majority>(a, b, c, d, e, w, 45);
    fiveRounds<Majority>(a, b, c, d, e, w, 50);
    fiveRounds<Majority>(a, b, c, d, e, w, 55);
    fiveRounds<Parity2>(a, b, c, d, e, w, 60);
    fiveRounds<Parity2>(a, b, c, d, e, w, 65);
    fiveRounds<Parity2>(a, b, c, d, e, w, 70);
    fiveRounds<Parity2>(a, b, c, d, e, w, 75);

    state[0] += a;
    state[1] += b;
    state[2] += c;
    state[3] += d;
    state[4] += e;
}

}  // namespace

void sha1CompressPortable(std::uint32_t* state, const unsigned char* data, std::size_t blocks) {
    for (; blocks != 0; --blocks, data += 64) {
        compressBlock(state, data);
    }
}

}  // namespace detail
}  // namespace checksums
}  // namespace common
}  // namespace orv
