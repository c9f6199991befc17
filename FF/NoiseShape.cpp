#include "FF/NoiseShape.h"

#include "Cmn/Cmn_Assert.h"

#include <algorithm>

NoiseShape::NoiseShape(i32 inBits, i32 outBits)
    : mStep(1), mInBits(inBits), mOutBits(outBits), mMax(127), mMin(-128)
{
    CMN_ASSERT(outBits >= 1 && outBits < inBits && inBits <= 32);
    if (outBits >= 1 && outBits < inBits && inBits <= 32)
    {
        mStep = static_cast<i32>(u32{1} << (inBits - outBits));
        mMax = static_cast<i32>((u32{1} << (outBits - 1)) - 1);
        mMin = -mMax - 1;
    }
}

f64 NoiseShape::Feedback()
{
    f64 a = mError;
    a = a + cFeedback[1] * mHistory[1];
    [[maybe_unused]] f64 b = 0.0 + cOutput[1] * mHistory[1];
    b = b + a * cOutput[0];
    mHistory[1] = a;
    return a;
}

i32 NoiseShape::QuantizeAndClip(f64 scaled) const
{
    f64 const bounded = std::clamp(scaled, static_cast<f64>(mMin) - 1.0, static_cast<f64>(mMax) + 1.0);
    i32 const q = static_cast<i32>(bounded);
    return std::clamp(q, mMin, mMax);
}

i32 NoiseShape::operator()(i32 x)
{
    f64 const v = static_cast<f64>(x) - Feedback();
    i32 const c = QuantizeAndClip(v / mStep + 0.5);
    mError = static_cast<f64>(c) * mStep - v;
    return c;
}
