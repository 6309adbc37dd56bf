#pragma once

// Counters of the answers the service gave, and the statistics line that the timer writes
// every 10 seconds and the console's "stats" command prints:
//
//   uptime 40 s: 1520 requests (2xx 1490, 4xx 30, 5xx 0), 0 slow; 20 artists, 59 albums, 441 tracks
//
// Thread: the counters may be raised from any thread; line() reads the catalogue and so runs
// on the decoupler's worker thread.

#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>

#include "Catalogue.h"

namespace mediaservice {

class Statistics {
public:
    Statistics();

    void countAnswer(int status);
    void countSlowRequest();

    std::string line(const Catalogue& catalogue) const;

private:
    const std::chrono::steady_clock::time_point m_started;
    std::atomic<std::uint64_t> m_requests{0};
    std::atomic<std::uint64_t> m_success{0};       // 2xx
    std::atomic<std::uint64_t> m_clientErrors{0};  // 4xx
    std::atomic<std::uint64_t> m_serverErrors{0};  // 5xx
    std::atomic<std::uint64_t> m_slow{0};
};

}  // namespace mediaservice
