#include "orv/common/system/CondVar.h"

#include "orv/common/system/detail/Deadline.h"

#include <mutex>

namespace orv {
namespace common {
namespace system {

void CondVar::wait(Mutex& mutex) {
    std::unique_lock<std::mutex> lock(mutex.native(), std::adopt_lock);
    m_condition.wait(lock);
    lock.release();
}

bool CondVar::waitFor(Mutex& mutex, std::chrono::nanoseconds timeout) {
    std::unique_lock<std::mutex> lock(mutex.native(), std::adopt_lock);
    const auto deadline = detail::deadlineAfter(timeout);
    const bool signalled = m_condition.wait_until(lock, deadline) == std::cv_status::no_timeout;
    lock.release();
    return signalled;
}

}  // namespace system
}  // namespace common
}  // namespace orv
