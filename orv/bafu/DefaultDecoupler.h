#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "orv/bafu/IDecoupler.h"
#include "orv/common/system/Mutex.h"
#include "orv/common/system/Thread.h"
#include "orv/nol/common/Export.h"

namespace orv {
namespace bafu {

namespace detail {
class CallInbox;
struct CallNode;
class CallNodePool;
class CallQueue;
class Semaphore;
}  // namespace detail

// A decoupler with one worker thread of its own, started by the constructor and named after
// its argument. call() queues the function and returns; the worker runs the queued calls one
// at a time, most urgent priority first (0 before 255), in arrival order within a priority.
//
// User ids: createUserId() hands out 2, 3, ..., 0xFFFFFFFE and then starts again at 2. Id 1
// means every user (removeAllCalls() is removeUserCalls(1, ...)); id 0 marks the decoupler's
// own removal requests.
//
// Removal: removeUserCalls(id, onRemoved) does not cancel at once. It queues a request at
// priority 254, so every call more urgent than that (priority 0..253, or 254 and queued
// before it) still runs first. When the worker reaches the request it drops, unrun, the calls
// of `id` that are still queued (in practice those of priority 255, and 254 queued after the
// request) and then calls onRemoved(true) on the worker thread. By then no call of `id` is
// running, and none queued before the request will run. Removing every user (id 1) or id 0
// also drops the removal requests of others still pending, whose callbacks are then never
// called: a blocking removal whose request is dropped so never returns. The blocking forms
// return once their request has been carried out; called on the worker thread (from a call or
// a callback of this decoupler) they never return.
//
// Thread: call(), createUserId() and the removals may be called from any thread. Queued
// calls, removal requests and completion callbacks all run on the worker thread, with no lock
// held, so a call may queue further calls on this decoupler or request a non-blocking removal.
// Ownership: the decoupler owns the queued functions; completion callbacks are held weakly.
// Destruction waits for a running call to return, then drops every queued entry unrun (pending
// removal requests never call back); it must not happen on the worker thread.
// Failure: an exception from a queued function (also std::bad_function_call from an empty
// one) ends the worker for good: it is reported by the thread and nothing queued runs any
// more. Allocation failures in call() or a removal reach the caller and leave the queue as it
// was.
class ORV_NOL_API DefaultDecoupler : public IDecoupler, public common::system::Thread {
public:
    // One queued call.
    struct ORV_NOL_API Element {
        Element(std::function<void()>&& function, unsigned int userId);

        std::function<void()> function;
        unsigned int userId;
    };

    explicit DefaultDecoupler(const std::string& threadName);
    ~DefaultDecoupler() override;

    unsigned int createUserId() override;
    void call(std::function<void()>&& function, unsigned int userId,
              unsigned char priority) override;
    void removeUserCalls(unsigned int userId, std::weak_ptr<RemovedCallback> onRemoved) override;
    void removeUserCalls(unsigned int userId) override;
    void removeAllCalls(std::weak_ptr<RemovedCallback> onRemoved) override;
    void removeAllCalls() override;

protected:
    // The worker loop; runs on the worker thread only.
    void run() override;

private:
    void enqueue(std::function<void()>&& function, unsigned int userId, unsigned char priority);
    bool takeNext(std::function<void()>& function) noexcept;
    void handOverDirectly(detail::CallNode* node, detail::CallNode* retired,
                          std::function<void()>& function) noexcept;
    void takeFront(std::function<void()>& function) noexcept;
    void sortIn(detail::CallNode* arrived, detail::CallNode* retired) noexcept;
    void sortInArrivals() noexcept;
    void keepOrFree(detail::CallNode* retired) noexcept;
    void recycle(detail::CallNode* node) noexcept;
    void carryOutRemoval(unsigned int userId, const std::weak_ptr<RemovedCallback>& onRemoved);
    void waitForWork();
    void wakeWorker();

    // Posted when work arrives while the worker waits for it, and to stop it.
    std::unique_ptr<detail::Semaphore> m_wakeUp;
    common::system::Mutex m_mutex;  // guards m_nextUserId
    unsigned int m_nextUserId;
    // Spent nodes on their way back from the worker to the clients.
    std::unique_ptr<detail::CallNodePool> m_pool;
    // Calls handed over and not yet taken or sorted in by the worker; any thread pushes.
    std::unique_ptr<detail::CallInbox> m_inbox;
    // Calls sorted in, in the order they run; the worker's alone.
    std::unique_ptr<detail::CallQueue> m_queue;
    // A free node the worker keeps at hand for sorting a call in; the worker's alone.
    std::unique_ptr<detail::CallNode> m_spare;
    std::atomic<bool> m_running;
    std::atomic<bool> m_workerWaiting{false};  // set by the worker before it re-checks and waits
};

}  // namespace bafu
}  // namespace orv
