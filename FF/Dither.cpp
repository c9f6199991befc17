#include "FF/Dither.h"

i32 Dither::sSeed = Dither::cInitialSeed;

Dither::Dither(i32 inBits, i32 outBits) : NoiseShape(inBits, outBits) {}

i32 Dither::operator()(i32 x)
{
    return Quantize(x);
}
