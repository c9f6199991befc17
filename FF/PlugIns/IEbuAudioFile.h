// Broadcast data: the SMPTE time stamp.
#pragma once

#include "FF/PlugIns/IUnknown.h"
#include <cstdint>

class IEbuAudioFile : public IUnknown
{
public:
    virtual PlugInResult GetSMPTETimeStamp(std::int64_t* stamp) = 0;
    virtual PlugInResult SetSMPTETimeStamp(std::int64_t stamp) = 0;

protected:
    ~IEbuAudioFile() = default;
};
