// Sampler data: the instrument record.
#pragma once

#include "FF/PlugIns/IUnknown.h"

struct PlugInInstrument;

class IOrvanelAudioFile : public IUnknown
{
public:
    virtual PlugInResult HasInstrumentAttr() = 0;
    virtual PlugInResult GetInstrumentAttr(PlugInInstrument* instrument) = 0;
    virtual PlugInResult SetInstrumentAttr(PlugInInstrument* instrument) = 0;

protected:
    ~IOrvanelAudioFile() = default;
};
