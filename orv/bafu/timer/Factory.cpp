#include "orv/bafu/timer/Factory.h"

namespace orv {
namespace bafu {
namespace timer {

std::unique_ptr<Manager> Factory::create(const std::string& name) {
    return std::make_unique<Manager>(name);
}

}  // namespace timer
}  // namespace bafu
}  // namespace orv
