#include "orv/bafu/DefaultDecoupler.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "DecouplerTestSupport.h"
#include "orv/bafu/detail/UserIds.h"
#include "support/CapturedThreadLog.h"

namespace orv {
namespace bafu {
namespace {

using test_support::BlockingCall;
using test_support::drain;
using test_support::RecordedCompletion;
using test_support::RunLog;
using test_support::WorkerGate;
using Callback = IDecoupler::RemovedCallback;
using Strings = std::vector<std::string>;

// A user id that no test removes, for gates and drains.
constexpr unsigned int Bystander = 4242;

TEST(DefaultDecouplerOrder, MostUrgentFirstAndFifoWithinAPriority) {
    DefaultDecoupler decoupler("order");
    RunLog log;
    {
        WorkerGate gate(decoupler, Bystander);
        const std::array<std::pair<unsigned char, const char*>, 5> calls{
            {{5, "5a"}, {0, "0a"}, {5, "5b"}, {255, "255"}, {0, "0b"}}};
        for (const auto& [priority, name] : calls) {
            decoupler.call(log.recorder(name), 7, priority);
        }
    }
    ASSERT_TRUE(drain(decoupler, Bystander));
    EXPECT_EQ(log.entries(), (Strings{"0a", "0b", "5a", "5b", "255"}));
}

TEST(DefaultDecouplerOrder, ManyMixedPrioritiesRunSortedAndStable) {
    DefaultDecoupler decoupler("mixed");
    std::vector<std::pair<int, int>> queued;  // priority, arrival
    std::vector<std::pair<int, int>> ran;     // written on the worker, read after the drain
    std::mt19937 random(7);
    std::uniform_int_distribution<int> priorities(0, 255);
    {
        WorkerGate gate(decoupler, Bystander);
        for (int arrival = 0; arrival < 2000; ++arrival) {
            const int priority = priorities(random);
            queued.emplace_back(priority, arrival);
            decoupler.call([&ran, priority, arrival] { ran.emplace_back(priority, arrival); }, 7,
                           static_cast<unsigned char>(priority));
        }
    }
    ASSERT_TRUE(drain(decoupler, Bystander));
    std::stable_sort(queued.begin(), queued.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    EXPECT_EQ(ran, queued);
}

TEST(DefaultDecouplerOrder, MoreUrgentCallQueuedByARunningCallRunsNext) {
    DefaultDecoupler decoupler("urgent");
    RunLog log;
    {
        WorkerGate gate(decoupler, Bystander);
        decoupler.call(
            [&] {
                log.add("A");
                decoupler.call(log.recorder("C"), 7, 50);
            },
            7, 100);
        decoupler.call(log.recorder("B"), 7, 100);
    }
    ASSERT_TRUE(drain(decoupler, Bystander));
    EXPECT_EQ(log.entries(), (Strings{"A", "C", "B"}));
}

TEST(DefaultDecouplerThread, RunsCallsOnANamedWorkerThread) {
    DefaultDecoupler decoupler("bafu-worker");
    std::array<char, 16> name{};
    std::thread::id ranOn;
    auto done = std::make_shared<support::Latch>(1);
    decoupler.call(
        [&, done] {
            pthread_getname_np(pthread_self(), name.data(), name.size());
            ranOn = std::this_thread::get_id();
            done->countDown();
        },
        2, 128);
    ASSERT_TRUE(done->wait());
    EXPECT_STREQ(name.data(), "bafu-worker");
    EXPECT_NE(ranOn, std::this_thread::get_id());
}

TEST(DefaultDecouplerIds, HandsOutFromTwoAndWrapsPastTheReservedValues) {
    DefaultDecoupler decoupler("ids");
    EXPECT_EQ(decoupler.createUserId(), 2U);
    EXPECT_EQ(decoupler.createUserId(), 3U);
    EXPECT_EQ(detail::userIdAfter(0xFFFFFFFDU), 0xFFFFFFFEU);
    EXPECT_EQ(detail::userIdAfter(0xFFFFFFFEU), 2U);
}

// Three calls of the user at priority 10 run, the two at 255 are dropped, then the callback
// runs on the worker. The request sits at 254: a 254 call queued before it runs, one queued
// after it is dropped, and a 10 queued after it still runs first. Other users are untouched.
TEST(DefaultDecouplerRemoval, IsABarrierAtPriority254ThenDropsAndCallsBack) {
    DefaultDecoupler decoupler("barrier");
    RunLog log;
    RecordedCompletion completion;
    constexpr unsigned int User = 9;
    constexpr unsigned int Other = 10;
    auto witness = std::make_shared<int>(0);  // held by every call that should be dropped
    std::thread::id worker;
    {
        WorkerGate gate(decoupler, Bystander);
        worker = gate.worker();
        for (const char* name : {"u10a", "u10b", "u10c"}) {
            decoupler.call(log.recorder(name), User, 10);
        }
        decoupler.call([&log, witness] { log.add("u255a"); }, User, 255);
        decoupler.call([&log, witness] { log.add("u255b"); }, User, 255);
        decoupler.call(log.recorder("u254-before"), User, 254);
        decoupler.call(log.recorder("o255"), Other, 255);
        decoupler.removeUserCalls(User, completion.callback);
        decoupler.call([&log, witness] { log.add("u254-after"); }, User, 254);
        decoupler.call(log.recorder("u10-after"), User, 10);
        decoupler.call([&] { log.add(completion.calls == 1 ? "o254-after-cb" : "early"); }, Other,
                       254);
    }
    ASSERT_TRUE(drain(decoupler, Bystander));
    EXPECT_EQ(log.entries(), (Strings{"u10a", "u10b", "u10c", "u10-after", "u254-before",
                                      "o254-after-cb", "o255"}));
    EXPECT_EQ(completion.calls, 1);
    EXPECT_TRUE(completion.flag);
    EXPECT_EQ(completion.thread, worker);
    EXPECT_EQ(witness.use_count(), 1);  // the dropped calls are destroyed, not kept
}

TEST(DefaultDecouplerRemoval, CallsQueuedAfterTheRemovalWasCarriedOutAreUnaffected) {
    DefaultDecoupler decoupler("after");
    RunLog log;
    constexpr unsigned int User = 5;
    auto requeue = std::make_shared<Callback>(
        [&](bool) { decoupler.call(log.recorder("queued-in-callback"), User, 200); });
    {
        WorkerGate gate(decoupler, Bystander);
        decoupler.call(log.recorder("dropped"), User, 255);
        decoupler.removeUserCalls(User, requeue);
    }
    ASSERT_TRUE(drain(decoupler, Bystander));
    EXPECT_EQ(log.entries(), Strings{"queued-in-callback"});
}

TEST(DefaultDecouplerRemoval, ReleasedCallbackIsSkippedButTheCallsAreStillDropped) {
    DefaultDecoupler decoupler("released");
    RunLog log;
    int calls = 0;
    {
        WorkerGate gate(decoupler, Bystander);
        decoupler.call(log.recorder("dropped"), 3, 255);
        auto callback = std::make_shared<Callback>([&](bool) { ++calls; });
        decoupler.removeUserCalls(3, callback);
    }
    ASSERT_TRUE(drain(decoupler, Bystander));
    EXPECT_TRUE(log.entries().empty());
    EXPECT_EQ(calls, 0);
}

TEST(DefaultDecouplerRemoval, RemovingIdZeroDropsOtherPendingRemovalRequests) {
    DefaultDecoupler decoupler("zero");
    RecordedCompletion remover;
    RecordedCompletion dropped;
    {
        WorkerGate gate(decoupler, Bystander);
        decoupler.removeUserCalls(0, remover.callback);
        decoupler.removeUserCalls(3, dropped.callback);
    }
    ASSERT_TRUE(drain(decoupler, Bystander));
    EXPECT_EQ(remover.calls, 1);
    EXPECT_EQ(dropped.calls, 0);
}

TEST(DefaultDecouplerBlockingRemoval, RemoveAllLetsUrgentCallsRunDropsTheRestThenReturns) {
    DefaultDecoupler decoupler("all");
    RunLog log;
    WorkerGate gate(decoupler, Bystander);
    decoupler.call(log.recorder("a255"), 2, 255);
    decoupler.call(log.recorder("b255"), 3, 255);
    decoupler.call(log.recorder("a0"), 2, 0);
    decoupler.call(log.recorder("b253"), 3, 253);
    BlockingCall remover([&] { decoupler.removeAllCalls(); });
    ASSERT_TRUE(remover.waitUntilBlocked());
    decoupler.call(log.recorder("b200"), 3, 200);  // queued while the removal waits
    gate.release();
    remover.join();
    EXPECT_EQ(log.entries(), (Strings{"a0", "b200", "b253"}));
    ASSERT_TRUE(drain(decoupler, Bystander));
    EXPECT_EQ(log.entries(), (Strings{"a0", "b200", "b253"}));
}

TEST(DefaultDecouplerBlockingRemoval, WaitsForTheRunningCallOfTheUser) {
    DefaultDecoupler decoupler("running");
    WorkerGate gate(decoupler, 6);
    BlockingCall remover([&] { decoupler.removeUserCalls(6); });
    ASSERT_TRUE(remover.waitUntilBlocked());
    gate.release();
    remover.join();
    EXPECT_TRUE(gate.returned());
}

// The blocking removal called on the worker waits for a request that only the worker itself
// could carry out. The decoupler is left behind on purpose (reachable from a static): its
// worker stays asleep, holds nothing the rest of the program needs and does not keep the
// program from exiting.
TEST(DefaultDecouplerBlockingRemoval, CalledOnTheWorkerThreadNeverReturns) {
    static auto* const decoupler = new DefaultDecoupler("hang");
    static auto* const entered = new std::atomic<bool>(false);
    static auto* const returned = new std::atomic<bool>(false);
    static auto* const urgentRan = new std::atomic<bool>(false);
    decoupler->call(
        [] {
            *entered = true;
            decoupler->removeUserCalls(2);
            *returned = true;
        },
        2, 0);
    ASSERT_TRUE(test::waitUntil([] { return entered->load(); }));
    decoupler->call([] { *urgentRan = true; }, 3, 0);
    EXPECT_FALSE(test::waitUntil([] { return returned->load() || urgentRan->load(); },
                                 std::chrono::milliseconds(300)));
}

TEST(DefaultDecouplerDestruction, FinishesTheRunningCallAndDropsTheQueueUnrun) {
    auto decoupler = std::make_unique<DefaultDecoupler>("destroy");
    RunLog log;
    RecordedCompletion completion;
    auto witness = std::make_shared<int>(0);
    WorkerGate gate(*decoupler, Bystander);
    decoupler->call([&log, witness] { log.add("queued"); }, 2, 0);
    decoupler->call([&log, witness] { log.add("queued-255"); }, 2, 255);
    decoupler->removeUserCalls(2, completion.callback);
    BlockingCall destroyer([&] { decoupler.reset(); });
    ASSERT_TRUE(destroyer.waitUntilBlocked());  // waiting for the running call
    gate.release();
    destroyer.join();
    EXPECT_TRUE(gate.returned());
    EXPECT_TRUE(log.entries().empty());
    EXPECT_EQ(completion.calls, 0);
    EXPECT_EQ(witness.use_count(), 1);
}

// A call that throws, or an empty one, ends the worker for good, which the thread reports;
// what is queued then is destroyed unrun with the decoupler.
TEST(DefaultDecouplerFailure, FailingCallEndsTheWorker) {
    const support::CapturedThreadLog log;
    const std::vector<std::pair<const char*, std::function<void()>>> failures{
        {"throwing", [] { throw std::runtime_error("deliberately thrown by a test"); }},
        {"empty", std::function<void()>()},
    };
    for (const auto& [name, failure] : failures) {
        SCOPED_TRACE(name);
        auto witness = std::make_shared<int>(0);
        bool ran = false;
        {
            DefaultDecoupler decoupler("failing");
            decoupler.call(std::function<void()>(failure), 2, 0);
            ASSERT_TRUE(test::waitUntil([&] { return !decoupler.isRunning(); }));
            decoupler.call([&ran, witness] { ran = true; }, 2, 0);
        }
        EXPECT_FALSE(ran);
        EXPECT_EQ(witness.use_count(), 1);
    }
    EXPECT_TRUE(log.contains("deliberately thrown by a test")) << log.text();
    EXPECT_TRUE(log.contains("failing")) << log.text();
}

}  // namespace
}  // namespace bafu
}  // namespace orv
