// Decouplers beside their peers, measured side by side in one run:
// - DefaultDecoupler against asio::io_context::post with one worker thread, and against the
//   bare limit of a lock-free hand-over: moodycamel's BlockingConcurrentQueue of
//   std::function with one worker blocking on it (no priorities, no removal, order kept per
//   producer only). Rows: 1,000,000 empty calls from one and from four producers, run to
//   completion (items_per_second), and the latency from handing a call over to the start of
//   its function at low load (one call at a time, the worker idle in between; counters p50_ns
//   and p99_ns);
// - NoneDecoupler::call against building and calling a plain std::function.

#include <benchmark/benchmark.h>

#include <concurrentqueue/blockingconcurrentqueue.h>
#include <algorithm>
#include <asio.hpp>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "orv/bafu/DefaultDecoupler.h"
#include "orv/bafu/NoneDecoupler.h"

namespace {

using orv::bafu::DefaultDecoupler;
using orv::bafu::NoneDecoupler;
using Clock = std::chrono::steady_clock;

constexpr int kCalls = 1000000;
constexpr unsigned int kUserId = 2;
constexpr unsigned char kPriority = 128;

// Counts finished producers' last calls; wait() returns when all have run.
class Countdown {
public:
    explicit Countdown(int count) : m_count(count) {}
    void arrive() {
        std::lock_guard<std::mutex> guard(m_lock);
        if (--m_count == 0) {
            m_zero.notify_all();
        }
    }
    void wait() {
        std::unique_lock<std::mutex> lock(m_lock);
        m_zero.wait(lock, [this] { return m_count == 0; });
    }

private:
    std::mutex m_lock;
    std::condition_variable m_zero;
    int m_count;
};

// Hands kCalls empty calls over through `post`, split among `producers` threads, and returns
// once the executor has run them all: each producer's last call, queued behind its others,
// reports its end.
template <typename Post, typename PostLast>
void runToCompletion(int producers, Post post, PostLast postLast) {
    Countdown done(producers);
    std::vector<std::thread> threads;
    threads.reserve(static_cast<std::size_t>(producers));
    for (int p = 0; p < producers; ++p) {
        threads.emplace_back([&] {
            for (int i = 0; i < kCalls / producers; ++i) {
                post();
            }
            postLast([&done] { done.arrive(); });
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    done.wait();
}

void setItems(benchmark::State& state) {
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * kCalls);
}

// An asio::io_context with one thread running it.
class AsioWorker {
public:
    AsioWorker() : m_thread([this] { m_io.run(); }) {}
    AsioWorker(const AsioWorker&) = delete;
    AsioWorker& operator=(const AsioWorker&) = delete;
    ~AsioWorker() {
        m_guard.reset();
        m_thread.join();
    }
    asio::io_context& io() { return m_io; }

private:
    asio::io_context m_io;
    asio::executor_work_guard<asio::io_context::executor_type> m_guard{m_io.get_executor()};
    std::thread m_thread;
};

// A BlockingConcurrentQueue with one thread taking calls off it and running them; an empty
// function ends the thread.
class QueueWorker {
public:
    QueueWorker() : m_thread([this] { run(); }) {}
    QueueWorker(const QueueWorker&) = delete;
    QueueWorker& operator=(const QueueWorker&) = delete;
    ~QueueWorker() {
        m_queue.enqueue(std::function<void()>());
        m_thread.join();
    }
    void post(std::function<void()>&& function) { m_queue.enqueue(std::move(function)); }

private:
    void run() {
        std::function<void()> function;
        for (;;) {
            m_queue.wait_dequeue(function);
            if (!function) {
                return;
            }
            function();
        }
    }

    moodycamel::BlockingConcurrentQueue<std::function<void()>> m_queue;
    std::thread m_thread;
};

void BM_DefaultDecoupler_Throughput(benchmark::State& state) {
    DefaultDecoupler decoupler("bench");
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores)
        runToCompletion(
            static_cast<int>(state.range(0)), [&] { decoupler.call([] {}, kUserId, kPriority); },
            [&](std::function<void()> last) {
                decoupler.call(std::move(last), kUserId, kPriority);
            });
    }
    setItems(state);
}

void BM_AsioPost_Throughput(benchmark::State& state) {
    AsioWorker worker;
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores)
        runToCompletion(
            static_cast<int>(state.range(0)), [&] { asio::post(worker.io(), [] {}); },
            [&](std::function<void()> last) { asio::post(worker.io(), std::move(last)); });
    }
    setItems(state);
}

void BM_ConcurrentQueue_Throughput(benchmark::State& state) {
    QueueWorker worker;
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores)
        runToCompletion(
            static_cast<int>(state.range(0)), [&] { worker.post([] {}); },
            [&](std::function<void()> last) { worker.post(std::move(last)); });
    }
    setItems(state);
}

// Hands one call at a time over through `post`, the worker left idle for a while in between,
// and reports the median and 99th percentile of the time from handing over to the start.
template <typename Post>
void measureLatency(benchmark::State& state, Post post) {
    std::vector<double> samples;
    std::atomic<bool> started{false};
    Clock::time_point handedOver;
    double sample = 0;
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores)
        started.store(false, std::memory_order_relaxed);
        handedOver = Clock::now();
        post([&] {
            sample = std::chrono::duration<double, std::nano>(Clock::now() - handedOver).count();
            started.store(true, std::memory_order_release);
        });
        while (!started.load(std::memory_order_acquire)) {
        }
        samples.push_back(sample);
        std::this_thread::sleep_for(std::chrono::microseconds(50));  // low load: worker idles
    }
    std::sort(samples.begin(), samples.end());
    const auto at = [&](double q) {
        return samples[static_cast<std::size_t>(q * static_cast<double>(samples.size() - 1))];
    };
    state.counters["p50_ns"] = at(0.50);
    state.counters["p99_ns"] = at(0.99);
}

void BM_DefaultDecoupler_Latency(benchmark::State& state) {
    DefaultDecoupler decoupler("bench");
    measureLatency(
        state, [&](std::function<void()> f) { decoupler.call(std::move(f), kUserId, kPriority); });
}

void BM_AsioPost_Latency(benchmark::State& state) {
    AsioWorker worker;
    measureLatency(state, [&](std::function<void()> f) { asio::post(worker.io(), std::move(f)); });
}

void BM_ConcurrentQueue_Latency(benchmark::State& state) {
    QueueWorker worker;
    measureLatency(state, [&](std::function<void()> f) { worker.post(std::move(f)); });
}

void BM_NoneDecoupler_Call(benchmark::State& state) {
    NoneDecoupler decoupler;
    int counter = 0;
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores)
        decoupler.call([&counter] { ++counter; }, kUserId, kPriority);
    }
    benchmark::DoNotOptimize(counter);
}

void BM_StdFunction_Call(benchmark::State& state) {
    int counter = 0;
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores)
        std::function<void()> function([&counter] { ++counter; });
        benchmark::DoNotOptimize(function);
        function();
    }
    benchmark::DoNotOptimize(counter);
}

}  // namespace

BENCHMARK(BM_DefaultDecoupler_Throughput)
    ->Arg(1)
    ->Arg(4)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(BM_AsioPost_Throughput)->Arg(1)->Arg(4)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_ConcurrentQueue_Throughput)
    ->Arg(1)
    ->Arg(4)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(BM_DefaultDecoupler_Latency)->Iterations(20000)->UseRealTime();
BENCHMARK(BM_AsioPost_Latency)->Iterations(20000)->UseRealTime();
BENCHMARK(BM_ConcurrentQueue_Latency)->Iterations(20000)->UseRealTime();
BENCHMARK(BM_NoneDecoupler_Call);
BENCHMARK(BM_StdFunction_Call);

BENCHMARK_MAIN();
