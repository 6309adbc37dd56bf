#pragma once

#include <functional>
#include <memory>

#include "orv/nol/common/Export.h"

namespace orv {
namespace bafu {

// Hands calls to another executor so that a module never calls back into its client on the
// client's own stack.
//
// Every call carries a user id, so that one client can withdraw its own pending calls, and a
// priority byte: 0 is the most urgent, 255 the least. 254 is reserved for the removal requests
// of the decoupler itself; the framework's own components use 128. Calls of equal priority run
// in the order they were handed over.
//
// Removal: removeUserCalls(userId, onRemoved) withdraws the calls of `userId` that are still
// pending and then calls `onRemoved(true)`. Once it is called, no call of that user is running
// or will be run any more, except calls handed over afterwards. The callback is passed as a
// weak pointer: the client owns it through a std::shared_ptr, and a callback whose owner has
// let it go is skipped without a word. The forms without a callback block until the removal
// is done; they must never be called from a call or callback running on the same decoupler,
// because that call is what they would wait for.
//
// Which user ids are reserved, on which thread calls and callbacks run and what exactly a
// removal drops are properties of each implementation.
class ORV_NOL_API IDecoupler {
public:
    using RemovedCallback = std::function<void(bool)>;

    IDecoupler() = default;
    IDecoupler(const IDecoupler&) = delete;
    IDecoupler& operator=(const IDecoupler&) = delete;
    virtual ~IDecoupler();

    // A user id for a new client of this decoupler.
    virtual unsigned int createUserId() = 0;

    // Hands `function` over, to be run later (or at once) with the given priority.
    virtual void call(std::function<void()>&& function, unsigned int userId,
                      unsigned char priority) = 0;

    // Withdraws the pending calls of `userId`, then calls `onRemoved(true)` if it is alive.
    virtual void removeUserCalls(unsigned int userId, std::weak_ptr<RemovedCallback> onRemoved) = 0;
    // As above, but waits for the removal to be done instead of calling back.
    virtual void removeUserCalls(unsigned int userId) = 0;

    // Withdraws the pending calls of every user, then calls `onRemoved(true)` if it is alive.
    virtual void removeAllCalls(std::weak_ptr<RemovedCallback> onRemoved) = 0;
    // As above, but waits for the removal to be done instead of calling back.
    virtual void removeAllCalls() = 0;
};

}  // namespace bafu
}  // namespace orv
