// The real-time paths: Sys_AtomicPool Alloc and Free, Sys_RealTimeTraceBuffer
// Store (alone, and two writers with a live reader), and the regulator's
// FillBuffers. Besides the mean per call, each reports percentiles of single
// calls timed with the processor's time stamp counter, whose own cost
// (tsc_overhead_ns) is included in them.

#include "FF/FF_AudioProcessBlock.h"
#include "FF/FF_AudioProcessRegulator.h"
#include "Sys/Sys_AtomicPool.h"
#include "Sys/Sys_Event.h"
#include "Sys/Sys_Init.h"
#include "Sys/Sys_RealTimeTraceBuffer.h"

#include <benchmark/benchmark.h>

#include <x86intrin.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <ostream>
#include <thread>
#include <vector>

namespace
{

// Nanoseconds per time stamp tick, measured once against the steady clock.
double NanosecondsPerTick()
{
    static double const perTick = []
    {
        auto const t0 = std::chrono::steady_clock::now();
        u64 const c0 = __rdtsc();
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        u64 const c1 = __rdtsc();
        auto const t1 = std::chrono::steady_clock::now();
        return std::chrono::duration<double, std::nano>(t1 - t0).count() / static_cast<double>(c1 - c0);
    }();
    return perTick;
}

double Percentile(std::vector<u64>& ticks, double fraction)
{
    if (ticks.empty())
        return 0;
    auto const at = ticks.begin() + static_cast<std::ptrdiff_t>(fraction * static_cast<double>(ticks.size() - 1));
    std::nth_element(ticks.begin(), at, ticks.end());
    return static_cast<double>(*at) * NanosecondsPerTick();
}

double TscOverheadNs()
{
    std::vector<u64> ticks(100000);
    for (auto& t : ticks)
    {
        u64 const start = __rdtsc();
        t = __rdtsc() - start;
    }
    return Percentile(ticks, 0.5);
}

void ReportPercentiles(benchmark::State& state, std::vector<u64>& ticks)
{
    state.counters["p50_ns"] = Percentile(ticks, 0.5);
    state.counters["p99_ns"] = Percentile(ticks, 0.99);
    state.counters["p999_ns"] = Percentile(ticks, 0.999);
    state.counters["tsc_overhead_ns"] = TscOverheadNs();
}

// Percentiles of single calls: each call between two reads of the time
// stamp counter. The counter's resolution on the build machines is 10 ns,
// so these say "at most so many ticks", and include one read's cost.
template <class Call> void SamplePercentiles(benchmark::State& state, int calls, Call&& call)
{
    std::vector<u64> ticks(static_cast<std::size_t>(calls));
    for (auto& t : ticks)
    {
        u64 const start = __rdtsc();
        call();
        t = __rdtsc() - start;
    }
    ReportPercentiles(state, ticks);
}

void BM_AtomicPoolAllocFree(benchmark::State& state)
{
    Sys_AtomicPool pool;
    pool.Init(64);
    auto const reservation = pool.Reserve(16);
    auto const allocFree = [&]
    {
        void* block = pool.Alloc(48);
        benchmark::DoNotOptimize(block);
        pool.Free(block);
    };
    for (auto _ : state)
        allocFree();
    SamplePercentiles(state, 1 << 20, allocFree);
}
BENCHMARK(BM_AtomicPoolAllocFree);

struct Record24
{
    u32 words[6];
};

void DiscardRecord(Sys_RingBuffer<char>& ring, std::ostream&)
{
    Record24 r;
    ring.Read(&r, sizeof(r));
    benchmark::DoNotOptimize(r);
}

constexpr int kStores = 1 << 20;

// One writer, in timed batches; the ring is emptied between them.
void BM_TraceStoreAlone(benchmark::State& state)
{
    constexpr int kBatch = 4096;
    Sys_RealTimeTraceBuffer buffer(1 << 20);
    std::ostream nowhere(nullptr);
    Record24 record{};
    auto const store = [&]
    {
        buffer.Store(&record, sizeof(record), &DiscardRecord);
        ++record.words[0];
    };
    for (auto _ : state)
    {
        auto const start = std::chrono::steady_clock::now();
        for (int i = 0; i < kBatch; ++i)
            store();
        state.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        buffer.Dump(&nowhere);
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
    int sampled = 0;
    SamplePercentiles(state, kStores,
                      [&]
                      {
                          store();
                          if (++sampled % kBatch == 0)
                              buffer.Dump(&nowhere);
                      });
}
BENCHMARK(BM_TraceStoreAlone)->UseManualTime();

// Two writers at once while a reader empties the ring: the percentiles are
// of both writers' calls together.
void BM_TraceStoreTwoWritersAndAReader(benchmark::State& state)
{
    Sys_RealTimeTraceBuffer buffer(1 << 20);
    std::vector<u64> ticks[2];
    for (auto& t : ticks)
        t.reserve(kStores);
    for (auto _ : state)
    {
        std::atomic<int> writing{2};
        std::thread reader(
            [&]
            {
                std::ostream nowhere(nullptr);
                while (writing.load(std::memory_order_relaxed) > 0)
                    buffer.Dump(&nowhere);
            });
        std::vector<std::thread> writers;
        for (int w = 0; w < 2; ++w)
            writers.emplace_back(
                [&, w]
                {
                    Record24 record{};
                    for (int i = 0; i < kStores / 2; ++i)
                    {
                        u64 const start = __rdtsc();
                        buffer.Store(&record, sizeof(record), &DiscardRecord);
                        ticks[w].push_back(__rdtsc() - start);
                        ++record.words[0];
                    }
                    --writing;
                });
        for (auto& t : writers)
            t.join();
        reader.join();
    }
    ticks[0].insert(ticks[0].end(), ticks[1].begin(), ticks[1].end());
    state.SetItemsProcessed(static_cast<i64>(ticks[0].size()));
    ReportPercentiles(state, ticks[0]);
}
BENCHMARK(BM_TraceStoreTwoWritersAndAReader)->Iterations(1)->UseRealTime();

// The client's call on a regulator that always has buffers ready: 256
// frames of stereo 16 bits per call. The regulator is filled as a chain
// would, between the timed calls.
void BM_RegulatorFillBuffers(benchmark::State& state)
{
    Sys_Init::Init();
    constexpr i32 kFrames = 256;
    constexpr int kReady = FF_AudioProcessRegulator::cNumBuffers;
    FF_AudioProcessRegulator regulator(2, kFrames * 2);
    FF_AudioProcessBlock prototype;
    prototype.SetNumChannels(2);
    prototype.SetSampleRate(48000);
    prototype.SetBitsPerSample(16);
    prototype.SetNumSamples(kFrames * kReady);
    prototype.SetTotalSamples(i64{1} << 40);
    regulator.Preflight(&prototype);
    regulator.SetAbortEvent(Sys_Event::Create(Sys_Event::kEventManualReset));
    regulator.Allocate(prototype);
    FF_AudioProcessBlock input(prototype);
    std::memset(input.GetChannelData(0), 1, static_cast<std::size_t>(input.GetChannelCapacity()));
    std::memset(input.GetChannelData(1), 2, static_cast<std::size_t>(input.GetChannelCapacity()));

    std::vector<char> left(kFrames * 2), right(kFrames * 2);
    char* destinations[2] = {left.data(), right.data()};
    bool dry = false;
    // Timed by the time stamp counter: a read of the steady clock costs more
    // than the calls here.
    std::vector<u64> ticks;
    ticks.reserve(1 << 20);
    for (auto _ : state)
    {
        regulator.Process(&input, nullptr);
        u64 const batchStart = __rdtsc();
        for (int i = 0; i < kReady; ++i)
        {
            u64 const start = __rdtsc();
            dry |= !regulator.FillBuffers(destinations);
            if (ticks.size() < ticks.capacity())
                ticks.push_back(__rdtsc() - start);
        }
        state.SetIterationTime(static_cast<double>(__rdtsc() - batchStart) * NanosecondsPerTick() * 1e-9);
    }
    state.SetItemsProcessed(state.iterations() * kReady);
    ReportPercentiles(state, ticks);
    if (dry)
        state.SkipWithError("the regulator ran dry");
}
BENCHMARK(BM_RegulatorFillBuffers)->UseManualTime();

} // namespace
