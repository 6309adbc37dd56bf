#include "orv/common/errors/InvalidArgumentException.h"

namespace orv {
namespace common {
namespace errors {

InvalidArgumentException::~InvalidArgumentException() = default;

void InvalidArgumentException::raise() {
    throw InvalidArgumentException(*this);
}

InvalidArgumentException* InvalidArgumentException::clone() const {
    return new InvalidArgumentException(*this);
}

}  // namespace errors
}  // namespace common
}  // namespace orv
