#include "FF/Dither.h"

#include "FF/FF_AudioProcessTestBlocks.h"
#include "FF/ReferenceModels.h"

#include <gtest/gtest.h>

namespace
{
// Puts the process-wide seed back after the test, so that tests do not
// depend on their order.
class StSeed
{
public:
    explicit StSeed(i32 seed) : mSaved(DitherTestAccess::GetSeed()) { DitherTestAccess::SetSeed(seed); }
    ~StSeed() { DitherTestAccess::SetSeed(mSaved); }

private:
    i32 mSaved;
};
} // namespace

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

TEST(Dither, AddsOneStepOfRectangularDitherInsideTheLoop)
{
    StSeed seed(983040);
    Dither q(24, 16);
    // v = 128, t = 128 + 256 * r; q = t / 256 + 0.5 truncated.
    f64 const r = 1489567751.0 * 4.656612875245797e-10;
    i32 const expected = static_cast<i32>((128.0 + 256.0 * r) / 256.0 + 0.5);
    EXPECT_EQ(q(128), expected);
    // The dither is not in v, so the error is that of the plain sample.
    EXPECT_EQ(q.GetError(), expected * 256.0 - 128.0);
}

TEST(Dither, StaysWithinAndReachesTheLimitsOf16Bits)
{
    StSeed seed(983040);
    for (i32 x : {8388607, -8388608})
    {
        SCOPED_TRACE(x);
        Dither q(24, 16);
        i32 lo = 0, hi = 0;
        for (int n = 0; n < 100; ++n)
        {
            i32 const c = q(x);
            lo = std::min(lo, c);
            hi = std::max(hi, c);
        }
        EXPECT_EQ(x > 0 ? hi : lo, x > 0 ? 32767 : -32768);
        EXPECT_GE(lo, -32768);
        EXPECT_LE(hi, 32767);
    }
}
