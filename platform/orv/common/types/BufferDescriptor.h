#pragma once

#include <cstddef>

namespace orv {
namespace common {
namespace types {

// A view of `size` elements at `ptr`: it neither owns nor copies what it points at, so it is
// valid only while the viewed storage lives unchanged. Invariant: `size == 0 || ptr != nullptr`;
// a null pointer given with a non-zero size is stored as an empty view.
//
//   std::string text = "abc";
//   BufferDescriptor<const char> bytes(text.data(), text.size());
template <typename T>
class BufferDescriptor {
public:
    constexpr BufferDescriptor() noexcept = default;
    constexpr BufferDescriptor(T* ptr, std::size_t size) noexcept
        : m_ptr(ptr), m_size(ptr == nullptr ? 0 : size) {}

    constexpr T* ptr() const noexcept { return m_ptr; }
    constexpr std::size_t size() const noexcept { return m_size; }
    constexpr bool empty() const noexcept { return m_size == 0; }

    constexpr T* begin() const noexcept { return m_ptr; }
    constexpr T* end() const noexcept { return m_ptr + m_size; }
    constexpr T& operator[](std::size_t index) const noexcept { return m_ptr[index]; }

private:
    T* m_ptr = nullptr;
    std::size_t m_size = 0;
};

}  // namespace types
}  // namespace common
}  // namespace orv
