#include "Sys/Posix/Sys_ThreadPosix.h"

#include "Sys/Posix/Sys_SEHandlerPosix.h"
#include "Sys/Sys_ThrowIfOSErr.h"
#include "Sys/Sys_Utils.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <cxxabi.h>
#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <system_error>
#include <unistd.h>

namespace
{

Sys_ThreadImpl* CreateThreadPosix(Sys_Thread* thread)
{
    return new Sys_ThreadPosix(thread);
}

struct InstallAtLoad
{
    InstallAtLoad() { Sys_ThreadPosix::SetPlatformDependentMethods(); }
} sInstallAtLoad;

// Priorities are kept relative to what the process was started with, so
// that "normal" under a niced host stays that host's normal. Read when the
// library loads, on the thread that loads it, before any thread of ours
// can have changed its own value.
int ReadNice()
{
    errno = 0;
    int const nice = getpriority(PRIO_PROCESS, 0);
    return errno != 0 ? 0 : nice;
}

int const sProcessNice = ReadNice();

int ProcessNice()
{
    return sProcessNice;
}

constexpr int kNiceMin = -20;
constexpr int kNiceMax = 19;

} // namespace

Sys_ThreadPosix::Sys_ThreadPosix(Sys_Thread* thread) : Sys_ThreadImpl(thread) {}

Sys_ThreadPosix::~Sys_ThreadPosix()
{
    {
        std::lock_guard<std::mutex> lock(mLock);
        mQuit = true;
        mWake.notify_all();
    }
    if (mPlatformThread.joinable())
    {
        // The last reference may be dropped by the thread itself at its end.
        if (mPlatformThread.get_id() == std::this_thread::get_id())
            mPlatformThread.detach();
        else
            mPlatformThread.join();
    }
}

void Sys_ThreadPosix::SetPlatformDependentMethods()
{
    Sys_Thread::SetCreateImplMethod(&CreateThreadPosix);
}

int Sys_ThreadPosix::NiceOffsetOf(Sys_Thread::EPriority priority)
{
    static int const sOffsets[] = {19, 10, 5, 0, -5, -10, -20};
    int const index = std::clamp(static_cast<int>(priority), 0, 6);
    return sOffsets[index];
}

std::string Sys_ThreadPosix::SystemNameOf(std::string const& name)
{
    return name.substr(0, 15);
}

void Sys_ThreadPosix::Suspend()
{
    std::lock_guard<std::mutex> lock(mLock);
    if (mFinished)
        return;
    mSuspended = true;
    mStatus = Sys_Thread::kThreadSuspended;
}

void Sys_ThreadPosix::Resume()
{
    std::lock_guard<std::mutex> lock(mLock);
    if (mFinished || mQuit)
        return;
    mSuspended = false;
    mStatus = Sys_Thread::kThreadRunning;
    if (mStarted)
    {
        mWake.notify_all();
        return;
    }
    try
    {
        mPlatformThread = std::thread([this] { Run(); });
    }
    catch (std::system_error const& e)
    {
        mSuspended = true;
        mStatus = Sys_Thread::kThreadSuspended;
        Sys_ThrowIfOSErr(e.code().value() != 0 ? e.code().value() : EAGAIN);
    }
    mStarted = true;
}

void Sys_ThreadPosix::SetPriority(Sys_Thread::EPriority priority)
{
    std::lock_guard<std::mutex> lock(mLock);
    mPriority = priority;
    if (mSystemId != 0 && !mFinished)
        ApplyPriorityLocked();
}

void Sys_ThreadPosix::ApplyPriorityLocked()
{
    int const nice = std::clamp(ProcessNice() + NiceOffsetOf(mPriority), kNiceMin, kNiceMax);
    // Without the privilege a raise fails; the thread then keeps what it has.
    (void)setpriority(PRIO_PROCESS, static_cast<id_t>(mSystemId), nice);
}

void Sys_ThreadPosix::StayWithCaller(bool stay)
{
    int const processor = stay ? sched_getcpu() : -1;
    std::lock_guard<std::mutex> lock(mLock);
    mProcessor = processor < 0 ? -1 : processor;
    if (mSystemId != 0 && !mFinished)
        ApplyProcessorLocked();
}

void Sys_ThreadPosix::ApplyProcessorLocked()
{
    auto const tid = static_cast<pid_t>(mSystemId);
    cpu_set_t set;
    if (mProcessor >= 0 && mProcessor < CPU_SETSIZE)
    {
        // What the thread may use before it is first kept, to give back: a
        // host that restricted the thread that made ours restricted ours too.
        if (mFreeMask.empty() && sched_getaffinity(tid, sizeof set, &set) == 0)
        {
            auto const* bytes = reinterpret_cast<unsigned char const*>(&set);
            mFreeMask.assign(bytes, bytes + sizeof set);
        }
        CPU_ZERO(&set);
        CPU_SET(mProcessor, &set);
    }
    else
    {
        if (mFreeMask.size() != sizeof set)
            return; // never kept: nothing to give back
        std::memcpy(&set, mFreeMask.data(), sizeof set);
    }
    // A processor taken away meanwhile refuses the call; the thread then
    // stays where it may run, which is only slower.
    (void)sched_setaffinity(tid, sizeof set, &set);
}

Sys_Thread::EStatus Sys_ThreadPosix::GetStatus()
{
    std::lock_guard<std::mutex> lock(mLock);
    return mFinished ? Sys_Thread::kThreadFinished : mStatus;
}

void Sys_ThreadPosix::Block(Sys_SyncObject::HandleList const& objects, Sys_SyncObject::EWaitForMultipleObjects mode)
{
    std::lock_guard<std::mutex> lock(mLock);
    mWaitList = objects;
    mWaitMode = mode;
}

void Sys_ThreadPosix::Block(Sys_SyncObject::Handle const& object)
{
    std::lock_guard<std::mutex> lock(mLock);
    mWaitList.assign(1, object);
    mWaitMode = Sys_SyncObject::kWaitForAny;
}

void Sys_ThreadPosix::SetName(std::string const& name)
{
    std::lock_guard<std::mutex> lock(mLock);
    mName = name;
    if (mStarted && !mFinished)
        ApplyNameLocked();
}

void Sys_ThreadPosix::ApplyNameLocked()
{
    if (mName.empty())
        return;
    // Fails only for a thread that is already gone; the name does not matter then.
    (void)pthread_setname_np(mPlatformThread.native_handle(), SystemNameOf(mName).c_str());
}

void Sys_ThreadPosix::Run()
{
    Sys_Thread* const thread = GetThread();
    SetCurrentThread(thread);
    // First of all, so that a fault anywhere in the thread is translated.
    Sys_SEHandlerPosix::InstallSEHandler();
    {
        // Taking the lock also waits until Resume has stored mPlatformThread.
        std::lock_guard<std::mutex> lock(mLock);
        mSystemId = static_cast<int>(syscall(SYS_gettid));
        ApplyNameLocked();
        ApplyPriorityLocked();
        if (mProcessor >= 0)
            ApplyProcessorLocked();
    }

    auto finish = [this]
    {
        {
            std::lock_guard<std::mutex> lock(mLock);
            mFinished = true;
            mWaitList.clear();
            mWaitingOn.clear();
        }
        SetCurrentThread(nullptr);
    };

    try
    {
        for (;;)
        {
            {
                std::unique_lock<std::mutex> lock(mLock);
                mWake.wait(lock, [this] { return !mSuspended || mQuit; });
                if (mQuit)
                    break;
            }
            if (RunRound() == Sys_Thread::kThreadFinished)
                break;

            Sys_SyncObject::EWaitForMultipleObjects mode;
            {
                // Both lists keep their room from round to round.
                std::lock_guard<std::mutex> lock(mLock);
                mWaitingOn.swap(mWaitList);
                mWaitList.clear();
                mode = mWaitMode;
            }
            // An empty list is a failure that ends the thread: a round that
            // did not finish must have said what to wait for.
            Sys_SyncObject::WaitForMultipleObjects(mWaitingOn, mode, Sys_SyncObject::kWaitForever);
            mWaitingOn.clear();
        }
    }
    catch (abi::__forced_unwind&)
    {
        finish();
        ReleaseThread();
        throw;
    }
    catch (...)
    {
        if (Sys_Thread::FatalExceptionMethod method = Sys_Thread::GetFatalExceptionMethod())
        {
            try
            {
                method(thread, std::current_exception());
            }
            catch (...)
            {
            }
        }
        else if (Sys_SEHandlerPosix::IsInstalled())
        {
            // The fatal path ends the process; when fatal exceptions are
            // not handled it returns false, and the exception goes on, out
            // of the thread, to the system (and a debugger).
            try
            {
                throw;
            }
            catch (std::exception& e)
            {
                if (!Sys_Utils::HandleFatalException(e))
                    throw;
            }
            catch (...)
            {
                if (!Sys_Utils::HandleFatalException())
                    throw;
            }
        }
    }
    finish();
    // Last: this may delete the thread object and this implementation.
    ReleaseThread();
}
