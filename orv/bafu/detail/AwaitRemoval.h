#pragma once

#include <memory>

#include "orv/bafu/IDecoupler.h"
#include "orv/common/system/LimitedSemaphore.h"

namespace orv {
namespace bafu {
namespace detail {

// The blocking removal that both decouplers offer, built on their non-blocking form: the
// completion callback raises a semaphore (count 0, limit 1) that the caller waits on.
//
// The semaphore lives in the same allocation as the callback, and the callback is handed out
// through an aliasing shared pointer. The thread that runs the callback holds a shared
// reference while it does, so the semaphore outlives the up() that wakes the caller even when
// the caller returns and drops its own reference first.
inline void awaitRemoval(IDecoupler& decoupler, unsigned int userId) {
    struct Completion {
        common::system::LimitedSemaphore done{0, 1};
        IDecoupler::RemovedCallback callback;
    };
    const auto completion = std::make_shared<Completion>();
    common::system::LimitedSemaphore* const done = &completion->done;
    completion->callback = [done](bool) { done->up(); };
    const std::shared_ptr<IDecoupler::RemovedCallback> callback(completion, &completion->callback);
    decoupler.removeUserCalls(userId, callback);
    done->down();
}

}  // namespace detail
}  // namespace bafu
}  // namespace orv
