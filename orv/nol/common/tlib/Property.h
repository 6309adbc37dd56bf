#pragma once

#include <cstdint>
#include <type_traits>
#include <utility>

#include "orv/nol/common/Export.h"

namespace orv {
namespace nol {
namespace common {
namespace tlib {

// Whether a Property holds a value. Only Set counts as set.
enum PropertyState : std::int32_t {
    NotSet = 0,
    Set = 1,
};

namespace detail {
// Throws IllegalStateException("Value has not been set."); kept out of line so that the throw
// lives in one place and value() stays small.
[[noreturn]] ORV_NOL_API void throwValueNotSet();
}  // namespace detail

// A field of a resource element that may be absent: a value and whether it has been set.
//
//   Property<std::string> name;   // not set
//   name = "kitchen";             // set
//   name.value();                 // "kitchen"
//   name.clear();                 // not set again; value() now throws
//
// A default-constructed property is not set and holds a default-constructed value; assigning
// a value sets it. Thread safety: a plain value. Failure: value() of a property that is not set
// throws orv::common::errors::IllegalStateException with the message "Value has not been set."
// and no cause.
template <typename T>
class Property {
public:
    Property() = default;
    // NOLINTNEXTLINE(google-explicit-constructor): a value converts to a set property.
    Property(const T& value) : m_value(value), m_state(Set) {}
    // NOLINTNEXTLINE(google-explicit-constructor)
    Property(T&& value) noexcept(std::is_nothrow_move_constructible<T>::value)
        : m_value(std::move(value)), m_state(Set) {}

    Property& operator=(const T& value) {
        m_value = value;
        m_state = Set;
        return *this;
    }
    Property& operator=(T&& value) noexcept(std::is_nothrow_move_assignable<T>::value) {
        m_value = std::move(value);
        m_state = Set;
        return *this;
    }

    bool isSet() const noexcept { return m_state == Set; }
    PropertyState getState() const noexcept { return m_state; }

    // Marks the property as not set; the value it held stays in place but can no longer be read.
    void clear() noexcept { m_state = NotSet; }

    // The value; throws IllegalStateException("Value has not been set.") if it is not set.
    const T& value() const {
        if (!isSet()) {
            detail::throwValueNotSet();
        }
        return m_value;
    }

private:
    T m_value{};
    PropertyState m_state = NotSet;
};

}  // namespace tlib
}  // namespace common
}  // namespace nol
}  // namespace orv
