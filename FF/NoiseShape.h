#pragma once

#include "Cmn/Cmn_Types.h"

#include <algorithm>
#include <cmath>

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
    // The same, for callers that know the object's class: inline, so that
    // a loop over a block keeps the state in registers. With InFloat the
    // truncation stays in floating point (one rounding instruction where
    // the processor has it, instead of a trip through an integer register
    // in the middle of the error feedback); both give the same values.
    template <bool InFloat = false> i32 Quantize(i32 x)
    {
        f64 const v = static_cast<f64>(x) - Feedback();
        f64 const c = QuantizeAndClip<InFloat>(v * mInverseStep + 0.5);
        mError = c * mStepAsDouble - v;
        return static_cast<i32>(c);
    }

    // Quantises count samples, load(n) giving the n-th, as count calls of
    // Quantize would, bit for bit. The loop keeps its state in units of one
    // step: the step is a power of two, so every product with it or its
    // inverse is exact, and two multiplications leave the chain that runs
    // from one sample to the next.
    template <bool InFloat, class Load> void QuantizeRun(Load const& load, i32* out, u64 count)
    {
        RunScaled<InFloat>(load, out, count, [] { return 0.0; });
    }

    i32 GetStep() const { return mStep; }
    f64 GetError() const { return mError; }

protected:
    f64 Feedback()
    {
        f64 a = mError;
        a = a + cFeedback[1] * mHistory[1];
        mHistory[1] = a;
        return a;
    }
    // The 0.5 is added before the division's result is truncated toward
    // zero, then the result is limited to the output range. Limiting first
    // gives the same, the limits being integers, and keeps the cast defined.
    // The step is a power of two, so multiplying by its inverse is exactly
    // the division.
    template <bool InFloat> f64 QuantizeAndClip(f64 scaled) const
    {
        f64 const bounded = std::clamp(scaled, mMinAsDouble, mMaxAsDouble);
        if constexpr (InFloat)
            return std::trunc(bounded);
        else
            return static_cast<f64>(static_cast<i32>(bounded));
    }

    // The loop of QuantizeRun; random() is the dither, in steps, added
    // after the feedback (a constant 0 adds nothing).
    template <bool InFloat, class Load, class Random>
    [[gnu::always_inline]] inline void RunScaled(Load const& load, i32* out, u64 count, Random const& random)
    {
        f64 const feedback = cFeedback[1];
        f64 error = mError * mInverseStep;
        f64 history = mHistory[1] * mInverseStep;
        for (u64 n = 0; n < count; ++n)
        {
            f64 const a = error + feedback * history;
            history = a;
            f64 const v = static_cast<f64>(load(n)) * mInverseStep - a;
            f64 const c = ScaledQuantizeAndClip<InFloat>(v + random() + 0.5);
            error = c - v;
            out[n] = static_cast<i32>(c);
        }
        mError = error * mStepAsDouble;
        mHistory[1] = history * mStepAsDouble;
    }
    // QuantizeAndClip on a value already divided by the step. Limiting
    // after the truncation gives the same, the limits being integers; in
    // floating point the test is a branch that is almost never taken, so
    // that it stays out of the chain from one sample to the next.
    template <bool InFloat> f64 ScaledQuantizeAndClip(f64 scaled) const
    {
        if constexpr (InFloat)
        {
            f64 const c = std::trunc(scaled);
            if (c > mMaxAsDouble || c < mMinAsDouble) [[unlikely]]
                return std::clamp(c, mMinAsDouble, mMaxAsDouble);
            return c;
        }
        else
            return QuantizeAndClip<false>(scaled);
    }

    // Only the second coefficient of each pair is applied: the history has
    // one tap in use. The output coefficients shape nothing: their sum would
    // be dropped, and feeding it back would change the sound of every
    // conversion, so it is not computed at all.
    static constexpr f64 cFeedback[2] = {0.0, -0.2709};
    static constexpr f64 cOutput[2] = {1.726, -0.7678};

    f64 mError = 0.0;
    f64 mHistory[2] = {0.0, 0.0};
    i32 mStep;
    i32 mInBits;
    i32 mOutBits;
    i32 mMax;
    i32 mMin;
    f64 mStepAsDouble;
    f64 mInverseStep;
    f64 mMaxAsDouble;
    f64 mMinAsDouble;
};
