#pragma once

#include <list>
#include <mutex>
#include <string>
#include <vector>

#include "Cmn/Cmn_Types.h"
#include "Sys/Sys_Volume.h"
#include "Sys/Sys_VolumeImpl.h"

// A volume on Linux: one mounted file system, known by its mount point,
// which is its root (with a trailing '/'). The mounted file systems come
// from /proc/self/mountinfo; label and serial number from the file system's
// signature on its block device (libblkid). The serial number is the first
// 32 bits of the file system's UUID, or, when there is none or it is all
// zero, its fsid folded to 32 bits: a serial number of 0 means "not
// mounted". Pseudo file systems (proc, sysfs, cgroup, ...) are volumes of
// type none.
//
// Objects are made on demand, one per root, and live in the lookup maps to
// the end of the process. A volume is examined once, at the first
// IsMounted; a CD-ROM at most once a second.
class Sys_VolumePosix : public Sys_VolumeImpl
{
public:
    // One line of the mount table.
    struct Mount
    {
        std::string root;   // the mount point, with a trailing '/'
        std::string fsType; // as the kernel names it, e.g. "ext4"
        std::string source; // e.g. "/dev/sda1"
        uint32 major = 0;
        uint32 minor = 0;
    };

    ~Sys_VolumePosix() override;

    Sys_VolumeAttr GetAttr() const override;
    Sys_Volume::EVolumeType GetVolumeType() const override;
    Sys_Volume::EFileSystemType GetFileSystemType() const override;
    uint32 GetSerialNumber() const override;
    int32 GetBytesPerSector() const override;
    int32 GetMinimumAllocationSize() const override;
    int32 GetMaxFileNameComponentLength() const override;
    bool IsMounted() const override;
    bool operator==(Sys_VolumeImpl const& other) const override;

    // The root, or "*:" if the volume is not mounted.
    std::string GetVolumeRootString() const;
    // The label as the file system reports it now; empty when it has none
    // or the device cannot be read.
    std::string GetLabel() const;

    // The shared volume of a root.
    static Sys_Volume::ImplPtr Create(char const* rootPath);
    static void GetMountedVolumes(int32 typeMask, std::list<Sys_Volume::ImplPtr>* volumes);
    // The root of the volume that holds a canonical path: the longest mount
    // point above it, "/" at least.
    static std::string GetRootOfPath(std::string const& path);
    // The mount table as it is now, one entry per mount point (the one
    // mounted last), in the order of the table.
    static std::vector<Mount> GetMountTable();
    // Parses the text of /proc/self/mountinfo in the same way.
    static std::vector<Mount> ParseMountInfo(std::string const& text);
    // Forgets the mount table read for GetRootOfPath, which is otherwise
    // kept for a second.
    static void FlushMountTableCache();

    static void SetPlatformDependentMethods();

private:
    Sys_VolumePosix();
    explicit Sys_VolumePosix(std::string const& rootPath);

    static Sys_Volume::ImplPtr CreateByName(std::string const& name);
    static Sys_Volume::ImplPtr CreateBySerialNumber(uint32 serialNumber);
    static Sys_Volume::ImplPtr CreateByNameOrSerialNumber(std::string const* name, uint32 const* serialNumber);

    bool IsMountedLocked() const;
    // The questions that go to the device: an assertion when the volume is
    // not mounted, and then ENOMEDIUM rather than an answer about nothing.
    void AssertMountedOrThrow() const;
    bool FindMount(Mount* mount) const;

    mutable std::recursive_mutex mMutex;
    std::string mRootPath;
    mutable Sys_Volume::EVolumeType mVolumeType;
    mutable Sys_Volume::EFileSystemType mFileSystemType;
    mutable uint32 mSerialNumber;
    mutable int32 mBytesPerSector;
    mutable int32 mMinimumAllocationSize;
    mutable int32 mMaxNameLength;
    mutable int32 mMounted; // -1 not examined yet, 0 not mounted, else mounted
    mutable uint32 mLastCheckTicks;
    // Learned at the examination: the device under the file system.
    mutable uint32 mMajor = 0;
    mutable uint32 mMinor = 0;
    mutable std::string mSource;
};
