#include "Sys/Posix/Sys_AsyncFileEnginePosix.h"

#include <atomic>
#include <mutex>

#include "Sys/Posix/Sys_AsyncFileIOParamsPosix.h"
#include "Sys/Posix/Sys_AsyncFileRingPosix.h"
#include "Sys/Posix/Sys_AsyncFileWorkersPosix.h"
#include "Sys/Posix/Sys_FilePosixCalls.h"

namespace
{
std::atomic<Sys_AsyncFileEnginePosix*> sCurrent{nullptr};
std::mutex sChoosing;
} // namespace

Sys_AsyncFileEnginePosix::~Sys_AsyncFileEnginePosix() = default;

Sys_AsyncFileEnginePosix& Sys_AsyncFileEnginePosix::Current()
{
    Sys_AsyncFileEnginePosix* engine = sCurrent.load(std::memory_order_acquire);
    if (!engine)
    {
        Choose(kEngineAny);
        engine = sCurrent.load(std::memory_order_acquire);
    }
    return *engine;
}

bool Sys_AsyncFileEnginePosix::Choose(EKind kind)
{
    std::lock_guard<std::mutex> lock(sChoosing);
    Sys_AsyncFileEnginePosix* engine = nullptr;
    if (kind != kEngineWorkers)
        engine = Sys_AsyncFileRingPosix::Get();
    if (!engine && kind != kEngineRing)
        engine = &Sys_AsyncFileWorkersPosix::Get();
    if (engine)
        sCurrent.store(engine, std::memory_order_release);
    return engine != nullptr;
}

void Sys_AsyncFileEnginePosix::Finish(Transfer const& transfer, int64 result)
{
    result = Sys_FilePosixCalls::Current().queued(transfer.fd, transfer.offset, result);
    transfer.params->Finish(result);
}
