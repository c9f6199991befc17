#pragma once

#include <cstddef>

#include "Cmn/Cmn_Types.h"

class Sys_FileLoc;

// A file as a Macintosh names it: volume, folder number and a name of up to
// 63 bytes (a Pascal string). Packed, as published: the name is at offset 6.
#pragma pack(push, 1)
struct FSSpec
{
    int16 vRefNum = 0;
    int32 parID = 0;
    unsigned char name[64] = {};
};
#pragma pack(pop)
static_assert(sizeof(FSSpec) == 70);
static_assert(offsetof(FSSpec, name) == 6);

// The file record of a location, through the registry of
// Sys_FSSpecRegistry, which remembers the path so that it comes back whole.
// With macName, on a Macintosh volume, the name is the file's Macintosh
// name (GetMacFileName).
void Sys_FileLoc2FSSpec(Sys_FileLoc const& location, FSSpec* fileSpec, bool macName);
// The location of a file record: false, with *location untouched, when
// the registry knows neither the file nor its folder.
bool FSSpec2Sys_FileLoc(FSSpec const& fileSpec, Sys_FileLoc* location);
