// What the workstation's own media need: byte mapping, length change,
// region editing and waveform overviews.
#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/PlugIns/IUnknown.h"
#include <cstdint>

struct PlugInRegion;

class INativeAudioFile : public IUnknown
{
public:
    virtual PlugInResult SampleToOffset(i64 sample, i64* byteOffset) = 0;
    virtual PlugInResult OffsetToSample(i64 byteOffset, i64* sample) = 0;
    virtual PlugInResult SetNumSamples(i64 frames) = 0;
    virtual PlugInResult AddRegion(PlugInRegion* region) = 0;
    virtual PlugInResult RemoveRegion(u8 const* umid) = 0;
    virtual PlugInResult HasOverview(i32 samplesPerInterval, i32 bitsPerInterval) = 0;
    virtual PlugInResult GetOverview(char*** data, i32 samplesPerInterval, i32 bitsPerInterval, i32* numIntervals) = 0;
    virtual PlugInResult SetOverview(char** data, i32 samplesPerInterval, i32 bitsPerInterval, i32 numIntervals) = 0;

protected:
    ~INativeAudioFile() = default;
};
