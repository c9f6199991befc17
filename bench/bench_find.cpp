// The find-file task on a folder of many entries (VFL_FIND_BENCH_DIR, made
// by bench/find_vs_find.sh): how long the task takes to end after Abort,
// asked at a random moment of the walk, and the time of a whole walk by name.

#include "MMgr/MMgr_FindFileTask.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Init.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <random>
#include <string>
#include <thread>

namespace
{

using Clock = std::chrono::steady_clock;

// Counts what passes the name filter.
class CountingFind : public MMgr_FindFileTask
{
public:
    std::atomic<int64_t> mSeen{0};

protected:
    int32 MatchFile(Sys_FileLoc const&) override
    {
        mSeen.fetch_add(1, std::memory_order_relaxed);
        return eNotTheFile;
    }
};

std::string Folder()
{
    char const* const dir = std::getenv("VFL_FIND_BENCH_DIR");
    return dir ? dir : "";
}

MMgr_FindFileTask::Handle MakeTask(CountingFind** counting)
{
    *counting = new CountingFind;
    MMgr_FindFileTask::Handle task(*counting);
    task->SetFindMethod(MMgr_FindFileTask::eFindInFolderTree | MMgr_FindFileTask::eFindByName);
    task->SetFindFileName("*.wav");
    task->SetStartFolder(Sys_FileLoc(Folder()));
    return task;
}

// The abort comes from another thread after a random wait of up to the
// length of a whole walk, so that it meets the folder listing as often as
// the calls of MatchFile. Reported: the time from Abort to the task's end.
void BM_AbortLatency(benchmark::State& state)
{
    Sys_Init::Init();
    if (Folder().empty())
    {
        state.SkipWithError("VFL_FIND_BENCH_DIR is not set");
        return;
    }
    CountingFind* counting = nullptr;
    auto const walkStart = Clock::now();
    MakeTask(&counting)->Exec();
    double const walkSeconds = std::chrono::duration<double>(Clock::now() - walkStart).count();
    std::mt19937 random(1);
    std::uniform_real_distribution<double> wait(0, walkSeconds);
    double worst = 0;
    for (auto _ : state)
    {
        MMgr_FindFileTask::Handle const task = MakeTask(&counting);
        Clock::time_point ended;
        std::thread walker(
            [&]
            {
                task->Exec();
                ended = Clock::now();
            });
        std::this_thread::sleep_for(std::chrono::duration<double>(wait(random)));
        auto const asked = Clock::now();
        task->Abort();
        walker.join();
        double const latency = std::chrono::duration<double>(ended - asked).count();
        worst = std::max(worst, latency);
        state.SetIterationTime(std::max(latency, 0.0));
    }
    state.counters["whole_walk_ms"] = walkSeconds * 1000;
    state.counters["worst_ms"] = worst * 1000;
}
BENCHMARK(BM_AbortLatency)->UseManualTime()->Iterations(40)->Unit(benchmark::kMillisecond);

} // namespace
