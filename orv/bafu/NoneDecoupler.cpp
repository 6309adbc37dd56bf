#include "orv/bafu/NoneDecoupler.h"

#include <utility>

#include "orv/bafu/detail/AwaitRemoval.h"

namespace orv {
namespace bafu {

namespace {

// The only user id this decoupler hands out, and the one its removeAllCalls passes on.
constexpr unsigned int TheUserId = 1;
constexpr unsigned int AllUsers = 0;

}  // namespace

NoneDecoupler::NoneDecoupler() : m_runningCalls(0) {}

NoneDecoupler::~NoneDecoupler() = default;

unsigned int NoneDecoupler::createUserId() {
    return TheUserId;
}

void NoneDecoupler::call(std::function<void()>&& function, unsigned int /*userId*/,
                         unsigned char /*priority*/) {
    SignalingCounter::Guard running(m_runningCalls);
    running.inc();
    function();
}

void NoneDecoupler::removeUserCalls(unsigned int /*userId*/,
                                    std::weak_ptr<RemovedCallback> onRemoved) {
    m_runningCalls.subscribeForZero([onRemoved = std::move(onRemoved)] {
        if (const auto callback = onRemoved.lock()) {
            (*callback)(true);
        }
    });
}

void NoneDecoupler::removeUserCalls(unsigned int userId) {
    detail::awaitRemoval(*this, userId);
}

void NoneDecoupler::removeAllCalls(std::weak_ptr<RemovedCallback> onRemoved) {
    removeUserCalls(AllUsers, std::move(onRemoved));
}

void NoneDecoupler::removeAllCalls() {
    removeUserCalls(AllUsers);
}

}  // namespace bafu
}  // namespace orv
