#include "orv/bafu/timer/detail/TimerTable.h"

#include <algorithm>
#include <utility>

#include "orv/bafu/timer/Element.h"

namespace orv {
namespace bafu {
namespace timer {
namespace detail {

namespace {

// An id's home slot comes from its timer number (the high half), which the manager counts up:
// timers started one after the other sit in neighbouring slots, so a run of starts or stops
// walks the table in order instead of jumping around in it.
constexpr unsigned int kNumberShift = 32;

}  // namespace

bool TimerTable::insert(unsigned long id, const std::shared_ptr<Element>& element) {
    if (!m_slots.empty() && m_slots[find(id)].id == id) {
        return false;
    }
    if (2 * (m_size + 1) > m_slots.size()) {
        grow();
    }
    place(Slot{id, element});
    ++m_size;
    return true;
}

std::shared_ptr<Element> TimerTable::take(unsigned long id) noexcept {
    if (m_slots.empty()) {
        return nullptr;
    }
    std::size_t hole = find(id);
    if (m_slots[hole].id != id) {
        return nullptr;
    }
    std::shared_ptr<Element> element = std::move(m_slots[hole].element);
    m_slots[hole].id = 0;
    --m_size;
    // Backward shift: the entries behind the hole move one slot nearer their homes, up to a
    // free slot or an entry that is at home already.
    for (std::size_t index = next(hole); m_slots[index].id != 0 && distance(index) != 0;
         index = next(index)) {
        m_slots[hole] = std::move(m_slots[index]);
        m_slots[index].id = 0;
        hole = index;
    }
    return element;
}

std::vector<unsigned long> TimerTable::sortedIds() const {
    std::vector<unsigned long> ids;
    ids.reserve(m_size);
    for (const Slot& slot : m_slots) {
        if (slot.id != 0) {
            ids.push_back(slot.id);
        }
    }
    std::sort(ids.begin(), ids.end());
    return ids;
}

void TimerTable::swap(TimerTable& other) noexcept {
    m_slots.swap(other.m_slots);
    std::swap(m_size, other.m_size);
}

void TimerTable::clear() noexcept {
    m_slots.clear();
    m_size = 0;
}

std::size_t TimerTable::home(unsigned long id) const noexcept {
    return static_cast<std::size_t>(id >> kNumberShift) & (m_slots.size() - 1);
}

std::size_t TimerTable::distance(std::size_t index) const noexcept {
    return (index - home(m_slots[index].id)) & (m_slots.size() - 1);
}

std::size_t TimerTable::find(unsigned long id) const noexcept {
    std::size_t index = home(id);
    for (std::size_t probed = 0; m_slots[index].id != id; ++probed, index = next(index)) {
        if (m_slots[index].id == 0 || distance(index) < probed) {
            return index;  // `id` would have been put here or before
        }
    }
    return index;
}

// Robin Hood: an entry that has come farther from its home than the one in a slot takes the
// slot, and the one it displaces moves on. Every probe run is so ordered by distance, which
// lets find() and take() stop early.
void TimerTable::place(Slot&& slot) noexcept {
    Slot moving = std::move(slot);
    std::size_t index = home(moving.id);
    for (std::size_t probed = 0; m_slots[index].id != 0; ++probed, index = next(index)) {
        const std::size_t resident = distance(index);
        if (resident < probed) {
            std::swap(moving, m_slots[index]);
            probed = resident;
        }
    }
    m_slots[index] = std::move(moving);
}

void TimerTable::grow() {
    std::vector<Slot> old(std::max(kInitialSlots, 2 * m_slots.size()));
    old.swap(m_slots);
    for (Slot& slot : old) {
        if (slot.id != 0) {
            place(std::move(slot));
        }
    }
}

}  // namespace detail
}  // namespace timer
}  // namespace bafu
}  // namespace orv
