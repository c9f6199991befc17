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

// 16 to 8 bits, sample after sample from a fresh quantiser: each output and
// the error it leaves, which the next sample sees through the recursion
// s(n) = e(n-1) - 0.2709 s(n-1).
TEST(NoiseShape, SequencesOfOutputsAndErrors)
{
    struct Step
    {
        i32 x, out;
        f64 error;
    };
    struct Case
    {
        char const* what;
        std::vector<Step> steps;
    } const cases[] = {
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
    for (auto const& c : cases)
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
