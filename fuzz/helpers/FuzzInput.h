#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>

namespace orv {
namespace fuzz {

// Reads the bytes of one fuzz input as a stream of decisions. Once the bytes are used up every
// read gives zeros (or a shorter text), so whatever is driven by it comes to an end.
class FuzzInput {
public:
    FuzzInput(const std::uint8_t* data, std::size_t size) noexcept : m_data(data), m_size(size) {}

    bool empty() const noexcept { return m_used == m_size; }
    // The number of bytes read so far.
    std::size_t used() const noexcept { return m_used; }

    std::uint8_t byte() noexcept { return empty() ? 0 : m_data[m_used++]; }

    bool flag() noexcept { return (byte() & 1U) != 0; }

    // A number from 0 to `max`: one byte for a small range, two for a larger one.
    std::size_t upTo(std::size_t max) noexcept {
        std::size_t value = byte();
        if (max > 0xFF) {
            value = (value << 8U) | byte();
        }
        return max == 0 ? 0 : value % (max + 1);
    }

    // The next sizeof(T) bytes as a T, zero-filled at the end of the input.
    template <typename T>
    T raw() noexcept {
        static_assert(std::is_trivially_copyable<T>::value, "raw() copies bytes");
        unsigned char bytes[sizeof(T)] = {};
        for (unsigned char& b : bytes) {
            b = byte();
        }
        T value;
        std::memcpy(&value, bytes, sizeof(T));
        return value;
    }

    // The next `length` bytes, fewer at the end of the input.
    std::string text(std::size_t length) {
        const std::size_t count = length < m_size - m_used ? length : m_size - m_used;
        std::string taken(reinterpret_cast<const char*>(m_data) + m_used, count);
        m_used += count;
        return taken;
    }

    std::string rest() { return text(m_size - m_used); }

private:
    const std::uint8_t* m_data;
    std::size_t m_size;
    std::size_t m_used = 0;
};

}  // namespace fuzz
}  // namespace orv
