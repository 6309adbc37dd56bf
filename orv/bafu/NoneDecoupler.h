#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <thread>

#include "orv/bafu/IDecoupler.h"
#include "orv/bafu/SignalingCounter.h"
#include "orv/common/system/Mutex.h"
#include "orv/nol/common/Export.h"

namespace orv {
namespace bafu {

// The decoupler that does not decouple: call() runs the function at once on the calling
// thread. Components use it when their client gave them no decoupler of its own.
//
// User ids and priorities play no part: createUserId() always returns 1, and a removal for one
// user is a removal for all (removeAllCalls() passes user id 0). Nothing is ever queued, so a
// removal drops nothing; it completes when no call is running on any thread. If none is
// running when removeUserCalls(id, onRemoved) is entered, onRemoved(true) runs at once on the
// calling thread before it returns; otherwise it runs on the thread that ends the last running
// call, inside that call's call(), after the function has returned.
//
// Thread: call() may run on many threads at once; the function runs with no lock held, and so
// does every completion callback. The blocking removals wait as long as any thread is inside
// call(): called from inside a call on the same decoupler they never return.
// Ownership: completion callbacks are held weakly; callbacks still waiting when the decoupler
// is destroyed are dropped uncalled. Failure: exceptions of the function (and
// std::bad_function_call for an empty one) reach the caller of call(); the call is still
// counted as ended.
class ORV_NOL_API NoneDecoupler : public IDecoupler {
public:
    NoneDecoupler();
    ~NoneDecoupler() override;

    unsigned int createUserId() override;
    void call(std::function<void()>&& function, unsigned int userId,
              unsigned char priority) override;
    void removeUserCalls(unsigned int userId, std::weak_ptr<RemovedCallback> onRemoved) override;
    void removeUserCalls(unsigned int userId) override;
    void removeAllCalls(std::weak_ptr<RemovedCallback> onRemoved) override;
    void removeAllCalls() override;

private:
    bool claimOwnership(std::thread::id self);
    void endOwnerCall();

    // Calls on threads other than the owner, plus one increment standing for the owner's calls
    // while a removal waits for them (m_ownerCounted). Removals subscribe here.
    SignalingCounter m_runningCalls;

    // The owner is the first thread that calls; a decoupler is mostly called from one thread.
    // Its calls are counted in m_ownerCalls, which only it writes, so entering a call takes no
    // locked instruction and leaving one takes a single exchange. A removal stores
    // m_removalWaiting before it reads m_ownerCalls, the owner stores m_ownerCalls before it
    // reads m_removalWaiting (all sequentially consistent), so a removal that sees the owner
    // in a call is always seen by the owner when that call ends; it then counts the owner's
    // calls in m_runningCalls until the owner takes the increment back.
    std::atomic<std::thread::id> m_owner{};
    std::atomic<unsigned long> m_ownerCalls{0};
    std::atomic<bool> m_removalWaiting{false};  // written under m_mutex
    common::system::Mutex m_mutex;              // guards m_ownerCounted and m_removalWaiting
    bool m_ownerCounted = false;
};

}  // namespace bafu
}  // namespace orv
