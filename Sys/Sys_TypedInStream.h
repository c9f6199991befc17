#pragma once

#include "Cmn/Cmn_Types.h"

#include "Cmn/Cmn_InStream.h"
#include "Sys/Sys_SwapBlock.h"

// Reads numbers from a byte stream in the byte order of the stream, which is
// decided here once: the public classes (Sys_NativeInStream,
// Sys_BigEndianInStream, ...) only choose the swap mode. Blocks are bytes and
// pass as they are. Owns nothing; the byte stream outlives it.
class Sys_TypedInStream
{
public:
    enum ESwapMode
    {
        eNoSwap = 0,
        eSwap = 1
    };

    void Read(bool* value);
    void Read(i8* value) { ReadValue(value); }
    void Read(u8* value) { ReadValue(value); }
    void Read(i16* value) { ReadValue(value); }
    void Read(u16* value) { ReadValue(value); }
    void Read(i32* value) { ReadValue(value); }
    void Read(u32* value) { ReadValue(value); }
    void Read(i64* value) { ReadValue(value); }
    void Read(u64* value) { ReadValue(value); }
    void Read(float* value) { ReadValue(value); }
    void Read(double* value) { ReadValue(value); }
    void ReadBlock(void* buffer, int32 count);

    int32 GetPos();
    void SetPos(int32 position);
    int32 GetEndPos();

    ESwapMode GetSwapMode() const { return mSwapMode; }

protected:
    Sys_TypedInStream(Cmn_InStream* stream, ESwapMode swapMode);

private:
    template <class T> void ReadValue(T* value);

    Cmn_InStream* mStream;
    ESwapMode mSwapMode;
};

template <class T> inline void Sys_TypedInStream::ReadValue(T* value)
{
    // Straight into the target, then turned in place: no buffer between.
    mStream->Read(value, int32(sizeof(T)));
    if (mSwapMode == eSwap)
        Sys_SwapBlock(reinterpret_cast<char*>(value), int32(sizeof(T)));
}
