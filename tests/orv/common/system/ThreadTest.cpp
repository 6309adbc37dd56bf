#include "orv/common/system/Thread.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <chrono>
#include <iostream>
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "orv/common/errors/IllegalStateException.h"
#include "support/Concurrency.h"

namespace {

using orv::common::errors::IllegalStateException;
using orv::common::system::Runnable;
using orv::common::system::Thread;

std::string currentOsName() {
    char name[64] = {};
    pthread_getname_np(pthread_self(), name, sizeof name);
    return name;
}

class CountingRunnable : public Runnable {
public:
    void run() override { runs.fetch_add(1); }
    std::atomic<int> runs{0};
};

// Records on which thread, and in which order, the three steps run.
class RecordingThread : public Thread {
public:
    using Thread::Thread;
    ~RecordingThread() override { join(); }

    std::vector<std::string> steps() {
        std::lock_guard<std::mutex> guard(m_lock);
        return m_steps;
    }
    std::vector<std::thread::id> threads() {
        std::lock_guard<std::mutex> guard(m_lock);
        return m_threads;
    }

protected:
    void preExecute() override { record("preExecute"); }
    void run() override { record("run"); }
    void postExecute() override { record("postExecute"); }

private:
    void record(const char* step) {
        std::lock_guard<std::mutex> guard(m_lock);
        m_steps.emplace_back(step);
        m_threads.push_back(std::this_thread::get_id());
    }

    std::mutex m_lock;
    std::vector<std::string> m_steps;        // guarded by m_lock
    std::vector<std::thread::id> m_threads;  // guarded by m_lock
};

// Reads the thread's own operating-system name as early as it can.
class NameProbeThread : public Thread {
public:
    using Thread::Thread;
    ~NameProbeThread() override { join(); }
    std::string seen;  // written on the thread, read after join()

protected:
    void preExecute() override { seen = currentOsName(); }
};

// Redirects Thread::getLogWriter() into a string for one scope.
class CapturedThreadLog {
public:
    CapturedThreadLog() { Thread::getLogWriter()->setOutput(m_out); }
    ~CapturedThreadLog() { Thread::getLogWriter()->setOutput(std::clog); }
    std::string text() const { return m_out.str(); }

private:
    std::ostringstream m_out;
};

TEST(ThreadTest, RunsTheRunnable) {
    CountingRunnable runnable;
    Thread thread("runnable", &runnable);
    thread.start();
    thread.join();
    EXPECT_EQ(runnable.runs.load(), 1);
    EXPECT_FALSE(thread.isRunning());
}

TEST(ThreadTest, RunsTheStepsInOrderOnTheNewThread) {
    RecordingThread thread("steps");
    thread.start();
    thread.join();

    EXPECT_EQ(thread.steps(), (std::vector<std::string>{"preExecute", "run", "postExecute"}));
    const std::vector<std::thread::id> ids = thread.threads();
    ASSERT_EQ(ids.size(), 3U);
    EXPECT_NE(ids[0], std::this_thread::get_id());
    EXPECT_EQ(ids[1], ids[0]);
    EXPECT_EQ(ids[2], ids[0]);
}

TEST(ThreadTest, OsNameIsTheNameCutToFifteenBytes) {
    struct Case {
        std::string name;
        std::string osName;
    };
    const Case cases[] = {
        {"worker", "worker"},
        {"BafuWatchGuard", "BafuWatchGuard"},
        {"fifteen-chars-x", "fifteen-chars-x"},
        {"sixteen-chars-xy", "sixteen-chars-x"},
        {"a rather long thread name", "a rather long t"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        // Several starts, because the name must already be in place when the thread begins.
        for (int attempt = 0; attempt < 20; ++attempt) {
            NameProbeThread thread(c.name);
            thread.start();
            thread.join();
            ASSERT_EQ(thread.seen, c.osName) << "attempt " << attempt;
        }
    }
}

TEST(ThreadTest, IsCurrentThreadOnlyOnItsOwnThread) {
    class Probe : public Thread {
    public:
        Probe() : Thread("current") {}
        ~Probe() override { join(); }
        std::atomic<bool> insideSaysCurrent{false};

    protected:
        void run() override { insideSaysCurrent.store(isCurrentThread()); }
    };
    Probe thread;
    EXPECT_FALSE(thread.isCurrentThread());
    thread.start();
    thread.join();
    EXPECT_TRUE(thread.insideSaysCurrent.load());
    EXPECT_FALSE(thread.isCurrentThread());
}

TEST(ThreadTest, ExceptionFromRunIsLoggedAndTheProcessGoesOn) {
    class Throwing : public Runnable {
    public:
        void run() override { throw std::runtime_error("disk on fire"); }
    };
    class ThrowingUnknown : public Runnable {
    public:
        void run() override { throw 42; }
    };
    CapturedThreadLog log;
    Throwing throwing;
    ThrowingUnknown throwingUnknown;
    {
        Thread thread("thrower", &throwing);
        thread.start();
        thread.join();
        EXPECT_FALSE(thread.isRunning());
    }
    {
        Thread thread("odd-thrower", &throwingUnknown);
        thread.start();
        thread.join();
    }
    const std::string text = log.text();
    EXPECT_NE(text.find("disk on fire"), std::string::npos) << text;
    EXPECT_NE(text.find("thrower"), std::string::npos) << text;
    EXPECT_NE(text.find("odd-thrower"), std::string::npos) << text;

    // The library and its threads still work.
    CountingRunnable runnable;
    Thread after("after", &runnable);
    after.start();
    after.join();
    EXPECT_EQ(runnable.runs.load(), 1);
}

TEST(ThreadTest, ExceptionFromPreExecuteSkipsRunAndIsLogged) {
    class FailingSetup : public Thread {
    public:
        FailingSetup() : Thread("bad-setup") {}
        ~FailingSetup() override { join(); }
        std::atomic<bool> ran{false};

    protected:
        void preExecute() override { throw IllegalStateException("no config"); }
        void run() override { ran.store(true); }
    };
    CapturedThreadLog log;
    FailingSetup thread;
    thread.start();
    thread.join();
    EXPECT_FALSE(thread.ran.load());
    EXPECT_NE(log.text().find("no config"), std::string::npos) << log.text();
}

TEST(ThreadTest, StartWhileStartedThrows) {
    support::Latch release(1);
    class Blocking : public Runnable {
    public:
        explicit Blocking(support::Latch& release) : m_release(release) {}
        void run() override { m_release.wait(); }

    private:
        support::Latch& m_release;
    } blocking(release);

    Thread thread("twice", &blocking);
    thread.start();
    EXPECT_TRUE(thread.isRunning());
    EXPECT_THROW(thread.start(), IllegalStateException);
    release.countDown();
    thread.join();

    // A thread that has ended but was not joined is still started.
    Thread ended("ended", &blocking);
    ended.start();
    ASSERT_TRUE(support::waitUntil([&] { return !ended.isRunning(); }));
    EXPECT_THROW(ended.start(), IllegalStateException);
    ended.join();
}

TEST(ThreadTest, StartsAgainAfterJoin) {
    CountingRunnable runnable;
    Thread thread("again", &runnable);
    for (int round = 1; round <= 3; ++round) {
        thread.start();
        thread.join();
        EXPECT_EQ(runnable.runs.load(), round);
    }
}

TEST(ThreadTest, JoinWithoutStartAndRepeatedJoinAreHarmless) {
    Thread never("never");
    never.join();
    never.join();
    EXPECT_FALSE(never.isRunning());

    Thread once("once");
    once.start();
    once.join();
    once.join();
}

TEST(ThreadTest, JoinOnItsOwnThreadThrows) {
    class SelfJoin : public Thread {
    public:
        SelfJoin() : Thread("self-join") {}
        ~SelfJoin() override { join(); }
        std::atomic<bool> threw{false};

    protected:
        void run() override {
            try {
                join();
            } catch (const IllegalStateException&) {
                threw.store(true);
            }
        }
    };
    SelfJoin thread;
    thread.start();
    ASSERT_TRUE(support::waitUntil([&] { return !thread.isRunning(); }));
    thread.join();
    EXPECT_TRUE(thread.threw.load());
}

TEST(ThreadTest, DestructorJoins) {
    class Slow : public Runnable {
    public:
        void run() override {
            // Long enough for a destructor that does not wait to finish first.
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            finished.store(true);
        }
        std::atomic<bool> finished{false};
    } slow;
    {
        Thread thread("slow", &slow);
        thread.start();
    }
    EXPECT_TRUE(slow.finished.load());
}

}  // namespace
