#pragma once

#include <string>

#include "Cmn/Cmn_Types.h"

// The directory numbers of Macintosh (HFS and HFS+) volumes. Such a volume
// numbers every folder once, for good, and old documents name a folder by
// that number; other file systems have nothing that stands for it.
class Sys_HFSUtils
{
public:
    using GetDirIDMethod = bool (*)(std::string const& path, int32* directory);

    // The number the volume gave the folder at path: true and the number
    // when the path lies on an HFS or HFS+ volume and can be looked at;
    // false, with directory untouched, otherwise. Numbers past 31 bits come
    // back negative, the same way every time.
    static bool GetDirID(std::string const& path, int32* directory);

    static void SetGetDirIDMethod(GetDirIDMethod method) { sGetDirID = method; }
    static GetDirIDMethod GetGetDirIDMethod() { return sGetDirID; }

private:
    static GetDirIDMethod sGetDirID;
};
