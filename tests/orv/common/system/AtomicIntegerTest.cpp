#include "orv/common/system/AtomicInteger.h"

#include <gtest/gtest.h>

#include <climits>
#include <thread>
#include <vector>

#include "support/Concurrency.h"

namespace {

using orv::common::system::AtomicInteger;

TEST(AtomicIntegerTest, ExchangeAddReturnsThePreviousValue) {
    struct Step {
        int delta;
        int before;
    };
    const Step steps[] = {{5, 10}, {-20, 15}, {0, -5}, {7, -5}};
    AtomicInteger value(10);
    for (const Step& step : steps) {
        EXPECT_EQ(value.exchangeAdd(step.delta), step.before);
    }
    EXPECT_EQ(value.get(), 2);
    value.set(-3);
    EXPECT_EQ(value.get(), -3);
    EXPECT_EQ(AtomicInteger().get(), 0);
}

TEST(AtomicIntegerTest, WrapsAroundAtTheEnds) {
    AtomicInteger value(INT_MAX);
    EXPECT_EQ(value.exchangeAdd(1), INT_MAX);
    EXPECT_EQ(value.get(), INT_MIN);
    EXPECT_EQ(value.exchangeAdd(-1), INT_MIN);
    EXPECT_EQ(value.get(), INT_MAX);
}

TEST(AtomicIntegerTest, ConcurrentAddsGiveTheExactSum) {
    constexpr int Threads = 4;
    constexpr int Adds = 50000;
    AtomicInteger value(0);
    support::Latch start(Threads);
    std::vector<std::thread> threads;
    threads.reserve(Threads);
    for (int t = 0; t < Threads; ++t) {
        threads.emplace_back([&, t] {
            start.arriveAndWait();
            const int delta = t % 2 == 0 ? 3 : -1;
            for (int i = 0; i < Adds; ++i) {
                value.exchangeAdd(delta);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(value.get(), (Threads / 2) * Adds * 3 - (Threads / 2) * Adds);
}

}  // namespace
