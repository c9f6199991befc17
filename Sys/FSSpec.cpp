#include "Sys/FSSpec.h"

#include "Sys/Sys_FSSpecRegistry.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Utils.h"
#include "Sys/Sys_Volume.h"

void Sys_FileLoc2FSSpec(Sys_FileLoc const& location, FSSpec* spec, bool macName)
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
    Sys_FSSpecRegistry::Make(root, location.GetFullPath(), spec);
    (void)macName;
}

bool FSSpec2Sys_FileLoc(FSSpec const& spec, Sys_FileLoc* location)
{
    std::string path;
    if (!Sys_FSSpecRegistry::Resolve(spec, &path) || path.empty() || path[0] != '/')
        return false;
    *location = Sys_FileLoc(path);
    return true;
}
