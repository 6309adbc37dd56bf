#pragma once

#include <chrono>

namespace orv {
namespace common {
namespace system {
namespace detail {

// The moment `timeout` from now on the monotonic clock; a timeout too large for the clock
// gives the clock's last moment instead of overflowing into the past.
inline std::chrono::steady_clock::time_point deadlineAfter(std::chrono::nanoseconds timeout) {
    const auto now = std::chrono::steady_clock::now();
    if (timeout > std::chrono::steady_clock::time_point::max() - now) {
        return std::chrono::steady_clock::time_point::max();
    }
    return now + timeout;
}

}  // namespace detail
}  // namespace system
}  // namespace common
}  // namespace orv
