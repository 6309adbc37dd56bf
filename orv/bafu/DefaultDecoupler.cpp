#include "orv/bafu/DefaultDecoupler.h"

#include <utility>

#include "orv/bafu/detail/AwaitRemoval.h"
#include "orv/bafu/detail/CallInbox.h"
#include "orv/bafu/detail/CallNode.h"
#include "orv/bafu/detail/CallQueue.h"
#include "orv/bafu/detail/CpuRelax.h"
#include "orv/bafu/detail/UserIds.h"
#include "orv/common/system/MutexGuard.h"

namespace orv {
namespace bafu {

using common::system::MutexGuard;

namespace {

// Removal requests queue behind every call of priority 0 to 254 that is already there.
constexpr unsigned char RemovalPriority = 254;

// How often the worker looks for new calls before it goes to sleep: a few microseconds, which
// spares the sleep and the wake-up when calls follow each other closely.
constexpr int SpinsBeforeSleep = 200;

}  // namespace

// How the worker and the clients meet. Clients push new calls onto the lock-free inbox, which
// also records which priorities have arrived. The worker takes the oldest call of the inbox
// directly when nothing sorted in before is waiting and no arrived priority is more urgent;
// otherwise it sorts the inbox into its priority lists and takes the most urgent, oldest
// entry there. Either way every call handed over before a pick takes part in it.
//
// An idle worker (one that finds no call linked in) sets m_workerWaiting, looks at the inbox
// once more and waits on m_wakeUp, all under m_mutex. The first client that finds m_workerWaiting
// set after its push clears it, takes m_mutex (so the worker is either still to look at the inbox
// or already waiting) and signals. Both sides use sequentially consistent operations on the flag
// and on the links of the inbox, so one sees the other.

DefaultDecoupler::Element::Element(std::function<void()>&& function, unsigned int userId)
    : function(std::move(function)), userId(userId) {}

DefaultDecoupler::DefaultDecoupler(const std::string& threadName)
    : Thread(threadName),
      m_nextUserId(detail::FirstUserId),
      m_inbox(std::make_unique<detail::CallInbox>()),
      m_queue(std::make_unique<detail::CallQueue>()),
      m_spare(std::make_unique<detail::CallNode>(std::function<void()>(), 0, 0)),
      m_running(true) {
    start();
}

DefaultDecoupler::~DefaultDecoupler() {
    try {
        {
            MutexGuard guard(m_mutex);
            m_running = false;
        }
        wakeWorker();
        join();
    } catch (...) {  // NOLINT(bugprone-empty-catch): a destructor lets nothing out
    }
    // The inbox and the queue, destroyed with the members, drop what is left unrun.
}

unsigned int DefaultDecoupler::createUserId() {
    MutexGuard guard(m_mutex);
    const unsigned int id = m_nextUserId;
    m_nextUserId = detail::userIdAfter(id);
    return id;
}

void DefaultDecoupler::call(std::function<void()>&& function, unsigned int userId,
                            unsigned char priority) {
    enqueue(std::move(function), userId, priority);
}

void DefaultDecoupler::removeUserCalls(unsigned int userId,
                                       std::weak_ptr<RemovedCallback> onRemoved) {
    enqueue(
        [this, userId, onRemoved = std::move(onRemoved)] { carryOutRemoval(userId, onRemoved); },
        detail::RemovalRequestUserId, RemovalPriority);
}

void DefaultDecoupler::removeUserCalls(unsigned int userId) {
    detail::awaitRemoval(*this, userId);
}

void DefaultDecoupler::removeAllCalls(std::weak_ptr<RemovedCallback> onRemoved) {
    removeUserCalls(detail::AllUsersId, std::move(onRemoved));
}

void DefaultDecoupler::removeAllCalls() {
    removeUserCalls(detail::AllUsersId);
}

void DefaultDecoupler::run() {
    while (m_running) {
        std::function<void()> function;
        if (!takeNext(function)) {
            waitForWork();
            continue;
        }
        function();
    }
}

bool DefaultDecoupler::takeNext(std::function<void()>& function) noexcept {
    if (m_queue->empty()) {
        const detail::CallInbox::Taken oldest = m_inbox->takeOldest();
        if (oldest.node == nullptr) {
            return false;
        }
        if (oldest.node->priority <= m_inbox->lowestAnnouncedPriority()) {
            keepOrFree(oldest.retired);
            function = std::move(oldest.node->element.function);
            // The next call's node, if already linked, is fetched while this call runs.
            __builtin_prefetch(oldest.node->next(), 1);
            return true;
        }
        sortIn(oldest.node, oldest.retired);  // a more urgent call arrived after it
        sortInArrivals();
    } else if (m_inbox->lowestAnnouncedPriority() < m_queue->lowestPriority()) {
        sortInArrivals();
    }
    detail::CallNode* const node = m_queue->popFront();
    function = std::move(node->element.function);
    delete node;  // freed before the call runs
    return true;
}

void DefaultDecoupler::enqueue(std::function<void()>&& function, unsigned int userId,
                               unsigned char priority) {
    m_inbox->push(new detail::CallNode(std::move(function), userId, priority));
    // Only the first pusher to find the worker waiting wakes it; the others' calls are found
    // by the same wake-up.
    if (m_workerWaiting.load() && m_workerWaiting.exchange(false)) {
        wakeWorker();
    }
}

void DefaultDecoupler::sortInArrivals() noexcept {
    m_inbox->drainAnnounced(
        [this](const detail::CallInbox::Taken& taken) { sortIn(taken.node, taken.retired); });
}

// The node of a call taken from the inbox stays there as its front, so the call moves into a
// free node: the one the inbox has just retired, or the spare when the inbox retired none (its
// stub). Either way the spare is there again for the next time.
void DefaultDecoupler::sortIn(detail::CallNode* arrived, detail::CallNode* retired) noexcept {
    keepOrFree(retired);
    detail::CallNode* const node = m_spare.release();
    node->element.function = std::move(arrived->element.function);
    node->element.userId = arrived->element.userId;
    node->priority = arrived->priority;
    m_queue->push(node);
}

void DefaultDecoupler::keepOrFree(detail::CallNode* retired) noexcept {
    if (retired == nullptr) {
        return;
    }
    if (m_spare == nullptr) {
        m_spare.reset(retired);
    } else {
        delete retired;
    }
}

void DefaultDecoupler::carryOutRemoval(unsigned int userId,
                                       const std::weak_ptr<RemovedCallback>& onRemoved) {
    sortInArrivals();
    {
        const detail::CallQueue::DroppedCalls dropped =
            userId == detail::AllUsersId ? m_queue->removeAll() : m_queue->removeUser(userId);
    }  // the withdrawn calls are destroyed here, unrun
    if (const auto callback = onRemoved.lock()) {
        (*callback)(true);
    }
}

void DefaultDecoupler::waitForWork() {
    for (int spin = 0; spin < SpinsBeforeSleep; ++spin) {
        if (m_inbox->hasLinkedCall()) {
            return;
        }
        detail::cpuRelax();
    }
    MutexGuard guard(m_mutex);
    m_workerWaiting = true;
    if (!m_inbox->hasLinkedCall() && m_running) {
        m_wakeUp.wait(m_mutex);  // a spurious wake-up only costs a look at the inbox
    }
    m_workerWaiting = false;
}

void DefaultDecoupler::wakeWorker() {
    { MutexGuard guard(m_mutex); }
    m_wakeUp.signal();
}

}  // namespace bafu
}  // namespace orv
