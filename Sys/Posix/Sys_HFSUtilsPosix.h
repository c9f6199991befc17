#pragma once

#include <string>

#include "Cmn/Cmn_Types.h"

// The Linux hfs and hfsplus drivers give each inode the catalog node id of
// its file or folder, which is the folder's directory number (the root is
// 2). A volume is told by the magic number statfs reports.
class Sys_HFSUtilsPosix
{
public:
    static constexpr uint32 kHFSMagic = 0x4244;
    static constexpr uint32 kHFSPlusMagic = 0x482B;

    static void SetPlatformDependentMethods();
    static bool GetDirID(std::string const& path, int32* directory);
};
