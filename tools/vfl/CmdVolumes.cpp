#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Volume.h"
#include "Sys/Sys_VolumeAttr.h"
#include "tools/vfl/Commands.h"
#include "tools/vfl/OptionParser.h"
#include "tools/vfl/ToolSupport.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <list>
#include <string>
#include <vector>

namespace
{
vfl::CommandSpec const kSpec = {"volumes",
                                "[--json]",
                                "Lists the mounted volumes in the library's own terms: root, label,\n"
                                "serial number, volume type, file system, free space, size and bytes\n"
                                "per sector. Pseudo file systems (proc, sysfs, cgroup, ...) are not\n"
                                "volumes and are left out.",
                                {{0, "json", nullptr, "one JSON object per line and volume"}},
                                0,
                                0};

char const* VolumeTypeName(Sys_Volume::EVolumeType type)
{
    switch (type)
    {
    case Sys_Volume::kVolumeTypeFixed: return "fixed";
    case Sys_Volume::kVolumeTypeRemovable: return "removable";
    case Sys_Volume::kVolumeTypeFloppy: return "floppy";
    case Sys_Volume::kVolumeTypeNetwork: return "network";
    case Sys_Volume::kVolumeTypeCDROM: return "cdrom";
    case Sys_Volume::kVolumeTypeRAMDisk: return "ramdisk";
    case Sys_Volume::kVolumeTypeUnknown: return "unknown";
    default: return "none";
    }
}

char const* FileSystemName(Sys_Volume::EFileSystemType type)
{
    switch (type)
    {
    case Sys_Volume::kFileSystemFAT: return "fat";
    case Sys_Volume::kFileSystemNTFS: return "ntfs";
    case Sys_Volume::kFileSystemCDFS: return "cdfs";
    case Sys_Volume::kFileSystemHFS: return "hfs";
    case Sys_Volume::kFileSystemFAT32: return "fat32";
    case Sys_Volume::kFileSystemKelpfs: return "kelpfs";
    case Sys_Volume::kFileSystemNative: return "native";
    default: return "unknown";
    }
}

struct Row
{
    std::string root, label, serial, type, fileSystem;
    int64 freeSpace = 0, size = 0;
    int32 bytesPerSector = 0;
};
} // namespace

int CmdVolumes(int argc, char** argv)
{
    vfl::OptionParser args(kSpec);
    args.Parse(argc, argv);
    if (args.HelpAsked())
        return std::fputs(args.Help().c_str(), stdout), 0;
    bool const json = args.Has("json");

    std::list<Sys_Volume> volumes;
    Sys_Volume::GetMountedVolumes(0x7F, &volumes);
    std::vector<Row> rows;
    int status = 0;
    for (Sys_Volume const& volume : volumes)
    {
        Row row;
        row.root = Sys_FileLoc(volume).GetFullPath();
        try
        {
            Sys_VolumeAttr const attr = volume.GetAttr();
            char serial[16];
            std::snprintf(serial, sizeof(serial), "%08" PRIx32, volume.GetSerialNumber());
            row.label = attr.GetName();
            row.serial = serial;
            row.type = VolumeTypeName(volume.GetVolumeType());
            row.fileSystem = FileSystemName(volume.GetFileSystemType());
            row.freeSpace = attr.GetFreeSpace();
            row.size = attr.GetSize();
            row.bytesPerSector = volume.GetBytesPerSector();
        }
        catch (std::exception const& e)
        {
            // A volume that went away while it was listed.
            vfl::ReportError("volumes: " + row.root, vfl::ExceptionText(e));
            status = 1;
            continue;
        }
        rows.push_back(row);
    }

    if (json)
    {
        for (Row const& r : rows)
            std::printf("{\"root\":%s,\"label\":%s,\"serial\":%s,\"type\":%s,\"fileSystem\":%s,"
                        "\"freeSpace\":%" PRId64 ",\"size\":%" PRId64 ",\"bytesPerSector\":%" PRId32 "}\n",
                        vfl::JsonString(r.root).c_str(), vfl::JsonString(r.label).c_str(),
                        vfl::JsonString(r.serial).c_str(), vfl::JsonString(r.type).c_str(),
                        vfl::JsonString(r.fileSystem).c_str(), r.freeSpace, r.size, r.bytesPerSector);
        return status;
    }

    size_t rootWidth = 4, labelWidth = 5;
    for (Row const& r : rows)
    {
        rootWidth = std::max(rootWidth, r.root.size());
        labelWidth = std::max(labelWidth, r.label.size());
    }
    int const rw = static_cast<int>(rootWidth), lw = static_cast<int>(labelWidth);
    std::printf("%-*s  %-*s  %-8s  %-9s  %-7s  %16s  %16s  %6s\n", rw, "ROOT", lw, "LABEL", "SERIAL", "TYPE", "FS",
                "FREE", "SIZE", "SECTOR");
    for (Row const& r : rows)
        std::printf("%-*s  %-*s  %-8s  %-9s  %-7s  %16" PRId64 "  %16" PRId64 "  %6" PRId32 "\n", rw, r.root.c_str(),
                    lw, r.label.c_str(), r.serial.c_str(), r.type.c_str(), r.fileSystem.c_str(), r.freeSpace, r.size,
                    r.bytesPerSector);
    return status;
}
