// Long runs compressed in time: a decoupler and a timer manager doing in seconds what a busy
// module does in about ten minutes. The heap in use must be as large at the end as after the
// warm-up, give or take a little. The figures come from glibc's mallinfo2(), summed over all
// arenas; the sanitizers bring allocators of their own, so under them only the loop runs.

#include <malloc.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdio>
#include <functional>
#include <memory>

#include "orv/bafu/DefaultDecoupler.h"
#include "orv/bafu/timer/Manager.h"
#include "support/Concurrency.h"

namespace orv {
namespace bafu {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool HeapIsMeasurable = false;
constexpr int Scale = 10;  // the loops run a tenth as long
#else
constexpr bool HeapIsMeasurable = true;
constexpr int Scale = 1;
#endif

// Growth allowed between the warm-up and the end: allocator bookkeeping, not a leak per call.
constexpr std::size_t ToleratedGrowth = 64 * 1024;

std::size_t heapInUse() {
    return mallinfo2().uordblks;
}

// Runs `rounds` rounds of `round`, measuring the heap after the first tenth; returns the
// growth from there to the end and prints both figures.
template <typename Round>
long long growthOver(const char* what, int rounds, Round round) {
    const int warmUp = rounds / 10;
    for (int i = 0; i < warmUp; ++i) {
        round(i);
    }
    const std::size_t afterWarmUp = heapInUse();
    for (int i = warmUp; i < rounds; ++i) {
        round(i);
    }
    const std::size_t atEnd = heapInUse();
    std::printf("[   HEAP   ] %s: %zu bytes in use after the warm-up, %zu at the end\n", what,
                afterWarmUp, atEnd);
    return static_cast<long long>(atEnd) - static_cast<long long>(afterWarmUp);
}

// Three million calls of five users in batches of a thousand, with a removal of one user per
// batch; each batch ends when the worker has caught up.
TEST(HeapGrowth, DefaultDecouplerStaysFlatOverMillionsOfCalls) {
    constexpr int Batches = 3000 / Scale;
    constexpr int CallsPerBatch = 1000;
    DefaultDecoupler decoupler("HeapGrowth");
    std::atomic<long> ran{0};
    auto onRemoved = std::make_shared<IDecoupler::RemovedCallback>([](bool) {});
    const long long growth = growthOver("DefaultDecoupler", Batches, [&](int batch) {
        for (int i = 0; i < CallsPerBatch; ++i) {
            decoupler.call([&ran] { ++ran; }, 2 + static_cast<unsigned int>(i % 5),
                           static_cast<unsigned char>(i % 256));
        }
        decoupler.removeUserCalls(2 + static_cast<unsigned int>(batch % 5), onRemoved);
        support::Latch caughtUp(1);
        decoupler.call([&caughtUp] { caughtUp.countDown(); }, 7, 255);
        ASSERT_TRUE(caughtUp.wait());
    });
    EXPECT_GT(ran.load(), 0);
    if (HeapIsMeasurable) {
        EXPECT_LE(growth, static_cast<long long>(ToleratedGrowth));
    }
}

// Twenty thousand cycles of a one-shot timer that expires and a cyclic one that is stopped,
// their expiries delivered through a DefaultDecoupler. Every tenth one-shot timer is due after
// the cyclic one's first expiry, which is then delivered before it.
TEST(HeapGrowth, TimerManagerStaysFlatOverManyTimerCycles) {
    constexpr int Cycles = 20000 / Scale;
    DefaultDecoupler decoupler("HeapTimers");
    timer::Manager manager("HeapGrowthMgr");
    manager.setOptional_Decoupler(&decoupler);
    ASSERT_TRUE(manager.init());
    timer::IManager& timers = manager.getProvided_Manager();
    std::atomic<long> cyclicExpiries{0};
    const long long growth = growthOver("timer::Manager", Cycles, [&](int cycle) {
        auto expired = std::make_shared<support::Latch>(1);
        const unsigned long cyclic =
            timers.startTimer([&cyclicExpiries](unsigned long) { ++cyclicExpiries; }, 1, true);
        const unsigned int delay = cycle % 10 == 0 ? 2 : 0;
        ASSERT_NE(
            timers.startTimer([expired](unsigned long) { expired->countDown(); }, delay, false),
            0UL);
        ASSERT_TRUE(expired->wait());
        timers.stopTimer(cyclic);
    });
    manager.shutdown();
    EXPECT_GT(cyclicExpiries.load(), 0);
    if (HeapIsMeasurable) {
        EXPECT_LE(growth, static_cast<long long>(ToleratedGrowth));
    }
}

}  // namespace
}  // namespace bafu
}  // namespace orv
