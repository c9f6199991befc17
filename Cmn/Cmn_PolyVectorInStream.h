#pragma once

#include "Cmn/Cmn_MemBufferInStream.h"
#include "Cmn/Cmn_PolyVector.h"

// Reads the bytes of a vector, which must not change while it is read.
class Cmn_PolyVectorInStream : public Cmn_MemBufferInStream
{
public:
    explicit Cmn_PolyVectorInStream(Cmn_PolyVector<unsigned char> const& bytes)
        : Cmn_MemBufferInStream(bytes.Begin(), bytes.End())
    {
    }
};
