#pragma once

#include "Cmn/Cmn_Types.h"

#include "Cmn/Cmn_OutStream.h"
#include "Sys/Sys_SwapBlock.h"

// Writes numbers to a byte stream in the byte order of the stream, which is
// decided here once: the public classes (Sys_NativeOutStream,
// Sys_CrossPlatformOutStream) only choose the swap mode. Blocks are bytes and
// pass as they are. Owns nothing; the byte stream outlives it.
class Sys_TypedOutStream
{
public:
    enum ESwapMode
    {
        eNoSwap = 0,
        eSwap = 1
    };

    void Write(bool value);
    void Write(i8 value) { WriteValue(value); }
    void Write(u8 value) { WriteValue(value); }
    void Write(i16 value) { WriteValue(value); }
    void Write(u16 value) { WriteValue(value); }
    void Write(i32 value) { WriteValue(value); }
    void Write(u32 value) { WriteValue(value); }
    void Write(i64 value) { WriteValue(value); }
    void Write(u64 value) { WriteValue(value); }
    void Write(float value) { WriteValue(value); }
    void Write(double value) { WriteValue(value); }
    void WriteBlock(void const* buffer, int32 count);

    int32 GetPos();
    void SetPos(int32 position);
    int32 GetEndPos();
    void CleanUp();
    void Reserve(int32 count);

    ESwapMode GetSwapMode() const { return mSwapMode; }

protected:
    Sys_TypedOutStream(Cmn_OutStream* stream, ESwapMode swapMode);

private:
    template <class T> void WriteValue(T value);

    Cmn_OutStream* mStream;
    ESwapMode mSwapMode;
};

template <class T> inline void Sys_TypedOutStream::WriteValue(T value)
{
    // The argument is the function's own copy: it is turned in place.
    if (mSwapMode == eSwap)
        Sys_SwapBlock(reinterpret_cast<char*>(&value), int32(sizeof(T)));
    mStream->Write(&value, int32(sizeof(T)));
}
