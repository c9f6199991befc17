#include "Sys/Sys_FileLocIterator.h"

#include <utility>

#include "Cmn/Cmn_Assert.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_FileLocIteratorImpl.h"

namespace
{

Sys_FileLocIterator::TypesCreateMethod sTypesCreate = nullptr;
Sys_FileLocIterator::PatternCreateMethod sPatternCreate = nullptr;

} // namespace

void Sys_FileLocIterator::SetTypesCreateMethod(TypesCreateMethod method)
{
    sTypesCreate = method;
}

void Sys_FileLocIterator::SetPatternCreateMethod(PatternCreateMethod method)
{
    sPatternCreate = method;
}

Sys_FileLocIterator::Sys_FileLocIterator(Sys_FileLoc const& start, std::vector<Sys_FileType>& types, EIterType iterType)
{
    CMN_ASSERT(sTypesCreate != nullptr);
    if (sTypesCreate)
        mImpl.reset(sTypesCreate(start, types, iterType));
}

Sys_FileLocIterator::Sys_FileLocIterator(Sys_FileLoc const& start, std::string pattern, EIterType iterType)
{
    CMN_ASSERT(sPatternCreate != nullptr);
    if (sPatternCreate)
        mImpl.reset(sPatternCreate(start, pattern, iterType));
}

Sys_FileLocIterator::Sys_FileLocIterator(Sys_FileLocIteratorImpl* impl) : mImpl(impl) {}

Sys_FileLocIterator::Sys_FileLocIterator() = default;

Sys_FileLocIterator::~Sys_FileLocIterator() = default;

void Sys_FileLocIterator::SetImpl(std::unique_ptr<Sys_FileLocIteratorImpl> impl)
{
    mImpl = std::move(impl);
}

Sys_FileLocIterator::operator bool() const
{
    return mImpl && mImpl->HasCurrent();
}

Sys_FileLoc const& Sys_FileLocIterator::operator*() const
{
    return mImpl->GetCurrent();
}

Sys_FileLocIterator& Sys_FileLocIterator::operator++()
{
    mImpl->Advance();
    return *this;
}

std::string Sys_FileLocIterator::GetCurrentSearchPath() const
{
    return mImpl->GetCurrentSearchPath();
}

void Sys_FileLocIterator::Abort()
{
    mImpl->Abort();
}

void Sys_FileLocIterator::StayOnStartVolume()
{
    if (mImpl)
        mImpl->StayOnStartVolume();
}
