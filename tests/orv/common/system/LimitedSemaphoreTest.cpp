#include "orv/common/system/LimitedSemaphore.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "support/Concurrency.h"

namespace {

using namespace std::chrono_literals;
using orv::common::system::LimitedSemaphore;

TEST(LimitedSemaphoreTest, ConstructionNormalisesCountAndLimit) {
    struct Case {
        int count;
        int limit;
        int expectedCount;
        int expectedLimit;
    };
    const Case cases[] = {
        {0, 1, 0, 1},  {1, 1, 1, 1},  {2, 5, 2, 5},   {3, 1, 3, 3},
        {-1, 2, 0, 2}, {0, -4, 0, 0}, {-2, -2, 0, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "count " << c.count << ", limit " << c.limit);
        const LimitedSemaphore semaphore(c.count, c.limit);
        EXPECT_EQ(semaphore.getCount(), c.expectedCount);
        EXPECT_EQ(semaphore.getLimit(), c.expectedLimit);
    }
}

TEST(LimitedSemaphoreTest, UpStopsAtTheLimit) {
    for (int limit : {0, 1, 3}) {
        SCOPED_TRACE(limit);
        LimitedSemaphore semaphore(0, limit);
        for (int i = 0; i < 100; ++i) {
            semaphore.up();
        }
        EXPECT_EQ(semaphore.getCount(), limit);
        for (int i = 0; i < limit; ++i) {
            EXPECT_TRUE(semaphore.tryDown());
        }
        EXPECT_FALSE(semaphore.tryDown()) << "more wake-ups than the limit were kept";
    }
}

TEST(LimitedSemaphoreTest, UpsFromManyThreadsStopAtTheLimit) {
    constexpr int Threads = 4;
    LimitedSemaphore semaphore(0, 2);
    support::Latch start(Threads);
    std::vector<std::thread> threads;
    threads.reserve(Threads);
    for (int t = 0; t < Threads; ++t) {
        threads.emplace_back([&] {
            start.arriveAndWait();
            for (int i = 0; i < 1000; ++i) {
                semaphore.up();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(semaphore.getCount(), 2);
}

TEST(LimitedSemaphoreTest, DownWaitsForUp) {
    LimitedSemaphore semaphore(0, 1);
    std::atomic<bool> returned{false};
    std::thread waiter([&] {
        semaphore.down();
        returned.store(true);
    });
    // Whatever the timing, down() may not return before the up() below.
    std::this_thread::sleep_for(20ms);
    EXPECT_FALSE(returned.load());
    semaphore.up();
    EXPECT_TRUE(support::waitUntil([&] { return returned.load(); }));
    waiter.join();
    EXPECT_EQ(semaphore.getCount(), 0);
}

TEST(LimitedSemaphoreTest, DownReturnsAtOnceWithAPositiveCount) {
    LimitedSemaphore semaphore(1, 1);
    semaphore.down();
    EXPECT_EQ(semaphore.getCount(), 0);
    EXPECT_FALSE(semaphore.downFor(0ns));
}

TEST(LimitedSemaphoreTest, DownForTimesOut) {
    LimitedSemaphore semaphore(0, 1);
    const auto before = std::chrono::steady_clock::now();
    EXPECT_FALSE(semaphore.downFor(20ms));
    EXPECT_GE(std::chrono::steady_clock::now() - before, 20ms);
    EXPECT_FALSE(semaphore.downFor(-5ms));
    EXPECT_EQ(semaphore.getCount(), 0);
}

TEST(LimitedSemaphoreTest, DownForTakesAnUpThatComesInTime) {
    const std::chrono::nanoseconds timeouts[] = {
        std::chrono::duration_cast<std::chrono::nanoseconds>(support::GenerousDeadline),
        std::chrono::nanoseconds::max(),  // too large to add to the clock: no deadline at all
    };
    for (std::chrono::nanoseconds timeout : timeouts) {
        SCOPED_TRACE(timeout.count());
        LimitedSemaphore semaphore(0, 1);
        std::thread upper([&] {
            std::this_thread::sleep_for(20ms);  // lets the waiter block first
            semaphore.up();
        });
        EXPECT_TRUE(semaphore.downFor(timeout));
        upper.join();
        EXPECT_EQ(semaphore.getCount(), 0);
    }
}

// Two threads hand a token back and forth through two limit-1 semaphores; a single lost
// wake-up would stall the exchange until the deadline.
TEST(LimitedSemaphoreTest, PingPongLosesNoWakeUp) {
    constexpr int Exchanges = 100000;
    LimitedSemaphore ping(0, 1);
    LimitedSemaphore pong(0, 1);
    std::atomic<int> ponged{0};
    std::atomic<bool> giveUp{false};

    std::thread partner([&] {
        for (int i = 0; i < Exchanges && !giveUp.load(); ++i) {
            while (!ping.downFor(100ms)) {
                if (giveUp.load()) {
                    return;
                }
            }
            ponged.fetch_add(1);
            pong.up();
        }
    });

    const auto deadline = std::chrono::steady_clock::now() + 120s;
    int completed = 0;
    for (; completed < Exchanges; ++completed) {
        ping.up();
        bool answered = false;
        while (!answered && std::chrono::steady_clock::now() < deadline) {
            answered = pong.downFor(100ms);
        }
        if (!answered) {
            break;
        }
    }
    giveUp.store(true);
    partner.join();
    EXPECT_EQ(completed, Exchanges);
    EXPECT_EQ(ponged.load(), Exchanges);
}

// Producers and consumers on one semaphore: every token taken was given, and consumers
// blocked in down() are all woken by the producers.
TEST(LimitedSemaphoreTest, ManyProducersAndConsumersBalance) {
    constexpr int Pairs = 3;
    constexpr int TokensPerPair = 20000;
    LimitedSemaphore items(0, 4);
    LimitedSemaphore space(4, 4);
    std::atomic<long> taken{0};

    std::vector<std::thread> threads;

    threads.reserve(static_cast<std::size_t>(Pairs) * 2);
    for (int p = 0; p < Pairs; ++p) {
        threads.emplace_back([&] {
            for (int i = 0; i < TokensPerPair; ++i) {
                space.down();
                items.up();
            }
        });
        threads.emplace_back([&] {
            for (int i = 0; i < TokensPerPair; ++i) {
                items.down();
                taken.fetch_add(1);
                space.up();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(taken.load(), static_cast<long>(Pairs) * TokensPerPair);
    EXPECT_EQ(items.getCount(), 0);
    EXPECT_EQ(space.getCount(), 4);
}

}  // namespace
