#pragma once

// Helpers shared by the framework tests: notes taken from any thread, a gate that holds a
// decoupler's worker inside a call, a thread for an operation that blocks, a drain, and whether
// a thread sleeps.

#include <pthread.h>
#include <sys/types.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "orv/bafu/DefaultDecoupler.h"
#include "support/Concurrency.h"

namespace orv::bafu::test_support {

using Strings = std::vector<std::string>;
using Callback = IDecoupler::RemovedCallback;

// Notes in the order they were taken, from any thread.
struct Notes {
    void add(const std::string& note) {
        const std::lock_guard<std::mutex> guard(lock);
        all.push_back(note);
    }
    Strings get() {
        const std::lock_guard<std::mutex> guard(lock);
        return all;
    }
    std::mutex lock;
    Strings all;
};

// The operating system's name of the calling thread.
inline std::string threadName() {
    char name[16] = {};
    pthread_getname_np(pthread_self(), name, sizeof name);
    return name;
}

// Whether thread `tid` of this process is asleep (blocked in the kernel) right now.
inline bool isSleeping(pid_t tid) {
    std::string stat;
    std::getline(std::ifstream("/proc/self/task/" + std::to_string(tid) + "/stat"), stat);
    return stat.find(") S ") != std::string::npos;  // the state follows the name
}

// Holds a decoupler's worker inside one call until release(). The state is shared with the
// call, which may still be leaving when the gate is gone.
struct Gate {
    Gate(IDecoupler& decoupler, unsigned int userId, unsigned char priority = 0, bool wait = true) {
        decoupler.call([s = state] { s->entered.countDown(), s->release.wait(); }, userId,
                       priority);
        EXPECT_TRUE(!wait || state->entered.wait());
    }
    ~Gate() { release(); }
    void release() { state->release.countDown(); }
    struct State {
        support::Latch entered{1}, release{1};
    };
    std::shared_ptr<State> state = std::make_shared<State>();
};

// Runs `body` on a detached thread, so that a test whose body never returns still ends;
// blocked() waits until that thread sleeps inside `body`, finished() until `body` returned.
struct Blocking {
    template <typename Body>
    explicit Blocking(Body body) {
        std::thread([s = state, body] { s->tid = gettid(), body(), s->done = true; }).detach();
    }
    bool blocked() const {
        return support::waitUntil(
                   [s = state] { return s->done || (s->tid && isSleeping(s->tid)); }) &&
               !state->done;
    }
    bool finished() const {
        return support::waitUntil([s = state] { return s->done.load(); });
    }
    struct State {
        std::atomic<pid_t> tid{0};
        std::atomic<bool> done{false};
    };
    std::shared_ptr<State> state = std::make_shared<State>();
};

// Waits until every entry queued on `decoupler` before it has run or been dropped.
inline bool drain(IDecoupler& decoupler, unsigned int userId = 4242) {
    auto done = std::make_shared<support::Latch>(1);
    decoupler.call([done] { done->countDown(); }, userId, 255);
    return done->wait();
}

}  // namespace orv::bafu::test_support
