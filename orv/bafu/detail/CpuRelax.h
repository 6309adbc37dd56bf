#pragma once

namespace orv {
namespace bafu {
namespace detail {

// Tells the processor that the calling thread spins on a memory location, so that it spends
// less power and leaves more to a sibling hardware thread.
inline void cpuRelax() noexcept {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    asm volatile("yield" ::: "memory");
#endif
}

}  // namespace detail
}  // namespace bafu
}  // namespace orv
