// The round trip of a task handed from one Sys_MultiTaskThread to another
// and back: the hop that every block of a process chain makes, twice per
// stage. For scale, the same round trip between two plain threads with a
// mutex and a condition variable is measured in the same run, and the task
// hop reports its median as a multiple of that one.

#include "Sys/Sys_Event.h"
#include "Sys/Sys_MultiTaskThread.h"
#include "Sys/Sys_Task.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace
{

using Clock = std::chrono::steady_clock;

constexpr int kRoundTripsPerIteration = 200;

double sConditionVariableMedianUs = 0;

double Percentile(std::vector<double>& samples, double fraction)
{
    if (samples.empty())
        return 0;
    auto const at = samples.begin() + static_cast<std::ptrdiff_t>(fraction * static_cast<double>(samples.size() - 1));
    std::nth_element(samples.begin(), at, samples.end());
    return *at;
}

void Report(benchmark::State& state, std::vector<double>& samples)
{
    state.counters["round_trip"] = benchmark::Counter(
        kRoundTripsPerIteration, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
    state.counters["median_us"] = Percentile(samples, 0.5);
    state.counters["p90_us"] = Percentile(samples, 0.9);
}

double MicrosecondsSince(Clock::time_point start)
{
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

void BM_ConditionVariablePingPong(benchmark::State& state)
{
    std::mutex lock;
    std::condition_variable changed;
    int turn = 0; // 0: nobody, 1: the partner's move, 2: back with us, 3: stop
    std::thread partner(
        [&]
        {
            std::unique_lock<std::mutex> guard(lock);
            for (;;)
            {
                changed.wait(guard, [&] { return turn == 1 || turn == 3; });
                if (turn == 3)
                    return;
                turn = 2;
                changed.notify_all();
            }
        });
    std::vector<double> samples;
    samples.reserve(1 << 16);
    for (auto _ : state)
    {
        for (int i = 0; i < kRoundTripsPerIteration; ++i)
        {
            Clock::time_point const start = Clock::now();
            std::unique_lock<std::mutex> guard(lock);
            turn = 1;
            changed.notify_all();
            changed.wait(guard, [&] { return turn == 2; });
            samples.push_back(MicrosecondsSince(start));
        }
    }
    {
        std::lock_guard<std::mutex> guard(lock);
        turn = 3;
        changed.notify_all();
    }
    partner.join();
    Report(state, samples);
    std::vector<double> copy = samples;
    sConditionVariableMedianUs = Percentile(copy, 0.5);
}
BENCHMARK(BM_ConditionVariablePingPong)->UseRealTime();

// A task that runs a function given by the benchmark at each slice.
class FunctionTask : public Sys_Task
{
public:
    using Handle = Cmn_PolymorphicHandle<FunctionTask, Sys_Task>;
    static Handle Make(std::function<EResult()> slice) { return Handle(new FunctionTask(std::move(slice))); }

protected:
    EResult ExecImpl() override { return mSlice(); }

private:
    explicit FunctionTask(std::function<EResult()> slice) : mSlice(std::move(slice)) {}
    std::function<EResult()> mSlice;
};

void BM_TaskHopBetweenMultiTaskThreads(benchmark::State& state)
{
    Sys_MultiTaskThread::Handle left = Sys_MultiTaskThread::Create();
    Sys_MultiTaskThread::Handle right = Sys_MultiTaskThread::Create();
    Sys_Event::Handle batchDone = Sys_Event::Create(0);

    // Touched only by the ping task, which runs on one thread at a time;
    // read by the benchmark after batchDone.
    std::vector<double> samples;
    samples.reserve(1 << 16);
    int roundTrips = 0;
    Clock::time_point sent;

    FunctionTask::Handle ping, pong;
    ping = FunctionTask::Make(
        [&]
        {
            if (roundTrips > 0)
                samples.push_back(MicrosecondsSince(sent));
            if (roundTrips++ == kRoundTripsPerIteration)
            {
                batchDone->Set();
                return Sys_Task::kResultReady;
            }
            sent = Clock::now();
            right->AddTask(pong, 0);
            return Sys_Task::kResultReady;
        });
    pong = FunctionTask::Make(
        [&]
        {
            left->AddTask(ping, 0);
            return Sys_Task::kResultReady;
        });

    for (auto _ : state)
    {
        roundTrips = 0;
        left->AddTask(ping, 0);
        batchDone->Wait();
    }
    ping = nullptr;
    pong = nullptr;
    Report(state, samples);
    std::vector<double> copy = samples;
    double const median = Percentile(copy, 0.5);
    if (sConditionVariableMedianUs > 0)
        state.counters["ratio_to_cv"] = median / sConditionVariableMedianUs;
}
BENCHMARK(BM_TaskHopBetweenMultiTaskThreads)->UseRealTime();

} // namespace
