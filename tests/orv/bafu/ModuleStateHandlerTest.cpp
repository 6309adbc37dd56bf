#include "orv/bafu/ModuleStateHandler.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include "DecouplerTestSupport.h"
#include "StateHandlerTestSupport.h"

namespace orv {
namespace bafu {
namespace {

using test_support::BlockingCall;
using test_support::CapturedLog;
using test_support::enterState;
using Handler = ModuleStateHandler;

constexpr const char* NoLog = "";
constexpr const char* ConfigRefused = "Configuration of module is not possible in this state.\n";
constexpr const char* InitRefused = "Initialization of module is not possible in this state.\n";
constexpr const char* MethodRefused = "Method call not possible in this state.\n";

// The log line a writer named "module" makes of `message`.
std::string line(const std::string& message) {
    return message.empty() ? "" : "module: " + message;
}

struct BeginCase {
    Handler::EState state;
    const char* operation;
    std::function<bool(Handler&)> begin;
    bool accepted;
    const char* message;
    Handler::EState after;
};

TEST(ModuleStateHandlerBegin, AcceptsAndRefusesByState) {
    const auto config = [](Handler& h) { return h.configMethod_Begin(); };
    const auto init = [](Handler& h) { return h.init_Begin(); };
    const auto method = [](Handler& h) { return h.method_Begin(); };
    const std::vector<BeginCase> cases{
        {Handler::Off, "config", config, true, NoLog, Handler::Configuration},
        {Handler::Configuration, "config", config, true, NoLog, Handler::Configuration},
        {Handler::Initialization, "config", config, false, ConfigRefused, Handler::Initialization},
        {Handler::Running, "config", config, false, ConfigRefused, Handler::Running},
        {Handler::ShuttingDown, "config", config, false, ConfigRefused, Handler::ShuttingDown},
        {Handler::InitFailed, "config", config, false, ConfigRefused, Handler::InitFailed},
        {Handler::Off, "init", init, true, NoLog, Handler::Initialization},
        {Handler::Configuration, "init", init, false, InitRefused, Handler::Configuration},
        {Handler::Initialization, "init", init, false, InitRefused, Handler::Initialization},
        {Handler::Running, "init", init, false, InitRefused, Handler::Running},
        {Handler::ShuttingDown, "init", init, false, InitRefused, Handler::ShuttingDown},
        {Handler::InitFailed, "init", init, false, InitRefused, Handler::InitFailed},
        {Handler::Off, "method", method, false, MethodRefused, Handler::Off},
        {Handler::Configuration, "method", method, false, MethodRefused, Handler::Configuration},
        {Handler::Initialization, "method", method, false, MethodRefused, Handler::Initialization},
        {Handler::Running, "method", method, true, NoLog, Handler::Running},
        {Handler::ShuttingDown, "method", method, false, MethodRefused, Handler::ShuttingDown},
        {Handler::InitFailed, "method", method, false, MethodRefused, Handler::InitFailed},
    };
    for (const BeginCase& c : cases) {
        SCOPED_TRACE(std::string(c.operation) + " in state " + std::to_string(c.state));
        CapturedLog log;
        Handler handler(log.logger);
        enterState(handler, c.state);
        ASSERT_EQ(handler.getState(), c.state);
        log.take();
        EXPECT_EQ(c.begin(handler), c.accepted);
        EXPECT_EQ(log.take(), line(c.message));
        EXPECT_EQ(handler.getState(), c.after);
    }
}

struct EndCase {
    Handler::EState state;
    const char* operation;
    std::function<void(Handler&)> end;
    const char* message;
};

TEST(ModuleStateHandlerEnd, UnexpectedEndsAreLoggedAndChangeNothing) {
    const std::vector<EndCase> cases{
        {Handler::Off, "method", [](Handler& h) { h.method_End(); },
         "Unexpected end of method triggered.\n"},
        {Handler::Running, "method", [](Handler& h) { h.method_End(); },
         "Unexpected end of method triggered.\n"},
        {Handler::Off, "config", [](Handler& h) { h.configMethod_End(); },
         "Unexpected end of configuration triggered.\n"},
        {Handler::Running, "config", [](Handler& h) { h.configMethod_End(); },
         "Unexpected end of configuration triggered.\n"},
        {Handler::Off, "init", [](Handler& h) { h.init_End(true); },
         "Unexpected end of initialization triggered.\n"},
        {Handler::Running, "init", [](Handler& h) { h.init_End(false); },
         "Unexpected end of initialization triggered.\n"},
        {Handler::Off, "shutdown", [](Handler& h) { h.shutdown_End(); },
         "Unexpected end of shutdown triggered.\n"},
        {Handler::InitFailed, "shutdown", [](Handler& h) { h.shutdown_End(); },
         "Unexpected end of shutdown triggered.\n"},
    };
    for (const EndCase& c : cases) {
        SCOPED_TRACE(std::string(c.operation) + " in state " + std::to_string(c.state));
        CapturedLog log;
        Handler handler(log.logger);
        enterState(handler, c.state);
        log.take();
        c.end(handler);
        EXPECT_EQ(log.take(), line(c.message));
        EXPECT_EQ(handler.getState(), c.state);
    }
}

TEST(ModuleStateHandlerConfiguration, OverlappingMethodsKeepTheStateUntilTheLastEnds) {
    Handler handler;
    ASSERT_TRUE(handler.configMethod_Begin());
    ASSERT_TRUE(handler.configMethod_Begin());
    handler.configMethod_End();
    EXPECT_EQ(handler.getState(), Handler::Configuration);
    EXPECT_FALSE(handler.init_Begin());
    handler.configMethod_End();
    EXPECT_EQ(handler.getState(), Handler::Off);
    EXPECT_TRUE(handler.init_Begin());
}

TEST(ModuleStateHandlerLifecycle, FullCyclesMayRepeat) {
    Handler handler;
    for (int round = 0; round < 2; ++round) {
        ASSERT_TRUE(handler.configMethod_Begin());
        handler.configMethod_End();
        ASSERT_TRUE(handler.init_Begin());
        handler.init_End(round == 0);
        EXPECT_EQ(handler.getState(), round == 0 ? Handler::Running : Handler::InitFailed);
        ASSERT_TRUE(handler.shutdown_Begin([] {}));
        EXPECT_EQ(handler.getState(), Handler::ShuttingDown);
        handler.shutdown_End();
        EXPECT_EQ(handler.getState(), Handler::Off);
    }
}

TEST(ModuleStateHandlerShutdown, RefusedInOffAtOnce) {
    CapturedLog log;
    Handler handler(log.logger);
    EXPECT_FALSE(handler.shutdown_Begin([] {}));
    EXPECT_EQ(log.take(), line("Shutdown is useless in Off state.\n"));
    EXPECT_EQ(handler.getState(), Handler::Off);
}

TEST(ModuleStateHandlerShutdown, FromInitFailedAcceptedAtOnceWithoutLog) {
    CapturedLog log;
    Handler handler(log.logger);
    enterState(handler, Handler::InitFailed);
    int called = 0;
    EXPECT_TRUE(handler.shutdown_Begin([&] { ++called; }));
    EXPECT_EQ(called, 0);  // only a running module is asked to stop its methods
    EXPECT_EQ(log.take(), "");
    EXPECT_EQ(handler.getState(), Handler::ShuttingDown);
}

TEST(ModuleStateHandlerShutdown, FromRunningCallsOnShutdownAndWaitsForEveryMethod) {
    Handler handler;
    enterState(handler, Handler::Running);
    ASSERT_TRUE(handler.method_Begin());
    ASSERT_TRUE(handler.method_Begin());
    std::atomic<int> onShutdownCalls{0};
    std::atomic<bool> result{false};
    BlockingCall shutdown([&] { result = handler.shutdown_Begin([&] { ++onShutdownCalls; }); });
    ASSERT_TRUE(shutdown.waitUntilBlocked());
    EXPECT_EQ(onShutdownCalls, 1);
    EXPECT_FALSE(handler.method_Begin());  // no new method while shutting down
    handler.method_End();
    EXPECT_FALSE(shutdown.done());
    handler.method_End();
    shutdown.join();
    EXPECT_TRUE(result);
    EXPECT_EQ(handler.getState(), Handler::ShuttingDown);
    handler.shutdown_End();
    EXPECT_EQ(handler.getState(), Handler::Off);
}

TEST(ModuleStateHandlerShutdown, EmptyOnShutdownThrowsWithTheStateAlreadyShuttingDown) {
    Handler handler;
    enterState(handler, Handler::Running);
    EXPECT_THROW(handler.shutdown_Begin(std::function<void()>()), std::bad_function_call);
    EXPECT_EQ(handler.getState(), Handler::ShuttingDown);
}

TEST(ModuleStateHandlerShutdown, DuringInitializationWaitsForInitEndAndStaysShuttingDown) {
    CapturedLog log;
    Handler handler(log.logger);
    enterState(handler, Handler::Initialization);
    std::atomic<bool> result{false};
    BlockingCall shutdown([&] { result = handler.shutdown_Begin([] {}); });
    ASSERT_TRUE(shutdown.waitUntilBlocked());
    handler.init_End(true);
    shutdown.join();
    EXPECT_TRUE(result);
    EXPECT_EQ(handler.getState(), Handler::ShuttingDown);
    EXPECT_EQ(log.take(), line("Shutdown triggered while initialization.\n"));
}

TEST(ModuleStateHandlerShutdown, DuringConfigurationWaitsForTheMethodsThenReturnsToOff) {
    CapturedLog log;
    Handler handler(log.logger);
    ASSERT_TRUE(handler.configMethod_Begin());
    ASSERT_TRUE(handler.configMethod_Begin());
    std::atomic<bool> result{true};
    BlockingCall shutdown([&] { result = handler.shutdown_Begin([] {}); });
    ASSERT_TRUE(shutdown.waitUntilBlocked());
    EXPECT_EQ(handler.getState(), Handler::ShuttingDown);
    EXPECT_FALSE(handler.configMethod_Begin());
    handler.configMethod_End();
    EXPECT_FALSE(shutdown.done());
    handler.configMethod_End();
    shutdown.join();
    EXPECT_FALSE(result);
    EXPECT_EQ(handler.getState(), Handler::Off);
    EXPECT_EQ(log.take(), line("Shutdown triggered while configuration.\n") + line(ConfigRefused));
}

TEST(ModuleStateHandlerShutdown, SecondShutdownWaitsForTheFirstToEndAndIsRefused) {
    CapturedLog log;
    Handler handler(log.logger);
    enterState(handler, Handler::ShuttingDown);
    std::atomic<bool> result{true};
    BlockingCall second([&] { result = handler.shutdown_Begin([] {}); });
    ASSERT_TRUE(second.waitUntilBlocked());
    handler.shutdown_End();
    second.join();
    EXPECT_FALSE(result);
    EXPECT_EQ(handler.getState(), Handler::Off);
    EXPECT_EQ(log.take(), line("Double shutdown triggered.\n"));
}

TEST(ModuleStateHandlerLogging, NothingIsWrittenAboveLevelFiveButResultsStay) {
    CapturedLog log;
    log.writer->setLogLevel(6);
    Handler handler(log.logger);
    EXPECT_FALSE(handler.method_Begin());
    EXPECT_FALSE(handler.shutdown_Begin([] {}));
    handler.method_End();
    EXPECT_TRUE(handler.init_Begin());
    EXPECT_FALSE(handler.configMethod_Begin());
    EXPECT_EQ(handler.getState(), Handler::Initialization);
    EXPECT_EQ(log.take(), "");
}

TEST(ModuleStateHandlerLogging, SharesTheGivenWriterOrMakesOneNamedNix) {
    CapturedLog log;
    Handler shared(log.logger);
    EXPECT_EQ(shared.getLogger().getLogWriter(), log.writer);
    Handler own;
    ASSERT_TRUE(own.getLogger().getLogWriter());
    EXPECT_EQ(own.getLogger().getLogWriter()->getName(), "nix");
}

TEST(ModuleStateHandlerGuard, EndsTheOpenActionWhenDestroyed) {
    Handler handler;
    {
        Handler::Guard guard(handler);
        ASSERT_TRUE(guard.init_Begin());
    }
    EXPECT_EQ(handler.getState(), Handler::InitFailed);  // an init left open counts as failed

    {
        Handler::Guard guard(handler);
        ASSERT_TRUE(guard.shutdown_Begin());
    }
    EXPECT_EQ(handler.getState(), Handler::Off);

    {
        Handler::Guard guard(handler);
        ASSERT_TRUE(guard.configMethod_Begin());
    }
    EXPECT_EQ(handler.getState(), Handler::Off);

    enterState(handler, Handler::Running);
    {
        Handler::Guard guard(handler);
        ASSERT_TRUE(guard.method_Begin());
    }
    EXPECT_TRUE(handler.shutdown_Begin([] {}));  // returns at once: no method is open
}

TEST(ModuleStateHandlerGuard, RefusedBeginLeavesNothingOpen) {
    CapturedLog log;
    Handler handler(log.logger);
    {
        Handler::Guard guard(handler);
        EXPECT_FALSE(guard.method_Begin());
        EXPECT_TRUE(guard.init_Begin());  // a refused begin does not block the next one
        guard.init_End(true);
    }
    EXPECT_EQ(handler.getState(), Handler::Running);
    EXPECT_EQ(log.take(), line(MethodRefused));
}

TEST(ModuleStateHandlerGuard, DoubleBeginAndUnmatchedEndAreLoggedAndRefused) {
    CapturedLog log;
    Handler handler(log.logger);
    enterState(handler, Handler::Running);
    Handler::Guard guard(handler);
    log.take();

    guard.method_End();
    EXPECT_EQ(log.take(), line("End without begin with module state handling guard.\n"));

    ASSERT_TRUE(guard.method_Begin());
    EXPECT_FALSE(guard.method_Begin());
    EXPECT_EQ(log.take(), line("Double beginning with module state handling guard.\n"));

    guard.configMethod_End();  // not the open action
    EXPECT_EQ(log.take(), line("End without begin with module state handling guard.\n"));

    guard.method_End();
    EXPECT_EQ(log.take(), "");
    guard.method_End();
    EXPECT_EQ(log.take(), line("End without begin with module state handling guard.\n"));
    EXPECT_TRUE(handler.shutdown_Begin([] {}));  // the one method was ended exactly once
}

}  // namespace
}  // namespace bafu
}  // namespace orv
