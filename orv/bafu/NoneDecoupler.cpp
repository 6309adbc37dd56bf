#include "orv/bafu/NoneDecoupler.h"

#include <utility>

#include "orv/bafu/detail/AwaitRemoval.h"
#include "orv/common/system/MutexGuard.h"

namespace orv {
namespace bafu {

using common::system::MutexGuard;

namespace {

// The only user id this decoupler hands out, and the one its removeAllCalls passes on.
constexpr unsigned int kTheUserId = 1;
constexpr unsigned int kAllUsers = 0;

}  // namespace

NoneDecoupler::NoneDecoupler() : m_runningCalls(0) {}

NoneDecoupler::~NoneDecoupler() = default;

unsigned int NoneDecoupler::createUserId() {
    return kTheUserId;
}

void NoneDecoupler::call(std::function<void()>&& function, unsigned int /*userId*/,
                         unsigned char /*priority*/) {
    const std::thread::id self = std::this_thread::get_id();
    if (m_owner.load(std::memory_order_relaxed) == self || claimOwnership(self)) {
        // Counts the call in and, also when the function throws, out again.
        struct OwnerCall {
            NoneDecoupler& decoupler;
            explicit OwnerCall(NoneDecoupler& d) : decoupler(d) {
                const unsigned long calls = decoupler.m_ownerCalls.load(std::memory_order_relaxed);
                decoupler.m_ownerCalls.store(calls + 1, std::memory_order_relaxed);
            }
            OwnerCall(const OwnerCall&) = delete;
            OwnerCall& operator=(const OwnerCall&) = delete;
            ~OwnerCall() { decoupler.endOwnerCall(); }
        } running(*this);
        function();
    } else {
        SignalingCounter::Guard running(m_runningCalls);
        running.inc();
        function();
    }
}

bool NoneDecoupler::claimOwnership(std::thread::id self) {
    std::thread::id none;
    return m_owner.compare_exchange_strong(none, self);
}

void NoneDecoupler::endOwnerCall() {
    const unsigned long left = m_ownerCalls.load(std::memory_order_relaxed) - 1;
    m_ownerCalls.exchange(left);  // the one locked instruction: orders the store before the load
    if (left != 0 || !m_removalWaiting.load()) {
        return;
    }
    MutexGuard guard(m_mutex);
    m_removalWaiting.store(false);
    const bool counted = std::exchange(m_ownerCounted, false);
    guard.unlock();
    if (counted) {
        m_runningCalls.dec();  // completes the removals when no other call runs
    }
}

void NoneDecoupler::removeUserCalls(unsigned int /*userId*/,
                                    std::weak_ptr<RemovedCallback> onRemoved) {
    std::function<void()> complete = [onRemoved = std::move(onRemoved)] {
        if (const auto callback = onRemoved.lock()) {
            (*callback)(true);
        }
    };
    MutexGuard guard(m_mutex);
    m_removalWaiting.store(true);
    if (!m_ownerCounted && m_ownerCalls.load() != 0) {
        m_runningCalls.inc();  // taken back by the owner when its calls have ended
        m_ownerCounted = true;
    }
    if (!m_ownerCounted) {
        guard.unlock();  // the subscription may complete at once, and does so without our lock
    }
    m_runningCalls.subscribeForZero(std::move(complete));
}

void NoneDecoupler::removeUserCalls(unsigned int userId) {
    detail::awaitRemoval(*this, userId);
}

void NoneDecoupler::removeAllCalls(std::weak_ptr<RemovedCallback> onRemoved) {
    removeUserCalls(kAllUsers, std::move(onRemoved));
}

void NoneDecoupler::removeAllCalls() {
    removeUserCalls(kAllUsers);
}

}  // namespace bafu
}  // namespace orv
