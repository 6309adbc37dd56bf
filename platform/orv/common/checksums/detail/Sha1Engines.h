#pragma once

#include <cstddef>
#include <cstdint>

// The SHA-1 block functions behind checksums::SHA1. Each compresses `blocks` consecutive 64-byte
// blocks at `data` into the five-word chaining state `state`; they read the caller's bytes in
// place, so `data` needs no particular alignment.

namespace orv {
namespace common {
namespace checksums {
namespace detail {

void sha1CompressPortable(std::uint32_t* state, const unsigned char* data, std::size_t blocks);

#if defined(__x86_64__) || defined(__i386__)
#define ORV_SHA1_HAVE_SHA_EXTENSIONS 1

// Requires cpuHasShaExtensions(); executes SHA, SSSE3 and SSE4.1 instructions.
void sha1CompressShaExtensions(std::uint32_t* state, const unsigned char* data, std::size_t blocks);

// True when the CPU has the SHA extensions together with SSSE3 and SSE4.1.
bool cpuHasShaExtensions() noexcept;
#endif

}  // namespace detail
}  // namespace checksums
}  // namespace common
}  // namespace orv
