#include "FF/FF_AudioProcessDecimateWaveform.h"

#include "FF/FF_AudioProcessTestBlocks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

using namespace ffproc;

namespace
{
i8 ReferenceReduce(i32 x, int bits)
{
    if (bits == 8)
        return static_cast<i8>(x);
    int const shift = bits == 16 ? 8 : 16;
    i32 const a = std::abs(x);
    if (a <= (1 << shift))
        return 0;
    return static_cast<i8>(x < 0 ? -(a >> shift) : (a >> shift));
}

// Maximum and minimum of the reduced samples of each interval; the last
// interval may be short.
std::vector<i8> ReferenceOverview(std::vector<i32> const& x, int bits, i64 perInterval)
{
    std::vector<i8> pairs;
    for (std::size_t start = 0; start < x.size(); start += static_cast<std::size_t>(perInterval))
    {
        std::size_t const end = std::min(x.size(), start + static_cast<std::size_t>(perInterval));
        i8 hi = -128, lo = 127;
        for (std::size_t k = start; k < end; ++k)
        {
            hi = std::max(hi, ReferenceReduce(x[k], bits));
            lo = std::min(lo, ReferenceReduce(x[k], bits));
        }
        pairs.push_back(hi);
        pairs.push_back(lo);
    }
    return pairs;
}
} // namespace

TEST(FF_AudioProcessDecimateWaveform, ReducesTowardZeroKeepingSilenceAtZeroUpTo24Bits)
{
    struct Case
    {
        int bits;
        i32 x;
        int v;
    } const cases[] = {
        {8, -128, -128},   {8, 5, 5},          {16, 256, 0},         {16, 257, 1},   {16, -256, 0},
        {16, -512, -2},    {16, 32767, 127},   {16, -32768, -128},   {24, 65536, 0}, {24, 65537, 1},
        {24, -131072, -2}, {24, 8388607, 127}, {24, -8388608, -128}, {16, 0, 0},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(testing::Message() << c.bits << " bits, " << c.x);
        EXPECT_EQ(FF_AudioProcessDecimateWaveform::Reduce(c.x, c.bits), c.v);
    }
    // Depths past 24 bits are assertions.
    for (int bits : {25, 32})
    {
        SCOPED_TRACE(bits);
        std::vector<char> overview(16);
        FF_AudioProcessDecimateWaveform stage(4, overview.data());
        EXPECT_THROW(RunStage(stage, Channels{{1, 2, 3}}, 44100, bits, 16), std::runtime_error);
    }
}

// Against the straightforward reference, for each depth and each channel
// on its own (a loud, a quiet and a silent one), with interval counts that
// do and do not divide the length, blocks of several sizes, and streams of
// no sample and of one: one pair for each interval begun, and not a byte
// written past the last pair.
TEST(FF_AudioProcessDecimateWaveform, OverviewAgainstTheReference)
{
    // 12 and 20 bits stand in the high bits of 16 and 24, as files hold them.
    for (int bits : {8, 16, 24, 12, 20})
        for (i64 length : {0, 1, 3000})
        {
            int const width = (bits + 7) / 8 * 8;
            Channels input = SineRamp(3, length, width, 1.0, 440.0);
            for (auto& x : input[1])
                x /= 7;
            std::fill(input[2].begin(), input[2].end(), 0);
            for (auto& channel : input)
                for (i32& x : channel)
                    x &= static_cast<i32>(~0u << (width - bits));
            for (int channel : {0, 1, 2})
                for (i64 perInterval : {1, 7, 100, 250, 3000, 4000})
                    for (i64 blockSize : {1, 64, 1000, 3000})
                    {
                        SCOPED_TRACE(testing::Message()
                                     << bits << " bits, " << length << " samples, channel " << channel
                                     << ", intervals of " << perInterval << ", blocks of " << blockSize);
                        std::vector<i8> const expected =
                            ReferenceOverview(input[static_cast<std::size_t>(channel)], width, perInterval);
                        ASSERT_EQ(static_cast<i64>(expected.size()), 2 * ((length + perInterval - 1) / perInterval));
                        std::vector<char> overview(expected.size() + 8, 0x55);
                        FF_AudioProcessDecimateWaveform stage(static_cast<i32>(perInterval), overview.data(), channel);
                        RunResult r = RunStage(stage, input, 44100, bits, blockSize);
                        EXPECT_EQ(r.out, input); // the stream passes unchanged, every channel
                        EXPECT_TRUE(stage.IsComplete());
                        EXPECT_EQ(stage.GetUnitsProcessed(), length);
                        EXPECT_EQ(stage.GetUnitsToProcess(), length);
                        for (std::size_t k = 0; k < expected.size(); ++k)
                            ASSERT_EQ(static_cast<i8>(overview[k]), expected[k]) << "byte " << k;
                        for (std::size_t k = expected.size(); k < overview.size(); ++k)
                            ASSERT_EQ(overview[k], 0x55) << "written past the last pair at " << k;
                    }
        }
}
