#include "Sys/Sys_FileLoc.h"

#include "Cmn/Cmn_Assert.h"
#include "Sys/Sys_FileLocImpl.h"
#include "Sys/Sys_Volume.h"

namespace
{

Sys_FileLoc::PathCreateMethod sPathCreate = nullptr;
Sys_FileLoc::IsValidPathMethod sIsValidPath = nullptr;
Sys_FileLoc::VolumeRootCreateMethod sVolumeRootCreate = nullptr;
Sys_FileLoc::FullCreateMethod sFullCreate = nullptr;

} // namespace

void Sys_FileLoc::SetIsValidPathMethod(IsValidPathMethod method)
{
    sIsValidPath = method;
}

bool Sys_FileLoc::IsValidPath(std::string const& path)
{
    CMN_ASSERT(sIsValidPath != nullptr);
    return sIsValidPath && sIsValidPath(path);
}

void Sys_FileLoc::SetPathCreateMethod(PathCreateMethod method)
{
    sPathCreate = method;
}

void Sys_FileLoc::SetVolumeRootCreateMethod(VolumeRootCreateMethod method)
{
    sVolumeRootCreate = method;
}

void Sys_FileLoc::SetFullCreateMethod(FullCreateMethod method)
{
    sFullCreate = method;
}

Sys_FileLoc::Sys_FileLoc() = default;

Sys_FileLoc::Sys_FileLoc(Sys_FileLocImpl* impl) : mImpl(impl) {}

Sys_FileLoc::Sys_FileLoc(std::string const& path)
{
    CMN_ASSERT(sPathCreate != nullptr);
    if (sPathCreate)
        mImpl.reset(sPathCreate(path));
}

Sys_FileLoc::Sys_FileLoc(Sys_Volume const& volume)
{
    CMN_ASSERT(sVolumeRootCreate != nullptr);
    if (sVolumeRootCreate)
        mImpl.reset(sVolumeRootCreate(volume));
}

Sys_FileLoc::Sys_FileLoc(Sys_Volume const& volume, Sys_FileLoc const& folder, std::string const& name,
                         std::string const& extension)
{
    CMN_ASSERT(sFullCreate != nullptr);
    if (sFullCreate)
        mImpl.reset(sFullCreate(volume, folder, name, extension));
}

Sys_FileLoc::Sys_FileLoc(Sys_FileLoc const& other)
{
    CMN_ASSERT(other.mImpl != nullptr);
    if (other.mImpl)
        mImpl.reset(other.mImpl->Clone());
}

Sys_FileLoc& Sys_FileLoc::operator=(Sys_FileLoc const& other)
{
    CMN_ASSERT(other.mImpl != nullptr);
    if (this != &other)
        mImpl.reset(other.mImpl ? other.mImpl->Clone() : nullptr);
    return *this;
}

Sys_FileLoc::Sys_FileLoc(Sys_FileLoc&& other) noexcept = default;

Sys_FileLoc& Sys_FileLoc::operator=(Sys_FileLoc&& other) noexcept = default;

Sys_FileLoc::~Sys_FileLoc() = default;

Sys_FileLocImpl* Sys_FileLoc::Checked() const
{
    CMN_ASSERT(mImpl != nullptr);
    return mImpl.get();
}

bool Sys_FileLoc::IsVolumeRoot() const
{
    return Checked()->IsVolumeRoot();
}

Sys_Volume Sys_FileLoc::GetVolume() const
{
    return Checked()->GetVolume();
}

Sys_FileLoc Sys_FileLoc::GetParentFolder() const
{
    return Checked()->GetParentFolder();
}

std::string Sys_FileLoc::GetFileName(EFileNameFormat format) const
{
    return Checked()->GetFileName(format);
}

std::string Sys_FileLoc::GetExtension() const
{
    return Checked()->GetExtension();
}

std::string Sys_FileLoc::GetFullPath() const
{
    return Checked()->GetFullPath();
}

void Sys_FileLoc::Print(std::ostream& os) const
{
    Checked()->Print(os);
}

Sys_FileLocImpl* Sys_FileLoc::GetImpl() const
{
    return Checked();
}

int32 Sys_FileLoc::Compare(Sys_FileLoc const& other) const
{
    return Checked()->Compare(other.Checked());
}
