// What the workstation's own media need: byte mapping, length change,
// region editing and waveform overviews.
#pragma once

#include "FF/PlugIns/IUnknown.h"
#include <cstdint>

struct PlugInRegion;

class INativeAudioFile : public IUnknown
{
public:
    virtual PlugInResult SampleToOffset(std::int64_t sample, std::int64_t* byteOffset) = 0;
    virtual PlugInResult OffsetToSample(std::int64_t byteOffset, std::int64_t* sample) = 0;
    virtual PlugInResult SetNumSamples(std::int64_t frames) = 0;
    virtual PlugInResult AddRegion(PlugInRegion* region) = 0;
    virtual PlugInResult RemoveRegion(std::uint8_t const* umid) = 0;
    virtual PlugInResult HasOverview(std::int32_t samplesPerInterval, std::int32_t bitsPerInterval) = 0;
    virtual PlugInResult GetOverview(char*** data, std::int32_t samplesPerInterval, std::int32_t bitsPerInterval,
                                     std::int32_t* numIntervals) = 0;
    virtual PlugInResult SetOverview(char** data, std::int32_t samplesPerInterval, std::int32_t bitsPerInterval,
                                     std::int32_t numIntervals) = 0;

protected:
    ~INativeAudioFile() = default;
};
