#include "orv/bafu/detail/CallQueue.h"

#include <utility>

namespace orv {
namespace bafu {
namespace detail {

CallQueue::DroppedCalls::DroppedCalls(DroppedCalls&& other) noexcept
    : m_head(std::exchange(other.m_head, nullptr)),
      m_tail(std::exchange(other.m_tail, nullptr)),
      m_size(std::exchange(other.m_size, 0)) {}

CallQueue::DroppedCalls& CallQueue::DroppedCalls::operator=(DroppedCalls&& other) noexcept {
    if (this != &other) {
        deleteChain(m_head);
        m_head = std::exchange(other.m_head, nullptr);
        m_tail = std::exchange(other.m_tail, nullptr);
        m_size = std::exchange(other.m_size, 0);
    }
    return *this;
}

CallQueue::DroppedCalls::~DroppedCalls() {
    deleteChain(m_head);
}

void CallQueue::DroppedCalls::append(CallNode* node) noexcept {
    node->setNext(nullptr);
    appendChain(node, node, 1);
}

void CallQueue::DroppedCalls::appendChain(CallNode* head, CallNode* tail,
                                          std::size_t size) noexcept {
    if (m_tail == nullptr) {
        m_head = head;
    } else {
        m_tail->setNext(head);
    }
    m_tail = tail;
    m_size += size;
}

CallQueue::~CallQueue() {
    for (const Fifo& list : m_lists) {
        deleteChain(list.head);
    }
}

void CallQueue::push(CallNode* node) noexcept {
    node->setNext(nullptr);
    Fifo& list = m_lists[node->priority];
    if (list.tail == nullptr) {
        list.head = node;
        markNonEmpty(node->priority);
    } else {
        list.tail->setNext(node);
    }
    list.tail = node;
    ++m_size;
}

CallNode* CallQueue::popFront() noexcept {
    const unsigned int priority = lowestPriority();
    Fifo& list = m_lists[priority];
    CallNode* const node = list.head;
    list.head = node->next();
    if (list.head == nullptr) {
        list.tail = nullptr;
        markEmpty(priority);
    }
    --m_size;
    node->setNext(nullptr);
    return node;
}

CallQueue::DroppedCalls CallQueue::removeUser(unsigned int userId) noexcept {
    DroppedCalls dropped;
    const Bitmap nonEmpty = m_nonEmpty;  // removeUserFrom clears bits as lists empty
    forEachSetBit(nonEmpty,
                  [&](unsigned int priority) { removeUserFrom(priority, userId, dropped); });
    m_size -= dropped.size();
    return dropped;
}

CallQueue::DroppedCalls CallQueue::removeAll() noexcept {
    DroppedCalls dropped;
    for (Fifo& list : m_lists) {
        if (list.head != nullptr) {
            dropped.appendChain(list.head, list.tail, 0);
            list = Fifo{};
        }
    }
    dropped.m_size = m_size;
    m_nonEmpty.fill(0);
    m_size = 0;
    return dropped;
}

void CallQueue::removeUserFrom(unsigned int priority, unsigned int userId,
                               DroppedCalls& dropped) noexcept {
    Fifo& list = m_lists[priority];
    CallNode* kept = nullptr;  // last entry of this list that stays
    CallNode* node = list.head;
    while (node != nullptr) {
        CallNode* const next = node->next();
        if (node->element.userId == userId) {
            if (kept == nullptr) {
                list.head = next;
            } else {
                kept->setNext(next);
            }
            dropped.append(node);
        } else {
            kept = node;
        }
        node = next;
    }
    list.tail = kept;
    if (list.head == nullptr) {
        markEmpty(priority);
    }
}

template <typename Visit>
void CallQueue::forEachSetBit(const Bitmap& bits, Visit visit) {
    for (std::size_t word = 0; word < bits.size(); ++word) {
        std::uint64_t rest = bits[word];
        while (rest != 0) {
            visit(static_cast<unsigned int>(word * kWordBits) +
                  static_cast<unsigned int>(__builtin_ctzll(rest)));
            rest &= rest - 1;
        }
    }
}

unsigned int CallQueue::lowestPriority() const noexcept {
    for (std::size_t word = 0; word < m_nonEmpty.size(); ++word) {
        if (m_nonEmpty[word] != 0) {
            return static_cast<unsigned int>(word * kWordBits) +
                   static_cast<unsigned int>(__builtin_ctzll(m_nonEmpty[word]));
        }
    }
    return kNoPriority;
}

void CallQueue::markNonEmpty(unsigned int priority) noexcept {
    m_nonEmpty[priority / kWordBits] |= std::uint64_t{1} << (priority % kWordBits);
}

void CallQueue::markEmpty(unsigned int priority) noexcept {
    m_nonEmpty[priority / kWordBits] &= ~(std::uint64_t{1} << (priority % kWordBits));
}

}  // namespace detail
}  // namespace bafu
}  // namespace orv
