#include "orv/bafu/detail/CallInbox.h"

#include <thread>

#include "orv/bafu/detail/CpuRelax.h"

namespace orv {
namespace bafu {
namespace detail {

namespace {

// How long the worker spins for a pusher that has swapped in its node but not yet linked it,
// before it gives up (takeOldest) or gives the processor away (takeLinkedOldest): the pusher
// may have been preempted between its two steps.
constexpr int kSpinsForLink = 128;

}  // namespace

CallInbox::CallInbox() : m_tail(&m_stub), m_front(&m_stub), m_stub(std::function<void()>(), 0, 0) {}

CallInbox::~CallInbox() {
    CallNode* node = m_front;
    while (node != nullptr) {
        CallNode* const next = node->link.load();
        if (node != &m_stub) {
            delete node;
        }
        node = next;
    }
}

void CallInbox::push(CallNode* node) noexcept {
    const unsigned int priority = node->priority;  // the node may be gone once it is linked
    node->link.store(nullptr, std::memory_order_relaxed);
    CallNode* const previous = m_tail.exchange(node);
    previous->link.store(node);
    announce(priority);
}

unsigned int CallInbox::lowestAnnouncedPriority() const noexcept {
    for (unsigned int word = 0; word < m_announced.size(); ++word) {
        const std::uint64_t bits = m_announced[word].load();
        if (bits != 0) {
            return word * kWordBits + static_cast<unsigned int>(__builtin_ctzll(bits));
        }
    }
    return kNoPriority;
}

CallInbox::Taken CallInbox::takeOldest() noexcept {
    for (int spins = 0; spins < kSpinsForLink; ++spins) {
        CallNode* const next = m_front->link.load(std::memory_order_acquire);
        if (next != nullptr) {
            CallNode* const retired = m_front;
            m_front = next;
            return {next, retired == &m_stub ? nullptr : retired};
        }
        if (m_tail.load() == m_front) {
            break;  // empty
        }
        cpuRelax();
    }
    return {nullptr, nullptr};
}

CallInbox::Taken CallInbox::takeLinkedOldest() noexcept {
    for (;;) {
        const Taken taken = takeOldest();
        if (taken.node != nullptr) {
            return taken;
        }
        std::this_thread::yield();
    }
}

void CallInbox::announce(unsigned int priority) noexcept {
    std::atomic<std::uint64_t>& word = m_announced[priority / kWordBits];
    const std::uint64_t bit = std::uint64_t{1} << (priority % kWordBits);
    if ((word.load() & bit) == 0) {
        word.fetch_or(bit);
    }
}

}  // namespace detail
}  // namespace bafu
}  // namespace orv
