#include "Sys/Sys_Semaphore.h"

#include "Cmn/Cmn_Assert.h"

namespace
{
constinit Sys_Semaphore::CreateMethod sCreateMethod = nullptr;
}

Sys_Semaphore::Handle Sys_Semaphore::Create(int32 initialCount, int32 maximumCount)
{
    CMN_ASSERT(sCreateMethod != nullptr);
    return Handle(sCreateMethod ? sCreateMethod(initialCount, maximumCount) : nullptr);
}

void Sys_Semaphore::SetCreateMethod(CreateMethod method)
{
    sCreateMethod = method;
}
