#include "Sys/Posix/Sys_VolumePosixProbe.h"

#include <blkid/blkid.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>
#include <time.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

namespace
{

std::string ReadMountInfo()
{
    std::ifstream in("/proc/self/mountinfo");
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

bool StatFs(std::string const& root, Sys_VolumePosixProbe::FsInfo* info)
{
    struct statvfs vfs;
    if (::statvfs(root.c_str(), &vfs) != 0)
        return false;
    struct statfs fs;
    if (::statfs(root.c_str(), &fs) != 0)
        return false;
    uint64 const unit = vfs.f_frsize ? vfs.f_frsize : vfs.f_bsize;
    info->size = static_cast<int64>(static_cast<uint64>(vfs.f_blocks) * unit);
    info->freeSpace = static_cast<int64>(static_cast<uint64>(vfs.f_bavail) * unit);
    info->maxNameLength = static_cast<int32>(vfs.f_namemax);
    info->blockSize = static_cast<int32>(unit);
    uint32 words[2];
    static_assert(sizeof(words) == sizeof(fs.f_fsid), "fsid is two 32-bit words");
    std::memcpy(words, &fs.f_fsid, sizeof(words));
    info->foldedFsid = words[0] ^ words[1];
    info->magic = static_cast<uint32>(fs.f_type);
    return true;
}

std::string ReadSysFile(std::string const& path)
{
    std::ifstream in(path);
    std::string value;
    std::getline(in, value);
    return value;
}

// The sysfs folder of a block device; a partition answers for the disk it
// is on, since the disk has the queue and the removable flag.
std::string DiskFolder(uint32 major, uint32 minor)
{
    std::string const dev = "/sys/dev/block/" + std::to_string(major) + ":" + std::to_string(minor);
    struct stat st;
    if (::stat((dev + "/partition").c_str(), &st) == 0)
        return dev + "/..";
    return dev;
}

void ProbeSignature(uint32 major, uint32 minor, std::string const& source, Sys_VolumePosixProbe::DeviceInfo* info)
{
    // Only a device node that is really this device is read.
    struct stat st;
    if (source.rfind("/dev/", 0) != 0 || ::stat(source.c_str(), &st) != 0 || !S_ISBLK(st.st_mode) ||
        ::major(st.st_rdev) != major || ::minor(st.st_rdev) != minor)
        return;
    blkid_probe probe = ::blkid_new_probe_from_filename(source.c_str());
    if (!probe)
        return; // not readable by this user: no label and no UUID
    ::blkid_probe_enable_superblocks(probe, 1);
    ::blkid_probe_set_superblocks_flags(probe, BLKID_SUBLKS_LABEL | BLKID_SUBLKS_UUID | BLKID_SUBLKS_TYPE |
                                                   BLKID_SUBLKS_VERSION);
    if (::blkid_do_safeprobe(probe) == 0)
    {
        char const* value = nullptr;
        size_t length = 0;
        if (::blkid_probe_lookup_value(probe, "LABEL", &value, &length) == 0 && value)
            info->label = value;
        if (::blkid_probe_lookup_value(probe, "UUID", &value, &length) == 0 && value)
            info->uuid = value;
        if (::blkid_probe_lookup_value(probe, "TYPE", &value, &length) == 0 && value)
            info->type = value;
        if (::blkid_probe_lookup_value(probe, "VERSION", &value, &length) == 0 && value)
            info->version = value;
    }
    ::blkid_free_probe(probe);
}

void ProbeDevice(uint32 major, uint32 minor, std::string const& source, Sys_VolumePosixProbe::DeviceInfo* info)
{
    *info = Sys_VolumePosixProbe::DeviceInfo();
    if (major == 0)
        return; // an anonymous device: tmpfs, overlay, network file systems
    std::string const disk = DiskFolder(major, minor);
    struct stat st;
    if (::stat(disk.c_str(), &st) != 0)
        return;
    info->isBlockDevice = true;
    info->removable = ReadSysFile(disk + "/removable") == "1";
    try
    {
        info->logicalSectorSize = std::stoi(ReadSysFile(disk + "/queue/logical_block_size"));
    }
    catch (...)
    {
        info->logicalSectorSize = 0;
    }
    ProbeSignature(major, minor, source, info);
}

uint32 TickCount()
{
    struct timespec ts;
    ::clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<uint32>(static_cast<uint64>(ts.tv_sec) * 1000u + static_cast<uint64>(ts.tv_nsec) / 1000000u);
}

constexpr Sys_VolumePosixProbe kSystemProbe = {&ReadMountInfo, &StatFs, &ProbeDevice, &TickCount};

Sys_VolumePosixProbe sCurrent = kSystemProbe;

} // namespace

Sys_VolumePosixProbe& Sys_VolumePosixProbe::Current()
{
    return sCurrent;
}

Sys_VolumePosixProbe const& Sys_VolumePosixProbe::System()
{
    return kSystemProbe;
}
