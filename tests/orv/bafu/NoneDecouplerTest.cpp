// NoneDecoupler: calls run at once on the caller's thread; a removal completes when no call of
// any user runs any more.

#include "orv/bafu/NoneDecoupler.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "DecouplerTestSupport.h"

namespace orv::bafu {
namespace {

using namespace test_support;

// A call runs at once on the caller's thread; one that throws still ends. A removal for any user
// returns at once and, once the call running on another thread has ended, calls back there; a
// blocking removal returns only then; a released callback is skipped. With no call running a
// removal calls back at once. The only user id is 1. All of it holds whether or not the thread
// of the running call is the first one that called.
TEST(NoneDecoupler, RemovalWaitsForTheCallsRunningOnAnyThread) {
    for (const bool runningCallIsFirst : {false, true}) {
        NoneDecoupler decoupler;
        Notes notes;
        const auto tid = [] { return std::to_string(gettid()); };
        const auto throwing = [&] {
            EXPECT_THROW(decoupler.call([] { throw std::runtime_error("x"); }, 1, 0),
                         std::runtime_error);
        };
        if (!runningCallIsFirst) {
            throwing();
        }
        support::Latch release(1);
        Blocking running(
            [&] { decoupler.call([&] { release.wait(), notes.add("ended on " + tid()); }, 2, 9); });
        ASSERT_TRUE(running.blocked());
        if (runningCallIsFirst) {
            throwing();
        }
        const auto removed = std::make_shared<Callback>(
            [&](bool flag) { notes.add((flag ? "removed on " : "?") + tid()); });
        decoupler.removeUserCalls(7, removed);
        decoupler.removeUserCalls(8,
                                  std::make_shared<Callback>([&](bool) { notes.add("released"); }));
        Blocking remover([&] { decoupler.removeAllCalls(), notes.add("returned"); });
        ASSERT_TRUE(remover.blocked());
        notes.add("releasing");
        release.countDown();
        ASSERT_TRUE(running.finished() && remover.finished());
        decoupler.removeUserCalls(decoupler.createUserId(), removed);
        const std::string other = notes.get().size() < 2 ? "" : notes.get()[1].substr(9);
        EXPECT_EQ(notes.get(), (Strings{"releasing", "ended on " + other, "removed on " + other,
                                        "returned", "removed on " + tid()}));
        EXPECT_EQ(decoupler.createUserId(), 1U);
    }
}

// Removals racing with calls on the first calling thread and on another one all complete, each
// once, by the time the calls have ended.
TEST(NoneDecoupler, EveryRemovalCompletesWhileCallsComeAndGo) {
    constexpr int kCalls = 20000;
    constexpr int kRemovals = 2000;
    NoneDecoupler decoupler;
    std::atomic<int> calls{0};
    std::atomic<int> completed{0};
    const auto caller = [&] {
        for (int i = 0; i < kCalls; ++i) {
            decoupler.call([&] { calls.fetch_add(1), std::this_thread::yield(); }, 1, 0);
        }
    };
    decoupler.call([] {}, 1, 0);  // this thread is the first caller
    std::thread other(caller);
    const auto done = std::make_shared<Callback>([&](bool) { completed.fetch_add(1); });
    std::thread remover([&] {
        for (int i = 0; i < kRemovals; ++i) {
            decoupler.removeUserCalls(1, done);
        }
    });
    caller();
    other.join();
    remover.join();
    EXPECT_EQ(calls.load(), 2 * kCalls);
    EXPECT_EQ(completed.load(), kRemovals);
}

}  // namespace
}  // namespace orv::bafu
