#include "FF/FF_AudioProcessRequantize.h"

#include "FF/FF_AudioProcessTestBlocks.h"
#include "FF/ReferenceModels.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

using namespace ffproc;

TEST(FF_AudioProcessRequantize, WideningEdgeValues)
{
    struct Case
    {
        int in, out;
        i32 x;
        i32 expected;
    } const cases[] = {
        {8, 16, -1, -256},       {8, 16, 127, 32512},
        {8, 24, -128, -8388608}, {8, 32, -1, -16777216},
        {16, 24, -1, -256},      {16, 32, -1, static_cast<i32>(0xFFFF0000u)},
        {24, 32, -1, -256},      {24, 32, 8388607, 0x7FFFFF00},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(testing::Message() << c.in << "x" << c.out << " of " << c.x);
        FF_AudioProcessRequantize stage(static_cast<u16>(c.in), static_cast<u16>(c.out));
        RunResult r = RunStage(stage, Channels{{c.x}}, 44100, c.in, 1);
        EXPECT_EQ(r.last.GetBitsPerSample(), c.out);
        ASSERT_EQ(r.out[0].size(), 1u);
        EXPECT_EQ(r.out[0][0], c.expected);
    }
}

// Every pair of the table, mono and stereo, cut into blocks of several
// sizes: the output equals the reference bit for bit, the dither generator
// running from the same seed.
TEST(FF_AudioProcessRequantize, GoldenAgainstTheReferenceAcrossBlockSizes)
{
    // 12 and 20 bits are files' words in the high bits of 16 and 24: they
    // convert as samples of 16 and 24 bits.
    int const pairs[][2] = {{8, 8},   {8, 16},  {8, 24},  {8, 32},  {16, 8},  {16, 16}, {16, 24},
                            {16, 32}, {24, 8},  {24, 16}, {24, 24}, {24, 32}, {32, 8},  {32, 16},
                            {32, 24}, {32, 32}, {12, 8},  {12, 24}, {20, 16}, {20, 32}};
    i64 const blockSizes[] = {1, 7, 256, 4096, 5000};
    for (auto const& pair : pairs)
        for (int channels : {1, 2})
        {
            int const width = (pair[0] + 7) / 8 * 8;
            // Scaled past full scale, so that the clipped tops are in the stream.
            Channels input = SineRamp(channels, 5000, width, 1.2);
            for (auto& channel : input)
                for (i32& x : channel)
                    x &= static_cast<i32>(~0u << (width - pair[0]));
            for (i64 blockSize : blockSizes)
            {
                SCOPED_TRACE(testing::Message() << pair[0] << "x" << pair[1] << ", " << channels
                                                << " channel(s), blocks of " << blockSize);
                i32 refSeed = 983040;
                Channels const expected = ReferenceRequantize(input, width, pair[1], blockSize, refSeed);
                StSeed seed(983040);
                FF_AudioProcessRequantize stage(static_cast<u16>(pair[0]), static_cast<u16>(pair[1]));
                RunResult r = RunStage(stage, input, 44100, pair[0], blockSize);
                EXPECT_EQ(r.last.GetBitsPerSample(), pair[1]);
                ASSERT_EQ(r.out.size(), expected.size());
                for (std::size_t c = 0; c < expected.size(); ++c)
                    ASSERT_EQ(r.out[c], expected[c]) << "channel " << c;
                EXPECT_EQ(DitherTestAccess::GetSeed(), refSeed);
            }
        }
}

// The outputs are integers and hide a last-bit change of the feedback, so
// the error that each sample leaves is compared too: a multiply-add fused by
// the compiler in the feedback shows here, and so would a loop over a block
// whose state, kept in units of one step, strayed from the sample-by-sample
// form. Long silence lets the feedback decay toward the smallest numbers:
// there the state in units of a step leaves the normal range first, and may
// differ in numbers below 2^-990, which no output can see (any sample that
// is not 0 absorbs them whole); the outputs stay the same, and the states
// agree again once the sound comes back.
TEST(FF_AudioProcessRequantize, QuantiserErrorsAreBitExact)
{
    int const pairs[][2] = {{16, 8}, {24, 8}, {24, 16}, {32, 16}, {32, 24}};
    for (auto const& pair : pairs)
        for (bool inRuns : {false, true})
        {
            SCOPED_TRACE(testing::Message() << pair[0] << "x" << pair[1] << (inRuns ? " in runs" : ""));
            std::vector<i32> input = SineRamp(1, 5000, pair[0], 0.9)[0];
            input.resize(input.size() + 20000, 0);
            std::vector<i32> const loud = SineRamp(1, 3000, pair[0], 1.3)[0];
            input.insert(input.end(), loud.begin(), loud.end());
            bool const dithered = pair[1] == 16;
            i32 refSeed = 983040;
            ReferenceQuantizer ref{pair[0], pair[1], dithered, refSeed};
            StSeed seed(983040);
            Dither dither(pair[0], pair[1]);
            NoiseShape shape(pair[0], pair[1]);
            NoiseShape& q = dithered ? static_cast<NoiseShape&>(dither) : shape;
            constexpr std::size_t cRun = 7;
            for (std::size_t n = 0; n < input.size(); n += inRuns ? cRun : 1)
            {
                if (!inRuns)
                {
                    ASSERT_EQ(q(input[n]), ref(input[n])) << "sample " << n;
                    ASSERT_EQ(q.GetError(), ref.error) << "sample " << n;
                    continue;
                }
                std::size_t const m = std::min(cRun, input.size() - n);
                i32 got[cRun];
                auto const load = [&](u64 u) { return input[n + u]; };
                if (dithered)
                    dither.QuantizeRun<true>(load, got, m);
                else
                    shape.QuantizeRun<true>(load, got, m);
                for (std::size_t u = 0; u < m; ++u)
                    ASSERT_EQ(got[u], ref(input[n + u])) << "sample " << n + u;
                if (std::abs(ref.error) >= std::ldexp(1.0, -990))
                    ASSERT_EQ(q.GetError(), ref.error) << "after sample " << n + m - 1;
                else
                    ASSERT_LT(std::abs(q.GetError()), std::ldexp(1.0, -980)) << "after sample " << n + m - 1;
            }
        }
}

TEST(FF_AudioProcessRequantize, SeedGoesOnAcrossConversionsInOneProcess)
{
    Channels const input = SineRamp(2, 3000, 24, 0.5);
    i32 refSeed = 983040;
    Channels const first = ReferenceRequantize(input, 24, 16, 512, refSeed);
    Channels const second = ReferenceRequantize(input, 24, 16, 512, refSeed);
    ASSERT_NE(first, second); // the same audio dithers differently the second time
    StSeed seed(983040);
    for (Channels const* expected : {&first, &second})
    {
        FF_AudioProcessRequantize stage(24, 16);
        EXPECT_EQ(RunStage(stage, input, 48000, 24, 512).out, *expected);
    }
}

// Each of these is a mistake of the caller's: an assertion, not a write past
// a buffer.
TEST(FF_AudioProcessRequantize, MisuseIsAnAssertionNotAnOverrun)
{
    auto preflight = [](int in, int out, int streamBits)
    {
        FF_AudioProcessRequantize stage(static_cast<u16>(in), static_cast<u16>(out));
        FF_AudioProcessBlock proto = Prototype(1, 44100, streamBits, 16, 16);
        stage.Preflight(&proto);
    };
    auto process = [](int in, int out, int inBits)
    {
        FF_AudioProcessRequantize stage(static_cast<u16>(in), static_cast<u16>(out));
        FF_AudioProcessBlock proto = Prototype(1, 44100, in, 16, 16);
        stage.Preflight(&proto);
        FF_AudioProcessBlock in16(Prototype(1, 44100, in, 16, 16));
        FF_AudioProcessBlock outBlock(in16); // as wide as the input
        in16.SetBitsPerSample(inBits);
        stage.Process(&in16, &outBlock);
    };
    struct Case
    {
        char const* what;
        std::function<void()> misuse;
    } const cases[] = {
        {"16 to 20", [&] { preflight(16, 20, 16); }},
        {"8 to 12", [&] { preflight(8, 12, 8); }},
        {"32 to 12", [&] { preflight(32, 12, 32); }},
        {"a stream of another depth at preflight", [&] { preflight(24, 16, 16); }},
        {"a block of another depth", [&] { process(24, 16, 16); }},
        {"an output of 2 bytes a sample for 24 bits", [&] { process(16, 24, 16); }},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.what);
        EXPECT_THROW(c.misuse(), std::runtime_error);
    }
}
