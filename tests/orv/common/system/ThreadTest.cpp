// Thread: its steps on the new thread, the exception that ends it, its OS name, and the
// start/join/destroy lifecycle.
#include "orv/common/system/Thread.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>

#include "orv/common/errors/IllegalStateException.h"
#include "support/CapturedThreadLog.h"

namespace {

using orv::common::errors::IllegalStateException;
using orv::common::system::Runnable;
using orv::common::system::Thread;

// Records its steps and its OS name; throws from the step named `throwIn` (an int from "run?").
struct Recorder : Thread {
    explicit Recorder(std::string throwIn)
        : Thread("a rather long thread name"), throwIn(std::move(throwIn)) {}
    ~Recorder() override { join(); }
    void step(const std::string& name) {
        steps += name + (isCurrentThread() ? " " : " elsewhere ");
        name == throwIn         ? throw std::runtime_error("failed")
        : name + "?" == throwIn ? throw 42
                                : void();
    }
    void preExecute() override {
        pthread_getname_np(pthread_self(), osName.data(), osName.size());
        step("preExecute");
    }
    void run() override { step("run"); }
    void postExecute() override { step("postExecute"); }
    const std::string throwIn;
    std::string steps, osName = std::string(16, '\0');  // written on the thread, read after join()
};

TEST(ThreadTest, RunsItsStepsOnItsOwnThreadAndLogsTheExceptionThatEndsIt) {
    const std::string cases[][3] = {
        // the step that throws, the steps taken, the log line
        {"", "preExecute run postExecute ", ""},
        {"preExecute", "preExecute ", "preExecute() threw: failed"},
        {"run?", "preExecute run ", "run() threw: an exception of unknown type"},
        {"postExecute", "preExecute run postExecute ", "postExecute() threw: failed"}};
    for (const auto& [throwIn, steps, logged] : cases) {
        support::CapturedThreadLog log;
        Recorder thread(throwIn);
        thread.start();
        thread.join();
        EXPECT_EQ(thread.steps, steps);
        EXPECT_STREQ(thread.osName.c_str(), "a rather long t") << "cut to 15 bytes, set first";
        const std::string prefix = "orv.thread: Thread \"a rather long thread name\" ended: ";
        EXPECT_EQ(log.text(), logged.empty() ? "" : prefix + logged + "\n");
    }
}

TEST(ThreadTest, StartsOnceUntilJoinedAndTheDestructorJoins) {
    struct : Runnable {
        void run() override { std::this_thread::sleep_for(std::chrono::milliseconds(20)), ++runs; }
        std::atomic<int> runs{0};
    } body;
    {
        Thread thread("lifecycle", &body);
        thread.join();  // never started: nothing to wait for
        thread.start();
        EXPECT_TRUE(thread.isRunning());
        EXPECT_THROW(thread.start(), IllegalStateException);  // running or ended, not joined
        thread.join();
        EXPECT_FALSE(thread.isRunning());
        thread.start();  // again; a destructor that does not wait would end before this run
    }
    EXPECT_EQ(body.runs.load(), 2);
}

}  // namespace
