#pragma once

#include <chrono>
#include <thread>

namespace orv {
namespace test {

// Generous deadline for conditions that concurrency tests wait for: far beyond what any
// healthy run needs on a loaded two-core machine, so that only a real hang fails.
constexpr std::chrono::seconds GenerousDeadline{30};

// Polls `condition` until it holds or `deadline` passes; returns its last value.
template <typename Condition>
bool waitUntil(Condition condition, std::chrono::milliseconds deadline = GenerousDeadline) {
    const auto end = std::chrono::steady_clock::now() + deadline;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= end) {
            return condition();
        }
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    return true;
}

}  // namespace test
}  // namespace orv
