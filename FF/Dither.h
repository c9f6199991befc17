#pragma once

#include "FF/NoiseShape.h"

// The error-feedback quantiser with one step of rectangular dither added
// inside the loop. The random numbers come from one generator for the whole
// process, never reset: a second conversion goes on where the first stopped.
// The generator runs on the filter thread only, which is why it has no lock.
class Dither final : public NoiseShape
{
public:
    Dither(i32 inBits, i32 outBits);

    i32 operator()(i32 x) override;
    // The same, inline for loops over a block (see NoiseShape::Quantize).
    template <bool InFloat = false> i32 Quantize(i32 x)
    {
        f64 const v = static_cast<f64>(x) - Feedback();
        f64 const r = NextRandom();
        f64 const t = v + mStepAsDouble * r;
        f64 const c = QuantizeAndClip<InFloat>(t * mInverseStep + 0.5);
        // The dither stays in the error, since v does not contain it.
        mError = c * mStepAsDouble - v;
        return static_cast<i32>(c);
    }

    // As NoiseShape's, with the dither: v + r is (v + step * r) / step.
    template <bool InFloat, class Load> void QuantizeRun(Load const& load, i32* out, u64 count)
    {
        RunScaled<InFloat>(load, out, count, &NextRandom);
    }

    // The next number of the process-wide generator, in [0, 1).
    static f64 NextRandom()
    {
        // The minimal-standard step, 16807 times the seed modulo 2^31 - 1,
        // as the remainder of one 64-bit product by that prime. For every
        // 32-bit seed, negative ones included, it is the number that the
        // division-free steps in wrapping 32-bit arithmetic give, with a
        // shorter chain from one number to the next. Then the seed is
        // doubled less 2 after its value is used: the doubling takes the
        // sequence off the textbook one on purpose, and outputs depend on it.
        constexpr u64 cPrime = 2147483647u;
        u64 const product = 16807u * static_cast<u64>(static_cast<i64>(sSeed) + static_cast<i64>(2 * cPrime));
        u64 drawn = (product & cPrime) + (product >> 31);
        drawn = drawn >= cPrime ? drawn - cPrime : drawn;
        sSeed = static_cast<i32>(static_cast<u32>(drawn) * 2u - 2u);
        return static_cast<f64>(drawn) * 4.656612875245797e-10;
    }

private:
    friend struct DitherTestAccess;
    static constexpr i32 cInitialSeed = 983040;
    static i32 sSeed;
};
