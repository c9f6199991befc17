#include "Sys/Sys_HFSUtils.h"

namespace
{
// Before the platform installs its method: no volume is HFS.
bool NoHFS(std::string const&, int32*)
{
    return false;
}
} // namespace

Sys_HFSUtils::GetDirIDMethod Sys_HFSUtils::sGetDirID = &NoHFS;

bool Sys_HFSUtils::GetDirID(std::string const& path, int32* directory)
{
    return sGetDirID(path, directory);
}
