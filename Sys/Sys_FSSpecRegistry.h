#pragma once

#include <string>

#include "Cmn/Cmn_Types.h"

struct FSSpec;

// Stands in for the volume and folder numbers of a Macintosh file system:
// each volume root and each folder that a file record was made for gets a
// number for the life of the process, and a name too long for a
// file record gets a shortened form that the registry maps back. The keys
// are 64-bit (volume and folder number together), so no number is ever
// reused. Thread-safe.
class Sys_FSSpecRegistry
{
public:
    // Fills *fileSpec for a canonical path of a file or folder (a folder's path
    // ends in '/'); the volume root is given by the caller.
    static void Make(std::string const& volumeRoot, std::string const& fullPath, FSSpec* fileSpec);
    // The path a file record stands for: the remembered one, or the
    // folder's path and the name; false if the folder is unknown.
    static bool Resolve(FSSpec const& fileSpec, std::string* fullPath);
    // Forgets everything: for tests.
    static void Reset();

    static constexpr size_t kMaxNameLength = 63;
};
