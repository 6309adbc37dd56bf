#include "orv/common/checksums/SHA1.h"

#include <algorithm>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "orv/common/checksums/detail/Sha1Engines.h"

namespace orv {
namespace common {
namespace checksums {

namespace {

constexpr std::uint32_t kInitialState[5] = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476,
                                            0xC3D2E1F0};

// Asks the CPU once per process.
bool shaExtensionsAvailable() noexcept {
#ifdef ORV_SHA1_HAVE_SHA_EXTENSIONS
    static const bool available = detail::cpuHasShaExtensions();
    return available;
#else
    return false;
#endif
}

// The compress function of the fastest supported engine, chosen once per process.
auto fastestCompress() noexcept {
#ifdef ORV_SHA1_HAVE_SHA_EXTENSIONS
    static const auto compress = shaExtensionsAvailable() ? &detail::sha1CompressShaExtensions
                                                          : &detail::sha1CompressPortable;
    return compress;
#else
    return &detail::sha1CompressPortable;
#endif
}

void storeBigEndian32(unsigned char* out, std::uint32_t value) noexcept {
    value = __builtin_bswap32(value);
    std::memcpy(out, &value, sizeof value);
}

[[maybe_unused]] void storeBigEndian64(unsigned char* out, std::uint64_t value) noexcept {
    value = __builtin_bswap64(value);
    std::memcpy(out, &value, sizeof value);
}

// Writes the padded last block or blocks to `last` and returns their size: the `pendingSize`
// bytes at `pending`, 0x80, zeros, and the message length `bits` as a 64-bit big-endian number
// ending a block; it spills into a second block when fewer than nine bytes are left in the
// first. The 64 bytes at `pending` are read whatever `pendingSize` is.
std::size_t padLastBlocks(unsigned char* last, const unsigned char* pending,
                          std::size_t pendingSize, std::uint64_t bits) noexcept {
    const std::size_t lastSize =
        pendingSize + 1 + 8 <= SHA1::BlockSize ? SHA1::BlockSize : 2 * SHA1::BlockSize;
#ifdef __SSE2__
    // Whole 16-byte stores only: the engines read the blocks back with 16-byte loads, which the
    // CPU serves from its store buffer only when each meets one store of the same size; bytes
    // written one by one would make every load wait until the stores reached the cache.
    const __m128i end = _mm_set1_epi8(static_cast<char>(pendingSize));
    const __m128i marker = _mm_set1_epi8(static_cast<char>(0x80));
    const __m128i length =
        _mm_set_epi64x(static_cast<long long>(__builtin_bswap64(bits)), 0);  // upper half
    __m128i index = _mm_setr_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
    for (std::size_t at = 0; at < lastSize; at += 16) {
        __m128i chunk = at < SHA1::BlockSize
                            ? _mm_loadu_si128(reinterpret_cast<const __m128i*>(pending + at))
                            : _mm_setzero_si128();
        chunk = _mm_and_si128(chunk, _mm_cmplt_epi8(index, end));
        chunk = _mm_or_si128(chunk, _mm_and_si128(_mm_cmpeq_epi8(index, end), marker));
        if (at + 16 == lastSize) {
            chunk = _mm_or_si128(_mm_move_epi64(chunk), length);
        }
        _mm_storeu_si128(reinterpret_cast<__m128i*>(last + at), chunk);
        index = _mm_add_epi8(index, _mm_set1_epi8(16));
    }
#else
    std::memcpy(last, pending, pendingSize);
    last[pendingSize] = 0x80;
    std::memset(last + pendingSize + 1, 0, lastSize - 8 - pendingSize - 1);
    storeBigEndian64(last + lastSize - 8, bits);
#endif
    return lastSize;
}

}  // namespace

bool SHA1::isSupported(Engine engine) noexcept {
    switch (engine) {
        case Engine::Portable:
            return true;
        case Engine::ShaExtensions:
            return shaExtensionsAvailable();
    }
    return false;
}

SHA1::SHA1() noexcept : m_compress(fastestCompress()) {
    reset();
}

SHA1::SHA1(Engine engine) noexcept : m_compress(&detail::sha1CompressPortable) {
#ifdef ORV_SHA1_HAVE_SHA_EXTENSIONS
    if (engine == Engine::ShaExtensions && shaExtensionsAvailable()) {
        m_compress = &detail::sha1CompressShaExtensions;
    }
#else
    static_cast<void>(engine);
#endif
    reset();
}

SHA1::Engine SHA1::engine() const noexcept {
    return m_compress == &detail::sha1CompressPortable ? Engine::Portable : Engine::ShaExtensions;
}

void SHA1::reset() noexcept {
    std::memcpy(m_state, kInitialState, sizeof m_state);
    m_length = 0;
}

void SHA1::update(types::BufferDescriptor<const char> data) noexcept {
    const auto* in = reinterpret_cast<const unsigned char*>(data.ptr());
    std::size_t size = data.size();
    if (size == 0) {
        return;
    }
    auto pending = static_cast<std::size_t>(m_length % BlockSize);
    m_length += size;

    // Complete a block started by an earlier call first.
    if (pending != 0) {
        const std::size_t take = std::min(BlockSize - pending, size);
        std::memcpy(m_pending + pending, in, take);
        in += take;
        size -= take;
        if (pending + take < BlockSize) {
            return;
        }
        m_compress(m_state, m_pending, 1);
    }

    // Whole blocks straight from the caller's buffer; only the tail is kept.
    const std::size_t blocks = size / BlockSize;
    if (blocks != 0) {
        m_compress(m_state, in, blocks);
        in += blocks * BlockSize;
        size -= blocks * BlockSize;
    }
    if (size != 0) {
        std::memcpy(m_pending, in, size);
    }
}

void SHA1::getDigest(std::uint8_t* out, std::size_t length) const noexcept {
    unsigned char last[2 * BlockSize];
    const std::size_t lastSize = padLastBlocks(
        last, m_pending, static_cast<std::size_t>(m_length % BlockSize), m_length << 3);

    std::uint32_t state[5];
    std::memcpy(state, m_state, sizeof state);
    m_compress(state, last, lastSize / BlockSize);

    if (length >= DigestSize) {
        for (std::size_t i = 0; i < 5; ++i) {
            storeBigEndian32(out + 4 * i, state[i]);
        }
        return;
    }
    for (std::size_t i = 0; i < length; ++i) {
        out[i] = static_cast<std::uint8_t>(state[i / 4] >> (24 - 8 * (i % 4)));
    }
}

}  // namespace checksums
}  // namespace common
}  // namespace orv
