// Broadcast data: the SMPTE time stamp.
#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/PlugIns/IUnknown.h"
#include <cstdint>

class IEbuAudioFile : public IUnknown
{
public:
    virtual PlugInResult GetSMPTETimeStamp(i64* stamp) = 0;
    virtual PlugInResult SetSMPTETimeStamp(i64 stamp) = 0;

protected:
    ~IEbuAudioFile() = default;
};
