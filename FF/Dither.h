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

    // The next number of the process-wide generator, in [0, 1).
    static f64 NextRandom()
    {
        // Minimal-standard steps in wrapping 32-bit arithmetic, then the seed
        // is doubled less 2 after its value is used: the doubling takes the
        // sequence off the textbook one on purpose, and outputs depend on it.
        i32 seed = sSeed;
        i32 const k = seed / 127773;
        seed = static_cast<i32>(static_cast<u32>(seed - k * 127773) * 16807u - static_cast<u32>(k) * 2836u);
        if (seed < 0)
            seed = static_cast<i32>(static_cast<u32>(seed) + 2147483647u);
        f64 const r = static_cast<f64>(seed) * 4.656612875245797e-10;
        sSeed = static_cast<i32>(static_cast<u32>(seed) * 2u - 2u);
        return r;
    }

private:
    friend struct DitherTestAccess;
    static constexpr i32 cInitialSeed = 983040;
    static i32 sSeed;
};
