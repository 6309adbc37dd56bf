#pragma once

#include <memory>
#include <string>

#include "orv/bafu/terminal/Input.h"
#include "orv/nol/common/Export.h"

namespace orv {
namespace bafu {
namespace terminal {

// Makes command terminals. The caller owns the result; its thread carries `name`.
class ORV_NOL_API Factory {
public:
    static std::unique_ptr<Input> create(const std::string& name);
};

}  // namespace terminal
}  // namespace bafu
}  // namespace orv
