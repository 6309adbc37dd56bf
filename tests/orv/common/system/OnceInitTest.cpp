#include "orv/common/system/OnceInit.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "support/Concurrency.h"

namespace {

using orv::common::system::OnceInit;
using orv::common::system::os_onceinit_t;

constexpr int Racers = 8;
constexpr int Rounds = 20;

std::atomic<int> g_creations{0};
std::atomic<int> g_failuresLeft{0};

// Slow enough that the racers pile up behind the first caller.
int createSlowly() {
    g_creations.fetch_add(1);
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    if (g_failuresLeft.load() > 0) {
        g_failuresLeft.fetch_sub(1);
        throw std::runtime_error("create failed");
    }
    return 42;
}

// A target at an address never used before in this process: the records keyed by address
// outlive the test, and repeated test runs must not find the previous run's record.
template <typename T>
T& freshTarget(T initial) {
    static std::vector<std::unique_ptr<T>> s_targets;  // kept, so that no address comes back
    s_targets.push_back(std::make_unique<T>(initial));
    return *s_targets.back();
}

std::string createName() {
    g_creations.fetch_add(1);
    return "created";
}

// Starts `Racers` threads together, each calling `init`; counts the callers that saw the
// target set on return and those that got an exception.
template <typename Init, typename IsSet>
void race(Init init, IsSet isSet, int& sawSet, int& threw) {
    support::Latch start(Racers);
    std::atomic<int> set{0};
    std::atomic<int> failed{0};
    std::vector<std::thread> threads;
    threads.reserve(Racers);
    for (int i = 0; i < Racers; ++i) {
        threads.emplace_back([&] {
            start.arriveAndWait();
            try {
                init();
                if (isSet()) {
                    set.fetch_add(1);
                }
            } catch (const std::runtime_error&) {
                failed.fetch_add(1);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    sawSet = set.load();
    threw = failed.load();
}

class OnceInitTest : public testing::Test {
protected:
    void SetUp() override {
        g_creations = 0;
        g_failuresLeft = 0;
    }
};

TEST_F(OnceInitTest, RunsOnceAndLaterCallsReturnAtOnce) {
    auto& name = freshTarget<std::string>("");
    OnceInit::init<std::string>(name, &createName);
    EXPECT_EQ(name, "created");
    name = "changed since";
    OnceInit::init<std::string>(name, &createName);
    EXPECT_EQ(name, "changed since");
    EXPECT_EQ(g_creations.load(), 1);
}

TEST_F(OnceInitTest, RacingCallersCreateOnceThroughAControl) {
    for (int round = 0; round < Rounds; ++round) {
        SCOPED_TRACE(round);
        g_creations = 0;
        os_onceinit_t control;
        int value = 0;
        int sawSet = 0;
        int threw = 0;
        race([&] { OnceInit::init<int>(control, value, &createSlowly); },
             [&] { return value == 42; }, sawSet, threw);
        EXPECT_EQ(g_creations.load(), 1);
        EXPECT_EQ(sawSet, Racers);
        EXPECT_EQ(threw, 0);
    }
}

TEST_F(OnceInitTest, RacingCallersCreateOnceKeyedByTarget) {
    for (int round = 0; round < Rounds; ++round) {
        SCOPED_TRACE(round);
        g_creations = 0;
        int& target = freshTarget(0);
        int sawSet = 0;
        int threw = 0;
        race([&] { OnceInit::init<int>(target, &createSlowly); }, [&] { return target == 42; },
             sawSet, threw);
        EXPECT_EQ(g_creations.load(), 1);
        EXPECT_EQ(sawSet, Racers);
        EXPECT_EQ(threw, 0);
    }
}

TEST_F(OnceInitTest, FailedCreationLeavesTargetAndIsRetried) {
    os_onceinit_t control;
    int value = -1;
    g_failuresLeft = 1;
    EXPECT_THROW(OnceInit::init<int>(control, value, &createSlowly), std::runtime_error);
    EXPECT_EQ(value, -1);

    OnceInit::init<int>(control, value, &createSlowly);
    EXPECT_EQ(value, 42);
    EXPECT_EQ(g_creations.load(), 2);

    OnceInit::init<int>(control, value, &createSlowly);
    EXPECT_EQ(g_creations.load(), 2);
}

TEST_F(OnceInitTest, FailedCreationKeyedByTargetIsRetried) {
    int& value = freshTarget(-1);
    g_failuresLeft = 1;
    EXPECT_THROW(OnceInit::init<int>(value, &createSlowly), std::runtime_error);
    EXPECT_EQ(value, -1);
    OnceInit::init<int>(value, &createSlowly);
    EXPECT_EQ(value, 42);
}

// The caller whose creation fails gets the exception; one of the callers waiting behind it
// creates again, and all the others return with the target set.
TEST_F(OnceInitTest, RacerWaitingBehindAFailureCreatesAgain) {
    for (int round = 0; round < Rounds; ++round) {
        SCOPED_TRACE(round);
        g_creations = 0;
        g_failuresLeft = 1;
        os_onceinit_t control;
        int value = 0;
        int sawSet = 0;
        int threw = 0;
        race([&] { OnceInit::init<int>(control, value, &createSlowly); },
             [&] { return value == 42; }, sawSet, threw);
        EXPECT_EQ(threw, 1);
        EXPECT_EQ(sawSet, Racers - 1);
        EXPECT_EQ(g_creations.load(), 2);
    }
}

}  // namespace
