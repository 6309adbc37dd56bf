// SignalingCounter: zero events fire the subscribers made before them once, in order; its guard
// takes back exactly the increments made through it.

#include "orv/bafu/SignalingCounter.h"

#include <gtest/gtest.h>

#include <cctype>
#include <map>
#include <optional>
#include <string>
#include <tuple>

namespace orv::bafu {
namespace {

// Steps: '+' inc, '-' dec, 'f' finish, '>' and '<' inc and dec through a guard, '~' ends that
// guard (and opens a new one); another letter subscribes a callback that appends it to `fired`.
TEST(SignalingCounter, ZeroEventsAndGuardsFollowTheScript) {
    const std::tuple<const char*, const char*, unsigned long> script[] = {
        // steps, fired so far, count
        {"a", "a", 0},  // subscribed at zero: fires at once
        {"++bc-", "a", 1},
        {"-", "abc", 0},  // reaches zero: in subscription order
        {"-", "abc", 0},  // at zero: stays there and fires nobody new
        {"+d-++e", "abcd", 2},
        {"ff", "abcde", 2},  // finish fires whatever the count, each subscriber once
        {">>><", "abcde", 4},
        {"--g~", "abcdeg", 0},  // the guard takes back the two it still holds
        {"+<", "abcdeg", 1},    // a guard that made no increment takes none back
    };
    SignalingCounter counter(0);
    std::optional<SignalingCounter::Guard> guard(std::in_place, counter);
    std::string fired;
    const std::map<char, std::function<void()>> actions{
        {'+', [&] { counter.inc(); }},    {'-', [&] { counter.dec(); }},
        {'f', [&] { counter.finish(); }}, {'>', [&] { guard->inc(); }},
        {'<', [&] { guard->dec(); }},     {'~', [&] { guard.emplace(counter); }},
    };
    for (const auto& [steps, expected, count] : script) {
        for (const char step : std::string(steps)) {
            actions.count(step) != 0 ? actions.at(step)()
                                     : counter.subscribeForZero([&fired, step] { fired += step; });
        }
        EXPECT_EQ(fired, expected) << steps;
        EXPECT_EQ(counter.get(), count) << steps;
    }
}

}  // namespace
}  // namespace orv::bafu
