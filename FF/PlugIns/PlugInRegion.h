// The region record that crosses the plug-in interfaces, and lies in the
// 'regn' chunk in the same shape.
#pragma once

#include <cstddef>
#include <cstdint>

struct PlugInRegion
{
    std::uint8_t umid[16];
    std::uint64_t startSample;
    std::uint64_t stopSample;
    std::uint64_t syncSample;
    std::uint64_t userTimeStamp;
    std::uint64_t originalTimeStamp;
    std::uint8_t nameLength; // 0 to 31
    char name[31];
};
static_assert(sizeof(PlugInRegion) == 88);
static_assert(offsetof(PlugInRegion, startSample) == 16);
static_assert(offsetof(PlugInRegion, originalTimeStamp) == 48);
static_assert(offsetof(PlugInRegion, nameLength) == 56);
