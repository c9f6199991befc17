// What any recognised audio file offers: attributes, samples, regions to read.
#pragma once

#include "FF/PlugIns/IUnknown.h"
#include <cstdint>

struct PlugInRegion;

class IImportExportAudioFile : public IUnknown
{
public:
    virtual PlugInResult GetFileTypeName(std::int32_t size, char* buffer) = 0;
    virtual PlugInResult GetByteOrder(std::int32_t* order) = 0;
    virtual PlugInResult CanImplement(PlugInGuid const* iid) = 0;
    virtual PlugInResult Implement(PlugInGuid const* iid) = 0;
    virtual PlugInResult GetNumChannels(std::uint16_t* channels) = 0;
    virtual PlugInResult GetSamplesPerSec(std::int32_t* rate) = 0;
    virtual PlugInResult GetBitsPerSample(std::uint16_t* bits) = 0;
    virtual PlugInResult GetNumSamples(std::int64_t* frames) = 0;
    virtual PlugInResult SampleRead(void* buffer, std::int64_t frames) = 0;
    virtual PlugInResult SampleWrite(void* buffer, std::int64_t frames) = 0;
    virtual PlugInResult SampleSetPosition(std::int32_t from, std::int64_t frames) = 0;
    virtual PlugInResult SampleGetPosition(std::int64_t* frames) = 0;
    virtual PlugInResult GetNumRegions(std::uint32_t* count) = 0;
    virtual PlugInResult GetRegion(std::uint32_t index, PlugInRegion* region) = 0;

protected:
    ~IImportExportAudioFile() = default;
};
