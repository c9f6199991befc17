#include "Sys/Sys_Mutex.h"

#include "Cmn/Cmn_Assert.h"

namespace
{
constinit Sys_Mutex::CreateMethod sCreateMethod = nullptr;
}

Sys_Mutex::~Sys_Mutex() = default;

Sys_Mutex* Sys_Mutex::Create(int32 type)
{
    CMN_ASSERT(sCreateMethod != nullptr);
    return sCreateMethod ? sCreateMethod(type) : nullptr;
}

void Sys_Mutex::SetCreateMethod(CreateMethod method)
{
    sCreateMethod = method;
}
