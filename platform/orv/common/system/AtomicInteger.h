#pragma once

#include <atomic>

namespace orv {
namespace common {
namespace system {

// An integer that any number of threads may read and change without a lock. Every operation
// is sequentially consistent.
class AtomicInteger {
public:
    constexpr explicit AtomicInteger(int value = 0) noexcept
        : m_value(static_cast<unsigned>(value)) {}
    AtomicInteger(const AtomicInteger&) = delete;
    AtomicInteger& operator=(const AtomicInteger&) = delete;

    // Adds `delta` and returns the value from before the addition (wrapping on overflow).
    int exchangeAdd(int delta) noexcept {
        return static_cast<int>(m_value.fetch_add(static_cast<unsigned>(delta)));
    }
    int get() const noexcept { return static_cast<int>(m_value.load()); }
    void set(int value) noexcept { m_value.store(static_cast<unsigned>(value)); }

private:
    // Unsigned underneath so that wrapping is defined.
    std::atomic<unsigned> m_value;
};

}  // namespace system
}  // namespace common
}  // namespace orv
