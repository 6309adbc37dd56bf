#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <limits>
#include <memory>
#include <random>
#include <thread>
#include <vector>

#include "orv/bafu/DefaultDecoupler.h"
#include "orv/bafu/IDecoupler.h"
#include "support/Concurrency.h"

namespace orv {
namespace bafu {
namespace {

constexpr int Producers = 4;
constexpr int CallsPerProducer = 100000;
constexpr std::size_t TotalCalls = std::size_t{Producers} * CallsPerProducer;

// Where the record of call `seq` of `producer` lives.
std::size_t indexOf(int producer, int seq) {
    return static_cast<std::size_t>(producer) * CallsPerProducer + static_cast<std::size_t>(seq);
}
constexpr int Removers = 2;
constexpr int Users = 6;
constexpr std::uint64_t Never = std::numeric_limits<std::uint64_t>::max();

// Raises `target` to `value` if it is lower.
void raiseTo(std::atomic<std::uint64_t>& target, std::uint64_t value) {
    std::uint64_t current = target.load();
    while (current < value && !target.compare_exchange_weak(current, value)) {
    }
}

// What the stress run records. A logical clock orders events across threads: a call's stamp
// is taken after call() returned, a removal's before removeUserCalls was entered. A call
// stamped before a removal of its user was entered was queued before that removal's request,
// so it must not run once the removal has reported.
struct StressRun {
    explicit StressRun(DefaultDecoupler& decoupler) {
        for (auto& id : userIds) {
            id = decoupler.createUserId();
        }
        for (auto& perPriority : lastSeq) {
            perPriority.fill(-1);
        }
    }

    std::atomic<std::uint64_t> clock{0};
    std::array<unsigned int, Users> userIds{};
    std::vector<std::atomic<std::uint8_t>> ran = std::vector<std::atomic<std::uint8_t>>(TotalCalls);
    std::vector<std::atomic<std::uint64_t>> queuedAt =
        std::vector<std::atomic<std::uint64_t>>(TotalCalls);
    std::atomic<int> ranTwice{0};
    std::atomic<int> ranAfterRemoval{0};
    std::atomic<int> overtook{0};
    std::atomic<int> destroyed{0};
    std::atomic<int> executed{0};
    std::atomic<int> removalsReported{0};

    // Written by blocking removers once their removal has returned (index Users: all users).
    std::array<std::atomic<std::uint64_t>, Users + 1> blockingRemovalEntered{};

    // Touched on the worker thread only: by the calls and by the completion callbacks.
    std::array<std::array<int, 256>, Producers> lastSeq{};
    std::array<std::uint64_t, Users + 1> reportedRemovalEntered{};

    // The latest removal of `user` (or of everyone) known to have been carried out.
    std::uint64_t removedUpTo(int user) const {
        return std::max({reportedRemovalEntered[static_cast<std::size_t>(user)],
                         reportedRemovalEntered[Users],
                         blockingRemovalEntered[static_cast<std::size_t>(user)].load(),
                         blockingRemovalEntered[Users].load()});
    }
};

// One queued call: checks the rules when it runs and counts its destruction once.
struct StressCall {
    struct Record {
        explicit Record(StressRun* run) : run(run) {}
        Record(const Record&) = delete;
        Record& operator=(const Record&) = delete;
        ~Record() { ++run->destroyed; }

        StressRun* run;
    };

    void operator()() const {
        StressRun& run = *record->run;
        const std::size_t index = indexOf(producer, seq);
        if (run.ran[index].exchange(1) != 0) {
            ++run.ranTwice;
        }
        const std::uint64_t queued = run.queuedAt[index].load();
        if (queued != Never && queued < run.removedUpTo(user)) {
            ++run.ranAfterRemoval;
        }
        int& last = run.lastSeq[static_cast<std::size_t>(producer)][priority];
        if (seq <= last) {
            ++run.overtook;  // an earlier call of the same producer and priority
        }
        last = seq;
        ++run.executed;
    }

    std::shared_ptr<Record> record;
    int producer;
    int seq;
    int user;
    unsigned char priority;
};

unsigned char randomPriority(std::mt19937& random) {
    const auto roll = std::uniform_int_distribution<int>(0, 99)(random);
    if (roll < 30) {
        return 255;  // dropped by removals that reach them
    }
    if (roll < 40) {
        return 254;  // ordered against the removal requests themselves
    }
    return static_cast<unsigned char>(std::uniform_int_distribution<int>(0, 253)(random));
}

void produce(DefaultDecoupler& decoupler, StressRun& run, int producer) {
    std::mt19937 random(static_cast<unsigned>(producer) + 1);
    std::uniform_int_distribution<int> users(0, Users - 1);
    for (int seq = 0; seq < CallsPerProducer; ++seq) {
        const int user = users(random);
        const unsigned char priority = randomPriority(random);
        const std::size_t index = indexOf(producer, seq);
        run.queuedAt[index] = Never;
        decoupler.call(
            StressCall{std::make_shared<StressCall::Record>(&run), producer, seq, user, priority},
            run.userIds[static_cast<std::size_t>(user)], priority);
        run.queuedAt[index] = run.clock.fetch_add(1);
    }
}

using Callbacks = std::vector<std::shared_ptr<IDecoupler::RemovedCallback>>;

// Issues removals until told to stop. A removal of every user drops every pending removal
// request too, and a blocking removal whose request is dropped never returns. So only the
// "leading" remover blocks or removes every user, and its removals of every user always
// block, so that none is pending when it blocks again; the others remove single users
// without blocking. Completion callbacks are kept in `keep` (kind 1 lets its go).
void removeRepeatedly(DefaultDecoupler& decoupler, StressRun& run, const std::atomic<bool>& stop,
                      int remover, Callbacks& keep) {
    const bool leading = remover == 0;
    std::mt19937 random(static_cast<unsigned>(remover) + 100);
    std::uniform_int_distribution<int> targets(0, leading ? Users : Users - 1);  // Users: all
    std::uniform_int_distribution<int> kinds(leading ? 0 : 1, 9);
    while (!stop) {
        const int target = targets(random);
        const int kind = kinds(random);
        const std::uint64_t entered = run.clock.fetch_add(1);
        const bool all = target == Users;
        const unsigned int id = all ? 1 : run.userIds[static_cast<std::size_t>(target)];
        if (kind == 0 || all) {
            all ? decoupler.removeAllCalls() : decoupler.removeUserCalls(id);
            raiseTo(run.blockingRemovalEntered[static_cast<std::size_t>(target)], entered);
        } else {
            auto callback =
                std::make_shared<IDecoupler::RemovedCallback>([&run, target, entered](bool) {
                    auto& reported = run.reportedRemovalEntered[static_cast<std::size_t>(target)];
                    reported = std::max(reported, entered);
                    ++run.removalsReported;
                });
            all ? decoupler.removeAllCalls(callback) : decoupler.removeUserCalls(id, callback);
            if (kind != 1) {
                keep.push_back(std::move(callback));
            }
        }
        // Pacing only: every removal walks the whole queue on the worker.
        std::this_thread::sleep_for(std::chrono::microseconds(300));
    }
}

TEST(DefaultDecouplerStress, ConcurrentProducersAndRemoversKeepTheContract) {
    auto decoupler = std::make_unique<DefaultDecoupler>("stress");
    StressRun run(*decoupler);  // outlives the decoupler, whose callbacks use it
    std::atomic<bool> stop{false};
    std::array<Callbacks, Removers> callbacks;  // outlive the decoupler
    std::vector<std::thread> removers;
    removers.reserve(Removers);
    for (int r = 0; r < Removers; ++r) {
        removers.emplace_back([&, r] {
            removeRepeatedly(*decoupler, run, stop, r, callbacks[static_cast<std::size_t>(r)]);
        });
    }
    std::vector<std::thread> producers;
    producers.reserve(Producers);
    for (int p = 0; p < Producers; ++p) {
        producers.emplace_back([&, p] { produce(*decoupler, run, p); });
    }
    for (auto& producer : producers) {
        producer.join();
    }
    stop = true;
    for (auto& remover : removers) {
        remover.join();
    }
    decoupler.reset();  // drops whatever is still queued

    constexpr int Total = static_cast<int>(TotalCalls);
    EXPECT_EQ(run.ranTwice.load(), 0);
    EXPECT_EQ(run.ranAfterRemoval.load(), 0);
    EXPECT_EQ(run.overtook.load(), 0);
    EXPECT_EQ(run.destroyed.load(), Total);  // every call destroyed exactly once
    EXPECT_LE(run.executed.load(), Total);
    EXPECT_GT(run.executed.load(), 0);
    EXPECT_GT(run.removalsReported.load(), 0);
}

// Destruction while calls and removal requests are queued, a call runs and another thread
// keeps queueing until just before: the running call finishes, everything queued is destroyed
// unrun.
TEST(DefaultDecouplerStress, DestructionWhileCallsAreQueuedAndInFlight) {
    constexpr int Rounds = 1000;
    for (int round = 0; round < Rounds; ++round) {
        auto witness = std::make_shared<int>(0);
        std::atomic<int> running{0};
        std::atomic<int> ran{0};
        auto onRemoved = std::make_shared<IDecoupler::RemovedCallback>([](bool) {});
        {
            DefaultDecoupler decoupler("destroyed");
            auto work = [&running, &ran, witness] {
                ++running;
                ++ran;
                std::this_thread::yield();
                --running;
            };
            std::thread producer([&] {
                for (int i = 0; i < 50; ++i) {
                    decoupler.call(work, 2 + static_cast<unsigned int>(i % 3),
                                   static_cast<unsigned char>(i * 37 % 256));
                }
            });
            decoupler.removeUserCalls(3, onRemoved);
            decoupler.call(work, 2, 255);
            if (round % 2 == 0) {
                ASSERT_TRUE(support::waitUntil([&] { return ran > 0; }));
            }
            producer.join();
        }
        EXPECT_EQ(running, 0) << "round " << round;
        ASSERT_EQ(witness.use_count(), 1) << "round " << round;
    }
}

}  // namespace
}  // namespace bafu
}  // namespace orv
