// Synchronisation: CondVar and LimitedSemaphore wait, time out, and take a time-out too large
// for the clock as no deadline; the semaphore's count stays within its limit and a waiter may
// destroy the semaphore as soon as down() returns; OnceInit creates once and retries a failure.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <deque>
#include <future>
#include <stdexcept>
#include <thread>
#include <vector>

#include "orv/common/system/CondVar.h"
#include "orv/common/system/LimitedSemaphore.h"
#include "orv/common/system/MutexGuard.h"
#include "orv/common/system/OnceInit.h"

namespace {

using namespace std::chrono_literals;
using namespace orv::common::system;

// The signaller gets the mutex only once the condition wait has begun, and raises the
// semaphore a while later, so a wait that ends early fails.
TEST(WaitTest, WaitsEndOnTheSignalAndNotBeforeEvenWithTimeoutsTooLargeForTheClock) {
    Mutex lock;
    CondVar cv;
    LimitedSemaphore semaphore(0, 1);
    MutexGuard guard(lock);
    // A wake-up without a signal may end one wait early, but not all three.
    EXPECT_FALSE(cv.waitFor(lock, 1ms) && cv.waitFor(lock, 1ms) && cv.waitFor(lock, 1ms));
    EXPECT_FALSE(semaphore.downFor(1ms));
    for (const std::chrono::nanoseconds timeout :  // 0: a plain wait() and down()
         {0ns, std::chrono::nanoseconds::max(), std::chrono::nanoseconds::max() - 1ns,
          std::chrono::nanoseconds(24h * 365 * 100)}) {
        std::atomic<bool> raised{false};
        std::thread signaller([&] {
            MutexGuard{lock}, cv.signal();  // taken once the wait has begun
            std::this_thread::sleep_for(20ms);
            raised = true;
            semaphore.up();
        });
        EXPECT_TRUE(timeout == 0ns ? (cv.wait(lock), true) : cv.waitFor(lock, timeout));
        guard.unlock();  // held again after the wait
        EXPECT_TRUE(timeout == 0ns ? (semaphore.down(), true) : semaphore.downFor(timeout));
        EXPECT_TRUE(raised) << "down() returned before the up()";
        signaller.join();
        guard.lock();
    }
}

TEST(LimitedSemaphoreTest, CountStaysBetweenZeroAndTheLimit) {
    // count, limit; then the limit they give
    const int cases[][3] = {{0, 1, 1}, {2, 5, 5}, {3, 1, 3}, {-1, 2, 2}, {0, -4, 0}, {-2, -2, 0}};
    for (const auto& [count, limit, expectedLimit] : cases) {
        LimitedSemaphore semaphore(count, limit);
        EXPECT_EQ(semaphore.getCount(), std::max(count, 0)) << count << ", " << limit;
        EXPECT_EQ(semaphore.getLimit(), expectedLimit) << count << ", " << limit;
        for (int i = 0; i < 100; ++i) {
            semaphore.up();
        }
        EXPECT_EQ(semaphore.getCount(), expectedLimit) << count << ", " << limit;
        EXPECT_EQ(semaphore.tryDown(), expectedLimit > 0) << count << ", " << limit;
    }
}

// A waiter takes the wake-up of one semaphore after another and destroys each at once, while
// the up() that woke it may still be returning; each up() comes just as the waiter gets there.
TEST(LimitedSemaphoreStress, WaiterMayDestroyTheSemaphoreAsSoonAsDownReturns) {
#ifdef __SANITIZE_THREAD__
    std::vector<LimitedSemaphore*> semaphores(2000);  // the race detector needs few rounds
#else
    std::vector<LimitedSemaphore*> semaphores(50000);  // the faulty window is narrow
#endif
    for (LimitedSemaphore*& semaphore : semaphores) {
        semaphore = new LimitedSemaphore(0, 1);
    }
    std::atomic<std::size_t> destroyed{0};
    std::thread waiter([&] {
        for (LimitedSemaphore* semaphore : semaphores) {
            while (semaphore->getCount() == 0) {
            }
            semaphore->down();
            delete semaphore;
            ++destroyed;
        }
    });
    for (std::size_t i = 0; i < semaphores.size(); ++i) {
        while (destroyed < i) {
        }
        semaphores[i]->up();
    }
    waiter.join();
}

std::atomic<int> g_creations{0}, g_failuresLeft{0};

int createSlowly() {
    ++g_creations;
    std::this_thread::sleep_for(5ms);  // lets the racers pile up
    return g_failuresLeft-- > 0 ? throw std::runtime_error("create failed") : 42;
}

// Every other round the first creation fails: its caller alone gets the exception, and a
// waiting racer creates again.
TEST(OnceInitTest, RacersCreateOnceAndAFailureIsTriedAgain) {
    static std::deque<int> targets;  // records keyed by address live on: never reuse one
    for (int round = 0; round < 10; ++round) {
        int& target = targets.emplace_back(0);
        const auto init = [&] {  // 1 when the target is set on return, 100 for an exception
            try {
                return OnceInit::init<int>(target, &createSlowly), target == 42 ? 1 : 0;
            } catch (const std::runtime_error&) {
                return 100;
            }
        };
        g_creations = 0;
        g_failuresLeft = round % 2;
        std::vector<std::future<int>> racers;
        for (int i = 0; i < 8; ++i) {
            racers.push_back(std::async(std::launch::async, init));
        }
        int outcomes = 0;
        for (std::future<int>& racer : racers) {
            outcomes += racer.get();
        }
        EXPECT_EQ(outcomes, round % 2 == 0 ? 8 : 7 + 100) << round;
        EXPECT_EQ(g_creations.load(), 1 + round % 2) << round;
        target = 7;
        EXPECT_EQ(init(), 0) << "a later call created again";
    }
}

}  // namespace
