// Lifecycle of a handler: attach a file, lay out a new one, parse, write back, print.
#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/PlugIns/IUnknown.h"
#include <cstdint>
#include <iosfwd>

class IFile;

class IAudioFile : public IUnknown
{
public:
    virtual PlugInResult SetFile(IFile* file) = 0;
    virtual PlugInResult Format(u16 channels, i32 samplesPerSec, u16 bitsPerSample, i64 numSamples) = 0;
    virtual PlugInResult Open() = 0;
    virtual PlugInResult Flush() = 0;
    virtual PlugInResult PrintFile(std::ostream& out) = 0;
    virtual PlugInResult PrintCache(std::ostream& out) = 0;

protected:
    ~IAudioFile() = default;
};
