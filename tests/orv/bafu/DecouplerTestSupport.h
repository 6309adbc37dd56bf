#pragma once

// Helpers for the decoupler tests: a gate that holds a decoupler's worker inside a call, a
// log of what ran, and a way to tell that another thread has gone to sleep (blocked).

#include <sys/types.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "orv/bafu/IDecoupler.h"
#include "support/Await.h"
#include "support/Concurrency.h"

namespace orv {
namespace bafu {
namespace test_support {

// A removal's completion callback that counts its calls and notes the thread and the flag of
// the last one. Hand `callback` over as a weak pointer; the object must outlive the call.
struct RecordedCompletion {
    std::atomic<int> calls{0};
    std::atomic<bool> flag{false};
    std::thread::id thread;
    std::shared_ptr<IDecoupler::RemovedCallback> callback =
        std::make_shared<IDecoupler::RemovedCallback>([this](bool value) {
            thread = std::this_thread::get_id();
            flag = value;
            ++calls;
        });
};

// Holds the worker of a decoupler inside one call until release(), so that a test can arrange
// the queue behind it. The latches are shared with the call, which may still be leaving
// wait() when the gate is gone.
class WorkerGate {
public:
    WorkerGate(IDecoupler& decoupler, unsigned int userId, unsigned char priority = 0)
        : m_state(std::make_shared<State>()) {
        decoupler.call(
            [state = m_state] {
                state->worker = std::this_thread::get_id();
                state->entered.countDown();
                state->release.wait();
                state->returned = true;
            },
            userId, priority);
        m_state->entered.wait();
    }
    WorkerGate(const WorkerGate&) = delete;
    WorkerGate& operator=(const WorkerGate&) = delete;
    ~WorkerGate() { release(); }

    void release() { m_state->release.countDown(); }
    std::thread::id worker() const { return m_state->worker; }
    bool returned() const { return m_state->returned; }

private:
    struct State {
        support::Latch entered{1};
        support::Latch release{1};
        std::thread::id worker;
        std::atomic<bool> returned{false};
    };
    std::shared_ptr<State> m_state;
};

// Names of the calls that ran, in order; any thread may add.
class RunLog {
public:
    void add(const std::string& entry) {
        std::lock_guard<std::mutex> guard(m_lock);
        m_entries.push_back(entry);
    }
    std::vector<std::string> entries() const {
        std::lock_guard<std::mutex> guard(m_lock);
        return m_entries;
    }
    // A call that logs `entry` when it runs.
    std::function<void()> recorder(const std::string& entry) {
        return [this, entry] { add(entry); };
    }

private:
    mutable std::mutex m_lock;
    std::vector<std::string> m_entries;
};

// Waits until every entry queued on `decoupler` before it (of any priority) has run or been
// dropped: queues a last call with priority 255 under an id no test removes.
inline bool drain(IDecoupler& decoupler, unsigned int userId) {
    auto done = std::make_shared<support::Latch>(1);
    decoupler.call([done] { done->countDown(); }, userId, 255);
    return done->wait();
}

// Whether the thread `tid` of this process is asleep (blocked in the kernel) right now.
inline bool isSleeping(pid_t tid) {
    std::ifstream stat("/proc/self/task/" + std::to_string(tid) + "/stat");
    std::string content((std::istreambuf_iterator<char>(stat)), std::istreambuf_iterator<char>());
    const auto end = content.rfind(')');  // the state follows the parenthesised name
    return end != std::string::npos && end + 2 < content.size() && content[end + 2] == 'S';
}

// Runs `body` on a new thread and returns once that thread is blocked (for instance in a
// removal that waits for the worker), or false on the deadline.
class BlockingCall {
public:
    template <typename Body>
    explicit BlockingCall(Body body)
        : m_thread([this, body] {
              m_tid = gettid();
              body();
              m_done = true;
          }) {}
    BlockingCall(const BlockingCall&) = delete;
    BlockingCall& operator=(const BlockingCall&) = delete;
    ~BlockingCall() { join(); }

    bool waitUntilBlocked() {
        return test::waitUntil([this] { return m_tid != 0 && (m_done || isSleeping(m_tid)); }) &&
               !m_done;
    }
    bool done() const { return m_done; }
    void join() {
        if (m_thread.joinable()) {
            m_thread.join();
        }
    }

private:
    std::atomic<pid_t> m_tid{0};
    std::atomic<bool> m_done{false};
    std::thread m_thread;
};

}  // namespace test_support
}  // namespace bafu
}  // namespace orv
