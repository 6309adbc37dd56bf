#pragma once

#include <memory>
#include <string>

#include "orv/bafu/timer/Manager.h"
#include "orv/nol/common/Export.h"

namespace orv {
namespace bafu {
namespace timer {

// Makes timer managers. The caller owns the result; its timer thread carries `name`.
class ORV_NOL_API Factory {
public:
    static std::unique_ptr<Manager> create(const std::string& name);
};

}  // namespace timer
}  // namespace bafu
}  // namespace orv
