#include "Sys/Posix/Sys_HFSUtilsPosix.h"

#include "Sys/Sys_HFSUtils.h"

#include <sys/stat.h>
#include <sys/vfs.h>

void Sys_HFSUtilsPosix::SetPlatformDependentMethods()
{
    Sys_HFSUtils::SetGetDirIDMethod(&GetDirID);
}

bool Sys_HFSUtilsPosix::GetDirID(std::string const& path, int32* directory)
{
    struct statfs fs = {};
    if (::statfs(path.c_str(), &fs) != 0)
        return false;
    auto const magic = static_cast<uint32>(fs.f_type);
    if (magic != kHFSMagic && magic != kHFSPlusMagic)
        return false;
    struct stat st = {};
    if (::stat(path.c_str(), &st) != 0)
        return false;
    // Catalog node ids are 32 bits wide; the cut keeps the high ones as
    // negative numbers.
    *directory = static_cast<int32>(static_cast<uint32>(st.st_ino));
    return true;
}
