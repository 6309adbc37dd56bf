#pragma once

// A decoupler in front of a DefaultDecoupler that lets a test see what a component hands to it,
// and that can complete a blocking removal from outside once the test has shown that it hangs.
// Its blocking removal is built on its own non-blocking one, as the DefaultDecoupler's is.

#include <pthread.h>

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "orv/bafu/DefaultDecoupler.h"
#include "orv/bafu/detail/AwaitRemoval.h"
#include "support/Concurrency.h"

namespace orv {
namespace bafu {
namespace test_support {

// The operating system's name of the calling thread.
inline std::string currentThreadName() {
    char name[16] = {};
    pthread_getname_np(pthread_self(), name, sizeof(name));
    return name;
}

class SpyDecoupler : public IDecoupler {
public:
    explicit SpyDecoupler(const std::string& threadName) : m_worker(threadName) {}

    unsigned int createUserId() override { return m_worker.createUserId(); }

    void call(std::function<void()>&& function, unsigned int userId,
              unsigned char priority) override {
        {
            std::lock_guard<std::mutex> guard(m_lock);
            ++m_calls[userId];
            m_priorities.push_back(priority);
            m_changed.notify_all();
        }
        m_worker.call(std::move(function), userId, priority);
    }

    void removeUserCalls(unsigned int userId, std::weak_ptr<RemovedCallback> onRemoved) override {
        {
            std::lock_guard<std::mutex> guard(m_lock);
            m_removals.push_back(onRemoved);
            m_changed.notify_all();
        }
        m_worker.removeUserCalls(userId, std::move(onRemoved));
    }
    void removeUserCalls(unsigned int userId) override { detail::awaitRemoval(*this, userId); }
    void removeAllCalls(std::weak_ptr<RemovedCallback> onRemoved) override {
        removeUserCalls(1, std::move(onRemoved));
    }
    void removeAllCalls() override { removeUserCalls(1); }

    // Waits until `count` calls of `userId` have been handed over (false on the deadline).
    bool waitForCalls(unsigned int userId, int count) {
        std::unique_lock<std::mutex> lock(m_lock);
        return m_changed.wait_for(lock, support::GenerousDeadline,
                                  [&] { return m_calls[userId] >= count; });
    }
    bool waitForRemovals(std::size_t count) {
        std::unique_lock<std::mutex> lock(m_lock);
        return m_changed.wait_for(lock, support::GenerousDeadline,
                                  [&] { return m_removals.size() >= count; });
    }
    std::vector<unsigned char> priorities() const {
        std::lock_guard<std::mutex> guard(m_lock);
        return m_priorities;
    }

    // Reports every removal requested so far as done, from the calling thread: releases a
    // blocking removal that waits for the worker it runs on.
    void completeRemovalsFromOutside() {
        std::vector<std::weak_ptr<RemovedCallback>> removals;
        {
            std::lock_guard<std::mutex> guard(m_lock);
            removals = m_removals;
        }
        for (const auto& removal : removals) {
            if (const auto callback = removal.lock()) {
                (*callback)(true);
            }
        }
    }

private:
    mutable std::mutex m_lock;
    std::condition_variable m_changed;
    std::map<unsigned int, int> m_calls;
    std::vector<unsigned char> m_priorities;
    std::vector<std::weak_ptr<RemovedCallback>> m_removals;
    DefaultDecoupler m_worker;  // destroyed first, so that no call runs once the records go
};

}  // namespace test_support
}  // namespace bafu
}  // namespace orv
