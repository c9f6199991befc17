#include "FF/NoiseShape.h"

#include "FF/Dither.h"

#include <gtest/gtest.h>

TEST(NoiseShape, StepAndLimitsFollowTheDepths)
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
}

TEST(NoiseShape, FirstStepOf16To8AtX128RoundsUpAndKeepsTheError)
{
    NoiseShape q(16, 8);
    EXPECT_EQ(q(128), 1);
    EXPECT_EQ(q.GetError(), 128.0);
}

TEST(NoiseShape, ErrorFeedsBackThroughTheOnePoleRecursion)
{
    // s(n) = e(n-1) - 0.2709 s(n-1); second call: s = 128, v = 0 - 128.
    NoiseShape q(16, 8);
    q(128);
    // -128 / 256 + 0.5 = 0 -> 0, error 0 - (-128) = 128.
    EXPECT_EQ(q(0), 0);
    EXPECT_EQ(q.GetError(), 128.0);
    // Third call: s = 128 - 0.2709 * 128 = 93.3248, v = -93.3248,
    // -0.3645... + 0.5 truncates to 0; error 93.3248.
    EXPECT_EQ(q(0), 0);
    EXPECT_DOUBLE_EQ(q.GetError(), 128.0 + -0.2709 * 128.0);
}

TEST(NoiseShape, TruncatesTowardZeroNotDown)
{
    // v / step + 0.5 = -0.75 + 0.5 = -0.25 truncates to 0, where rounding
    // down would give -1.
    NoiseShape q(16, 8);
    EXPECT_EQ(q(-192), 0);
    EXPECT_EQ(q.GetError(), 192.0);
}

TEST(NoiseShape, FullScaleClipsAndTheClippingErrorEntersTheFeedback)
{
    NoiseShape q(16, 8);
    // 32767 / 256 + 0.5 = 128.49... -> 128, clipped to 127.
    EXPECT_EQ(q(32767), 127);
    EXPECT_EQ(q.GetError(), 127.0 * 256.0 - 32767.0);
    // The error of -255 is fed back: v = 32767 + 255, clipped again.
    EXPECT_EQ(q(32767), 127);
    EXPECT_EQ(q.GetError(), 127.0 * 256.0 - (32767.0 + 255.0));
}

TEST(NoiseShape, NegativeFullScaleTruncatesTowardZero)
{
    // -32768 / 256 + 0.5 = -127.5 -> -127: the half step of offset is not
    // compensated, and the error makes the next sample reach -128.
    NoiseShape q(16, 8);
    EXPECT_EQ(q(-32768), -127);
    EXPECT_EQ(q.GetError(), 256.0);
    EXPECT_EQ(q(-32768), -128);
}
