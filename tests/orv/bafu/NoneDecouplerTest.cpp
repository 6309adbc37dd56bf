// NoneDecoupler: calls run at once on the caller's thread; a removal completes when no call of
// any user runs any more.

#include "orv/bafu/NoneDecoupler.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

#include "DecouplerTestSupport.h"

namespace orv::bafu {
namespace {

using namespace test_support;

// A call runs at once on the caller's thread; one that throws still ends. A removal for any user
// returns at once and, once the call running on another thread has ended, calls back there; a
// blocking removal returns only then; a released callback is skipped. With no call running a
// removal calls back at once. The only user id is 1.
TEST(NoneDecoupler, RemovalWaitsForTheCallsRunningOnAnyThread) {
    NoneDecoupler decoupler;
    Notes notes;
    const auto tid = [] { return std::to_string(gettid()); };
    EXPECT_THROW(decoupler.call([] { throw std::runtime_error("x"); }, 1, 0), std::runtime_error);
    support::Latch release(1);
    Blocking running(
        [&] { decoupler.call([&] { release.wait(), notes.add("ended on " + tid()); }, 2, 9); });
    ASSERT_TRUE(running.blocked());
    const auto removed = std::make_shared<Callback>(
        [&](bool flag) { notes.add((flag ? "removed on " : "?") + tid()); });
    decoupler.removeUserCalls(7, removed);
    decoupler.removeUserCalls(8, std::make_shared<Callback>([&](bool) { notes.add("released"); }));
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

}  // namespace
}  // namespace orv::bafu
