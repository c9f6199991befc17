// Interchange data: start time code, mob names, edit rate.
#pragma once

#include "FF/PlugIns/IUnknown.h"

class IOmfiAudioFile : public IUnknown
{
public:
    virtual PlugInResult SetStartTimeCode(char const* timeCode) = 0;
    virtual PlugInResult GetStartTimeCode(char* buffer) = 0;
    virtual PlugInResult SetMasterMobName(char const* name) = 0;
    virtual PlugInResult SetTapeMobName(char const* name) = 0;
    virtual PlugInResult SetEditRate(float rate, bool dropFrame) = 0;

protected:
    ~IOmfiAudioFile() = default;
};
