#include "FF/Dither.h"

i32 Dither::sSeed = Dither::cInitialSeed;

Dither::Dither(i32 inBits, i32 outBits) : NoiseShape(inBits, outBits) {}

f64 Dither::NextRandom()
{
    // Minimal-standard steps in wrapping 32-bit arithmetic, then the seed is
    // doubled less 2 after its value is used: the doubling takes the sequence
    // off the textbook one on purpose, and outputs depend on it.
    i32 const k = sSeed / 127773;
    sSeed = static_cast<i32>(static_cast<u32>(sSeed - k * 127773) * 16807u - static_cast<u32>(k) * 2836u);
    if (sSeed < 0)
        sSeed = static_cast<i32>(static_cast<u32>(sSeed) + 2147483647u);
    f64 const r = static_cast<f64>(sSeed) * 4.656612875245797e-10;
    sSeed = static_cast<i32>(static_cast<u32>(sSeed) * 2u - 2u);
    return r;
}

i32 Dither::operator()(i32 x)
{
    f64 const v = static_cast<f64>(x) - Feedback();
    f64 const r = NextRandom();
    f64 const t = v + mStep * r;
    i32 const c = QuantizeAndClip(t / mStep + 0.5);
    // The dither stays in the error, since v does not contain it.
    mError = static_cast<f64>(c) * mStep - v;
    return c;
}
