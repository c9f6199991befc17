#include "Sys/Sys_DLL.h"

#include "Cmn/Cmn_Assert.h"
#include "Sys/Sys_DLLImpl.h"

namespace
{

Sys_DLL::CreateMethod sCreateMethod = nullptr;

} // namespace

void Sys_DLL::SetCreateMethod(CreateMethod method)
{
    sCreateMethod = method;
}

Sys_DLL::Sys_DLL()
{
    CMN_ASSERT(sCreateMethod != nullptr);
    if (sCreateMethod)
        mImpl = sCreateMethod();
    CMN_ASSERT(mImpl != nullptr);
}

Sys_DLL::~Sys_DLL()
{
    if (mImpl)
        mImpl->Destroy();
}

void Sys_DLL::Load(std::string const& name)
{
    CMN_ASSERT(mImpl != nullptr);
    if (mImpl)
        mImpl->Load(name);
}

void Sys_DLL::Free()
{
    CMN_ASSERT(mImpl != nullptr);
    if (mImpl)
        mImpl->Free();
}

void* Sys_DLL::GetVoidAddr(std::string const& name) const
{
    CMN_ASSERT(mImpl != nullptr);
    return mImpl ? mImpl->GetProcAddress(name) : nullptr;
}
