#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>

#include "orv/bafu/detail/CallNode.h"

namespace orv {
namespace bafu {
namespace detail {

// The pending calls of a DefaultDecoupler in the order the worker runs them: an ordered
// multimap from priority to element, kept as one FIFO list per priority value and a bitmap of
// the non-empty lists, so that finding the most urgent, oldest entry is a bit scan.
//
// Thread: none of its own; only the decoupler's worker uses it (and the destructor, after the
// worker has ended). Ownership: owns its nodes. Calls withdrawn by a removal are handed back
// as DroppedCalls, destroyed unrun with that object.
class CallQueue {
public:
    // Withdrawn calls, destroyed unrun together with this object.
    class DroppedCalls {
    public:
        DroppedCalls() = default;
        DroppedCalls(DroppedCalls&& other) noexcept;
        DroppedCalls& operator=(DroppedCalls&& other) noexcept;
        DroppedCalls(const DroppedCalls&) = delete;
        DroppedCalls& operator=(const DroppedCalls&) = delete;
        ~DroppedCalls();

        std::size_t size() const noexcept { return m_size; }

    private:
        friend class CallQueue;
        void append(CallNode* node) noexcept;
        void appendChain(CallNode* head, CallNode* tail, std::size_t size) noexcept;

        CallNode* m_head = nullptr;
        CallNode* m_tail = nullptr;
        std::size_t m_size = 0;
    };

    static constexpr unsigned int kNoPriority = 256;

    CallQueue() = default;
    CallQueue(const CallQueue&) = delete;
    CallQueue& operator=(const CallQueue&) = delete;
    ~CallQueue();

    bool empty() const noexcept { return m_size == 0; }
    std::size_t size() const noexcept { return m_size; }

    // Puts the node behind every entry of its priority.
    void push(CallNode* node) noexcept;

    // The priority of the entry popFront() would take; kNoPriority when empty.
    unsigned int lowestPriority() const noexcept;

    // Takes the most urgent, oldest entry out. The queue must not be empty.
    CallNode* popFront() noexcept;

    // Withdraws every entry of `userId`; the others keep their places.
    DroppedCalls removeUser(unsigned int userId) noexcept;
    // Withdraws every entry.
    DroppedCalls removeAll() noexcept;

private:
    struct Fifo {
        CallNode* head = nullptr;
        CallNode* tail = nullptr;
    };
    static constexpr std::size_t kPriorities = 256;
    static constexpr std::size_t kWordBits = 64;

    void markNonEmpty(unsigned int priority) noexcept;
    void markEmpty(unsigned int priority) noexcept;
    void removeUserFrom(unsigned int priority, unsigned int userId, DroppedCalls& dropped) noexcept;

    using Bitmap = std::array<std::uint64_t, kPriorities / kWordBits>;

    template <typename Visit>
    static void forEachSetBit(const Bitmap& bits, Visit visit);

    std::array<Fifo, kPriorities> m_lists{};
    Bitmap m_nonEmpty{};  // bit p: list p has entries
    std::size_t m_size = 0;
};

}  // namespace detail
}  // namespace bafu
}  // namespace orv
