#pragma once

#include "Cmn/Cmn_Types.h"

// Quantises one sample at a time from mInBits to mOutBits with first-order
// error feedback. The error of each sample is fed into the next through the
// one-pole recursion s(n) = e(n-1) - 0.2709 s(n-1). One object serves every
// channel of a stream in turn, so its state runs across channels and blocks.
class NoiseShape
{
public:
    NoiseShape(i32 inBits, i32 outBits);
    virtual ~NoiseShape() = default;

    virtual i32 operator()(i32 x);

    i32 GetStep() const { return mStep; }
    f64 GetError() const { return mError; }

protected:
    f64 Feedback();
    // The 0.5 is added before the division's result is truncated toward
    // zero, then the result is limited to the output range. The double is
    // bounded first: casting a value outside the integer range is undefined,
    // and bounding by one step beyond the limits changes nothing after the clamp.
    i32 QuantizeAndClip(f64 scaled) const;

    // Only the second coefficient of each pair is applied: the history has
    // one tap in use. The second accumulation with cOutput is computed and
    // dropped; feeding it back would change the sound of every conversion.
    static constexpr f64 cFeedback[2] = {0.0, -0.2709};
    static constexpr f64 cOutput[2] = {1.726, -0.7678};

    f64 mError = 0.0;
    f64 mHistory[2] = {0.0, 0.0};
    i32 mStep;
    i32 mInBits;
    i32 mOutBits;
    i32 mMax;
    i32 mMin;
};
