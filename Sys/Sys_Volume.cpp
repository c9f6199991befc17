#include "Sys/Sys_Volume.h"

#include "Cmn/Cmn_Assert.h"
#include "Sys/Sys_VolumeImpl.h"

namespace
{

Sys_Volume::CreateByNameMethod sCreateByName = nullptr;
Sys_Volume::CreateBySerialNumberMethod sCreateBySerialNumber = nullptr;
Sys_Volume::GetMountedVolumesMethod sGetMountedVolumes = nullptr;

} // namespace

void Sys_Volume::SetCreateByNameMethod(CreateByNameMethod method)
{
    sCreateByName = method;
}

void Sys_Volume::SetCreateBySerialNumberMethod(CreateBySerialNumberMethod method)
{
    sCreateBySerialNumber = method;
}

void Sys_Volume::SetGetMountedVolumesMethod(GetMountedVolumesMethod method)
{
    sGetMountedVolumes = method;
}

Sys_Volume::Sys_Volume() = default;

Sys_Volume::Sys_Volume(std::string const& name)
{
    CMN_ASSERT(sCreateByName != nullptr);
    if (sCreateByName)
        mImpl = sCreateByName(name);
}

Sys_Volume::Sys_Volume(uint32 serialNumber)
{
    CMN_ASSERT(sCreateBySerialNumber != nullptr);
    if (sCreateBySerialNumber)
        mImpl = sCreateBySerialNumber(serialNumber);
}

Sys_Volume::Sys_Volume(ImplPtr const& impl) : mImpl(impl) {}

Sys_Volume::Sys_Volume(Sys_Volume const& other) : mImpl(other.mImpl)
{
    CMN_ASSERT(mImpl != nullptr);
}

Sys_Volume& Sys_Volume::operator=(Sys_Volume const& other)
{
    CMN_ASSERT(other.mImpl != nullptr);
    mImpl = other.mImpl;
    return *this;
}

Sys_Volume::~Sys_Volume() = default;

Sys_VolumeImpl* Sys_Volume::Checked() const
{
    CMN_ASSERT(mImpl != nullptr);
    return mImpl.get();
}

Sys_VolumeImpl* Sys_Volume::GetImpl() const
{
    return Checked();
}

Sys_VolumeAttr Sys_Volume::GetAttr() const
{
    return Checked()->GetAttr();
}

bool Sys_Volume::IsMounted() const
{
    return Checked()->IsMounted();
}

Sys_Volume::EVolumeType Sys_Volume::GetVolumeType() const
{
    return Checked()->GetVolumeType();
}

uint32 Sys_Volume::GetSerialNumber() const
{
    return Checked()->GetSerialNumber();
}

int32 Sys_Volume::GetBytesPerSector() const
{
    return Checked()->GetBytesPerSector();
}

int32 Sys_Volume::GetMinimumAllocationSize() const
{
    return Checked()->GetMinimumAllocationSize();
}

int32 Sys_Volume::GetMaxFileNameComponentLength() const
{
    return Checked()->GetMaxFileNameComponentLength();
}

Sys_Volume::EFileSystemType Sys_Volume::GetFileSystemType() const
{
    return Checked()->GetFileSystemType();
}

bool Sys_Volume::operator==(Sys_Volume const& other) const
{
    return *Checked() == *other.Checked();
}

void Sys_Volume::GetMountedVolumes(int32 typeMask, std::list<Sys_Volume>* volumes)
{
    CMN_ASSERT(volumes != nullptr && sGetMountedVolumes != nullptr);
    if (!volumes)
        return;
    volumes->clear();
    if (!sGetMountedVolumes)
        return;
    std::list<ImplPtr> impls;
    sGetMountedVolumes(typeMask, &impls);
    for (ImplPtr const& impl : impls)
        volumes->push_back(Sys_Volume(impl));
}
