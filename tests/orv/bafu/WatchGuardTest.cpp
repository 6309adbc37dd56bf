#include "orv/bafu/WatchGuard.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>

#include "orv/bafu/DecouplerTestSupport.h"
#include "orv/bafu/SpyDecoupler.h"
#include "support/Concurrency.h"

namespace orv {
namespace bafu {
namespace {

using test_support::currentThreadName;

constexpr const char* SharedThreadName = "BafuWatchGuard";

// How many threads of this process the operating system knows by `name`.
int threadsNamed(const std::string& name) {
    int count = 0;
    std::error_code error;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task", error)) {
        std::ifstream comm(task.path() / "comm");
        std::string line;
        if (std::getline(comm, line) && line == name) {
            ++count;
        }
    }
    return error ? -1 : count;
}

// Waits until a guard set up now, and so due after every earlier expiry of the shared thread
// (for shorter time-outs), has expired.
bool awaitLaterGuard(unsigned int timeout) {
    support::Latch done(1);
    WatchGuard later([&] { done.countDown(); }, timeout);
    return done.wait();
}

TEST(WatchGuard, GuardsShareOneThreadNamedBafuWatchGuard) {
    WatchGuard first([] {}, 3600000);
    common::timer::TimerManagerThread* const shared = WatchGuard::s_pTimerMgr;
    ASSERT_NE(shared, nullptr);
    EXPECT_TRUE(shared->isRunning());
    EXPECT_EQ(shared->getName(), SharedThreadName);
    EXPECT_EQ(threadsNamed(SharedThreadName), 1);
    WatchGuard second([] {}, 3600000);
    EXPECT_EQ(WatchGuard::s_pTimerMgr, shared);
    EXPECT_EQ(threadsNamed(SharedThreadName), 1);
}

TEST(WatchGuard, ExpiryCallsTheCallbackOnceOnTheSharedThread) {
    std::atomic<int> calls{0};
    std::string thread;
    support::Latch expired(1);
    WatchGuard guard(
        [&] {
            thread = currentThreadName();
            ++calls;
            expired.countDown();
        },
        1);
    ASSERT_TRUE(expired.wait());
    ASSERT_TRUE(awaitLaterGuard(20));
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(thread, SharedThreadName);
}

// A guard ended before its time never calls back. On a machine so slow that the time ran out
// before the guard was ended, the round is repeated with a longer time.
TEST(WatchGuard, EndedBeforeItsTimeNeverCallsBack) {
    enum class End { Finish, Destroy, FinishThenDestroy };
    for (const End end : {End::Finish, End::Destroy, End::FinishThenDestroy}) {
        bool conclusive = false;
        for (unsigned int timeout = 100; !conclusive && timeout <= 6400; timeout *= 2) {
            auto calls = std::make_shared<std::atomic<int>>(0);
            auto guard = std::make_unique<WatchGuard>([calls] { ++*calls; }, timeout);
            if (end != End::Destroy) {
                guard->finish();
            }
            if (end != End::Finish) {
                guard.reset();
            }
            conclusive = *calls == 0;
            if (conclusive) {
                ASSERT_TRUE(awaitLaterGuard(2 * timeout));
                EXPECT_EQ(*calls, 0);
            }
        }
        EXPECT_TRUE(conclusive);
    }
}

TEST(WatchGuard, FinishWaitsForACallbackThatIsRunning) {
    support::Latch entered(1);
    support::Latch release(1);
    std::atomic<bool> returned{false};
    WatchGuard guard(
        [&] {
            entered.countDown();
            release.wait();
            returned = true;
        },
        1);
    ASSERT_TRUE(entered.wait());
    test_support::BlockingCall finish([&] { guard.finish(); });
    ASSERT_TRUE(finish.waitUntilBlocked());
    release.countDown();
    finish.join();
    EXPECT_TRUE(returned);
}

TEST(WatchGuard, EmptyCallbackDoesNotStopTheSharedThread) {
    WatchGuard failing(std::function<void()>(), 1);
    ASSERT_TRUE(awaitLaterGuard(20));
}

TEST(WatchGuardInitialize, MakesAFurtherStartedManagerForTheCaller) {
    WatchGuard shared([] {}, 3600000);
    std::unique_ptr<common::timer::TimerManagerThread> own(initialize());
    ASSERT_NE(own, nullptr);
    EXPECT_NE(own.get(), WatchGuard::s_pTimerMgr);
    EXPECT_TRUE(own->isRunning());
    EXPECT_EQ(threadsNamed(SharedThreadName), 2);

    struct Probe : common::timer::ITimerCallback {
        support::Latch fired{1};
        void expired(common::timer::ITimer*) override { fired.countDown(); }
    } probe;
    auto timer = own->startTimer(probe, 1, false, false);
    EXPECT_TRUE(probe.fired.wait());
    timer.reset();
    own.reset();
    EXPECT_TRUE(support::waitUntil([] { return threadsNamed(SharedThreadName) == 1; }));
}

}  // namespace
}  // namespace bafu
}  // namespace orv
