#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <ostream>
#include <streambuf>
#include <string>
#include <thread>
#include <vector>

#include "DecouplerTestSupport.h"
#include "orv/bafu/ModuleStateHandler.h"
#include "orv/common/logging/LogWriter.h"
#include "orv/common/logging/Logger.h"
#include "orv/common/types/SmartPtr.h"

namespace orv {
namespace bafu {
namespace {

using Handler = ModuleStateHandler;

constexpr int Cycles = 2000;
constexpr int MethodThreads = 3;
constexpr int ConfigThreads = 2;

// Counts the log lines that tell of a counter or a guard gone wrong; refusals are expected
// here and only counted in passing. The log writer serialises its lines, so one line is
// written at a time.
class AnomalyCounter : public std::streambuf {
public:
    int anomalies() const {
        std::lock_guard<std::mutex> guard(m_lock);
        return m_anomalies;
    }

protected:
    std::streamsize xsputn(const char* text, std::streamsize count) override {
        std::lock_guard<std::mutex> guard(m_lock);
        for (std::streamsize i = 0; i < count; ++i) {
            take(text[i]);
        }
        return count;
    }
    int_type overflow(int_type c) override {
        if (c != traits_type::eof()) {
            std::lock_guard<std::mutex> guard(m_lock);
            take(static_cast<char>(c));
        }
        return traits_type::not_eof(c);
    }

private:
    void take(char c) {
        if (c != '\n') {
            m_line.push_back(c);
            return;
        }
        if (m_line.find("Unexpected") != std::string::npos ||
            m_line.find("guard") != std::string::npos) {
            ++m_anomalies;
        }
        m_line.clear();
    }

    mutable std::mutex m_lock;
    std::string m_line;
    int m_anomalies = 0;
};

// Pacing after a refusal, so that refused threads (each refusal writes a log line) leave room
// for the thread that drives the lifecycle.
void backOff() {
    std::this_thread::sleep_for(std::chrono::microseconds(50));
}

// Begins and ends methods until told to stop, noting how many are open between the two.
void callMethods(Handler& handler, std::atomic<int>& open, std::atomic<long>& done,
                 const std::atomic<bool>& stop) {
    while (!stop) {
        Handler::Guard guard(handler);
        if (guard.method_Begin()) {
            ++open;
            std::this_thread::yield();
            --open;
            ++done;
        } else {
            backOff();
        }
    }
}

// Begins and ends at most one configuration method per lifecycle cycle: overlapping
// configuration methods could otherwise keep the module from ever being initialised.
void callConfigMethods(Handler& handler, std::atomic<int>& open, const std::atomic<int>& cycle,
                       const std::atomic<bool>& stop) {
    int configured = -1;
    while (!stop) {
        if (cycle == configured) {
            backOff();
            continue;
        }
        Handler::Guard guard(handler);
        if (guard.configMethod_Begin()) {
            configured = cycle;
            ++open;
            std::this_thread::yield();
            --open;
        } else {
            backOff();
        }
    }
}

TEST(ModuleStateHandlerStress, ShutdownWaitsForMethodsAndCountersStayRight) {
    AnomalyCounter anomalies;
    std::ostream output(&anomalies);
    common::types::SmartPtr<common::logging::LogWriter> writer(
        new common::logging::LogWriter("stress"));
    writer->setOutput(output);
    common::logging::Logger logger(writer);
    Handler handler(logger);

    std::atomic<bool> stop{false};
    std::atomic<int> openMethods{0};
    std::atomic<int> openConfigs{0};
    std::atomic<long> methodsDone{0};
    std::atomic<int> cycle{0};
    std::vector<std::thread> threads;
    threads.reserve(MethodThreads + ConfigThreads);
    for (int i = 0; i < MethodThreads; ++i) {
        threads.emplace_back([&] { callMethods(handler, openMethods, methodsDone, stop); });
    }
    for (int i = 0; i < ConfigThreads; ++i) {
        threads.emplace_back([&] { callConfigMethods(handler, openConfigs, cycle, stop); });
    }

    int initWithConfigOpen = 0;
    int shutdownWithMethodsOpen = 0;
    int refusedShutdowns = 0;
    for (; cycle < Cycles; ++cycle) {
        if (cycle % 3 == 0) {
            // Off or configuring: refused, after waiting for the configuration methods.
            EXPECT_FALSE(handler.shutdown_Begin([] {}));
        }
        Handler::Guard init(handler);
        while (!init.init_Begin()) {
            std::this_thread::yield();  // refused while configuration methods run
        }
        initWithConfigOpen += openConfigs != 0 ? 1 : 0;
        init.init_End(cycle % 10 != 0);  // every tenth initialisation fails
        const long before = methodsDone;
        for (int i = 0; i < 50 && methodsDone == before; ++i) {
            std::this_thread::yield();  // let some methods in
        }
        Handler::Guard shutdown(handler);
        if (!shutdown.shutdown_Begin([] {})) {
            ++refusedShutdowns;
        }
        shutdownWithMethodsOpen += openMethods != 0 ? 1 : 0;
    }  // the guard ends the shutdown
    stop = true;
    for (auto& thread : threads) {
        thread.join();
    }

    EXPECT_EQ(initWithConfigOpen, 0);
    EXPECT_EQ(shutdownWithMethodsOpen, 0);
    EXPECT_EQ(refusedShutdowns, 0);
    EXPECT_EQ(anomalies.anomalies(), 0);
    EXPECT_GT(methodsDone.load(), 0);

    // Nothing is left counted: a new cycle goes through and its shutdown returns at once.
    // Should a count be stuck, the shutdown below would wait for it; it is then released by
    // ending methods, as many as it takes, so that the test still ends.
    EXPECT_EQ(handler.getState(), Handler::Off);
    ASSERT_TRUE(handler.init_Begin());
    handler.init_End(true);
    test_support::BlockingCall last([&] { EXPECT_TRUE(handler.shutdown_Begin([] {})); });
    while (!test::waitUntil([&] { return last.done(); })) {
        ADD_FAILURE() << "shutdown waits for a method that is not running";
        handler.method_End();
    }
    last.join();
    handler.shutdown_End();
    writer->setOutput(std::clog);
}

}  // namespace
}  // namespace bafu
}  // namespace orv
