#pragma once

#include <functional>
#include <string>
#include <vector>

#include "orv/nol/common/Export.h"

namespace orv {
namespace bafu {
namespace terminal {

// The face of a command terminal that modules use: register the commands they answer to.
// A command line "name:arg1,arg2" calls the handler registered under "name" with the
// arguments; on which thread is the implementation's contract (see Input).
class ORV_NOL_API IInput {
public:
    using Handler = std::function<void(const std::vector<std::string>&)>;

    IInput() = default;
    IInput(const IInput&) = delete;
    IInput& operator=(const IInput&) = delete;
    virtual ~IInput();

    // Adds `handler` under `name`; false (and the handler is dropped) if the name is taken.
    virtual bool registerCommand(const std::string& name, Handler&& handler) = 0;
    // Removes the handler of `name`; false if there was none.
    virtual bool unregisterCommand(const std::string& name) = 0;
};

}  // namespace terminal
}  // namespace bafu
}  // namespace orv
