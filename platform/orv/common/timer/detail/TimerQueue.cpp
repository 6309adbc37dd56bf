#include "orv/common/timer/detail/TimerQueue.h"

#include <algorithm>
#include <exception>
#include <string>

#include "orv/common/system/Thread.h"
#include "orv/common/timer/ITimerCallback.h"

namespace orv {
namespace common {
namespace timer {
namespace detail {

void TimerQueue::schedule(Timer& timer) {
    std::lock_guard<std::mutex> guard(m_lock);
    timer.m_sequence = m_nextSequence++;
    push(&timer);
    if (timer.m_heapIndex == 0) {
        m_wake.notify_one();  // a new earliest deadline
    }
}

void TimerQueue::cancel(Timer& timer) {
    std::unique_lock<std::mutex> lock(m_lock);
    if (timer.m_heapIndex != Timer::kNotQueued) {
        remove(&timer);
    }
    if (m_running != &timer) {
        return;
    }
    m_runningCancelled = true;
    if (std::this_thread::get_id() == m_loopThread) {
        return;  // stopped from inside its own callback
    }
    m_callbackDone.wait(lock, [&] { return m_running != &timer; });
}

void TimerQueue::requestStop() {
    std::lock_guard<std::mutex> guard(m_lock);
    m_stopRequested = true;
    m_wake.notify_all();
}

void TimerQueue::allowRun() {
    std::lock_guard<std::mutex> guard(m_lock);
    m_stopRequested = false;
}

void TimerQueue::loop() {
    std::unique_lock<std::mutex> lock(m_lock);
    m_loopThread = std::this_thread::get_id();
    while (!m_stopRequested) {
        if (m_heap.empty()) {
            m_wake.wait(lock);
            continue;
        }
        Timer* next = m_heap.front().timer;
        if (m_heap.front().due > Clock::now()) {
            // A copy: the wait reads the deadline again when it ends, and the timer may have
            // been stopped and destroyed by then.
            const Clock::time_point due = m_heap.front().due;
            m_wake.wait_until(lock, due);
            continue;
        }
        remove(next);
        fire(lock, next);
    }
    m_loopThread = std::thread::id();
}

// Runs the callback of `timer` (already out of the heap) without the lock, then requeues it
// if it is cyclic and was not stopped meanwhile. A stopped timer may have been destroyed by
// its callback, so it is not touched again.
void TimerQueue::fire(std::unique_lock<std::mutex>& lock, Timer* timer) {
    m_running = timer;
    m_runningCancelled = false;
    lock.unlock();
    try {
        timer->m_callback.expired(timer);
    } catch (const std::exception& exception) {
        reportFailure(exception.what());
    } catch (...) {
        reportFailure("an exception of unknown type");
    }
    lock.lock();
    if (!m_runningCancelled && timer->m_cyclic) {
        timer->m_due += timer->m_period;
        timer->m_sequence = m_nextSequence++;
        push(timer);
    }
    m_running = nullptr;
    m_callbackDone.notify_all();
}

void TimerQueue::reportFailure(const char* what) noexcept {
    try {
        system::Thread::getLogWriter()->write(system::Thread::ErrorLevel,
                                              std::string("Timer callback threw: ") + what);
    } catch (...) {  // NOLINT(bugprone-empty-catch): nothing is left to report to
    }
}

bool TimerQueue::earlier(const Entry& a, const Entry& b) noexcept {
    return a.due < b.due || (a.due == b.due && a.sequence < b.sequence);
}

void TimerQueue::place(const Entry& entry, std::size_t index) noexcept {
    m_heap[index] = entry;
    entry.timer->m_heapIndex = index;
}

void TimerQueue::push(Timer* timer) {
    m_heap.push_back(Entry{timer->m_due, timer->m_sequence, timer});
    timer->m_heapIndex = m_heap.size() - 1;
    siftUp(timer->m_heapIndex);
}

void TimerQueue::remove(Timer* timer) noexcept {
    const std::size_t index = timer->m_heapIndex;
    const Entry last = m_heap.back();
    m_heap.pop_back();
    timer->m_heapIndex = Timer::kNotQueued;
    if (last.timer == timer) {
        return;
    }
    place(last, index);
    siftUp(index);
    siftDown(last.timer->m_heapIndex);
}

void TimerQueue::siftUp(std::size_t index) noexcept {
    const Entry entry = m_heap[index];
    while (index > 0) {
        const std::size_t parent = (index - 1) / kArity;
        if (!earlier(entry, m_heap[parent])) {
            break;
        }
        place(m_heap[parent], index);
        index = parent;
    }
    place(entry, index);
}

void TimerQueue::siftDown(std::size_t index) noexcept {
    const Entry entry = m_heap[index];
    const std::size_t size = m_heap.size();
    while (true) {
        const std::size_t first = kArity * index + 1;
        if (first >= size) {
            break;
        }
        const std::size_t end = std::min(first + kArity, size);
        std::size_t child = first;
        for (std::size_t other = first + 1; other < end; ++other) {
            if (earlier(m_heap[other], m_heap[child])) {
                child = other;
            }
        }
        if (!earlier(m_heap[child], entry)) {
            break;
        }
        place(m_heap[child], index);
        index = child;
    }
    place(entry, index);
}

}  // namespace detail
}  // namespace timer
}  // namespace common
}  // namespace orv
