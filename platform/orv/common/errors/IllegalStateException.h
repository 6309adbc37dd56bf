#pragma once

#include "orv/common/errors/BaseException.h"

namespace orv {
namespace common {
namespace errors {

// Thrown for an operation called on an object in a state that does not allow it. Adds nothing to
// BaseException but its type, which raise() and clone() keep.
class ORV_COMMON_API IllegalStateException : public BaseException {
public:
    using BaseException::BaseException;
    ~IllegalStateException() override;

    [[noreturn]] void raise() override;
    IllegalStateException* clone() const override;
};

}  // namespace errors
}  // namespace common
}  // namespace orv
