#include "orv/bafu/DefaultDecoupler.h"

#include <utility>

#include "orv/bafu/detail/AwaitRemoval.h"
#include "orv/bafu/detail/CallInbox.h"
#include "orv/bafu/detail/CallNode.h"
#include "orv/bafu/detail/CallNodePool.h"
#include "orv/bafu/detail/CallQueue.h"
#include "orv/bafu/detail/Semaphore.h"
#include "orv/bafu/detail/UserIds.h"
#include "orv/common/system/MutexGuard.h"

// The queue of a DefaultDecoupler, and the rules that keep it correct without a lock.
//
// Shape. A call travels in a CallNode: a client pushes it onto the inbox (CallInbox, an
// intrusive FIFO list that any thread pushes onto and only the worker takes from); the worker
// either runs it straight from the inbox or first sorts it into the queue (CallQueue, one FIFO
// list per priority and a bitmap of the non-empty ones), which only the worker touches.
//
// Who touches what.
//   m_inbox->m_tail       any pusher (exchange), the worker (reads, to see where the inbox ends)
//   node->link            its pusher writes it once (the link to the next node); the worker
//                         reads it; in the queue and in dropped chains the worker alone
//   m_inbox->m_announced  pushers set bits, the worker clears them all when it sorts in
//   m_inbox->m_front, m_queue, m_spare   the worker alone
//   m_pool                the worker gives spent nodes back, clients take them (CallNodePool)
//   m_nextUserId          any thread, under m_mutex
//   m_running             the destructor clears it; the worker reads it
//   m_workerWaiting       the worker sets it before it sleeps; whoever clears it first (the
//                         first pusher to find it set, or the worker itself when it finds
//                         work after all) decides whether m_wakeUp is posted
//
// Invariants.
//   I1  The inbox holds the calls in the order their pushes swapped m_tail; the queue holds
//       each priority's calls in that same order. The queue's calls all came into the inbox
//       before the calls still in it.
//   I2  Every call in the inbox was pushed after the last sort-in cleared the announcements, or
//       its priority is announced: a push links its node before it announces, and a sort-in
//       clears the announcements before it reads m_tail, so it takes every node whose
//       announcement it cleared. Announcements may outlive their calls (a call taken directly
//       leaves its bit set); that only costs an extra sort-in.
//   I3  Hence the next call is (takeNext):
//       - when the queue is empty, the oldest inbox call if no announced priority is more
//         urgent than its own (the direct hand-over, handOverDirectly); otherwise the inbox is
//         sorted in and the queue's front is next;
//       - when the queue is not empty, its front, after sorting the inbox in if an announced
//         priority is more urgent than that front. An arrival of the front's priority or a
//         less urgent one came later (I1) and can wait where it is.
//       Every push that returned before the worker picks takes part in the pick; a push still
//       in progress may go either way.
//   I4  A push swaps m_tail first and links its predecessor second: in between the chain is
//       cut. The worker never looks past a cut: a sort-in waits it out (the pusher is between
//       two stores), a direct take reports "nothing linked yet" and the worker may sleep, to be
//       woken by that pusher.
//
// Memory orders. The pusher's store of the link releases the node's contents and the worker's
// load of it acquires them. The link store, the announcement and m_workerWaiting are
// sequentially consistent on both sides because each side writes one location and then reads
// the other's (the pusher: link, then m_workerWaiting; the worker going to sleep:
// m_workerWaiting, then the link): with anything weaker both could read the old value, and a
// call would wait in the inbox beside a sleeping worker. m_running is sequentially consistent
// for the same reason: the destructor clears it and then posts m_wakeUp; the worker sets
// m_workerWaiting and then reads it.
//
// Sleeping. An idle worker sets m_workerWaiting, looks at the inbox and m_running once more,
// and waits on the semaphore m_wakeUp. The first pusher that finds the flag set clears it and
// posts. Later pushers find the flag clear: their calls are found by the same wake-up, since
// the worker drains before it sleeps again. A worker that finds work on its last look takes the
// flag back; if a pusher cleared it first, that pusher's post is on its way and the worker
// takes it, so no post is left over for a later sleep. The destructor posts unconditionally:
// the one post that may be left over, when the worker is already leaving.
//
// Removal as a barrier. removeUserCalls(user, onRemoved) pushes a call like any other, with
// user id 0 and priority 254, so it waits behind every call of priority 0..254 handed over
// before it (I1, I3). When the worker runs it (carryOutRemoval) it sorts the whole inbox in,
// withdraws the user's calls from every priority list (those of 255, and of 254 behind the
// request, plus whatever arrived since), destroys them unrun and only then calls onRemoved.
// No call of the user runs meanwhile, as the worker is busy with the removal itself.

namespace orv {
namespace bafu {

using common::system::MutexGuard;

namespace {

// Removal requests queue behind every call of priority 0 to 254 that is already there.
constexpr unsigned char kRemovalPriority = 254;

}  // namespace

DefaultDecoupler::Element::Element(std::function<void()>&& function, unsigned int userId)
    : function(std::move(function)), userId(userId) {}

DefaultDecoupler::DefaultDecoupler(const std::string& threadName)
    : Thread(threadName),
      m_wakeUp(std::make_unique<detail::Semaphore>()),
      m_nextUserId(detail::kFirstUserId),
      m_pool(std::make_unique<detail::CallNodePool>()),
      m_inbox(std::make_unique<detail::CallInbox>()),
      m_queue(std::make_unique<detail::CallQueue>()),
      m_spare(std::make_unique<detail::CallNode>(std::function<void()>(), 0, 0)),
      m_running(true) {
    start();
}

DefaultDecoupler::~DefaultDecoupler() {
    try {
        m_running = false;
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
        detail::kRemovalRequestUserId, kRemovalPriority);
}

void DefaultDecoupler::removeUserCalls(unsigned int userId) {
    detail::awaitRemoval(*this, userId);
}

void DefaultDecoupler::removeAllCalls(std::weak_ptr<RemovedCallback> onRemoved) {
    removeUserCalls(detail::kAllUsersId, std::move(onRemoved));
}

void DefaultDecoupler::removeAllCalls() {
    removeUserCalls(detail::kAllUsersId);
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
            handOverDirectly(oldest.node, oldest.retired, function);
            return true;
        }
        sortIn(oldest.node, oldest.retired);  // a more urgent call arrived after it
        sortInArrivals();
    } else if (m_inbox->lowestAnnouncedPriority() < m_queue->lowestPriority()) {
        sortInArrivals();
    }
    takeFront(function);
    return true;
}

// The oldest inbox call is the next one (I3): it runs from its inbox node, which stays as the
// inbox's front until the next take retires it.
void DefaultDecoupler::handOverDirectly(detail::CallNode* node, detail::CallNode* retired,
                                        std::function<void()>& function) noexcept {
    keepOrFree(retired);
    function = std::move(node->element.function);
}

void DefaultDecoupler::takeFront(std::function<void()>& function) noexcept {
    detail::CallNode* const node = m_queue->popFront();
    function = std::move(node->element.function);
    recycle(node);  // before the call runs
}

void DefaultDecoupler::enqueue(std::function<void()>&& function, unsigned int userId,
                               unsigned char priority) {
    m_inbox->push(m_pool->take(std::move(function), userId, priority));
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
        recycle(retired);
    }
}

void DefaultDecoupler::recycle(detail::CallNode* node) noexcept {
    node->element.function = nullptr;  // moved out already; a moved-from function may hold state
    m_pool->giveBack(node);
}

void DefaultDecoupler::carryOutRemoval(unsigned int userId,
                                       const std::weak_ptr<RemovedCallback>& onRemoved) {
    sortInArrivals();
    {
        const detail::CallQueue::DroppedCalls dropped =
            userId == detail::kAllUsersId ? m_queue->removeAll() : m_queue->removeUser(userId);
    }  // the withdrawn calls are destroyed here, unrun
    if (const auto callback = onRemoved.lock()) {
        (*callback)(true);
    }
}

void DefaultDecoupler::waitForWork() {
    m_workerWaiting = true;
    if ((m_inbox->hasLinkedCall() || !m_running) && m_workerWaiting.exchange(false)) {
        return;  // no pusher saw the flag, so none posts
    }
    m_wakeUp->wait();
}

void DefaultDecoupler::wakeWorker() {
    m_wakeUp->post();
}

}  // namespace bafu
}  // namespace orv
