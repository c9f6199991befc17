// Media identity: unique id, modification date, data revision.
#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/PlugIns/IUnknown.h"
#include <cstdint>

class IVelmoraAudioFile : public IUnknown
{
public:
    virtual PlugInResult GetUmid(u8* umid) = 0; // 16 bytes
    virtual PlugInResult StampWithUmid() = 0;
    virtual PlugInResult GetUTCModDate(u64* date) = 0;
    virtual PlugInResult GetDataRevision(u64* revision) = 0;

protected:
    ~IVelmoraAudioFile() = default;
};
