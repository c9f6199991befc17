#include "Sys/Sys_SyncObject.h"

#include "Cmn/Cmn_Assert.h"

namespace {
constinit Sys_SyncObject::WaitForMultipleObjectsMethod sWaitForMultipleObjectsMethod = nullptr;
}

Sys_SyncObject::~Sys_SyncObject() = default;

Sys_SyncObject::EWaitResult Sys_SyncObject::WaitForMultipleObjects(HandleList const& objects,
                                                                   EWaitForMultipleObjects mode, int32 timeLimit)
{
    CMN_ASSERT(timeLimit >= kWaitForever);
    CMN_ASSERT(sWaitForMultipleObjectsMethod != nullptr);
    if (!sWaitForMultipleObjectsMethod)
        return kWaitTimedOut;
    return sWaitForMultipleObjectsMethod(objects, mode, timeLimit < kWaitForever ? 0 : timeLimit);
}

void Sys_SyncObject::SetWaitForMultipleObjectsMethod(WaitForMultipleObjectsMethod method)
{
    sWaitForMultipleObjectsMethod = method;
}
