#pragma once

#include "Cmn/Cmn_Types.h"

// An untyped source of bytes with a position. Typed streams stand on it.
class Cmn_InStream
{
public:
    virtual ~Cmn_InStream();
    // Reads exactly count bytes or throws.
    virtual void Read(void* buffer, int32 count) = 0;
    virtual int32 GetPos() = 0;
    virtual void SetPos(int32 position) = 0;
    virtual int32 GetEndPos() = 0;

protected:
    Cmn_InStream() = default;
    Cmn_InStream(Cmn_InStream const&) = default;
    Cmn_InStream& operator=(Cmn_InStream const&) = default;
};
