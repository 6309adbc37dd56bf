#pragma once

#include <exception>
#include <memory>
#include <string>

#include "orv/common/Export.h"

namespace orv {
namespace common {
namespace errors {

// The root of the libraries' exceptions: a message, an optional cause and a flag.
//
// The cause is copied (with its own chain of causes, each keeping its dynamic type) when the
// exception is built or copied, so an exception owns its whole chain and outlives the objects
// it was made from. Every derived class overrides `raise()` and `clone()` so that an exception
// held through a base reference is thrown again, or copied, with its own dynamic type.
//
//   try { ... } catch (const BaseException& e) { stored.reset(e.clone()); }
//   stored->raise();  // throws the original type again
//
// Thread: an object is not shared between threads without a lock. Failure: copying may throw
// `std::bad_alloc`.
class ORV_COMMON_API BaseException : public std::exception {
public:
    explicit BaseException(const std::string& message, const BaseException* cause = nullptr,
                           bool flag = false);
    BaseException(const BaseException& other);
    BaseException& operator=(const BaseException& other);
    BaseException(BaseException&&) noexcept = default;
    BaseException& operator=(BaseException&&) noexcept = default;
    ~BaseException() override;

    const char* what() const noexcept override;

    // Throws a copy of this exception by its own dynamic type.
    [[noreturn]] virtual void raise();

    // A new heap copy of this exception by its own dynamic type; the caller owns it.
    virtual BaseException* clone() const;

    // The exception this one was caused by, or null.
    const BaseException* getCause() const noexcept { return m_cause.get(); }
    bool getFlag() const noexcept { return m_flag; }
    const std::string& getMessage() const noexcept { return m_message; }

private:
    std::string m_message;
    std::unique_ptr<BaseException> m_cause;
    bool m_flag;
};

}  // namespace errors
}  // namespace common
}  // namespace orv
