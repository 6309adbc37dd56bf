#pragma once

#include <cstddef>
#include <cstdint>

#include "orv/common/Export.h"
#include "orv/common/types/BufferDescriptor.h"

namespace orv {
namespace common {
namespace checksums {

// Incremental SHA-1 (FIPS 180-4) of a byte stream given in pieces of any size.
//
//   SHA1 sha;
//   sha.update(types::BufferDescriptor<const char>(text.data(), text.size()));
//   std::uint8_t digest[SHA1::DigestSize];
//   sha.getDigest(digest, sizeof digest);
//
// getDigest() finalises a copy of the running state, so the object stays usable: further
// update() calls continue the same stream and a later getDigest() gives the digest of all data
// given since construction or the last reset().
//
// The object is a plain value of fixed size: it never allocates, owns nothing besides its own
// state, holds no pointer to the caller's data after a call returns and may be copied freely
// (a copy continues the stream independently). No operation fails or throws.
// Thread safety: distinct objects may be used concurrently; one object must not be used from
// several threads at once without an outside lock.
//
// Two engines compute the same digest: a portable one and one using the x86 SHA instructions.
// The default constructor picks the fastest engine the CPU supports (detected once per process).
class ORV_COMMON_API SHA1 {
public:
    static constexpr std::size_t DigestSize = 20;
    static constexpr std::size_t BlockSize = 64;

    enum class Engine {
        Portable,       // plain C++, available everywhere
        ShaExtensions,  // x86 SHA-NI with SSSE3/SSE4.1; only where the CPU has them
    };

    // True when this process can run `engine` on the current CPU.
    static bool isSupported(Engine engine) noexcept;

    // Uses the fastest supported engine.
    SHA1() noexcept;

    // Uses `engine`; an engine the CPU does not support falls back to Engine::Portable
    // (engine() tells which one was taken).
    explicit SHA1(Engine engine) noexcept;

    // The engine this object computes with.
    Engine engine() const noexcept;

    // Appends `data` to the stream. Any size, including empty, any number of times.
    void update(types::BufferDescriptor<const char> data) noexcept;

    // Writes the first min(length, DigestSize) bytes of the digest of all data given so far to
    // `out`, which must hold that many bytes (it may be null when length is 0). Leaves the
    // running state untouched.
    void getDigest(std::uint8_t* out, std::size_t length) const noexcept;

    // Starts a new, empty stream on the same engine.
    void reset() noexcept;

private:
    // Compresses `blocks` consecutive 64-byte blocks at `data` into `state`.
    using CompressFunction = void (*)(std::uint32_t* state, const unsigned char* data,
                                      std::size_t blocks);

    std::uint32_t m_state[5];
    std::uint64_t m_length;              // bytes given so far
    unsigned char m_pending[BlockSize];  // the partial block, m_length % BlockSize bytes
    CompressFunction m_compress;
};

}  // namespace checksums
}  // namespace common
}  // namespace orv
