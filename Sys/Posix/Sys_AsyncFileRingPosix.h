#pragma once

#include <liburing.h>

#include <atomic>
#include <mutex>

#include "Sys/Posix/Sys_AsyncFileEnginePosix.h"

// Queued transfers through io_uring: any thread submits under a lock, and
// one thread of the engine reaps the completions and hands them on.
class Sys_AsyncFileRingPosix : public Sys_AsyncFileEnginePosix
{
public:
    // The engine, or null where the system refuses io_uring; asked once.
    static Sys_AsyncFileRingPosix* Get();

    void Submit(Transfer const& transfer) override;
    EKind GetKind() const override { return kEngineRing; }

private:
    Sys_AsyncFileRingPosix() = default;
    bool Start();
    void Reap();

    static constexpr unsigned kEntries = 256;
    io_uring mRing{};
    std::mutex mSubmitting;
    // Counts submissions, released by the submitter and acquired by the
    // reaper: the kernel passes each transfer through memory the thread
    // checkers cannot see, and this makes the hand-over visible to them.
    std::atomic<uint64> mSubmitted{0};
};
