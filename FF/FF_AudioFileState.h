#pragma once

#include "Cmn/Cmn_Types.h"

// Where a file stood, so that a caller can use it between the accesses of
// another user and leave it as it was.
struct FF_AudioFileState
{
    int64 position = 0;       // byte position of the underlying file
    int64 samplePosition = 0; // the plug-in's position, in frames
    int32 openMode = 0;       // 0 if the file was closed
};
