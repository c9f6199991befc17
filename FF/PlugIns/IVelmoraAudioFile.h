// Media identity: unique id, modification date, data revision.
#pragma once

#include "FF/PlugIns/IUnknown.h"
#include <cstdint>

class IVelmoraAudioFile : public IUnknown
{
public:
    virtual PlugInResult GetUmid(std::uint8_t* umid) = 0; // 16 bytes
    virtual PlugInResult StampWithUmid() = 0;
    virtual PlugInResult GetUTCModDate(std::uint64_t* date) = 0;
    virtual PlugInResult GetDataRevision(std::uint64_t* revision) = 0;

protected:
    ~IVelmoraAudioFile() = default;
};
