#pragma once

#include "Cmn/Cmn_Types.h"

// An untyped sink of bytes with a position. Typed streams stand on it. A
// stream that headers are written to lets SetPos go back behind the end of
// what was written, so that a size can be patched in.
class Cmn_OutStream
{
public:
    virtual ~Cmn_OutStream();
    virtual void Write(void const* buffer, int32 count) = 0;
    virtual int32 GetPos() = 0;
    virtual void SetPos(int32 position) = 0;
    virtual int32 GetEndPos() = 0;
    // Gives back what the stream holds and no longer needs; nothing here.
    virtual void CleanUp();
    // Prepares for count bytes in all; nothing here.
    virtual void Reserve(int32 count);

protected:
    Cmn_OutStream() = default;
    Cmn_OutStream(Cmn_OutStream const&) = default;
    Cmn_OutStream& operator=(Cmn_OutStream const&) = default;
};
