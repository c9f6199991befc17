// Unbuffered reads through Sys_File, as bench/direct_vs_fio.sh compares
// them with fio on the same file:
//   direct_read FILE seq            1 MiB reads one after the other
//   direct_read FILE queued DEPTH [ring|workers]
//                                   1 MiB queued reads, DEPTH in flight
// Prints the rate in MB/s (10^6 bytes) and the heap allocations per call.
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "Sys/Posix/Sys_AsyncFileEnginePosix.h"
#include "Sys/Sys_AsyncFileIOParams.h"
#include "Sys/Sys_File.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Init.h"

namespace
{
std::atomic<long> sAllocations{0};

constexpr int64 kBlock = 1 << 20;
constexpr std::size_t kAlign = 4096;

struct Aligned
{
    explicit Aligned(std::size_t size) : bytes(static_cast<char*>(std::aligned_alloc(kAlign, size))) {}
    ~Aligned() { std::free(bytes); }
    char* bytes;
};

double Seconds(std::chrono::steady_clock::time_point since)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

int Sequential(Sys_File& file, int64 size)
{
    Aligned buffer(kBlock);
    long const before = sAllocations.load();
    int64 calls = 0;
    auto const start = std::chrono::steady_clock::now();
    for (int64 at = 0; at + kBlock <= size; at += kBlock, ++calls)
        file.Read(buffer.bytes, kBlock);
    double const seconds = Seconds(start);
    long const allocations = sAllocations.load() - before;
    std::printf("%.1f MB/s %.3f allocations/call\n", static_cast<double>(calls * kBlock) / seconds / 1e6,
                static_cast<double>(allocations) / static_cast<double>(calls));
    return 0;
}

struct Queue
{
    Sys_File* file;
    int64 next = 0;
    int64 end = 0;
    int64 completed = 0;
    int64 failed = 0;
};

void Requeue(Sys_AsyncFileIOParams* params, void* data)
{
    auto* queue = static_cast<Queue*>(data);
    ++queue->completed;
    if (queue->next + kBlock <= queue->end)
    {
        params->SetOffset(queue->next);
        params->SetCount(kBlock);
        queue->next += kBlock;
        queue->file->ReadAsync(params);
    }
}

int Queued(Sys_File& file, int64 size, int depth)
{
    Queue queue{&file, 0, size - size % kBlock};
    std::vector<std::unique_ptr<Aligned>> buffers;
    std::vector<std::unique_ptr<Sys_AsyncFileIOParams>> params;
    Sys_SyncObject::HandleList events;
    for (int i = 0; i < depth; ++i)
    {
        buffers.push_back(std::make_unique<Aligned>(kBlock));
        params.emplace_back(Sys_AsyncFileIOParams::Create(0, kBlock, buffers.back()->bytes));
        params.back()->SetCompletion(&Requeue, &queue);
        events.push_back(params.back()->GetEvent());
    }
    int64 const total = queue.end / kBlock;
    auto const start = std::chrono::steady_clock::now();
    for (auto& p : params)
    {
        if (queue.next >= queue.end)
            break;
        p->SetOffset(queue.next);
        queue.next += kBlock;
        file.ReadAsync(p.get());
    }
    while (queue.completed < total)
    {
        Sys_SyncObject::WaitForMultipleObjects(events, Sys_SyncObject::kWaitForAny);
        for (auto& p : params)
        {
            if (p->HasException())
            {
                std::fprintf(stderr, "direct_read: a queued read failed\n");
                return 1;
            }
        }
    }
    double const seconds = Seconds(start);
    std::printf("%.1f MB/s\n", static_cast<double>(total * kBlock) / seconds / 1e6);
    return 0;
}
} // namespace

void* operator new(std::size_t size)
{
    sAllocations.fetch_add(1, std::memory_order_relaxed);
    if (void* p = std::malloc(size ? size : 1))
        return p;
    throw std::bad_alloc();
}

void operator delete(void* p) noexcept
{
    std::free(p);
}

void operator delete(void* p, std::size_t) noexcept
{
    std::free(p);
}

int main(int argc, char** argv)
{
    if (argc < 3)
    {
        std::fprintf(stderr, "usage: direct_read FILE seq | FILE queued DEPTH [ring|workers]\n");
        return 2;
    }
    Sys_Init::Init();
    std::string const mode = argv[2];
    if (mode == "queued" && argc > 4)
    {
        using Engine = Sys_AsyncFileEnginePosix;
        Engine::EKind const kind = std::strcmp(argv[4], "ring") == 0 ? Engine::kEngineRing : Engine::kEngineWorkers;
        if (!Engine::Choose(kind))
        {
            std::fprintf(stderr, "direct_read: io_uring is refused here\n");
            return 1;
        }
    }
    try
    {
        Sys_File file{Sys_FileLoc(argv[1])};
        file.Open(Sys_File::kOpenRead | Sys_File::kOpenExisting | Sys_File::kOpenAsync | Sys_File::kOpenUnbuffered);
        int64 const size = file.GetEOF();
        if (mode == "seq")
            return Sequential(file, size);
        if (mode == "queued")
            return Queued(file, size, argc > 3 ? std::atoi(argv[3]) : 8);
    }
    catch (std::exception const& e)
    {
        std::fprintf(stderr, "direct_read: %s\n", e.what());
        return 1;
    }
    std::fprintf(stderr, "direct_read: unknown mode %s\n", mode.c_str());
    return 2;
}
