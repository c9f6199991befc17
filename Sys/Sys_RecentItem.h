#pragma once

#include "Sys/Sys_FileType.h"

#include <string>

// One entry of a recent-items list: the full path of a file or a folder,
// and what was last found out about it. The list files keep only the path;
// the type and whether the place answers are found in the background
// (Sys_DetermineRecentItemTypesTask), since asking may touch a disk that is
// slow or gone.
class Sys_RecentItem
{
public:
    enum EOnline
    {
        kOnlineUnknown = 0, // not asked yet
        kOnline = 1,
        kOffline = 2
    };

    explicit Sys_RecentItem(std::string path, Sys_FileType type = Sys_FileType(), EOnline online = kOnlineUnknown)
        : mPath(std::move(path)), mType(type), mOnline(online)
    {
    }

    std::string mPath;
    Sys_FileType mType;
    EOnline mOnline;
};
