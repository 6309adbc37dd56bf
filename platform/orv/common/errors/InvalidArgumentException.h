#pragma once

#include "orv/common/errors/BaseException.h"

namespace orv {
namespace common {
namespace errors {

// Thrown for an argument a function cannot work with. Adds nothing to BaseException but its type,
// which raise() and clone() keep.
class ORV_COMMON_API InvalidArgumentException : public BaseException {
public:
    using BaseException::BaseException;
    ~InvalidArgumentException() override;

    [[noreturn]] void raise() override;
    InvalidArgumentException* clone() const override;
};

}  // namespace errors
}  // namespace common
}  // namespace orv
