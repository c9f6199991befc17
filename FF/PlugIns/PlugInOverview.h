// One waveform overview as a handler keeps it in memory.
#pragma once

#include "Cmn/Cmn_Types.h"

#include <cstdint>

struct PlugInOverview
{
    u32 size = 0; // bytes of the whole record on disk, this field included
    u32 version = 1;
    u32 samplesPerInterval = 0;
    u32 bitsPerInterval = 0;
    u32 channels = 1;
    u32 numIntervals = 0;
    char** data = nullptr; // relocatable block holding the payload
    bool isNew = false;
    bool owned = false; // true if the handler must dispose of the block
};
