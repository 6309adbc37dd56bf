#include "orv/common/system/Runnable.h"

namespace orv {
namespace common {
namespace system {

Runnable::~Runnable() = default;

}  // namespace system
}  // namespace common
}  // namespace orv
