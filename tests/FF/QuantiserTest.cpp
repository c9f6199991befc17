// The two quantisers of the requantiser: the noise shaper, and the dither
// of the 16-bit outputs with its process-wide generator.
#include "FF/Dither.h"
#include "FF/NoiseShape.h"

#include "FF/FF_AudioProcessTestBlocks.h"
#include "FF/ReferenceModels.h"

#include <gtest/gtest.h>

TEST(Dither, NumbersAndSeedsFromTheStartingSeedAndThroughTheWrap)
{
    struct Case
    {
        i32 seed;
        i32 drawn; // the value behind r
        i32 after;
    } const cases[] = {
        {983040, 1489567751, -1315831796}, // the starting seed: r = 0.693634...
        // -1315831796 / 127773 = -10298 (toward zero), remainder -25442;
        // -25442 * 16807 + 10298 * 2836 = -398398566, + 2147483647; the
        // doubled value wraps to a negative seed again.
        {-1315831796, 1749085081, -796797136},
        {1, 16807, 33612},
        {2, 33614, 67226},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.seed);
        StSeed seed(c.seed);
        EXPECT_EQ(Dither::NextRandom(), static_cast<f64>(c.drawn) * 4.656612875245797e-10);
        EXPECT_EQ(DitherTestAccess::GetSeed(), c.after);
    }
}

// Long runs from seeds at the edges of the arithmetic (the wrap of the
// doubled seed, the prime itself, the most negative seed) give the numbers
// and seeds of the steps in wrapping 32-bit arithmetic.
TEST(Dither, TheGeneratorFollowsTheWrappingStepsForMillionsOfNumbers)
{
    i32 const starts[] = {983040, 0, 1, -1, -2, 2147483647, -2147483647 - 1, 1073741824, 1073741825, -1073741824};
    for (i32 start : starts)
    {
        SCOPED_TRACE(start);
        StSeed seed(start);
        i32 refSeed = start;
        ffproc::ReferenceQuantizer ref{24, 16, true, refSeed};
        for (int n = 0; n < 1000000; ++n)
        {
            ASSERT_EQ(Dither::NextRandom(), ref.Random()) << "number " << n;
            ASSERT_EQ(DitherTestAccess::GetSeed(), refSeed) << "number " << n;
        }
    }
}

TEST(Dither, AddsOneStepOfRectangularDitherInsideTheLoopAndStaysWithin16Bits)
{
    StSeed seed(983040);
    Dither q(24, 16);
    // v = 128, t = 128 + 256 * r; q = t / 256 + 0.5 truncated.
    f64 const r = 1489567751.0 * 4.656612875245797e-10;
    i32 const expected = static_cast<i32>((128.0 + 256.0 * r) / 256.0 + 0.5);
    EXPECT_EQ(q(128), expected);
    // The dither is not in v, so the error is that of the plain sample.
    EXPECT_EQ(q.GetError(), expected * 256.0 - 128.0);

    // It stays within 16 bits, and reaches their limits.
    for (i32 x : {8388607, -8388608})
    {
        SCOPED_TRACE(x);
        Dither loud(24, 16);
        i32 lo = 0, hi = 0;
        for (int n = 0; n < 100; ++n)
        {
            i32 const c = loud(x);
            lo = std::min(lo, c);
            hi = std::max(hi, c);
        }
        EXPECT_EQ(x > 0 ? hi : lo, x > 0 ? 32767 : -32768);
        EXPECT_GE(lo, -32768);
        EXPECT_LE(hi, 32767);
    }
}

TEST(NoiseShape, StepFollowsTheDepthsAndErrorsFeedBack)
{
    struct Case
    {
        int in, out, step;
    } const cases[] = {{16, 8, 256}, {24, 8, 65536}, {24, 16, 256}};
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.in * 100 + c.out);
        EXPECT_EQ(NoiseShape(c.in, c.out).GetStep(), c.step);
        EXPECT_EQ(Dither(c.in, c.out).GetStep(), c.step);
    }

    // 16 to 8 bits, sample after sample from a fresh quantiser: each output
    // and the error it leaves, which the next sample sees through the
    // recursion s(n) = e(n-1) - 0.2709 s(n-1).
    struct Step
    {
        i32 x, out;
        f64 error;
    };
    struct Sequence
    {
        char const* what;
        std::vector<Step> steps;
    } const sequences[] = {
        // 128 / 256 + 0.5 rounds up; then s = 128 and v = -128 gives 0 with
        // the same error; then s = 128 - 0.2709 * 128.
        {"the error feeds back", {{128, 1, 128.0}, {0, 0, 128.0}, {0, 0, 128.0 + -0.2709 * 128.0}}},
        // -0.75 + 0.5 = -0.25 truncates to 0, where rounding down gives -1.
        {"truncates toward zero, not down", {{-192, 0, 192.0}}},
        // 128.49... gives 128, clipped to 127; the error of -255 is fed back
        // and the sample clips again.
        {"full scale clips and the clipping error feeds back",
         {{32767, 127, 127.0 * 256.0 - 32767.0}, {32767, 127, 127.0 * 256.0 - (32767.0 + 255.0)}}},
        // -127.5 gives -127: the half step of offset is not compensated, and
        // the error makes the next sample reach -128.
        {"negative full scale", {{-32768, -127, 256.0}, {-32768, -128, 256.0}}},
    };
    for (auto const& c : sequences)
    {
        SCOPED_TRACE(c.what);
        NoiseShape q(16, 8);
        for (std::size_t n = 0; n < c.steps.size(); ++n)
        {
            EXPECT_EQ(q(c.steps[n].x), c.steps[n].out) << "sample " << n;
            EXPECT_EQ(q.GetError(), c.steps[n].error) << "sample " << n;
        }
    }
}
