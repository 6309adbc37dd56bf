#include "orv/nol/common/tlib/Property.h"

#include "orv/common/errors/IllegalStateException.h"

namespace orv {
namespace nol {
namespace common {
namespace tlib {
namespace detail {

void throwValueNotSet() {
    throw orv::common::errors::IllegalStateException("Value has not been set.");
}

}  // namespace detail
}  // namespace tlib
}  // namespace common
}  // namespace nol
}  // namespace orv
