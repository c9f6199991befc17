// One waveform overview as a handler keeps it in memory.
#pragma once

#include <cstdint>

struct PlugInOverview
{
    std::uint32_t size = 0; // bytes of the whole record on disk, this field included
    std::uint32_t version = 1;
    std::uint32_t samplesPerInterval = 0;
    std::uint32_t bitsPerInterval = 0;
    std::uint32_t channels = 1;
    std::uint32_t numIntervals = 0;
    char** data = nullptr; // relocatable block holding the payload
    bool isNew = false;
    bool owned = false; // true if the handler must dispose of the block
};
