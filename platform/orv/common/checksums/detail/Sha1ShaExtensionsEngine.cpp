#include "orv/common/checksums/detail/Sha1Engines.h"

#if defined(__x86_64__) || defined(__i386__)

#include <cpuid.h>
#include <immintrin.h>

#include <utility>

// Only the functions below carry the target attribute, so the rest of the library keeps
// running on any x86 CPU; callers reach them only after cpuHasShaExtensions() said yes.
#define ORV_SHA_TARGET __attribute__((target("sha,sse4.1,ssse3")))

namespace orv {
namespace common {
namespace checksums {
namespace detail {

namespace {

// One group of four rounds, G = 0..19, with the message schedule for later groups woven in.
//
// abcd holds the working variables A..D (A in the top lane). `e` enters as the value from
// which this group's E is derived: the chaining E for group 0, otherwise ABCD as it was before
// the previous group (sha1nexte rotates its A into E and adds the message words). The four
// message registers m[] form a ring: m[G % 4] holds words 4G..4G+3 when group G runs, and the
// other three are being advanced towards words of groups G+1..G+3.
template <int G>
ORV_SHA_TARGET inline void fourRounds(__m128i& abcd, __m128i& e, __m128i (&m)[4]) {
    const __m128i current = m[G % 4];
    const __m128i eWithMessage =
        G == 0 ? _mm_add_epi32(e, current) : _mm_sha1nexte_epu32(e, current);
    e = abcd;
    if constexpr (G >= 3 && G <= 18) {
        m[(G + 1) % 4] = _mm_sha1msg2_epu32(m[(G + 1) % 4], current);
    }
    abcd = _mm_sha1rnds4_epu32(abcd, eWithMessage, G / 5);
    if constexpr (G >= 1 && G <= 16) {
        m[(G + 3) % 4] = _mm_sha1msg1_epu32(m[(G + 3) % 4], current);
    }
    if constexpr (G >= 2 && G <= 17) {
        m[(G + 2) % 4] = _mm_xor_si128(m[(G + 2) % 4], current);
    }
}

template <int... G>
ORV_SHA_TARGET inline void eightyRounds(__m128i& abcd, __m128i& e, __m128i (&m)[4],
                                        std::integer_sequence<int, G...>) {
    (fourRounds<G>(abcd, e, m), ...);
}

}  // namespace

ORV_SHA_TARGET void sha1CompressShaExtensions(std::uint32_t* state, const unsigned char* data,
                                              std::size_t blocks) {
    // Reverses the bytes of the whole register: big-endian words, first word in the top lane.
    const __m128i byteOrder = _mm_set_epi64x(0x0001020304050607LL, 0x08090a0b0c0d0e0fLL);

    __m128i abcd =
        _mm_shuffle_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(state)), 0x1B);
    __m128i e = _mm_set_epi32(static_cast<int>(state[4]), 0, 0, 0);

    for (; blocks != 0; --blocks, data += 64) {
        const __m128i abcdBefore = abcd;
        const __m128i eBefore = e;
        const auto* words = reinterpret_cast<const __m128i*>(data);
        __m128i m[4] = {
            _mm_shuffle_epi8(_mm_loadu_si128(words + 0), byteOrder),
            _mm_shuffle_epi8(_mm_loadu_si128(words + 1), byteOrder),
            _mm_shuffle_epi8(_mm_loadu_si128(words + 2), byteOrder),
            _mm_shuffle_epi8(_mm_loadu_si128(words + 3), byteOrder),
        };
        eightyRounds(abcd, e, m, std::make_integer_sequence<int, 20>());
        e = _mm_sha1nexte_epu32(e, eBefore);
        abcd = _mm_add_epi32(abcd, abcdBefore);
    }

    _mm_storeu_si128(reinterpret_cast<__m128i*>(state), _mm_shuffle_epi32(abcd, 0x1B));
    state[4] = static_cast<std::uint32_t>(_mm_extract_epi32(e, 3));
}

bool cpuHasShaExtensions() noexcept {
    unsigned int eax = 0;
    unsigned int ebx = 0;
    unsigned int ecx = 0;
    unsigned int edx = 0;
    if (__get_cpuid(1, &eax, &ebx, &ecx, &edx) == 0) {
        return false;
    }
    const bool ssse3 = (ecx & bit_SSSE3) != 0;
    const bool sse41 = (ecx & bit_SSE4_1) != 0;
    if (__get_cpuid_count(7, 0, &eax, &ebx, &ecx, &edx) == 0) {
        return false;
    }
    const bool sha = (ebx & (1u << 29)) != 0;
    return ssse3 && sse41 && sha;
}

}  // namespace detail
}  // namespace checksums
}  // namespace common
}  // namespace orv

#endif
