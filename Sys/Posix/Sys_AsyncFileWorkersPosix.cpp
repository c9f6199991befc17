#include "Sys/Posix/Sys_AsyncFileWorkersPosix.h"

#include <pthread.h>

#include <algorithm>
#include <cerrno>
#include <thread>

#include "Sys/Posix/Sys_FilePosixCalls.h"
#include "Sys/Sys_ThrowIfOSErr.h"

namespace
{
// Linux moves at most this much in one read or write call.
constexpr uint64 kMaxTransfer = 0x7FFFF000;
} // namespace

Sys_AsyncFileWorkersPosix& Sys_AsyncFileWorkersPosix::Get()
{
    // Never destroyed: its threads may be waiting in it when the process ends.
    static Sys_AsyncFileWorkersPosix* const sWorkers = new Sys_AsyncFileWorkersPosix();
    return *sWorkers;
}

void Sys_AsyncFileWorkersPosix::Submit(Transfer const& transfer)
{
    std::unique_lock<std::mutex> lock(mLock);
    mQueue.push_back(transfer);
    if (mIdle < static_cast<int>(mQueue.size()) && mThreads < kMaxThreads)
    {
        try
        {
            std::thread thread(&Sys_AsyncFileWorkersPosix::Run, this);
            ::pthread_setname_np(thread.native_handle(), "vfl file I/O");
            thread.detach();
            ++mThreads;
        }
        catch (std::system_error const& e)
        {
            if (mThreads == 0)
            {
                mQueue.pop_back();
                lock.unlock();
                Sys_ThrowIfOSErr(e.code().value() != 0 ? e.code().value() : EAGAIN);
            }
            // Otherwise the threads there are will take it.
        }
    }
    lock.unlock();
    mWork.notify_one();
}

void Sys_AsyncFileWorkersPosix::Run()
{
    std::unique_lock<std::mutex> lock(mLock);
    for (;;)
    {
        ++mIdle;
        mWork.wait(lock, [this] { return !mQueue.empty(); });
        --mIdle;
        Transfer const transfer = mQueue.front();
        mQueue.pop_front();
        lock.unlock();
        Finish(transfer, Move(transfer));
        lock.lock();
    }
}

int64 Sys_AsyncFileWorkersPosix::Move(Transfer const& transfer)
{
    Sys_FilePosixCalls const& calls = Sys_FilePosixCalls::Current();
    char* const bytes = static_cast<char*>(transfer.buffer);
    uint64 done = 0;
    while (done < transfer.count)
    {
        uint64 const chunk = std::min(transfer.count - done, kMaxTransfer);
        int64 const offset = transfer.offset + static_cast<int64>(done);
        int64 const moved = transfer.write ? calls.pwrite(transfer.fd, bytes + done, chunk, offset)
                                           : calls.pread(transfer.fd, bytes + done, chunk, offset);
        if (moved < 0 && errno == EINTR)
            continue;
        if (moved < 0)
            return -(errno != 0 ? errno : EIO);
        if (moved == 0 && transfer.write)
            return -EIO; // no progress and no reason: do not spin on it
        done += static_cast<uint64>(moved);
        // A short read is the end of the file.
        if (!transfer.write && static_cast<uint64>(moved) < chunk)
            break;
    }
    return static_cast<int64>(done);
}
