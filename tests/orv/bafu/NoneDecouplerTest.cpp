#include "orv/bafu/NoneDecoupler.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <stdexcept>
#include <thread>

#include "DecouplerTestSupport.h"
#include "support/Await.h"
#include "support/Concurrency.h"

namespace orv {
namespace bafu {
namespace {

using Callback = IDecoupler::RemovedCallback;
using test_support::RecordedCompletion;

// Runs one call of `decoupler` on a thread of its own and keeps it inside its function until
// release().
class BlockedCall {
public:
    explicit BlockedCall(NoneDecoupler& decoupler)
        : m_thread([this, &decoupler] {
              decoupler.call(
                  [this] {
                      m_inside.countDown();
                      m_release.wait();
                      m_returned = true;  // the function's last act
                  },
                  1, 128);
          }) {
        m_inside.wait();
    }
    BlockedCall(const BlockedCall&) = delete;
    BlockedCall& operator=(const BlockedCall&) = delete;
    ~BlockedCall() {
        if (m_thread.joinable()) {
            join();
        }
    }

    void release() { m_release.countDown(); }
    void join() {
        release();
        m_thread.join();
    }
    std::thread::id id() const { return m_thread.get_id(); }
    // Whether the blocked function has returned.
    bool returned() const { return m_returned; }

private:
    support::Latch m_inside{1};
    support::Latch m_release{1};
    std::atomic<bool> m_returned{false};
    std::thread m_thread;
};

TEST(NoneDecouplerIds, CreateUserIdIsAlwaysOne) {
    NoneDecoupler decoupler;
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(decoupler.createUserId(), 1U);
    }
}

TEST(NoneDecouplerCall, RunsAtOnceOnTheCallingThreadWhateverIdAndPriority) {
    NoneDecoupler decoupler;
    std::thread::id ranOn;
    decoupler.call([&] { ranOn = std::this_thread::get_id(); }, 0xFFFFFFFFU, 255);
    EXPECT_EQ(ranOn, std::this_thread::get_id());
}

TEST(NoneDecouplerCall, ExceptionsReachTheCallerAndTheCallStillEnds) {
    NoneDecoupler decoupler;
    EXPECT_THROW(decoupler.call([] { throw std::runtime_error("x"); }, 1, 0), std::runtime_error);
    EXPECT_THROW(decoupler.call(std::function<void()>(), 1, 0), std::bad_function_call);
    RecordedCompletion completion;
    decoupler.removeUserCalls(1, completion.callback);
    EXPECT_EQ(completion.calls, 1);  // nothing counted as running any more
}

TEST(NoneDecouplerRemoval, WithNothingRunningCallsBackAtOnceOnTheCaller) {
    NoneDecoupler decoupler;
    RecordedCompletion completion;
    decoupler.removeUserCalls(7, completion.callback);
    EXPECT_EQ(completion.calls, 1);
    EXPECT_TRUE(completion.flag);
    EXPECT_EQ(completion.thread, std::this_thread::get_id());

    RecordedCompletion all;
    decoupler.removeAllCalls(all.callback);
    EXPECT_EQ(all.calls, 1);
    decoupler.removeUserCalls(7);
    decoupler.removeAllCalls();
}

TEST(NoneDecouplerRemoval, WaitsForARunningCallOfAnyUserAndCallsBackOnItsThread) {
    NoneDecoupler decoupler;
    RecordedCompletion completion;
    BlockedCall running(decoupler);
    decoupler.removeUserCalls(7, completion.callback);
    EXPECT_EQ(completion.calls, 0);
    const std::thread::id runner = running.id();
    running.join();
    EXPECT_EQ(completion.calls, 1);
    EXPECT_TRUE(completion.flag);
    EXPECT_EQ(completion.thread, runner);
}

TEST(NoneDecouplerRemoval, ThrowingCallStillCompletesAPendingRemoval) {
    NoneDecoupler decoupler;
    RecordedCompletion completion;
    EXPECT_THROW(decoupler.call(
                     [&] {
                         decoupler.removeUserCalls(3, completion.callback);
                         EXPECT_EQ(completion.calls, 0);
                         throw std::runtime_error("x");
                     },
                     1, 0),
                 std::runtime_error);
    EXPECT_EQ(completion.calls, 1);
}

TEST(NoneDecouplerRemoval, ReleasedCallbackIsSkippedButItsSubscriptionConsumed) {
    NoneDecoupler decoupler;
    int calls = 0;
    {
        BlockedCall running(decoupler);
        auto callback = std::make_shared<Callback>([&](bool) { ++calls; });
        decoupler.removeUserCalls(2, callback);
        callback.reset();
    }
    EXPECT_EQ(calls, 0);
    RecordedCompletion later;
    decoupler.removeUserCalls(2, later.callback);
    EXPECT_EQ(later.calls, 1);
    EXPECT_EQ(calls, 0);
}

TEST(NoneDecouplerBlockingRemoval, ReturnsOnlyAfterTheRunningCallHasReturned) {
    NoneDecoupler decoupler;
    BlockedCall running(decoupler);
    std::atomic<bool> removed{false};
    std::thread remover([&] {
        decoupler.removeAllCalls();
        removed = true;
        EXPECT_TRUE(running.returned());
    });
    running.release();
    remover.join();
    EXPECT_TRUE(removed);
}

TEST(NoneDecouplerBlockingRemoval, WaitsForCallsOnEveryThread) {
    NoneDecoupler decoupler;
    BlockedCall first(decoupler);
    BlockedCall second(decoupler);
    std::atomic<bool> removed{false};
    std::thread remover([&] {
        decoupler.removeUserCalls(5);
        removed = true;
    });
    first.join();
    EXPECT_FALSE(second.returned());
    EXPECT_FALSE(removed);
    second.release();
    remover.join();
    EXPECT_TRUE(removed);
    EXPECT_TRUE(second.returned());
}

// The blocking removal called from inside a call waits for that very call. The decoupler and
// the thread are left behind on purpose (reachable from statics): the thread never ends, does
// not hold anything the rest of the program needs, and does not keep the program from exiting.
TEST(NoneDecouplerBlockingRemoval, CalledFromInsideACallNeverReturns) {
    static auto* const decoupler = new NoneDecoupler;
    static auto* const returned = new std::atomic<bool>(false);
    static auto* const entered = new std::atomic<bool>(false);
    std::thread([] {
        decoupler->call(
            [] {
                *entered = true;
                decoupler->removeUserCalls(1);
                *returned = true;
            },
            1, 0);
    }).detach();
    ASSERT_TRUE(test::waitUntil([] { return entered->load(); }));
    EXPECT_FALSE(test::waitUntil([] { return returned->load(); }, std::chrono::milliseconds(300)));
}

}  // namespace
}  // namespace bafu
}  // namespace orv
