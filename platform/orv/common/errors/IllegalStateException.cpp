#include "orv/common/errors/IllegalStateException.h"

namespace orv {
namespace common {
namespace errors {

IllegalStateException::~IllegalStateException() = default;

void IllegalStateException::raise() {
    throw IllegalStateException(*this);
}

IllegalStateException* IllegalStateException::clone() const {
    return new IllegalStateException(*this);
}

}  // namespace errors
}  // namespace common
}  // namespace orv
