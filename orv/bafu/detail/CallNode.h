#pragma once

#include <atomic>
#include <functional>
#include <utility>

#include "orv/bafu/DefaultDecoupler.h"

namespace orv {
namespace bafu {
namespace detail {

// One pending call of a DefaultDecoupler. It travels from the client through the inbox to
// the worker, possibly by way of a priority list, and is then freed or kept as the worker's
// spare. It is in one of these at a time, so one link serves them all: the inbox publishes it
// with release and acquire, the worker's own lists use it relaxed (next/setNext).
// Kept small (48 bytes with libstdc++), so that a node and its allocator header fit a cache
// line.
struct CallNode {
    CallNode(std::function<void()>&& function, unsigned int userId, unsigned char priority)
        : element(std::move(function), userId), priority(priority) {}

    CallNode* next() const noexcept { return link.load(std::memory_order_relaxed); }
    void setNext(CallNode* node) noexcept { link.store(node, std::memory_order_relaxed); }

    std::atomic<CallNode*> link{nullptr};
    DefaultDecoupler::Element element;
    unsigned char priority;
};

// Frees a chain of nodes linked through `next`, destroying their functions unrun.
inline void deleteChain(CallNode* node) noexcept {
    while (node != nullptr) {
        CallNode* const next = node->next();
        delete node;
        node = next;
    }
}

}  // namespace detail
}  // namespace bafu
}  // namespace orv
