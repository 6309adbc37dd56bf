// DefaultDecoupler: priority order, user ids, removal as a barrier, destruction, and a stress
// run of producers and removers.

#include "orv/bafu/DefaultDecoupler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "DecouplerTestSupport.h"
#include "QueueModel.h"

namespace orv::bafu {
namespace {

using namespace test_support;
constexpr unsigned int kBystander = 4242;  // a user no test removes

TEST(DefaultDecoupler, RunsMostUrgentFirstAndFifoWithinAPriority) {
    DefaultDecoupler decoupler("order");
    std::vector<std::pair<int, int>> queued, ran;  // priority, arrival
    Gate gate(decoupler, kBystander);
    for (int arrival = 0; arrival < 2000; ++arrival) {
        const int priority = arrival % 3 == 0 ? 0 : 64 + arrival * 7919 % 192;  // 0 alone below 64
        queued.emplace_back(priority, arrival);
        decoupler.call([&ran, priority, arrival] { ran.emplace_back(priority, arrival); }, 7,
                       static_cast<unsigned char>(priority));
    }
    gate.release();
    ASSERT_TRUE(drain(decoupler));
    std::stable_sort(queued.begin(), queued.end(),
                     [](auto& a, auto& b) { return a.first < b.first; });
    EXPECT_EQ(ran, queued);
    decoupler.removeAllCalls();  // nothing queued: returns once the worker has seen it
}

// With the worker held, `steps` are queued in order; then what ran is compared, in order. A
// step with a priority is a call that notes its name. kRemove: removeUserCalls with a callback
// that notes the name (with '?' if not on the worker or not told true) and queues a call
// "<name>+" of the same user at 200; kReleased: the same, the callback let go at once;
// kRemoveAll: removeAllCalls with such a callback.
constexpr int kRemove = -1, kReleased = -2, kRemoveAll = -3;
void play(const std::vector<std::tuple<unsigned int, int, const char*>>& steps,
          const Strings& expected) {
    DefaultDecoupler decoupler("scenario");
    Notes ran;
    auto witness = std::make_shared<int>(0);  // held by every call queued
    std::vector<std::shared_ptr<Callback>> callbacks;
    {
        Gate gate(decoupler, kBystander);
        for (const auto& [user, priority, name] : steps) {
            if (priority >= 0) {
                decoupler.call([&ran, witness, name = name] { ran.add(name); }, user,
                               static_cast<unsigned char>(priority));
                continue;
            }
            callbacks.push_back(
                std::make_shared<Callback>([&, user = user, name = std::string(name)](bool flag) {
                    ran.add(name + (flag && threadName() == "scenario" ? "" : "?"));
                    decoupler.call([&ran, name] { ran.add(name + "+"); }, user, 200);
                }));
            priority == kRemoveAll ? decoupler.removeAllCalls(callbacks.back())
                                   : decoupler.removeUserCalls(user, callbacks.back());
            if (priority == kReleased) {
                callbacks.pop_back();
            }
        }
    }
    ASSERT_TRUE(support::waitUntil([&] { return ran.get().size() >= expected.size(); }));
    ASSERT_TRUE(drain(decoupler));  // queued only now: a removal of every user would drop it
    EXPECT_EQ(ran.get(), expected);
    EXPECT_EQ(witness.use_count(), 1);  // the calls dropped are destroyed too
}

// The request waits at priority 254: more urgent calls of the user, and a 254 queued before
// it, still run; what is left of the user is dropped; then the callback runs on the worker; a
// call it queues is not affected. Other users keep their places.
TEST(DefaultDecoupler, RemovalIsABarrierAt254ThenDropsTheRestAndCallsBack) {
    // clang-format off
    play({{9, 10, "u10"}, {9, 255, "u255"}, {9, 254, "u254-before"}, {10, 255, "o255"},
          {9, kRemove, "removed"}, {9, 254, "u254-after"}, {9, 10, "u10-after"}, {10, 254, "o254"}},
         {"u10", "u10-after", "u254-before", "removed", "removed+", "o254", "o255"});
    // clang-format on
}

// A released callback is skipped, its calls dropped all the same. Removing id 0 also drops the
// removal requests still queued (they carry id 0), whose callbacks then never run.
TEST(DefaultDecoupler, ReleasedCallbackIsSkippedAndIdZeroDropsPendingRequests) {
    play(
        {{3, 255, "u3"}, {3, kReleased, "released"}, {0, kRemove, "zero"}, {5, kRemove, "dropped"}},
        {"zero", "zero+"});
}

TEST(DefaultDecoupler, RemovingAllUsersLetsUrgentCallsRunAndDropsTheRest) {
    play({{2, 255, "a"}, {3, 255, "b"}, {2, 0, "a0"}, {1, kRemoveAll, "all"}, {3, 253, "b253"}},
         {"a0", "b253", "all", "all+"});
}

// Destruction waits for the running call, then drops unrun what is queued: calls already sorted
// by priority, calls just handed over, and removal requests, whose callbacks never run.
TEST(DefaultDecoupler, DestructionFinishesTheRunningCallAndDropsEverythingQueued) {
    auto decoupler = std::make_unique<DefaultDecoupler>("destroy");
    auto witness = std::make_shared<int>(0);
    std::atomic<bool> ran{false}, removed{false};
    const auto onRemoved = std::make_shared<Callback>([&](bool) { removed = true; });
    Gate first(*decoupler, kBystander);
    decoupler->call([&ran, witness] { ran = true; }, 2, 255);
    decoupler->removeUserCalls(2, onRemoved);
    Gate second(*decoupler, kBystander, 1, false);  // taken once the worker has sorted the rest in
    first.release();
    ASSERT_TRUE(second.state->entered.wait());
    decoupler->call([&ran, witness] { ran = true; }, 2, 0);
    Blocking destroyer([&] { decoupler.reset(); });
    ASSERT_TRUE(destroyer.blocked());
    second.release();
    ASSERT_TRUE(destroyer.finished());
    EXPECT_TRUE(!ran && !removed && witness.use_count() == 1);
}

// kProducers queue calls of several users at random priorities while the test thread withdraws
// every user but the first. Every call and every removal the worker starts is checked against
// the reference model (QueueModel): priority order, FIFO within a priority across producers,
// removals as barriers that drop their user's queued calls. Besides: every call of the user
// never removed runs, and every call is destroyed exactly once.
TEST(DefaultDecouplerStress, ProducersAndRemovalsFollowTheReferenceModel) {
    constexpr std::size_t kProducers = 3, kPerProducer = 40000, kUsers = 5;
    QueueModel model;
    std::atomic<int> destroyed{0};
    std::atomic<std::size_t> producing{kProducers};
    std::vector<std::vector<std::size_t>> kept(kProducers);  // entries of the user never removed
    std::vector<std::shared_ptr<Callback>> callbacks;
    auto decoupler = std::make_unique<DefaultDecoupler>("stress");
    std::vector<std::thread> producers;
    for (std::size_t producer = 0; producer < kProducers; ++producer) {
        producers.emplace_back([&, producer, random = std::mt19937(producer)]() mutable {
            for (std::size_t seq = 0; seq < kPerProducer; ++seq) {
                const auto priority =
                    static_cast<unsigned char>(random() % 3 == 0 ? 255 : random() % 256);
                const auto user = static_cast<unsigned int>(2 + random() % kUsers);
                const std::size_t entry = model.begin(priority, user);
                std::shared_ptr<void> token(nullptr, [&destroyed](void*) { ++destroyed; });
                decoupler->call(
                    [&model, token, entry] {
                        model.started(entry);
                        model.finished();
                    },
                    user, priority);
                model.end(entry);
                if (user == 2) {
                    kept[producer].push_back(entry);
                }
            }
            --producing;
        });
    }
    for (unsigned int user = 3; producing > 0; user = 3 + (user - 2) % (kUsers - 1)) {
        const std::size_t entry = model.begin(QueueModel::kRemovalPriority, user, true);
        callbacks.push_back(std::make_shared<Callback>([&model, entry](bool) {
            model.started(entry);
            model.finished();
        }));
        decoupler->removeUserCalls(user, callbacks.back());
        model.end(entry);
        std::this_thread::sleep_for(std::chrono::microseconds(300));  // pacing only
    }
    for (auto& producer : producers) {
        producer.join();
    }
    ASSERT_TRUE(drain(*decoupler, 2));
    for (const auto& entries : kept) {
        for (const std::size_t entry : entries) {
            ASSERT_TRUE(model.ran(entry)) << "lost: entry " << entry;
        }
    }
    decoupler.reset();
    EXPECT_EQ(model.broken(), 0);
    EXPECT_EQ(destroyed, int(kProducers * kPerProducer));
}

}  // namespace
}  // namespace orv::bafu
