#include "MMgr/MMgr_Utils.h"

#include "Cmn/Cmn_Assert.h"
#include "Sys/Sys_FileLocIterator.h"
#include "Sys/Sys_FileType.h"
#include "Sys/Sys_HFSUtils.h"
#include "Sys/Sys_Utils.h"
#include "Sys/Sys_Volume.h"

#include <algorithm>
#include <map>
#include <string>
#include <vector>

namespace
{
using FolderList = std::list<Sys_FileLoc>;

// Made on first use and never destroyed, so that they outlive every static
// object that might still ask at exit.
std::map<Sys_FileLoc, FolderList>& MappingsByLocation()
{
    static auto* table = new std::map<Sys_FileLoc, FolderList>;
    return *table;
}

std::map<int64, FolderList>& MappingsByNumber()
{
    static auto* table = new std::map<int64, FolderList>;
    return *table;
}

std::map<uint32, std::map<int32, Sys_FileLoc>>& HFSVolumes()
{
    static auto* table = new std::map<uint32, std::map<int32, Sys_FileLoc>>;
    return *table;
}

int64 NumberKey(int16 volume, int32 directory)
{
    return static_cast<int64>(volume) + static_cast<int64>(directory);
}

void AddOnce(FolderList& list, Sys_FileLoc const& to)
{
    if (std::find(list.begin(), list.end(), to) == list.end())
        list.push_back(to);
}

template <class Map, class Key> void CopyOut(Map const& map, Key const& key, FolderList* to)
{
    to->clear();
    auto const it = map.find(key);
    if (it != map.end())
        *to = it->second;
}
} // namespace

void MMgr_Utils::AddFolderMapping(Sys_FileLoc const& from, Sys_FileLoc const& to)
{
    AddOnce(MappingsByLocation()[from], to);
}

void MMgr_Utils::AddFolderMapping(int16 volume, int32 directory, Sys_FileLoc const& to)
{
    AddOnce(MappingsByNumber()[NumberKey(volume, directory)], to);
}

void MMgr_Utils::GetFolderMappings(Sys_FileLoc const& from, std::list<Sys_FileLoc>* to)
{
    CopyOut(MappingsByLocation(), from, to);
}

void MMgr_Utils::GetFolderMappings(int16 volume, int32 directory, std::list<Sys_FileLoc>* to)
{
    CopyOut(MappingsByNumber(), NumberKey(volume, directory), to);
}

bool MMgr_Utils::IsHFSVolumeMapped(Sys_Volume const& volume)
{
    return HFSVolumes().count(volume.GetSerialNumber()) != 0;
}

void MMgr_Utils::MapHFSVolume(Sys_Volume const& volume)
{
    Sys_FileLoc const root = Sys_Utils::GetVolumeRootFolderLoc(volume);
    auto& table = HFSVolumes()[volume.GetSerialNumber()];
    std::vector<Sys_FileType> folders{Sys_FileType(Sys_FileType::kTypeFolder)};
    Sys_FileLocIterator it(root, folders, Sys_FileLocIterator::kIterateSubfolders);
    // Another volume mounted inside this one numbers its folders on its own.
    it.StayOnStartVolume();
    for (; it; ++it)
    {
        int32 directory = 0;
        if (GetDirIDFromFolderLoc(*it, &directory))
            table[directory] = *it;
    }
}

bool MMgr_Utils::GetFolderLocFromDirID(Sys_Volume const& volume, int32 directory, Sys_FileLoc* location)
{
    CMN_ASSERT(volume.GetFileSystemType() == Sys_Volume::kFileSystemHFS);
    if (!IsHFSVolumeMapped(volume))
        MapHFSVolume(volume);
    auto const& table = HFSVolumes()[volume.GetSerialNumber()];
    auto const it = table.find(directory);
    if (it == table.end())
        return false;
    *location = it->second;
    return true;
}

bool MMgr_Utils::GetDirIDFromFolderLoc(Sys_FileLoc const& location, int32* directory)
{
    if (!(Sys_Utils::GetFileType(location) == Sys_FileType(Sys_FileType::kTypeFolder)))
        return false;
    // A folder is asked for without its closing separator, the root of a
    // volume as the folder "." inside it.
    std::string path = location.GetFullPath();
    if (location.IsVolumeRoot())
    {
        if (path.empty() || path.back() != '/')
            path += '/';
        path += '.';
    }
    else if (path.size() > 1 && path.back() == '/')
        path.pop_back();
    return Sys_HFSUtils::GetDirID(path, directory);
}
