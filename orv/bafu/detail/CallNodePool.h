#pragma once

#include <atomic>
#include <cstddef>
#include <functional>

#include "orv/bafu/detail/CallNode.h"

namespace orv {
namespace bafu {
namespace detail {

// Brings the nodes of run calls back from a DefaultDecoupler's worker to the threads that hand
// calls over, so that a hand-over in the steady state allocates nothing: the worker pushes a
// spent node onto a shared stack; a client thread takes the whole stack at once into a cache of
// its own and builds its next calls in those nodes.
//
// Taking the whole stack with one exchange (never one node with a compare-and-swap) keeps the
// stack free of the ABA problem; only the worker pushes. The worker's push releases the links
// of the nodes and a client's exchange acquires them. The pool keeps at most kMaxReturned nodes
// on the stack (counted since a client last emptied it); more are freed. A thread's cache is
// freed when the thread ends; its nodes belong to no decoupler.
//
// Thread: take() from any thread, giveBack() from the worker only. Ownership: the stack's nodes
// are the pool's until a client takes them; the destructor frees them.
class CallNodePool {
public:
    CallNodePool() = default;
    CallNodePool(const CallNodePool&) = delete;
    CallNodePool& operator=(const CallNodePool&) = delete;
    ~CallNodePool();

    // A node holding the call, from the calling thread's cache, the stack or a new allocation.
    CallNode* take(std::function<void()>&& function, unsigned int userId, unsigned char priority);
    // Takes back a node whose function has been moved out or destroyed.
    void giveBack(CallNode* node) noexcept;

private:
    static constexpr std::size_t kMaxReturned = 4096;

    std::atomic<CallNode*> m_returned{nullptr};
    std::size_t m_returnedSinceEmpty = 0;  // the worker's
};

}  // namespace detail
}  // namespace bafu
}  // namespace orv
