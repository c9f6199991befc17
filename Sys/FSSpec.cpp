#include "Sys/FSSpec.h"

#include <cstring>

#include "Sys/Sys_MacCompatibility.h"

#include "Sys/Sys_FSSpecRegistry.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Utils.h"
#include "Sys/Sys_Volume.h"

void Sys_FileLoc2FSSpec(Sys_FileLoc const& location, FSSpec* fileSpec, bool macName)
{
    std::string root = "/";
    try
    {
        root = Sys_Utils::GetVolumeRootFolderLoc(location.GetVolume()).GetFullPath();
    }
    catch (...)
    {
        // A location on no mounted volume: numbered under the root.
    }
    Sys_FSSpecRegistry::Make(root, location.GetFullPath(), fileSpec);
    bool mac = false;
    try
    {
        mac = macName && location.GetVolume().GetFileSystemType() == Sys_Volume::kFileSystemHFS;
    }
    catch (...)
    {
    }
    if (mac)
    {
        // The name the Macintosh shows; the folder keeps the registry's
        // number, so the file record still leads back to the file.
        std::string const name = GetMacFileName(location).substr(0, Sys_FSSpecRegistry::kMaxNameLength);
        fileSpec->name[0] = static_cast<unsigned char>(name.size());
        std::memcpy(fileSpec->name + 1, name.data(), name.size());
    }
}

bool FSSpec2Sys_FileLoc(FSSpec const& fileSpec, Sys_FileLoc* location)
{
    std::string path;
    if (!Sys_FSSpecRegistry::Resolve(fileSpec, &path) || path.empty() || path[0] != '/')
        return false;
    *location = Sys_FileLoc(path);
    return true;
}
