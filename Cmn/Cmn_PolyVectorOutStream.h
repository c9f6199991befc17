#pragma once

#include "Cmn/Cmn_OutStream.h"
#include "Cmn/Cmn_PolyVector.h"

// Writes into a vector that it does not own, at its position: over what is
// there, and on past the end, which grows the vector. A position past the
// end is legal; the next write fills the gap with zero bytes.
class Cmn_PolyVectorOutStream : public Cmn_OutStream
{
public:
    explicit Cmn_PolyVectorOutStream(Cmn_PolyVector<unsigned char>& bytes) : mBytes(&bytes) {}

    void Write(void const* buffer, int32 count) override;
    int32 GetPos() override { return mPosition; }
    void SetPos(int32 position) override;
    int32 GetEndPos() override { return int32(mBytes->Size()); }
    void Reserve(int32 count) override;

private:
    Cmn_PolyVector<unsigned char>* mBytes;
    int32 mPosition = 0;
};
