#include "Sys/Posix/Sys_MutexPosix.h"

#include "Cmn/Cmn_Assert.h"

namespace
{

Sys_Mutex* CreateMutexPosix(int32 type)
{
    return new Sys_MutexPosix(type);
}

// Mutexes are made by static initialisers of other parts of the library, so
// the creator is in place as soon as the library is loaded.
struct InstallAtLoad
{
    InstallAtLoad() { Sys_MutexPosix::SetPlatformDependentMethods(); }
} sInstallAtLoad;

} // namespace

Sys_MutexPosix::Sys_MutexPosix(int32 type) : mType(type) {}

Sys_MutexPosix::~Sys_MutexPosix()
{
    // A mutex may go away in the hands of its last user, but never while
    // another thread holds it.
    if (HeldByCaller())
        mLock.unlock();
    else
        CMN_ASSERT(mDepth == 0);
}

bool Sys_MutexPosix::HeldByCaller() const
{
    return mOwner.load(std::memory_order_relaxed) == std::this_thread::get_id();
}

void Sys_MutexPosix::Acquire()
{
    if (HeldByCaller())
    {
        ++mDepth;
        return;
    }
    mLock.lock();
    mOwner.store(std::this_thread::get_id(), std::memory_order_relaxed);
    mDepth = 1;
}

bool Sys_MutexPosix::TryAcquire()
{
    CMN_ASSERT(mType == kMutexTryAcquire);
    if (HeldByCaller())
    {
        ++mDepth;
        return true;
    }
    if (!mLock.try_lock())
        return false;
    mOwner.store(std::this_thread::get_id(), std::memory_order_relaxed);
    mDepth = 1;
    return true;
}

void Sys_MutexPosix::Release()
{
    if (!HeldByCaller())
    {
        CMN_ASSERT(false);
        return;
    }
    if (--mDepth == 0)
    {
        mOwner.store(std::thread::id(), std::memory_order_relaxed);
        mLock.unlock();
    }
}

void Sys_MutexPosix::SetPlatformDependentMethods()
{
    Sys_Mutex::SetCreateMethod(&CreateMutexPosix);
}
