#include "orv/bafu/terminal/Factory.h"

namespace orv {
namespace bafu {
namespace terminal {

std::unique_ptr<Input> Factory::create(const std::string& name) {
    return std::make_unique<Input>(name);
}

}  // namespace terminal
}  // namespace bafu
}  // namespace orv
