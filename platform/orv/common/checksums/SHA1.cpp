#include "orv/common/checksums/SHA1.h"

#include <algorithm>
#include <cstring>

#include "orv/common/checksums/detail/Sha1Engines.h"

namespace orv {
namespace common {
namespace checksums {

namespace {

constexpr std::uint32_t InitialState[5] = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476,
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

SHA1::SHA1() noexcept : SHA1(shaExtensionsAvailable() ? Engine::ShaExtensions : Engine::Portable) {}

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
    std::memcpy(m_state, InitialState, sizeof m_state);
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
    // Padding: the pending bytes, 0x80, zeros, then the message length in bits as a 64-bit
    // big-endian number ending a block. It spills into a second block when fewer than nine
    // bytes are left in the first.
    unsigned char last[2 * BlockSize];
    const auto pending = static_cast<std::size_t>(m_length % BlockSize);
    const std::size_t lastSize = pending + 1 + 8 <= BlockSize ? BlockSize : 2 * BlockSize;
    std::memcpy(last, m_pending, pending);
    last[pending] = 0x80;
    std::memset(last + pending + 1, 0, lastSize - 8 - pending - 1);
    const std::uint64_t bits = m_length << 3;
    for (std::size_t i = 0; i < 8; ++i) {
        last[lastSize - 1 - i] = static_cast<unsigned char>(bits >> (8 * i));
    }

    std::uint32_t state[5];
    std::memcpy(state, m_state, sizeof state);
    m_compress(state, last, lastSize / BlockSize);

    length = std::min(length, DigestSize);
    for (std::size_t i = 0; i < length; ++i) {
        out[i] = static_cast<std::uint8_t>(state[i / 4] >> (24 - 8 * (i % 4)));
    }
}

}  // namespace checksums
}  // namespace common
}  // namespace orv
