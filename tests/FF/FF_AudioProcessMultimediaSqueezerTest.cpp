#include "FF/FF_AudioProcessMultimediaSqueezer.h"

#include "FF/FF_AudioProcessTestBlocks.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace ffproc;

TEST(FF_AudioProcessMultimediaSqueezer, OutputIsAsLongAsTheInputWhateverTheBlocks)
{
    for (int bits : {8, 16, 24, 32})
        for (i64 length : {1, 999, 1000, 1001, 5000})
        {
            Channels const input = SineRamp(2, length, bits, 0.4, 440.0);
            Channels first;
            for (i64 blockSize : {1, 500, 1000, 5000})
            {
                SCOPED_TRACE(testing::Message() << bits << " bits, " << length << " samples, blocks of " << blockSize);
                FF_AudioProcessMultimediaSqueezer stage;
                RunResult r = RunStage(stage, input, 44100, bits, blockSize);
                ASSERT_EQ(r.out.size(), 2u);
                EXPECT_EQ(static_cast<i64>(r.out[0].size()), length);
                EXPECT_EQ(static_cast<i64>(r.out[1].size()), length);
                if (first.empty())
                    first = r.out;
                EXPECT_EQ(r.out, first); // the same bits however the stream is cut
            }
        }
}

TEST(FF_AudioProcessMultimediaSqueezer, LookAheadIsRemovedHalfWavesReachNearFullScaleAndSilenceStays)
{
    i64 const length = 20000;
    for (int bits : {8, 16, 24, 32})
    {
        SCOPED_TRACE(bits);
        f64 const full = std::ldexp(1.0, bits - 1) - 1.0;
        Channels const input = SineRamp(1, length, bits, 0.7, 220.0);
        FF_AudioProcessMultimediaSqueezer stage;
        RunResult r = RunStage(stage, input, 44100, bits, 4096);
        ASSERT_EQ(static_cast<i64>(r.out[0].size()), length);
        f64 peak = 0;
        for (i64 n = 0; n < length; ++n)
        {
            i32 const x = input[0][static_cast<std::size_t>(n)];
            i32 const y = r.out[0][static_cast<std::size_t>(n)];
            // Gains are never negative and the delay is taken out again: every
            // output has the sign of the input at the same place.
            ASSERT_GE(static_cast<i64>(x) * y, 0) << "at " << n;
            if (n > 5000)
                peak = std::max(peak, std::abs(static_cast<f64>(y)));
        }
        EXPECT_GT(peak, 0.8 * full);
        EXPECT_LE(peak, full);
    }
    // Silence stays silent.
    Channels const silence(2, std::vector<i32>(3000, 0));
    FF_AudioProcessMultimediaSqueezer stage;
    EXPECT_EQ(RunStage(stage, silence, 48000, 24, 1024).out, silence);
}
