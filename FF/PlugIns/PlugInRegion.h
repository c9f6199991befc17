// The region record that crosses the plug-in interfaces, and lies in the
// 'regn' chunk in the same shape.
#pragma once

#include "Cmn/Cmn_Types.h"

#include <cstddef>
#include <cstdint>

struct PlugInRegion
{
    u8 umid[16];
    u64 startSample;
    u64 stopSample;
    u64 syncSample;
    u64 userTimeStamp;
    u64 originalTimeStamp;
    u8 nameLength; // 0 to 31
    char name[31];
};
static_assert(sizeof(PlugInRegion) == 88);
static_assert(offsetof(PlugInRegion, startSample) == 16);
static_assert(offsetof(PlugInRegion, originalTimeStamp) == 48);
static_assert(offsetof(PlugInRegion, nameLength) == 56);
