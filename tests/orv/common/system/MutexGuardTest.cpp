#include "orv/common/system/MutexGuard.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "orv/common/system/Mutex.h"
#include "support/Concurrency.h"
#include "support/FreeForOthers.h"

namespace {

using orv::common::system::Mutex;
using orv::common::system::MutexGuard;
using support::freeForOthers;

TEST(MutexGuardTest, HoldsForTheScope) {
    Mutex mutex;
    {
        MutexGuard guard(mutex);
        EXPECT_TRUE(guard.isLocked());
        EXPECT_FALSE(freeForOthers(mutex));
    }
    EXPECT_TRUE(freeForOthers(mutex));
}

TEST(MutexGuardTest, UnlockAndLockInsideTheScope) {
    Mutex mutex;
    {
        MutexGuard guard(mutex);
        guard.unlock();
        EXPECT_FALSE(guard.isLocked());
        EXPECT_TRUE(freeForOthers(mutex));
        guard.unlock();  // a second unlock does nothing
        EXPECT_TRUE(freeForOthers(mutex));

        guard.lock();
        EXPECT_TRUE(guard.isLocked());
        EXPECT_FALSE(freeForOthers(mutex));
        guard.lock();  // a second lock does nothing (and does not deadlock)
        EXPECT_FALSE(freeForOthers(mutex));
    }
    EXPECT_TRUE(freeForOthers(mutex));
}

// A guard that gave the lock up must not release it again when it ends, not even when
// another thread holds it by then.
TEST(MutexGuardTest, DestructorReleasesOnlyWhenHeld) {
    Mutex mutex;
    support::Latch held(1);
    support::Latch guardGone(1);
    std::thread owner;
    {
        MutexGuard guard(mutex);
        guard.unlock();
        owner = std::thread([&] {
            mutex.lock();
            held.countDown();
            guardGone.wait();
            mutex.unlock();
        });
        ASSERT_TRUE(held.wait());
    }
    EXPECT_FALSE(mutex.tryLock()) << "the guard released a lock it did not hold";
    guardGone.countDown();
    owner.join();
    EXPECT_TRUE(freeForOthers(mutex));
}

}  // namespace
