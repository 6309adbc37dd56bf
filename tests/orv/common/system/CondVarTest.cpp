#include "orv/common/system/CondVar.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "orv/common/system/Mutex.h"
#include "orv/common/system/MutexGuard.h"
#include "support/Concurrency.h"
#include "support/FreeForOthers.h"

namespace {

using namespace std::chrono_literals;
using orv::common::system::CondVar;
using orv::common::system::Mutex;
using orv::common::system::MutexGuard;
using support::freeForOthers;

// A flag with waiters; each waiter reports whether it saw the flag before its deadline.
class Gate {
public:
    // Blocks until open() or until the generous deadline; true when the gate was opened.
    bool pass() {
        MutexGuard guard(m_lock);
        ++m_waiting;
        const auto deadline = std::chrono::steady_clock::now() + support::GenerousDeadline;
        while (!m_open) {
            const auto left = deadline - std::chrono::steady_clock::now();
            if (left <= 0s) {
                break;
            }
            m_changed.waitFor(m_lock, left);
        }
        --m_waiting;
        return m_open;
    }

    int waiting() {
        MutexGuard guard(m_lock);
        return m_waiting;
    }

    void open(bool all) {
        MutexGuard guard(m_lock);
        m_open = true;
        if (all) {
            m_changed.broadcast();
        } else {
            m_changed.signal();
        }
    }

private:
    Mutex m_lock;
    CondVar m_changed;
    bool m_open = false;  // guarded by m_lock
    int m_waiting = 0;    // guarded by m_lock
};

TEST(CondVarTest, SignalWakesAWaiter) {
    Gate gate;
    std::atomic<bool> passed{false};
    std::thread waiter([&] { passed.store(gate.pass()); });
    ASSERT_TRUE(support::waitUntil([&] { return gate.waiting() == 1; }));
    gate.open(false);
    waiter.join();
    EXPECT_TRUE(passed.load());
}

TEST(CondVarTest, BroadcastWakesEveryWaiter) {
    constexpr int Waiters = 4;
    Gate gate;
    std::atomic<int> passed{0};
    std::vector<std::thread> waiters;
    waiters.reserve(Waiters);
    for (int i = 0; i < Waiters; ++i) {
        waiters.emplace_back([&] {
            if (gate.pass()) {
                passed.fetch_add(1);
            }
        });
    }
    // Once the count is seen under the lock, every waiter is inside its wait.
    ASSERT_TRUE(support::waitUntil([&] { return gate.waiting() == Waiters; }));
    gate.open(true);
    for (std::thread& waiter : waiters) {
        waiter.join();
    }
    EXPECT_EQ(passed.load(), Waiters);
}

TEST(CondVarTest, PlainWaitReturnsAfterSignalWithTheLockHeld) {
    Mutex lock;
    CondVar changed;
    bool ready = false;  // guarded by lock
    std::thread signaller([&] {
        MutexGuard guard(lock);
        ready = true;
        changed.signal();
    });
    {
        MutexGuard guard(lock);
        while (!ready) {
            changed.wait(lock);
        }
        EXPECT_TRUE(guard.isLocked());
    }
    signaller.join();
}

TEST(CondVarTest, WaitForTimesOutWithoutSignal) {
    Mutex lock;
    CondVar changed;
    MutexGuard guard(lock);
    const auto before = std::chrono::steady_clock::now();
    bool signalled = true;
    // A spurious wake-up may end a wait early; a timed-out one returns false.
    for (int i = 0; i < 10 && signalled; ++i) {
        signalled = changed.waitFor(lock, 20ms);
    }
    EXPECT_FALSE(signalled);
    EXPECT_GE(std::chrono::steady_clock::now() - before, 20ms);
    EXPECT_FALSE(freeForOthers(lock)) << "the mutex must be held again after the wait";
}

TEST(CondVarTest, WaitForReturnsTrueWhenSignalled) {
    Mutex lock;
    CondVar changed;
    bool ready = false;  // guarded by lock
    bool signalled = false;
    MutexGuard guard(lock);
    std::thread signaller([&] {
        MutexGuard inner(lock);
        ready = true;
        changed.signal();
    });
    while (!ready) {
        signalled = changed.waitFor(lock, support::GenerousDeadline);
    }
    EXPECT_TRUE(signalled);
    guard.unlock();
    signaller.join();
}

// A timeout too large to add to the clock means "wait as long as it takes", not "time out".
TEST(CondVarTest, HugeTimeoutWaitsForTheSignal) {
    const std::chrono::nanoseconds hugeTimeouts[] = {std::chrono::nanoseconds::max(),
                                                     std::chrono::nanoseconds::max() - 1ns,
                                                     std::chrono::hours(24 * 365 * 100)};
    for (std::chrono::nanoseconds timeout : hugeTimeouts) {
        Mutex lock;
        CondVar changed;
        bool ready = false;  // guarded by lock
        bool signalled = false;
        std::thread signaller;
        {
            MutexGuard guard(lock);
            signaller = std::thread([&] {
                std::this_thread::sleep_for(20ms);  // lets the waiter block first
                MutexGuard inner(lock);
                ready = true;
                changed.signal();
            });
            signalled = changed.waitFor(lock, timeout);
        }
        signaller.join();
        EXPECT_TRUE(signalled) << "a wait of " << timeout.count() << "ns timed out";
    }
}

}  // namespace
