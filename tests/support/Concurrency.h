#pragma once

// Small helpers for tests that coordinate threads: a one-shot latch and a bounded wait on a
// condition. Deadlines are generous because the test machines are small and shared; a test
// that hits one fails instead of hanging.

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <thread>

namespace support {

constexpr std::chrono::seconds kGenerousDeadline{30};

// Polls `condition` until it holds or `timeout` passes; returns its last value.
template <typename Condition>
bool waitUntil(Condition condition, std::chrono::milliseconds timeout = kGenerousDeadline) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline) {
            return condition();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

// Counts down from `count`; wait() returns once it reached zero (false on the deadline).
class Latch {
public:
    explicit Latch(std::size_t count) : m_count(count) {}

    void countDown() {
        std::lock_guard<std::mutex> guard(m_lock);
        if (m_count > 0 && --m_count == 0) {
            m_zero.notify_all();
        }
    }

    bool wait(std::chrono::milliseconds timeout = kGenerousDeadline) {
        std::unique_lock<std::mutex> lock(m_lock);
        return m_zero.wait_for(lock, timeout, [this] { return m_count == 0; });
    }

    void arriveAndWait() {
        countDown();
        wait();
    }

private:
    std::mutex m_lock;
    std::condition_variable m_zero;
    std::size_t m_count;  // guarded by m_lock
};

}  // namespace support
