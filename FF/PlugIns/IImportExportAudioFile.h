// What any recognised audio file offers: attributes, samples, regions to read.
#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/PlugIns/IUnknown.h"
#include <cstdint>

struct PlugInRegion;

class IImportExportAudioFile : public IUnknown
{
public:
    virtual PlugInResult GetFileTypeName(i32 size, char* buffer) = 0;
    virtual PlugInResult GetByteOrder(i32* order) = 0;
    virtual PlugInResult CanImplement(PlugInGuid const* iid) = 0;
    virtual PlugInResult Implement(PlugInGuid const* iid) = 0;
    virtual PlugInResult GetNumChannels(u16* channels) = 0;
    virtual PlugInResult GetSamplesPerSec(i32* rate) = 0;
    virtual PlugInResult GetBitsPerSample(u16* bits) = 0;
    virtual PlugInResult GetNumSamples(i64* frames) = 0;
    virtual PlugInResult SampleRead(void* buffer, i64 frames) = 0;
    virtual PlugInResult SampleWrite(void* buffer, i64 frames) = 0;
    virtual PlugInResult SampleSetPosition(i32 from, i64 frames) = 0;
    virtual PlugInResult SampleGetPosition(i64* frames) = 0;
    virtual PlugInResult GetNumRegions(u32* count) = 0;
    virtual PlugInResult GetRegion(u32 index, PlugInRegion* region) = 0;

protected:
    ~IImportExportAudioFile() = default;
};
