#pragma once

#include "Cmn/Cmn_Types.h"

class Sys_AsyncFileIOParamsPosix;

// What moves the bytes of queued file transfers: io_uring where the system
// allows it, otherwise a pool of worker threads (containers often refuse
// io_uring). Chosen once, at the first queued transfer; both stay usable,
// and tests and benchmarks may pick one. Engines live as long as the
// process.
class Sys_AsyncFileEnginePosix
{
public:
    enum EKind
    {
        kEngineAny = 0, // io_uring if the system allows it, else the workers
        kEngineWorkers = 1,
        kEngineRing = 2
    };

    struct Transfer
    {
        int fd;
        bool write;
        void* buffer;
        uint64 count;
        int64 offset;
        Sys_AsyncFileIOParamsPosix* params;
    };

    virtual ~Sys_AsyncFileEnginePosix();
    // Throws the system error if the transfer cannot be queued.
    virtual void Submit(Transfer const& transfer) = 0;
    virtual EKind GetKind() const = 0;

    // The engine of the next transfers.
    static Sys_AsyncFileEnginePosix& Current();
    // False, and nothing changes, if that kind is refused here.
    static bool Choose(EKind kind);

protected:
    Sys_AsyncFileEnginePosix() = default;
    // On the engine's thread: result is the bytes transferred or -errno.
    // It passes the seam's hook for queued transfers, then goes to the
    // queuing thread.
    static void Finish(Transfer const& transfer, int64 result);

private:
    Sys_AsyncFileEnginePosix(Sys_AsyncFileEnginePosix const&) = delete;
    Sys_AsyncFileEnginePosix& operator=(Sys_AsyncFileEnginePosix const&) = delete;
};
