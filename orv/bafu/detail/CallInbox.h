#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "orv/bafu/detail/CallNode.h"

namespace orv {
namespace bafu {
namespace detail {

// Where client threads hand calls to a DefaultDecoupler's worker without a lock: an
// intrusive FIFO queue that any thread pushes onto and the worker alone takes from, plus the
// set of priorities announced since the worker last sorted the inbox in.
//
// Every push announces its priority after linking its node, so when push() has returned, a
// node of that priority may be in the inbox. The worker can therefore take the oldest node
// straight away when no announced priority is more urgent than it, and sort the inbox into its
// priority lists otherwise (drainAnnounced). Announcements may outlive their nodes, which only
// makes the worker sort in more often than needed.
//
// The queue always holds a "front" node whose call has been taken already (at first a stub):
// taking the next call moves that role on to the next node and retires the old front, so the
// worker never touches the tail. A push swaps itself in as the tail and then links its
// predecessor to itself; between the two steps the chain is briefly cut. The worker never
// looks past such a cut: when sorting in it waits the moment out, and otherwise it may go to
// sleep, to be woken by the pusher once it has linked. The links and the announcements are written
// sequentially consistent, so that a pusher and the worker going to sleep cannot miss each other
// (see DefaultDecoupler).
//
// Thread: push() from any thread; every other operation from the worker only (and the
// destructor once no thread pushes any more). Ownership: owns its nodes; the destructor frees
// them, calls unrun.
class CallInbox {
public:
    static constexpr unsigned int kNoPriority = 256;

    // A taken call: `node` holds it and stays in the inbox as its front; `retired`, the
    // previous front, is the caller's now (null when that was the stub).
    struct Taken {
        CallNode* node;
        CallNode* retired;
    };

    CallInbox();
    CallInbox(const CallInbox&) = delete;
    CallInbox& operator=(const CallInbox&) = delete;
    ~CallInbox();

    void push(CallNode* node) noexcept;

    // Whether the call after the last one taken has been linked in, so that takeOldest()
    // would find it at once.
    bool hasLinkedCall() const noexcept { return m_front->link.load() != nullptr; }

    // The most urgent priority announced since the last drain; kNoPriority if none.
    unsigned int lowestAnnouncedPriority() const noexcept;

    // Takes the oldest call; {nullptr, nullptr} when the inbox is empty, or when a push is
    // still linking the oldest call in after a short wait for it.
    Taken takeOldest() noexcept;

    // Forgets every announcement and hands `sink` every call pushed before, oldest first, as
    // takeOldest() does. Calls pushed meanwhile may be handed over too, or stay for later
    // with their announcement.
    template <typename Sink>
    void drainAnnounced(Sink sink) noexcept {
        for (auto& word : m_announced) {
            word.store(0);
        }
        const CallNode* const last = m_tail.load();
        while (m_front != last) {
            sink(takeLinkedOldest());
        }
    }

private:
    static constexpr unsigned int kWordBits = 64;

    void announce(unsigned int priority) noexcept;
    // As takeOldest(), but waits as long as a push is linking the oldest call in. There must
    // be a call pushed and not yet taken.
    Taken takeLinkedOldest() noexcept;

    // What the pushers write and what the worker writes live on cache lines of their own.
    static constexpr std::size_t kCacheLine = 64;

    // The newest node; pushers swap themselves in here.
    alignas(kCacheLine) std::atomic<CallNode*> m_tail;
    // The node of the call taken last, or the stub; the worker's alone.
    alignas(kCacheLine) CallNode* m_front;
    CallNode m_stub;
    alignas(
        kCacheLine) std::array<std::atomic<std::uint64_t>, kNoPriority / kWordBits> m_announced{};
};

}  // namespace detail
}  // namespace bafu
}  // namespace orv
