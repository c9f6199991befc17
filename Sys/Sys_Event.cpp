#include "Sys/Sys_Event.h"

#include "Cmn/Cmn_Assert.h"

namespace
{
constinit Sys_Event::CreateMethod sCreateMethod = nullptr;
}

Sys_Event::Handle Sys_Event::Create(int32 flags)
{
    CMN_ASSERT(sCreateMethod != nullptr);
    return Handle(sCreateMethod ? sCreateMethod(flags) : nullptr);
}

void Sys_Event::SetCreateMethod(CreateMethod method)
{
    sCreateMethod = method;
}

Sys_SyncObject::EWaitResult Sys_Event::WaitForMultipleEvents(HandleList const& events, EWaitForMultipleObjects mode,
                                                             int32 timeLimit)
{
    Sys_SyncObject::HandleList objects(events.begin(), events.end());
    return WaitForMultipleObjects(objects, mode, timeLimit);
}
