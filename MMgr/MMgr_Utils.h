#pragma once

#include <list>

#include "Cmn/Cmn_Types.h"
#include "Sys/Sys_FileLoc.h"

class Sys_Volume;

// Where a folder named in an old session is to be looked for now. A folder
// is named by its location, or on a Macintosh volume by a volume reference
// and a directory number; each name maps to the folders that stand in for
// it, in the order they were added. For Macintosh volumes a table from
// directory number to folder is built once a volume, on first use.
//
// The tables are process-wide and keep their entries to the end. They have
// no lock: they belong to the host's thread.
class MMgr_Utils
{
public:
    static void AddFolderMapping(Sys_FileLoc const& from, Sys_FileLoc const& to);
    // The key is the plain sum of the sign-extended volume and the directory
    // number: pairs with the same sum share one list, as the sessions that
    // hold such keys expect.
    static void AddFolderMapping(int16 volume, int32 directory, Sys_FileLoc const& to);
    // Empties the list, then fills it with the mappings in order of adding.
    static void GetFolderMappings(Sys_FileLoc const& from, std::list<Sys_FileLoc>* to);
    static void GetFolderMappings(int16 volume, int32 directory, std::list<Sys_FileLoc>* to);

    static bool IsHFSVolumeMapped(Sys_Volume const& volume);
    // Walks every folder below the volume's root (the root itself is not
    // entered in the table) and notes its directory number. Slow on a deep
    // volume; done once a volume.
    static void MapHFSVolume(Sys_Volume const& volume);
    // Asserts that the volume is HFS. False, with location untouched, for a
    // number the volume's table does not hold: a folder made after the
    // volume was mapped is not found.
    static bool GetFolderLocFromDirID(Sys_Volume const& volume, int32 directory, Sys_FileLoc* location);
    // False for anything but a folder on an HFS volume.
    static bool GetDirIDFromFolderLoc(Sys_FileLoc const& location, int32* directory);

private:
    MMgr_Utils() = delete;
};
