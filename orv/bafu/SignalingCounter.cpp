#include "orv/bafu/SignalingCounter.h"

#include <utility>

#include "orv/common/system/MutexGuard.h"

namespace orv {
namespace bafu {

using common::system::MutexGuard;

SignalingCounter::SignalingCounter(unsigned long initialCount) : m_count(initialCount) {}

SignalingCounter::~SignalingCounter() = default;

void SignalingCounter::inc() {
    ++m_count;
}

void SignalingCounter::dec() {
    unsigned long count = m_count.load();
    while (count > 0 && !m_count.compare_exchange_weak(count, count - 1)) {
    }
    if (count > 1 || !m_waiting.load()) {
        return;  // not at zero, or nobody to fire: finish() would find an empty list
    }
    finish();
}

unsigned long SignalingCounter::get() const {
    return m_count.load();
}

void SignalingCounter::finish() {
    std::vector<std::function<void()>> due;
    {
        MutexGuard guard(m_mutex);
        due.swap(m_subscribers);  // leaves the member list empty and without storage
        m_waiting.store(false);
    }
    for (const auto& subscriber : due) {
        subscriber();
    }
}

void SignalingCounter::subscribeForZero(std::function<void()>&& callback) {
    MutexGuard guard(m_mutex);
    m_subscribers.push_back(std::move(callback));
    m_waiting.store(true);
    if (m_count.load() > 0) {
        return;
    }
    guard.unlock();
    finish();
}

SignalingCounter::Guard::Guard(SignalingCounter& counter) : m_counter(counter) {}

SignalingCounter::Guard::~Guard() {
    while (m_held > 0) {
        m_counter.dec();
        --m_held;
    }
}

void SignalingCounter::Guard::inc() {
    m_counter.inc();
    ++m_held;
}

void SignalingCounter::Guard::dec() {
    if (m_held == 0) {
        return;
    }
    m_counter.dec();
    --m_held;
}

}  // namespace bafu
}  // namespace orv
