#include "orv/common/types/SmartPtr.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <utility>
#include <vector>

#include "support/Concurrency.h"

namespace {

using orv::common::types::SmartPtr;

// Counts how many probes have been deleted.
struct Probe {
    explicit Probe(std::atomic<int>& deletions, int value = 0)
        : deletions(deletions), value(value) {}
    ~Probe() { deletions.fetch_add(1); }
    std::atomic<int>& deletions;
    int value;
};

TEST(SmartPtrTest, EmptyPointerOwnsNothing) {
    SmartPtr<Probe> defaulted;
    SmartPtr<Probe> fromNull(nullptr);
    SmartPtr<Probe> fromNullPointer(static_cast<Probe*>(nullptr));
    for (const SmartPtr<Probe>* empty : {&defaulted, &fromNull, &fromNullPointer}) {
        EXPECT_EQ(empty->get(), nullptr);
        EXPECT_FALSE(*empty);
        EXPECT_EQ(empty->useCount(), 0);
    }
}

TEST(SmartPtrTest, LastOwnerDeletes) {
    std::atomic<int> deletions{0};
    {
        SmartPtr<Probe> first(new Probe(deletions));
        {
            // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): copies are the point
            SmartPtr<Probe> second = first;
            SmartPtr<Probe> third(second);  // NOLINT(performance-unnecessary-copy-initialization)
            EXPECT_EQ(first.useCount(), 3);
            EXPECT_EQ(second.get(), first.get());
            EXPECT_TRUE(second == first);
        }
        EXPECT_EQ(deletions.load(), 0);
        EXPECT_EQ(first.useCount(), 1);
    }
    EXPECT_EQ(deletions.load(), 1);
}

TEST(SmartPtrTest, MoveTransfersOwnershipWithoutCounting) {
    std::atomic<int> deletions{0};
    SmartPtr<Probe> source(new Probe(deletions));
    Probe* raw = source.get();

    SmartPtr<Probe> moved(std::move(source));
    // NOLINTNEXTLINE(bugprone-use-after-move,clang-analyzer-cplusplus.Move): checked on purpose
    EXPECT_EQ(source.get(), nullptr);
    EXPECT_EQ(moved.get(), raw);
    EXPECT_EQ(moved.useCount(), 1);

    SmartPtr<Probe> assigned;
    assigned = std::move(moved);
    // NOLINTNEXTLINE(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
    EXPECT_EQ(moved.get(), nullptr);
    EXPECT_EQ(assigned.useCount(), 1);
    EXPECT_EQ(deletions.load(), 0);

    assigned = SmartPtr<Probe>();
    EXPECT_EQ(deletions.load(), 1);
}

TEST(SmartPtrTest, AssignmentReleasesTheOldObject) {
    std::atomic<int> oldDeletions{0};
    std::atomic<int> newDeletions{0};
    SmartPtr<Probe> target(new Probe(oldDeletions));
    SmartPtr<Probe> other(new Probe(newDeletions));

    target = other;
    EXPECT_EQ(oldDeletions.load(), 1);
    EXPECT_EQ(newDeletions.load(), 0);
    EXPECT_EQ(other.useCount(), 2);

    other = SmartPtr<Probe>();
    EXPECT_EQ(newDeletions.load(), 0);
    EXPECT_EQ(target.useCount(), 1);
}

TEST(SmartPtrTest, SelfAssignmentKeepsTheObject) {
    std::atomic<int> deletions{0};
    SmartPtr<Probe> owner(new Probe(deletions, 7));
    SmartPtr<Probe>& alias = owner;
    owner = alias;
    EXPECT_EQ(deletions.load(), 0);
    EXPECT_EQ(owner.useCount(), 1);
    EXPECT_EQ(owner->value, 7);

    owner = std::move(alias);
    EXPECT_EQ(deletions.load(), 0);
    ASSERT_TRUE(owner);
    EXPECT_EQ(owner->value, 7);
}

TEST(SmartPtrTest, ResetDropsThisShareOnly) {
    std::atomic<int> firstDeletions{0};
    std::atomic<int> secondDeletions{0};
    SmartPtr<Probe> owner(new Probe(firstDeletions));
    SmartPtr<Probe> copy = owner;

    owner.reset(new Probe(secondDeletions));
    EXPECT_EQ(firstDeletions.load(), 0);
    EXPECT_EQ(copy.useCount(), 1);
    EXPECT_EQ(owner.useCount(), 1);

    copy.reset();
    EXPECT_EQ(firstDeletions.load(), 1);
    EXPECT_FALSE(copy);

    owner.reset();
    EXPECT_EQ(secondDeletions.load(), 1);
    owner.reset();  // resetting an empty pointer is harmless
    EXPECT_EQ(secondDeletions.load(), 1);
}

TEST(SmartPtrTest, CopiesDroppedOnManyThreadsDeleteExactlyOnce) {
    constexpr int Threads = 8;
    constexpr int Rounds = 200;
    constexpr int CopiesPerThread = 50;
    std::atomic<int> deletions{0};

    for (int round = 0; round < Rounds; ++round) {
        support::Latch start(Threads);
        std::vector<std::thread> threads;
        threads.reserve(Threads);
        {
            SmartPtr<Probe> shared(new Probe(deletions));
            for (int t = 0; t < Threads; ++t) {
                // Each thread receives its own copy and drops it together with the others.
                threads.emplace_back([&start, mine = shared] {
                    start.arriveAndWait();
                    std::vector<SmartPtr<Probe>> copies(CopiesPerThread, mine);
                    SmartPtr<Probe> moved = std::move(copies.back());
                    copies.clear();
                });
            }
        }  // the main thread's share goes first
        for (std::thread& thread : threads) {
            thread.join();
        }
        ASSERT_EQ(deletions.load(), round + 1) << "round " << round;
    }
}

}  // namespace
