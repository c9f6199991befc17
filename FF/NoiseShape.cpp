#include "FF/NoiseShape.h"

#include "Cmn/Cmn_Assert.h"

#include <algorithm>

NoiseShape::NoiseShape(i32 inBits, i32 outBits) : mStep(1), mInBits(inBits), mOutBits(outBits), mMax(127), mMin(-128)
{
    CMN_ASSERT(outBits >= 1 && outBits < inBits && inBits <= 32);
    if (outBits >= 1 && outBits < inBits && inBits <= 32)
    {
        mStep = static_cast<i32>(u32{1} << (inBits - outBits));
        mMax = static_cast<i32>((u32{1} << (outBits - 1)) - 1);
        mMin = -mMax - 1;
    }
    mStepAsDouble = static_cast<f64>(mStep);
    mInverseStep = 1.0 / mStepAsDouble;
    mMaxAsDouble = static_cast<f64>(mMax);
    mMinAsDouble = static_cast<f64>(mMin);
}

i32 NoiseShape::operator()(i32 x)
{
    return Quantize(x);
}
