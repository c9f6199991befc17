#include "Sys/Sys_StAcquireMutex.h"

#include "Sys/Sys_Mutex.h"

Sys_StAcquireMutex::Sys_StAcquireMutex(Sys_Mutex* mutex, bool tryOnly) : mMutex(mutex), mAcquired(false)
{
    if (tryOnly)
    {
        mAcquired = mMutex->TryAcquire();
    }
    else
    {
        mMutex->Acquire();
        mAcquired = true;
    }
}

Sys_StAcquireMutex::~Sys_StAcquireMutex()
{
    if (mAcquired)
        mMutex->Release();
}
