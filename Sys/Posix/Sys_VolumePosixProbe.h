#pragma once

#include <string>

#include "Cmn/Cmn_Types.h"

// Where Sys_VolumePosix learns about the machine: the mount table, the file
// system of a mount point, and the block device under it. A table of
// function pointers, so that tests can present volumes that this machine
// does not have (a CD-ROM drive, a file system this library does not know,
// a serial number of 0).
struct Sys_VolumePosixProbe
{
    // What statvfs and statfs say about a mounted file system.
    struct FsInfo
    {
        int64 size = 0;      // bytes
        int64 freeSpace = 0; // bytes available to the caller
        int32 maxNameLength = 0;
        int32 blockSize = 0;   // the fundamental block, the unit of allocation
        uint32 foldedFsid = 0; // the file system id folded to 32 bits
        uint32 magic = 0;      // the file system's magic number
    };

    // What the block device says; everything empty when there is none.
    struct DeviceInfo
    {
        bool isBlockDevice = false;
        bool removable = false;
        int32 logicalSectorSize = 0; // 0 when unknown
        std::string label;
        std::string uuid;
        std::string type;    // the signature found on the device, e.g. "vfat"
        std::string version; // e.g. "FAT32"
    };

    // The text of /proc/self/mountinfo.
    std::string (*readMountInfo)();
    // false with errno set when the file system cannot be asked.
    bool (*statFs)(std::string const& root, FsInfo* info);
    // major:minor of the device, and the mount table's source for it.
    void (*probeDevice)(uint32 major, uint32 minor, std::string const& source, DeviceInfo* info);
    // Milliseconds of a steady clock.
    uint32 (*tickCount)();

    static Sys_VolumePosixProbe& Current();
    static Sys_VolumePosixProbe const& System();
};
