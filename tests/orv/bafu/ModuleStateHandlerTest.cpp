// ModuleStateHandler: what each state accepts, refuses and logs, how shutdowns wait, the guard,
// and the lifecycle under concurrent callers.

#include "orv/bafu/ModuleStateHandler.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "DecouplerTestSupport.h"
#include "orv/common/logging/LogWriter.h"
#include "orv/common/logging/Logger.h"
#include "orv/common/types/SmartPtr.h"

namespace orv::bafu {
namespace {

using H = ModuleStateHandler;
using ::testing::AnyOf, ::testing::HasSubstr, ::testing::Not;

// Operations by letter: c and C begin and end a configuration method, i begins the init, I and
// F end it with success or failure, m and M begin and end a method, s begins a shutdown (that
// has nothing to wait for), S ends it. Ends answer false.
bool apply(H& h, char op) {
    // clang-format off
    const std::map<char, std::function<bool()>> ops{
        {'c', [&] { return h.configMethod_Begin(); }}, {'M', [&] { return h.method_End(), false; }},
        {'C', [&] { return h.configMethod_End(), false; }}, {'i', [&] { return h.init_Begin(); }},
        {'F', [&] { return h.init_End(false), false; }}, {'m', [&] { return h.method_Begin(); }},
        {'I', [&] { return h.init_End(true), false; }},
        {'S', [&] { return h.shutdown_End(), false; }},
        {'s', [&] { return h.shutdown_Begin([] {}); }}};
    // clang-format on
    return ops.at(op)();
}

// A handler whose log lines go to a string, driven into `state` through its operations.
struct Logged {
    explicit Logged(int state = H::Off) {
        writer->setOutput(output);
        for (const char op : std::string(std::array{"", "c", "i", "iI", "iIs", "iF"}[state])) {
            apply(handler, op);
        }
    }
    std::string take() { return std::exchange(output, std::ostringstream()).str(); }
    std::ostringstream output;
    common::types::SmartPtr<common::logging::LogWriter> writer{new common::logging::LogWriter("m")};
    common::logging::Logger logger{writer};
    H handler{logger};
};

const auto line = [](const std::string& text) { return text.empty() ? text : "m: " + text; };

// Each operation in each state: accepted ('1', leading to the state given), refused ('0',
// logged, nothing changed) or not tried here ('-').
TEST(ModuleStateHandler, OperationsAreAcceptedOrRefusedAndLoggedByState) {
    // clang-format off
    const std::tuple<char, const char*, int, const char*> rows[] = {
        {'c', "110000", H::Configuration,
         "Configuration of module is not possible in this state.\n"},
        {'i', "100000", H::Initialization,
         "Initialization of module is not possible in this state.\n"},
        {'m', "000100", H::Running, "Method call not possible in this state.\n"},
        {'C', "0-0000", 0, "Unexpected end of configuration triggered.\n"},
        {'I', "00-0-0", 0, "Unexpected end of initialization triggered.\n"},
        {'M', "0000-0", 0, "Unexpected end of method triggered.\n"},
        {'S', "0000-0", 0, "Unexpected end of shutdown triggered.\n"},
    };
    // clang-format on
    for (const auto& [op, accepted, after, refusal] : rows) {
        for (int state = H::Off; state <= H::InitFailed; ++state) {
            if (accepted[state] != '-') {
                SCOPED_TRACE(std::string(1, op) + " in state " + std::to_string(state));
                Logged m(state);
                const bool yes = accepted[state] == '1';
                EXPECT_EQ(apply(m.handler, op), yes);
                EXPECT_EQ(m.take(), line(yes ? "" : refusal));
                EXPECT_EQ(m.handler.getState(), yes ? after : state);
            }
        }
    }
}

// From `state`, with the actions `begun` beforehand, a shutdown waits while the test ends them
// one by one with `ends`; then its result, the state and the log. Only a running module is
// asked to stop its methods.
TEST(ModuleStateHandler, ShutdownWaitsForWhatItMustAndEndsInItsState) {
    // clang-format off
    const std::tuple<int, const char*, const char*, bool, int, const char*> rows[] = {
        {H::Off, "", "", false, H::Off, "Shutdown is useless in Off state.\n"},
        {H::InitFailed, "", "", true, H::ShuttingDown, ""},
        {H::Running, "mm", "MM", true, H::ShuttingDown, ""},
        {H::Off, "cc", "CC", false, H::Off, "Shutdown triggered while configuration.\n"},
        {H::Initialization, "", "I", true, H::ShuttingDown,
         "Shutdown triggered while initialization.\n"},
        {H::ShuttingDown, "", "S", false, H::Off, "Double shutdown triggered.\n"},
    };
    // clang-format on
    for (const auto& [state, begun, ends, result, after, log] : rows) {
        SCOPED_TRACE(std::string(log) + " from state " + std::to_string(state));
        Logged m(state);
        for (const char op : std::string(begun)) {
            apply(m.handler, op);
        }
        std::atomic<int> onShutdown{0};
        std::atomic<bool> returned{!result};
        test_support::Blocking shutdown(
            [&] { returned = m.handler.shutdown_Begin([&] { ++onShutdown; }); });
        for (const char op : std::string(ends)) {
            ASSERT_TRUE(shutdown.blocked());
            EXPECT_EQ(m.handler.getState(), H::ShuttingDown);
            apply(m.handler, op);
        }
        ASSERT_TRUE(shutdown.finished());
        EXPECT_EQ(returned, result);
        EXPECT_EQ(m.handler.getState(), after);
        EXPECT_EQ(onShutdown, state == H::Running ? 1 : 0);
        EXPECT_EQ(m.take(), line(log));
    }
}

// The guard ends what it opened, once, when it goes (an open init as failed); a refused begin
// leaves nothing open; a second begin and an end of another action are refused and logged.
TEST(ModuleStateHandler, GuardEndsItsOpenActionOnceAndRefusesMisuse) {
    Logged m;
    EXPECT_TRUE(H::Guard(m.handler).init_Begin());
    EXPECT_EQ(m.handler.getState(), H::InitFailed);
    H::Guard guard(m.handler);
    guard.method_End();
    EXPECT_TRUE(!guard.method_Begin() && guard.shutdown_Begin() && !guard.shutdown_Begin());
    guard.configMethod_End(), guard.shutdown_End(), guard.shutdown_End();
    EXPECT_EQ(m.handler.getState(), H::Off);
    const std::string unmatched = line("End without begin with module state handling guard.\n");
    EXPECT_EQ(m.take(), unmatched + line("Method call not possible in this state.\n") +
                            line("Double beginning with module state handling guard.\n") +
                            unmatched + unmatched);
}

// Method threads call in while a driver runs init and shutdown cycles (every tenth init
// fails). Checked together: no shutdown returns while a method runs, no counter or guard goes
// wrong (nothing "Unexpected" or about the guard is logged), and the handler ends in Off.
TEST(ModuleStateHandlerStress, LifecycleUnderConcurrentCallers) {
    Logged m;
    std::atomic<int> open{0}, wrong{0}, cycle{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 3; ++t) {
        threads.emplace_back([&] {
            while (cycle < 2000) {
                H::Guard guard(m.handler);
                if (guard.method_Begin()) {
                    ++open, std::this_thread::yield(), --open;
                } else {
                    std::this_thread::sleep_for(std::chrono::microseconds(50));  // pacing only
                }
            }
        });
    }
    const test_support::Blocking driver([&] {
        for (; cycle < 2000; ++cycle) {
            H::Guard init(m.handler), shutdown(m.handler);
            init.init_Begin(), init.init_End(cycle % 10 != 0);
            std::this_thread::sleep_for(std::chrono::microseconds(100));  // lets methods in
            wrong += shutdown.shutdown_Begin() && open == 0 ? 0 : 1;
        }
    });
    const bool finished = driver.finished();
    cycle = 2000;
    for (auto& thread : threads) {
        thread.join();
    }
    ASSERT_TRUE(finished);
    EXPECT_EQ(wrong, 0);
    EXPECT_THAT(m.take(), Not(AnyOf(HasSubstr("Unexpected"), HasSubstr("guard"))));
    EXPECT_EQ(m.handler.getState(), H::Off);
}

}  // namespace
}  // namespace orv::bafu
