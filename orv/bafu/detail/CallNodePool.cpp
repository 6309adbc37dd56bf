#include "orv/bafu/detail/CallNodePool.h"

#include <utility>

namespace orv {
namespace bafu {
namespace detail {

namespace {

// The nodes a thread has taken from a pool and not used yet.
struct ThreadCache {
    ThreadCache() = default;
    ThreadCache(const ThreadCache&) = delete;
    ThreadCache& operator=(const ThreadCache&) = delete;
    ~ThreadCache() { deleteChain(head); }
    CallNode* head = nullptr;
};

thread_local ThreadCache t_cache;

}  // namespace

CallNodePool::~CallNodePool() {
    deleteChain(m_returned.load(std::memory_order_acquire));
}

CallNode* CallNodePool::take(std::function<void()>&& function, unsigned int userId,
                             unsigned char priority) {
    ThreadCache& cache = t_cache;
    if (cache.head == nullptr && m_returned.load(std::memory_order_relaxed) != nullptr) {
        cache.head = m_returned.exchange(nullptr, std::memory_order_acquire);
    }
    CallNode* const node = cache.head;
    if (node == nullptr) {
        return new CallNode(std::move(function), userId, priority);
    }
    cache.head = node->next();
    node->element.function = std::move(function);
    node->element.userId = userId;
    node->priority = priority;
    return node;
}

void CallNodePool::giveBack(CallNode* node) noexcept {
    CallNode* head = m_returned.load(std::memory_order_relaxed);
    if (head == nullptr) {
        m_returnedSinceEmpty = 0;
    } else if (m_returnedSinceEmpty >= kMaxReturned) {
        delete node;
        return;
    }
    do {
        node->setNext(head);
    } while (!m_returned.compare_exchange_weak(head, node, std::memory_order_release,
                                               std::memory_order_relaxed));
    ++m_returnedSinceEmpty;
}

}  // namespace detail
}  // namespace bafu
}  // namespace orv
