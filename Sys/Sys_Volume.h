#pragma once

#include <list>
#include <string>

#include "Cmn/Cmn_AliasedRefCountPtr.h"
#include "Cmn/Cmn_Types.h"
#include "Sys/Sys_VolumeAttr.h"

class Sys_VolumeImpl;

// A disk volume: what kind of device and file system it is, whether it is
// there now, and how it is laid out. Volumes are shared objects that live
// for the whole process: one root has one implementation. A volume can be
// found again in a later run by its label or its serial number. Finding
// never fails: a volume that is not there is a placeholder that is not
// mounted.
class Sys_Volume
{
public:
    // Bits, so that a mask can select several.
    enum EVolumeType
    {
        kVolumeTypeNone = 0,
        kVolumeTypeUnknown = 1,
        kVolumeTypeFixed = 2,
        kVolumeTypeRemovable = 4,
        kVolumeTypeFloppy = 8,
        kVolumeTypeNetwork = 16,
        kVolumeTypeCDROM = 32,
        kVolumeTypeRAMDisk = 64
    };

    enum EFileSystemType
    {
        kFileSystemNone = 0, // not known yet
        kFileSystemUnknown = 1,
        kFileSystemFAT = 2,
        kFileSystemNTFS = 3,
        kFileSystemCDFS = 4,
        kFileSystemHFS = 5,
        kFileSystemFAT32 = 6,
        kFileSystemKelpfs = 7,
        kFileSystemNative = 8 // the file systems of the platform itself (ext4, xfs, btrfs, tmpfs, ...)
    };

    using ImplPtr = Cmn_AliasedRefCountPtr<Sys_VolumeImpl, Sys_VolumeImpl>;
    using CreateByNameMethod = ImplPtr (*)(std::string const& name);
    using CreateBySerialNumberMethod = ImplPtr (*)(uint32 serialNumber);
    using GetMountedVolumesMethod = void (*)(int32 typeMask, std::list<ImplPtr>* volumes);

    // No implementation: only to be assigned to.
    Sys_Volume();
    // Find by label, ignoring case.
    explicit Sys_Volume(std::string const& name);
    explicit Sys_Volume(uint32 serialNumber);
    explicit Sys_Volume(ImplPtr const& impl);
    Sys_Volume(Sys_Volume const& other);
    Sys_Volume& operator=(Sys_Volume const& other);
    virtual ~Sys_Volume();

    Sys_VolumeImpl* GetImpl() const;
    Sys_VolumeAttr GetAttr() const;
    bool IsMounted() const;
    EVolumeType GetVolumeType() const;
    uint32 GetSerialNumber() const;
    int32 GetBytesPerSector() const;
    virtual int32 GetMinimumAllocationSize() const;
    int32 GetMaxFileNameComponentLength() const;
    EFileSystemType GetFileSystemType() const;
    // Both mounted and on the same root.
    bool operator==(Sys_Volume const& other) const;
    bool operator!=(Sys_Volume const& other) const { return !(*this == other); }

    // The mounted volumes whose type has a bit in typeMask, in the order of
    // the system's mount table.
    static void GetMountedVolumes(int32 typeMask, std::list<Sys_Volume>* volumes);

    static void SetCreateByNameMethod(CreateByNameMethod method);
    static void SetCreateBySerialNumberMethod(CreateBySerialNumberMethod method);
    static void SetGetMountedVolumesMethod(GetMountedVolumesMethod method);

private:
    Sys_VolumeImpl* Checked() const;

    ImplPtr mImpl;
};
