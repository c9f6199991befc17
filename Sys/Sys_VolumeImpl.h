#pragma once

#include "Cmn/Cmn_Types.h"
#include "Sys/Sys_ThreadSafeRefCountObject.h"
#include "Sys/Sys_Volume.h"
#include "Sys/Sys_VolumeAttr.h"

// The seam behind Sys_Volume. Implementations are shared: locations copied
// to other threads carry their volume along, so the count is atomic.
class Sys_VolumeImpl : public Sys_ThreadSafeRefCountObject
{
public:
    ~Sys_VolumeImpl() override;

    virtual Sys_VolumeAttr GetAttr() const = 0;
    virtual Sys_Volume::EVolumeType GetVolumeType() const = 0;
    virtual Sys_Volume::EFileSystemType GetFileSystemType() const = 0;
    virtual uint32 GetSerialNumber() const = 0;
    virtual int32 GetBytesPerSector() const = 0;
    virtual int32 GetMinimumAllocationSize() const = 0;
    virtual int32 GetMaxFileNameComponentLength() const = 0;
    virtual bool IsMounted() const = 0;
    virtual bool operator==(Sys_VolumeImpl const& other) const = 0;

protected:
    Sys_VolumeImpl() = default;
};
