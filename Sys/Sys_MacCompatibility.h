#pragma once

#include <string>

#include "Cmn/Cmn_Types.h"

class Sys_FileLoc;
class Sys_Mutex;

// Free functions for files that come from, or go to, Macintosh systems.

// Gives a file on a Macintosh volume a Finder type and creator (numbers,
// the first character in the high byte). Does nothing to a folder or to a
// file on any other volume, and nothing when the volume refuses.
void SetFileAndCreatorType(Sys_FileLoc const& location, unsigned long type, unsigned long creator);

// The name a Macintosh shows for a file, in Mac OS Roman: on a Macintosh
// volume the file's Macintosh name (a character without a place in Mac OS
// Roman becomes "_"), elsewhere the location's name with its extension.
std::string GetMacFileName(Sys_FileLoc const& location);

// Characters a file name may not hold: \ / : * ? " < > |, and while
// detection is on (the default) every byte below a blank or from 0x80 up,
// which makes every name with UTF-8 beyond ASCII illegal.
// A copy of the name with each illegal character replaced by "_".
std::string MapIllegalChars(std::string const& name);
// True if the name holds an illegal character; *message then lists them,
// each between blanks (" : "), the nine first, the others once each.
bool ContainsIllegalChars(std::string const& name, std::string* message);
void SetDetectIllegalChars(bool detect);

// Where the resource fork of a file is written: "Resource.FRK/NAME" in the
// file's folder. Reading looks in more places (Sys_ResourceManager::FindFork).
Sys_FileLoc GetResourceForkLoc(Sys_FileLoc const& location);

// The one lock of the process-wide resource manager (Sys_ResourceManager):
// its current file and its last error belong to whoever holds it. Made on
// the first call, never destroyed.
Sys_Mutex* GetResourceManagerMutex();
