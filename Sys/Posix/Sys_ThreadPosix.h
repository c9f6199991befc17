#pragma once

#include "Sys/Sys_ThreadImpl.h"

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

// Sys_Thread on pthreads.
//
// The platform thread is started by the first Resume and parks between
// rounds while suspended; Linux has no safe way to stop a thread from the
// outside in the middle of its work, so Suspend takes effect at the start of
// the next round.
//
// Priorities become nice values of the thread, relative to the nice value
// of the process: a raise that the system refuses (no privilege) leaves the
// thread where it is and is not an error. Names are given to the system cut
// to 15 bytes, the limit of Linux.
class Sys_ThreadPosix : public Sys_ThreadImpl
{
public:
    explicit Sys_ThreadPosix(Sys_Thread* thread);
    ~Sys_ThreadPosix() override;

    void Suspend() override;
    void Resume() override;
    void SetPriority(Sys_Thread::EPriority priority) override;
    void StayWithCaller(bool stay) override;
    Sys_Thread::EStatus GetStatus() override;
    void Block(Sys_SyncObject::HandleList const& objects, Sys_SyncObject::EWaitForMultipleObjects mode) override;
    void Block(Sys_SyncObject::Handle const& object) override;
    void SetName(std::string const& name) override;

    // Installs the creator of thread implementations. Also done when the
    // library loads.
    static void SetPlatformDependentMethods();

    // The nice value, relative to the process's, that stands for a priority.
    static int NiceOffsetOf(Sys_Thread::EPriority priority);
    // What the system shows as the name of a thread named name.
    static std::string SystemNameOf(std::string const& name);

private:
    void Run();
    // Under mLock, on a running platform thread.
    void ApplyPriorityLocked();
    void ApplyNameLocked();
    void ApplyProcessorLocked();

    std::mutex mLock;
    std::condition_variable mWake;
    bool mStarted = false;
    bool mSuspended = true;
    bool mFinished = false;
    bool mQuit = false;
    Sys_Thread::EStatus mStatus = Sys_Thread::kThreadSuspended;
    Sys_Thread::EPriority mPriority = Sys_Thread::kPriorityNormal;
    int mSystemId = 0;                    // the kernel's id of the thread, once it runs
    int mProcessor = -1;                  // the processor it is kept on, or -1 for any
    std::vector<unsigned char> mFreeMask; // its processors before it was first kept
    std::string mName;
    Sys_SyncObject::HandleList mWaitList;
    Sys_SyncObject::HandleList mWaitingOn; // only touched by the thread itself
    Sys_SyncObject::EWaitForMultipleObjects mWaitMode = Sys_SyncObject::kWaitForAny;
    std::thread mPlatformThread;
};
