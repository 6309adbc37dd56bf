#pragma once

#include <cstddef>
#include <memory>
#include <vector>

namespace orv {
namespace bafu {
namespace timer {

class Element;

namespace detail {

// The started timers of a Manager by id: an open-addressing hash table with linear probing in
// Robin Hood order, so that a start or a stop costs no allocation of its own and usually one
// cache line. It grows by doubling when half full; an erase shifts the entries behind it back,
// so there are no tombstones.
//
// Thread: none of its own; the manager guards it with its lock. Ownership: holds a shared
// reference to every element in it.
class TimerTable {
public:
    // Puts `element` in under `id` (not 0); false, and nothing changed, when `id` is there.
    bool insert(unsigned long id, const std::shared_ptr<Element>& element);
    // Takes the element of `id` out; null when `id` is not there.
    std::shared_ptr<Element> take(unsigned long id) noexcept;

    bool empty() const noexcept { return m_size == 0; }
    // Every id in it, in ascending order.
    std::vector<unsigned long> sortedIds() const;
    void swap(TimerTable& other) noexcept;
    void clear() noexcept;

private:
    struct Slot {
        unsigned long id = 0;  // 0: free
        std::shared_ptr<Element> element;
    };
    static constexpr std::size_t kInitialSlots = 16;

    std::size_t home(unsigned long id) const noexcept;
    std::size_t next(std::size_t index) const noexcept {
        return (index + 1) & (m_slots.size() - 1);
    }
    // How far the entry in slot `index` is from its home slot.
    std::size_t distance(std::size_t index) const noexcept;
    // The slot of `id`, or the slot where a search for it ends.
    std::size_t find(unsigned long id) const noexcept;
    // Puts an entry whose id is not in the table into it; there must be a free slot.
    void place(Slot&& slot) noexcept;
    void grow();

    std::vector<Slot> m_slots;  // a power of two in size, or empty
    std::size_t m_size = 0;
};

}  // namespace detail
}  // namespace timer
}  // namespace bafu
}  // namespace orv
