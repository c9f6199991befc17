#include "Sys/Sys_TimerEvent.h"

#include "Cmn/Cmn_Assert.h"

namespace
{
constinit Sys_TimerEvent::CreateMethod sCreateMethod = nullptr;
}

Sys_TimerEvent::Handle Sys_TimerEvent::Create(bool manualReset)
{
    CMN_ASSERT(sCreateMethod != nullptr);
    return Handle(sCreateMethod ? sCreateMethod(manualReset) : nullptr);
}

void Sys_TimerEvent::SetCreateMethod(CreateMethod method)
{
    sCreateMethod = method;
}
