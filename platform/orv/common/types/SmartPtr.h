#pragma once

#include <atomic>
#include <cstddef>
#include <utility>

namespace orv {
namespace common {
namespace types {

// A shared, reference-counted owner of one heap object. Copies share the object; the last
// owner to go deletes it. The count is atomic, so copies may be made and dropped on any
// thread; the pointee itself is not made thread-safe by this.
//
//   SmartPtr<LogWriter> writer(new LogWriter("db"));
//   SmartPtr<LogWriter> again = writer;  // both own it now
template <typename T>
class SmartPtr {
public:
    constexpr SmartPtr() noexcept = default;
    constexpr SmartPtr(std::nullptr_t) noexcept {}  // NOLINT(google-explicit-constructor)

    // Takes ownership of `object`. If allocating the count fails, `object` is deleted.
    explicit SmartPtr(T* object) : m_object(object) {
        if (object != nullptr) {
            try {
                m_count = new std::atomic<long>(1);
            } catch (...) {
                delete object;
                throw;
            }
        }
    }

    SmartPtr(const SmartPtr& other) noexcept : m_object(other.m_object), m_count(other.m_count) {
        retain();
    }
    SmartPtr(SmartPtr&& other) noexcept
        : m_object(std::exchange(other.m_object, nullptr)),
          m_count(std::exchange(other.m_count, nullptr)) {}

    SmartPtr& operator=(SmartPtr other) noexcept {
        swap(other);
        return *this;
    }

    ~SmartPtr() { release(); }

    void swap(SmartPtr& other) noexcept {
        std::swap(m_object, other.m_object);
        std::swap(m_count, other.m_count);
    }

    // Drops this owner's share and, with a non-null `object`, takes ownership of that.
    void reset(T* object = nullptr) { SmartPtr(object).swap(*this); }

    T* get() const noexcept { return m_object; }
    T& operator*() const noexcept { return *m_object; }
    T* operator->() const noexcept { return m_object; }
    explicit operator bool() const noexcept { return m_object != nullptr; }

    // Number of owners sharing the object (0 for an empty pointer).
    long useCount() const noexcept {
        return m_count == nullptr ? 0 : m_count->load(std::memory_order_relaxed);
    }

    friend bool operator==(const SmartPtr& a, const SmartPtr& b) noexcept {
        return a.m_object == b.m_object;
    }
    friend bool operator!=(const SmartPtr& a, const SmartPtr& b) noexcept { return !(a == b); }

private:
    void retain() noexcept {
        if (m_count != nullptr) {
            m_count->fetch_add(1, std::memory_order_relaxed);
        }
    }
    void release() noexcept {
        if (m_count != nullptr && m_count->fetch_sub(1, std::memory_order_acq_rel) == 1) {
            delete m_object;
            delete m_count;
        }
        m_object = nullptr;
        m_count = nullptr;
    }

    T* m_object = nullptr;
    std::atomic<long>* m_count = nullptr;
};

}  // namespace types
}  // namespace common
}  // namespace orv
