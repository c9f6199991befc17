#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/Dither.h"
#include "FF/FF_AudioProcess.h"
#include "FF/NoiseShape.h"

#include <memory>

class FF_AudioProcessBlock;

// Changes the bit depth of a stream between 8, 16, 24 and 32 bits (a stream
// of 12 or 20 bits comes in as the 16 or 24 that hold it). Widening
// shifts left and leaves the low bits zero; narrowing to 16 bits is dithered
// inside an error-feedback loop, narrowing to 8 bits is error feedback alone.
// One quantiser serves all channels, so its state runs through channel 0 of a
// block, then channel 1, then channel 0 of the next block: output bits
// depend on that order.
class FF_AudioProcessRequantize : public FF_AudioProcess
{
public:
    FF_AudioProcessRequantize(u16 inBits, u16 outBits);
    ~FF_AudioProcessRequantize() override;

    static constexpr char const* GetTaskName() { return "FF_AudioProcessRequantize"; }

    void Preflight(FF_AudioProcessBlock* block) override;
    void Process(FF_AudioProcessBlock* in, FF_AudioProcessBlock* out) override;

    // The conversions, one channel at a time.
    void RequantizeNoOp(char const* in, char* out, u64 count);
    void Requantize8x16(char const* in, char* out, u64 count);
    void Requantize8x24(char const* in, char* out, u64 count);
    void Requantize8x32(char const* in, char* out, u64 count);
    void Requantize16x24(char const* in, char* out, u64 count);
    void Requantize16x32(char const* in, char* out, u64 count);
    void Requantize24x32(char const* in, char* out, u64 count);
    void Requantize16x8(char const* in, char* out, u64 count);
    void Requantize24x8(char const* in, char* out, u64 count);
    void Requantize24x16(char const* in, char* out, u64 count);
    void Requantize32x8(char const* in, char* out, u64 count);
    void Requantize32x16(char const* in, char* out, u64 count);
    void Requantize32x24(char const* in, char* out, u64 count);

private:
    using RequantizeFn = void (FF_AudioProcessRequantize::*)(char const*, char*, u64);

    // Chosen once, so that the sample loops carry no branch on the format.
    void SetRequantizeFn();

    RequantizeFn mRequantizeFn = nullptr;
    u16 mInBits;
    u16 mOutBits;
    // Never cleared: the plain-shift branches of the narrowing conversions
    // are kept for a caller that may want truncation some day.
    bool mUseNoiseShaping = true;
    std::unique_ptr<Dither> mDither;
    std::unique_ptr<NoiseShape> mNoiseShape;
};
