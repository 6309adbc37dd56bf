// WatchGuard: a watchdog on one shared timer thread that calls back once unless ended first.

#include "orv/bafu/WatchGuard.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>

#include "DecouplerTestSupport.h"

namespace orv::bafu {
namespace {

using namespace test_support;

// Every guard shares one started manager whose thread is "BafuWatchGuard"; initialize() makes
// a further one for the caller. An expired guard has called back once, on the shared thread;
// an empty callback does not stop that thread.
TEST(WatchGuard, ExpiresOnceOnTheSharedThread) {
    Notes notes;
    const WatchGuard guard([&] { notes.add(threadName()); }, 1);
    common::timer::TimerManagerThread* const shared = WatchGuard::s_pTimerMgr;
    const WatchGuard second([] {}, 3600000), empty(std::function<void()>(), 1);
    EXPECT_EQ(WatchGuard::s_pTimerMgr, shared);
    const std::unique_ptr<common::timer::TimerManagerThread> own(initialize());
    EXPECT_TRUE(shared->isRunning() && own.get() != shared && own->isRunning());
    support::Latch later(1);  // due after the first guard
    const WatchGuard third([&] { later.countDown(); }, 20);
    ASSERT_TRUE(later.wait());
    EXPECT_EQ(notes.get(), Strings{"BafuWatchGuard"});
}

}  // namespace
}  // namespace orv::bafu
