#pragma once

#include "Cmn/Cmn_InStream.h"

// Reads a block of memory that it does not own. Nothing is read outside the
// block: a read past its end, or a position outside it, throws
// XC_Cmn_EndOfFile.
class Cmn_MemBufferInStream : public Cmn_InStream
{
public:
    Cmn_MemBufferInStream(void const* begin, void const* end);

    void Read(void* buffer, int32 count) override;
    int32 GetPos() override { return int32(mCurrent - mBegin); }
    void SetPos(int32 position) override;
    int32 GetEndPos() override { return int32(mEnd - mBegin); }

private:
    unsigned char const* mBegin;
    unsigned char const* mCurrent;
    unsigned char const* mEnd;
};
