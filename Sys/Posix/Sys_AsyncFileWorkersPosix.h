#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>

#include "Sys/Posix/Sys_AsyncFileEnginePosix.h"

// Queued transfers done by blocking pread and pwrite on worker threads,
// through the file system call table. Threads are started as transfers
// wait for one, up to a limit, and then stay.
class Sys_AsyncFileWorkersPosix : public Sys_AsyncFileEnginePosix
{
public:
    static Sys_AsyncFileWorkersPosix& Get();

    void Submit(Transfer const& transfer) override;
    EKind GetKind() const override { return kEngineWorkers; }

private:
    Sys_AsyncFileWorkersPosix() = default;
    void Run();
    static int64 Move(Transfer const& transfer);

    static constexpr int kMaxThreads = 8;
    std::mutex mLock;
    std::condition_variable mWork;
    std::deque<Transfer> mQueue;
    int mThreads = 0;
    int mIdle = 0;
};
