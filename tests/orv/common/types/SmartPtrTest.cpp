// SmartPtr: owners share one object and the last one to go, on whichever thread, deletes it.
#include "orv/common/types/SmartPtr.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <utility>
#include <vector>

namespace {

using orv::common::types::SmartPtr;

struct Probe {
    std::atomic<int>& deletions;
    ~Probe() { ++deletions; }
};

TEST(SmartPtrStress, CopiesDroppedOnManyThreadsDeleteExactlyOnce) {
    std::atomic<int> deletions{0};
    for (int round = 0; round < 200; ++round) {
        SmartPtr<Probe> shared(new Probe{deletions});
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([mine = shared, &deletions]() mutable {
                std::vector<SmartPtr<Probe>> copies(500, mine);
                copies[1] = SmartPtr<Probe>(new Probe{deletions});  // a share of `shared` goes
                SmartPtr<Probe> moved(std::move(copies.back()));
                mine.reset();
            });
        }
        shared.reset();  // the main thread's share goes first
        for (std::thread& thread : threads) {
            thread.join();
        }
        ASSERT_EQ(deletions.load(), 5 * (round + 1))
            << "each object deleted once, by its last owner";
    }
}

}  // namespace
