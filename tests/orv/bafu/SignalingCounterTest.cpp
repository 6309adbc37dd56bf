#include "orv/bafu/SignalingCounter.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace orv {
namespace bafu {
namespace {

// Subscribes a callback that appends `name` to `fired` each time it runs.
void subscribeRecorder(SignalingCounter& counter, std::vector<std::string>& fired,
                       const std::string& name) {
    counter.subscribeForZero([&fired, name] { fired.push_back(name); });
}

TEST(SignalingCounterZeroEvents, SubscriptionAtZeroFiresAtOnceAndOnlyOnce) {
    SignalingCounter counter(0);
    std::vector<std::string> fired;
    subscribeRecorder(counter, fired, "f");
    EXPECT_EQ(fired, std::vector<std::string>{"f"});
    counter.dec();
    counter.finish();
    EXPECT_EQ(fired, std::vector<std::string>{"f"});
}

TEST(SignalingCounterZeroEvents, FiresWhenTheCountReachesZeroAndAgainForLaterSubscribers) {
    SignalingCounter counter(2);
    std::vector<std::string> fired;
    subscribeRecorder(counter, fired, "f");
    counter.dec();
    EXPECT_TRUE(fired.empty());
    counter.dec();
    EXPECT_EQ(fired, std::vector<std::string>{"f"});

    // dec() at zero is a zero event of its own: it stays at zero and fires newcomers only.
    counter.dec();
    EXPECT_EQ(counter.get(), 0U);
    EXPECT_EQ(fired, std::vector<std::string>{"f"});
    counter.inc();
    subscribeRecorder(counter, fired, "g");
    counter.dec();
    counter.dec();
    EXPECT_EQ(counter.get(), 0U);
    EXPECT_EQ(fired, (std::vector<std::string>{"f", "g"}));
}

TEST(SignalingCounterZeroEvents, SubscribersFireInSubscriptionOrder) {
    SignalingCounter counter(1);
    std::vector<std::string> fired;
    for (const char* name : {"a", "b", "c"}) {
        subscribeRecorder(counter, fired, name);
    }
    counter.dec();
    EXPECT_EQ(fired, (std::vector<std::string>{"a", "b", "c"}));
}

TEST(SignalingCounterZeroEvents, FinishFiresAndClearsWhateverTheCount) {
    SignalingCounter counter(5);
    std::vector<std::string> fired;
    subscribeRecorder(counter, fired, "a");
    subscribeRecorder(counter, fired, "b");
    counter.finish();
    EXPECT_EQ(fired, (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(counter.get(), 5U);
    counter.finish();
    EXPECT_EQ(fired.size(), 2U);
}

TEST(SignalingCounterZeroEvents, SubscriberMayResubscribeAndFiresAgainWhileZero) {
    SignalingCounter counter(1);
    int calls = 0;
    std::function<void()> again = [&] {
        if (++calls < 3) {
            counter.subscribeForZero(std::function<void()>(again));
        }
    };
    counter.subscribeForZero(std::function<void()>(again));
    counter.dec();
    EXPECT_EQ(calls, 3);
}

TEST(SignalingCounterZeroEvents, ThrowingSubscriberReachesTheCallerAndDropsTheRest) {
    SignalingCounter counter(1);
    std::vector<std::string> fired;
    subscribeRecorder(counter, fired, "a");
    counter.subscribeForZero([] { throw std::runtime_error("boom"); });
    subscribeRecorder(counter, fired, "c");
    EXPECT_THROW(counter.dec(), std::runtime_error);
    EXPECT_EQ(fired, std::vector<std::string>{"a"});
    counter.finish();
    EXPECT_EQ(fired, std::vector<std::string>{"a"});
}

TEST(SignalingCounterZeroEvents, UnfiredSubscribersAreDestroyedUncalledWithTheCounter) {
    auto token = std::make_shared<int>(0);
    bool called = false;
    {
        SignalingCounter counter(1);
        counter.subscribeForZero([token, &called] { called = true; });
        EXPECT_EQ(token.use_count(), 2);
    }
    EXPECT_FALSE(called);
    EXPECT_EQ(token.use_count(), 1);
}

TEST(SignalingCounterGuard, DestructorUndoesTheIncrementsNotYetTakenBack) {
    SignalingCounter counter(0);
    std::vector<std::string> fired;
    {
        SignalingCounter::Guard guard(counter);
        guard.inc();
        guard.inc();
        guard.inc();
        guard.dec();
        EXPECT_EQ(counter.get(), 2U);
        subscribeRecorder(counter, fired, "f");
        EXPECT_TRUE(fired.empty());
    }
    EXPECT_EQ(counter.get(), 0U);
    EXPECT_EQ(fired, std::vector<std::string>{"f"});
}

TEST(SignalingCounterGuard, DecWithoutIncrementsLeavesTheCounterAlone) {
    SignalingCounter counter(3);
    SignalingCounter::Guard guard(counter);
    guard.dec();
    EXPECT_EQ(counter.get(), 3U);
}

TEST(SignalingCounterConcurrency, BalancedIncAndDecFromManyThreadsEndAtZeroAndFire) {
    constexpr int Threads = 4;
    constexpr int Rounds = 20000;
    SignalingCounter counter(1);  // held by the test until every worker is done
    std::atomic<int> fired{0};
    counter.subscribeForZero([&] { ++fired; });
    std::vector<std::thread> workers;
    workers.reserve(Threads);
    for (int t = 0; t < Threads; ++t) {
        workers.emplace_back([&] {
            for (int i = 0; i < Rounds; ++i) {
                SignalingCounter::Guard guard(counter);
                guard.inc();
                EXPECT_GT(counter.get(), 0U);
            }
        });
    }
    for (auto& worker : workers) {
        worker.join();
    }
    EXPECT_EQ(fired.load(), 0);
    counter.dec();
    EXPECT_EQ(counter.get(), 0U);
    EXPECT_EQ(fired.load(), 1);
}

}  // namespace
}  // namespace bafu
}  // namespace orv
