#pragma once

#include "FF/NoiseShape.h"

// The error-feedback quantiser with one step of rectangular dither added
// inside the loop. The random numbers come from one generator for the whole
// process, never reset: a second conversion goes on where the first stopped.
// The generator runs on the filter thread only, which is why it has no lock.
class Dither : public NoiseShape
{
public:
    Dither(i32 inBits, i32 outBits);

    i32 operator()(i32 x) override;

    // The next number of the process-wide generator, in [0, 1).
    static f64 NextRandom();

private:
    friend struct DitherTestAccess;
    static constexpr i32 cInitialSeed = 983040;
    static i32 sSeed;
};
