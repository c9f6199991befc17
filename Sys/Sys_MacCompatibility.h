#pragma once

#include <string>

#include "Cmn/Cmn_Types.h"

class Sys_FileLoc;
class Sys_Mutex;

// Free functions for files that come from, or go to, Macintosh systems.

// Where the resource fork of a file is written: "Resource.FRK/NAME" in the
// file's folder. Reading looks in more places (Sys_ResourceManager::FindFork).
Sys_FileLoc GetResourceForkLoc(Sys_FileLoc const& location);

// The one lock of the process-wide resource manager (Sys_ResourceManager):
// its current file and its last error belong to whoever holds it. Made on
// the first call, never destroyed.
Sys_Mutex* GetResourceManagerMutex();
