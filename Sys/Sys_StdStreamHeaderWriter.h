#pragma once

#include "Cmn/Cmn_Types.h"

class Sys_TypedOutStream;

// Writes the standard header of a versioned record (see
// Sys_StdStreamHeaderReader): construct it, write the fields, call PatchSize,
// which goes back and fills in the size of the body. The stream must allow
// SetPos behind the end of what was written.
class Sys_StdStreamHeaderWriter
{
public:
    static constexpr int kMaxMagicLength = 128;

    Sys_StdStreamHeaderWriter(Sys_TypedOutStream& stream, char const* magic, int16 version);
    // Does not check that PatchSize was called.
    ~Sys_StdStreamHeaderWriter() {}

    // Called once, after the last field of the body.
    void PatchSize();

private:
    Sys_TypedOutStream& mStream;
    int32 mSizePos = 0;
    int32 mBodyStart = 0;
    bool mPatched = false;
};
