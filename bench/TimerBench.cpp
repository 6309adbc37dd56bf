// The timer manager beside asio's steady_timer on one io_context:
//
// - StartStop: starting and then stopping 100,000 timers (items per second; compare the
//   two rates);
// - Lateness: 10,000 cyclic 100 ms timers, their starts spread evenly over one period, so
//   that 100,000 expiries a second fall due; each expiry's lateness (when its callback runs
//   minus when it was due) is sampled for one second, and its median and 99th percentile are
//   reported as counters in microseconds. The manager is measured with its default
//   NoneDecoupler (callbacks on the timer thread) and with a DefaultDecoupler (callbacks on
//   the decoupler's worker).
//
// Run in Release:
//   orv_bench_timer --benchmark_repetitions=5 --benchmark_report_aggregates_only=true

#include <benchmark/benchmark.h>

#include <algorithm>
#include <asio.hpp>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

#include "orv/bafu/DefaultDecoupler.h"
#include "orv/bafu/timer/Manager.h"

namespace {

using Clock = std::chrono::steady_clock;
using orv::bafu::DefaultDecoupler;
using orv::bafu::timer::Manager;

constexpr std::size_t kStartStopTimers = 100000;
constexpr unsigned int kFarAwayMs = 3600000;  // never due while measured

constexpr std::size_t kCyclicTimers = 10000;
constexpr auto kPeriod = std::chrono::milliseconds(100);
constexpr std::size_t kStartBatches = 100;  // the starts are spread over one period in these steps
constexpr auto kWarmUp = std::chrono::milliseconds(300);
constexpr auto kSampling = std::chrono::seconds(1);

// ---------------------------------------------------------------------------------------
// Starting and stopping

void BM_StartStop_TimerManager(benchmark::State& state) {
    Manager manager("BenchTimers");
    manager.init();
    std::vector<unsigned long> ids(kStartStopTimers);
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores)
        for (unsigned long& id : ids) {
            id = manager.startTimer([](unsigned long) {}, kFarAwayMs, false);
        }
        for (const unsigned long id : ids) {
            manager.stopTimer(id);
        }
    }
    state.SetItemsProcessed(state.iterations() *
                            static_cast<benchmark::IterationCount>(kStartStopTimers));
    manager.shutdown();
}
BENCHMARK(BM_StartStop_TimerManager)->Unit(benchmark::kMillisecond);

void BM_StartStop_AsioSteadyTimer(benchmark::State& state) {
    asio::io_context io;
    std::vector<std::unique_ptr<asio::steady_timer>> timers(kStartStopTimers);
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores)
        for (auto& timer : timers) {
            timer = std::make_unique<asio::steady_timer>(io, std::chrono::milliseconds(kFarAwayMs));
            timer->async_wait([](const asio::error_code&) {});
        }
        for (auto& timer : timers) {
            timer->cancel();
        }
        io.poll();  // runs the cancelled waits' handlers
        io.restart();
        for (auto& timer : timers) {
            timer.reset();
        }
    }
    state.SetItemsProcessed(state.iterations() *
                            static_cast<benchmark::IterationCount>(kStartStopTimers));
}
BENCHMARK(BM_StartStop_AsioSteadyTimer)->Unit(benchmark::kMillisecond);

// ---------------------------------------------------------------------------------------
// Lateness of cyclic expiries

// Lateness samples in nanoseconds, written by the one thread that runs the callbacks.
class LatenessSamples {
public:
    LatenessSamples() { m_samples.reserve(4 * kCyclicTimers * 10); }

    void record(Clock::time_point due) {
        if (m_recording.load(std::memory_order_relaxed)) {
            m_samples.push_back((Clock::now() - due).count());
        }
    }
    void setRecording(bool recording) { m_recording.store(recording); }

    // Call once the callback thread is done with the samples.
    void report(benchmark::State& state, std::chrono::duration<double> sampled) {
        std::sort(m_samples.begin(), m_samples.end());
        state.counters["p50_us"] = percentile(0.50) / 1000.0;
        state.counters["p99_us"] = percentile(0.99) / 1000.0;
        state.counters["max_us"] =
            m_samples.empty() ? 0.0 : static_cast<double>(m_samples.back()) / 1000.0;
        state.counters["expiries_per_s"] = static_cast<double>(m_samples.size()) / sampled.count();
    }

private:
    double percentile(double rank) const {
        if (m_samples.empty()) {
            return 0.0;
        }
        const auto index =
            static_cast<std::size_t>(rank * static_cast<double>(m_samples.size() - 1));
        return static_cast<double>(m_samples[index]);
    }

    std::atomic<bool> m_recording{false};
    std::vector<std::int64_t> m_samples;
};

// Starts `start(i)` for every timer, in batches spread evenly over one period.
template <typename Start>
void startSpread(Start start) {
    const Clock::time_point begin = Clock::now();
    for (std::size_t batch = 0; batch < kStartBatches; ++batch) {
        std::this_thread::sleep_until(begin + static_cast<int>(batch) * kPeriod /
                                                  static_cast<int>(kStartBatches));
        for (std::size_t i = batch; i < kCyclicTimers; i += kStartBatches) {
            start(i);
        }
    }
}

void sample(LatenessSamples& samples) {
    std::this_thread::sleep_for(kWarmUp);
    samples.setRecording(true);
    std::this_thread::sleep_for(kSampling);
    samples.setRecording(false);
}

// One cyclic timer's schedule: it falls due every period after its start.
struct Schedule {
    Clock::time_point start;
    std::int64_t expiries = 0;
};

void measureManagerLateness(benchmark::State& state, bool withWorker) {
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores)
        std::unique_ptr<DefaultDecoupler> decoupler;
        if (withWorker) {
            decoupler = std::make_unique<DefaultDecoupler>("BenchWorker");
        }
        LatenessSamples samples;
        std::vector<Schedule> schedules(kCyclicTimers);
        {
            Manager manager("BenchTimers");
            manager.setOptional_Decoupler(decoupler.get());
            manager.init();
            startSpread([&](std::size_t i) {
                Schedule& schedule = schedules[i];
                schedule.start = Clock::now();
                manager.startTimer(
                    [&schedule, &samples](unsigned long) {
                        ++schedule.expiries;
                        samples.record(schedule.start + schedule.expiries * kPeriod);
                    },
                    static_cast<unsigned int>(kPeriod.count()), true);
            });
            sample(samples);
            manager.shutdown();  // waits for the callback thread, so the samples are ours
        }
        samples.report(state, kSampling);
    }
}

void BM_Lateness_TimerManager_NoneDecoupler(benchmark::State& state) {
    measureManagerLateness(state, false);
}
BENCHMARK(BM_Lateness_TimerManager_NoneDecoupler)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

void BM_Lateness_TimerManager_DefaultDecoupler(benchmark::State& state) {
    measureManagerLateness(state, true);
}
BENCHMARK(BM_Lateness_TimerManager_DefaultDecoupler)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

// asio: every handler records its lateness and waits again for its next deadline.
class AsioCyclicTimer {
public:
    AsioCyclicTimer(asio::io_context& io, LatenessSamples& samples)
        : m_timer(io), m_samples(samples) {}

    void start() {
        m_timer.expires_after(kPeriod);
        wait();
    }

private:
    void wait() {
        m_timer.async_wait([this](const asio::error_code& error) {
            if (error) {
                return;
            }
            m_samples.record(m_timer.expiry());
            m_timer.expires_at(m_timer.expiry() + kPeriod);
            wait();
        });
    }

    asio::steady_timer m_timer;
    LatenessSamples& m_samples;
};

void BM_Lateness_AsioSteadyTimer(benchmark::State& state) {
    for (auto _ : state) {  // NOLINT(clang-analyzer-deadcode.DeadStores)
        LatenessSamples samples;
        asio::io_context io;
        auto work = asio::make_work_guard(io);
        std::vector<std::unique_ptr<AsioCyclicTimer>> timers;
        timers.reserve(kCyclicTimers);
        for (std::size_t i = 0; i < kCyclicTimers; ++i) {
            timers.push_back(std::make_unique<AsioCyclicTimer>(io, samples));
        }
        std::thread runner([&io] { io.run(); });
        // Timers are started on the io_context's thread, as asio's objects are not shared.
        startSpread([&](std::size_t i) { asio::post(io, [&timers, i] { timers[i]->start(); }); });
        sample(samples);
        io.stop();
        runner.join();
        samples.report(state, kSampling);
    }
}
BENCHMARK(BM_Lateness_AsioSteadyTimer)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
