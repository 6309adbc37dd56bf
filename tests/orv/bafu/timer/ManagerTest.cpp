// timer::Manager: timer ids, lifecycle, expiries delivered through either decoupler, stops, a
// throwing callback, and shutdown while a timer fires.

#include "orv/bafu/timer/Manager.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <iostream>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "orv/bafu/DecouplerTestSupport.h"
#include "orv/bafu/NoneDecoupler.h"
#include "orv/bafu/timer/Factory.h"
#include "support/CapturedThreadLog.h"

namespace orv::bafu::timer {
namespace {

using namespace test_support;
constexpr unsigned long kTwoToThe32 = 1UL << 32;
constexpr const char* kManagerName = "TimerMgrTest";
constexpr const char* kWorkerName = "TimerWorker";

// A callback noting "<id>@<thread>" for every expiry.
const auto noting = [](Notes& notes) -> std::function<void(unsigned long)> {
    return [&notes](unsigned long id) { notes.add(std::to_string(id) + "@" + threadName()); };
};

// The rules that hold with either decoupler: the NoneDecoupler of init() (false) or a
// DefaultDecoupler of the client (true).
class TimerDelivery : public ::testing::TestWithParam<bool> {
protected:
    void SetUp() override {  // starts are refused before init(); a second init() changes nothing
        EXPECT_EQ(manager.startTimer(noting(notes), 1, false), 0UL);
        manager.setOptional_Decoupler(GetParam() ? &decoupler : nullptr);
        ASSERT_TRUE(manager.init() && manager.init());
    }
    void TearDown() override {  // with a cyclic timer firing: none comes once it has returned
        manager.shutdown();
        const Strings atShutdown = notes.get();
        EXPECT_TRUE(drain(decoupler));
        EXPECT_EQ(manager.startTimer(noting(notes), 1, false), 0UL);
        EXPECT_EQ(notes.get(), atShutdown);
    }
    std::string at(unsigned long id) const {
        return std::to_string(id) + "@" + (GetParam() ? kWorkerName : kManagerName);
    }

    DefaultDecoupler decoupler{kWorkerName};
    Notes notes;
    const std::unique_ptr<Manager> owned = Factory::create(kManagerName);
    Manager& manager = *owned;
};

// A timer id holds the timer number above the decoupler's user id. A one-shot timer calls once
// with its id, a cyclic one until stopped, either way; then nothing more comes.
TEST_P(TimerDelivery, OneShotCallsOnceAndCyclicUntilStopped) {
    std::function<void(unsigned long)> callback = noting(notes);
    const unsigned long once = manager.startTimer(std::move(callback), 1, false);
    EXPECT_FALSE(callback);  // NOLINT(bugprone-use-after-move): taken over
    EXPECT_EQ(once, kTwoToThe32 + (GetParam() ? 2 : 1));  // timer number 1, the decoupler's user id
    EXPECT_EQ(Manager::calcTimerNumber(Manager::calcTimerId(5, 7)), 5U);
    EXPECT_EQ(unsigned(Manager::calcTimerUserId(Manager::calcTimerId(5, 7))), 7U);
    const unsigned long blocking = manager.startTimer(noting(notes), 1, true);
    const unsigned long reporting = manager.startTimer(noting(notes), 1, true);
    EXPECT_EQ(reporting, 3 * kTwoToThe32 + (GetParam() ? 4 : 1));  // user ids 2, 3, 4 or always 1
    ASSERT_TRUE(support::waitUntil([&] { return notes.get().size() >= 8; }));
    manager.stopTimer(blocking);
    support::Latch reported(1);
    auto onRemoved = std::make_shared<Callback>([&](bool) { reported.countDown(); });
    manager.stopTimer(reporting, onRemoved);
    ASSERT_TRUE(reported.wait());
    const Strings seen = notes.get();
    support::Latch later(1);  // due after every expiry before
    manager.getProvided_Manager().startTimer([&](unsigned long) { later.countDown(); }, 20, false);
    ASSERT_TRUE(later.wait());
    EXPECT_EQ(notes.get(), seen);
    std::map<std::string, int> counts;
    for (const std::string& note : seen) {
        ++counts[note];
    }
    EXPECT_EQ(counts[at(once)] * 1000 + long(counts.size()), 1003)
        << ::testing::PrintToString(seen);
    manager.startTimer(noting(notes), 1, true);  // still firing at the shutdown
    ASSERT_TRUE(support::waitUntil([&] { return notes.get().size() >= seen.size() + 3; }));
}

INSTANTIATE_TEST_SUITE_P(NoneOrDefaultDecoupler, TimerDelivery, ::testing::Bool());

// Notes the blocking removals asked of it: by stopTimer, and by the shutdown for every timer
// it still knows.
struct RemovalNotingDecoupler : NoneDecoupler {
    using NoneDecoupler::removeUserCalls;
    void removeUserCalls(unsigned int userId) override {
        removed.push_back(userId);
        NoneDecoupler::removeUserCalls(userId);
    }
    std::vector<unsigned int> removed;
};

// With the NoneDecoupler a throwing callback throws on the timer thread, which reports it and
// goes on. A one-shot timer that threw is forgotten like any other: it once stayed in the map.
TEST(TimerFailure, ThrowingCallbackOnTheTimerThreadIsReportedAndTheOneShotForgotten) {
    const support::CapturedThreadLog threadLog;
    RemovalNotingDecoupler decoupler;
    std::atomic<int> oneShot{0}, cyclic{0};
    {
        Manager manager(kManagerName);
        manager.setOptional_Decoupler(&decoupler);
        ASSERT_TRUE(manager.init());
        manager.startTimer([&](unsigned long) { ++oneShot, throw std::runtime_error("one-shot"); },
                           1, false);
        const unsigned long id = manager.startTimer(
            [&](unsigned long) { ++cyclic, throw std::runtime_error("cyclic"); }, 1, true);
        ASSERT_TRUE(support::waitUntil([&] { return oneShot == 1 && cyclic >= 3; }));
        manager.stopTimer(id);
        decoupler.removed.clear();
        manager.shutdown();
        EXPECT_EQ(decoupler.removed, std::vector<unsigned int>{}) << "a timer was still known";
    }
    EXPECT_EQ(oneShot, 1);
    EXPECT_TRUE(threadLog.contains("one-shot") && threadLog.contains("cyclic")) << threadLog.text();
}

}  // namespace
}  // namespace orv::bafu::timer
