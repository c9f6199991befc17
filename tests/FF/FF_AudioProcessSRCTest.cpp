#include "FF/FF_AudioProcessSRC.h"

#include "FF/FF_AudioProcessTestBlocks.h"
#include "FF/ReferenceModels.h"

#include <gtest/gtest.h>

#include <functional>
#include <numeric>
#include <stdexcept>

using namespace ffproc;

struct FF_AudioProcessSRCTestAccess
{
    static i32 GetKernelLevel() { return FF_AudioProcessSRC::sKernelLevel; }
    static void SetKernelLevel(i32 level) { FF_AudioProcessSRC::sKernelLevel = level; }
    // The sums of the first channel of the last block, before rounding.
    static f64 const* Sums(FF_AudioProcessSRC const& src) { return src.mSums.data(); }
    static constexpr i32 kLevels[] = {FF_AudioProcessSRC::kKernelGeneric, FF_AudioProcessSRC::kKernelPeriodic,
                                      FF_AudioProcessSRC::kKernelBest};
};

namespace
{
using Access = FF_AudioProcessSRCTestAccess;
using Q = FF_AudioProcessSRC::EQuality;

using StKernelLevel = StSetting<&Access::GetKernelLevel, &Access::SetKernelLevel>;

Q const kQualities[] = {FF_AudioProcessSRC::kQualityLinear, FF_AudioProcessSRC::kQualitySinc17,
                        FF_AudioProcessSRC::kQualitySinc33, FF_AudioProcessSRC::kQualitySinc129,
                        FF_AudioProcessSRC::kQualitySinc257};
} // namespace

TEST(FF_AudioProcessSRC, TableOversamplingAndCutOffFollowTheRates)
{
    struct Case
    {
        i32 in, out;
        Q quality;
        i32 oversample;
        f64 cutoff;
    } const cases[] = {
        {44100, 48000, FF_AudioProcessSRC::kQualitySinc17, 160, 1.0},
        {48000, 44100, FF_AudioProcessSRC::kQualitySinc17, 147, 0.91875},
        {44100, 44101, FF_AudioProcessSRC::kQualitySinc33, 512, 1.0},
        {44100, 22050, FF_AudioProcessSRC::kQualitySinc257, 1, 0.5},
        {48000, 96000, FF_AudioProcessSRC::kQualitySinc129, 2, 1.0},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(testing::Message() << c.in << " to " << c.out << " at " << static_cast<int>(c.quality));
        FF_AudioProcessSRC src(c.in, c.out, c.quality);
        EXPECT_EQ(src.GetOversample(), c.oversample);
        i64 const L = (static_cast<i64>(c.quality) + 2) * c.oversample;
        EXPECT_EQ(src.GetSincTableSize(), L % 2 == 0 ? L + 1 : L);
        EXPECT_EQ(src.GetSincTable()[L / 2], c.cutoff);
        i32 O = 0;
        std::vector<f64> const expected = ReferenceTable(c.in, c.out, c.quality, O);
        ASSERT_EQ(static_cast<i64>(expected.size()), src.GetSincTableSize());
        for (std::size_t k = 0; k < expected.size(); ++k)
            ASSERT_EQ(src.GetSincTable()[k], expected[k]) << "entry " << k;
    }
}

TEST(FF_AudioProcessSRC, OutputLengthIsTheInputLengthScaledAndRoundedUp)
{
    struct Case
    {
        i32 in, out;
        i64 length, expected;
    } const cases[] = {
        {44100, 48000, 44100, 48000}, {44100, 48000, 1, 2}, {48000, 44100, 1, 1},
        {48000, 44100, 48001, 44101}, {44100, 22050, 3, 2}, {44100, 48000, 0, 0},
    };
    for (auto const& c : cases)
        for (Q quality : kQualities)
        {
            SCOPED_TRACE(testing::Message()
                         << c.in << " to " << c.out << ", " << c.length << " samples at " << static_cast<int>(quality));
            FF_AudioProcessSRC src(c.in, c.out, quality);
            Channels const input(1, std::vector<i32>(static_cast<std::size_t>(c.length), 1000));
            RunResult r = RunStage(src, input, c.in, 16, 7680);
            EXPECT_EQ(src.GetOutputLength(), c.expected);
            EXPECT_EQ(static_cast<i64>(r.out[0].size()), c.expected);
            EXPECT_EQ(r.last.GetTotalSamples(), c.expected);
            EXPECT_EQ(r.last.GetSampleRate(), c.out);
        }
}

TEST(FF_AudioProcessSRC, PreflightSizesBlocksAndRingFromTheBlockLength)
{
    struct Case
    {
        i32 in, out;
        Q quality;
        i64 n, samples;
        i32 ring;
    } const cases[] = {
        // a = ceil(7680 * 48000 / 44100) = 8360, b = 2.
        {44100, 48000, FF_AudioProcessSRC::kQualityLinear, 7680, 8360 + 2, 0},
        {44100, 48000, FF_AudioProcessSRC::kQualitySinc17, 7680, 2 * 17 / 2 + 8360, 7680 - 1 + 17 + 8},
        {44100, 48000, FF_AudioProcessSRC::kQualitySinc257, 7680, 2 * 257 / 2 + 8360, 7680 - 1 + 257 + 128},
        // Products of n and the rate past 32 bits.
        {192000, 176400, FF_AudioProcessSRC::kQualitySinc33, 1 << 20, 963380 + 33 / 2, (1 << 20) - 1 + 33 + 16},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(testing::Message() << c.in << " to " << c.out << " at " << static_cast<int>(c.quality));
        FF_AudioProcessSRC src(c.in, c.out, c.quality);
        FF_AudioProcessBlock proto = Prototype(2, c.in, 16, c.n, 1000);
        src.Preflight(&proto);
        EXPECT_EQ(proto.GetNumSamples(), c.samples);
        EXPECT_EQ(proto.GetSampleRate(), c.out);
        EXPECT_EQ(proto.GetNumChannels(), 2);
        if (c.quality != FF_AudioProcessSRC::kQualityLinear)
        {
            EXPECT_EQ(src.GetRingSize(), c.ring);
        }
    }
}

// The converter against the reference, bit for bit, for every quality, with
// the stream cut into blocks of many sizes (lengths that are and are not
// multiples of the block, one sample a block, one block in all), and with
// each of the sum kernels. Rounding to integers hides a last-bit change of a
// sum almost always, so the sums of the first channel are compared too: a
// multiply-add fused by the compiler anywhere in the table or the kernels
// shows there.
TEST(FF_AudioProcessSRC, GoldenAgainstTheReferenceAcrossBlockSizes)
{
    struct Case
    {
        i32 in, out;
        int bits, channels;
    } const cases[] = {
        {44100, 48000, 16, 1}, {44100, 48000, 16, 2}, {48000, 44100, 16, 2}, {44100, 22050, 16, 1},
        {44100, 44101, 16, 1}, {8000, 44100, 16, 2},  {44100, 48000, 8, 2},  {48000, 44100, 8, 1},
        {44100, 48000, 24, 2}, {48000, 44100, 24, 1}, {44100, 48000, 32, 1}, {48000, 44100, 32, 2},
        {44100, 48000, 16, 3}, {48000, 44100, 24, 5},
    };
    i64 const length = 4800;
    i64 const blockSizes[] = {1, 3, 160, 1000, 1600, 4800};
    for (auto const& c : cases)
    {
        // Past full scale: the clipping of the sums is in the stream too.
        Channels const input = SineRamp(c.channels, length, c.bits, 1.1, 997.0, c.in);
        for (Q quality : kQualities)
        {
            Channels const expected = ReferenceResample(input, c.in, c.out, quality, c.bits);
            std::vector<f64> const expectedSums =
                quality == 0 ? std::vector<f64>() : ReferenceSincSums(input[0], c.in, c.out, quality);
            for (i32 level : Access::kLevels)
                for (i64 blockSize : blockSizes)
                {
                    if (level != Access::kLevels[2] && (quality == 0 || blockSize < 1000))
                        continue;
                    SCOPED_TRACE(testing::Message()
                                 << c.in << " to " << c.out << ", " << c.bits << " bits, " << c.channels
                                 << " channel(s), quality " << static_cast<int>(quality) << ", kernels " << level
                                 << ", blocks of " << blockSize);
                    StKernelLevel kernels(level);
                    FF_AudioProcessSRC src(c.in, c.out, quality);
                    std::vector<f64> sums;
                    RunResult r = RunStage(src, input, c.in, c.bits, blockSize,
                                           [&](FF_AudioProcessBlock const& out)
                                           {
                                               if (quality != 0)
                                                   sums.insert(sums.end(), Access::Sums(src),
                                                               Access::Sums(src) + out.GetNumSamples());
                                           });
                    ASSERT_EQ(r.out.size(), expected.size());
                    for (std::size_t ch = 0; ch < expected.size(); ++ch)
                        ASSERT_EQ(r.out[ch], expected[ch]) << "channel " << ch;
                    ASSERT_EQ(sums.size(), expectedSums.size());
                    for (std::size_t m = 0; m < sums.size(); ++m)
                        ASSERT_EQ(sums[m], expectedSums[m]) << "sum of output " << m;
                }
        }
    }
}

TEST(FF_AudioProcessSRC, LinearHitsInputSamplesAndFadesTowardZeroAfterTheEnd)
{
    // 22050 to 44100: every other output lies on an input sample, and the
    // last output lies half-way between the last sample and silence. The
    // halves truncate toward zero: -300 / 2 + 0.5 gives -149.
    Channels const input{{100, -200, 300, 1001}};
    FF_AudioProcessSRC src(22050, 44100, FF_AudioProcessSRC::kQualityLinear);
    RunResult r = RunStage(src, input, 22050, 16, 2);
    std::vector<i32> const expected{100, -49, -200, 50, 300, 651, 1001, 501};
    EXPECT_EQ(r.out[0], expected);
}

// Each of these is a mistake of the caller's: an assertion, not a write past
// a buffer.
TEST(FF_AudioProcessSRC, MisuseIsAnAssertionNotAnOverrun)
{
    // Preflighted for blocks of `samples`, given one of `inSamples` and an
    // output of `outBits`.
    auto const process = [](Q quality, i64 inSamples, int outBits)
    {
        FF_AudioProcessSRC src(44100, 48000, quality);
        FF_AudioProcessBlock proto = Prototype(1, 44100, 24, 64, 1000);
        src.Preflight(&proto);
        src.AllocateImpl(proto);
        FF_AudioProcessBlock in(Prototype(1, 44100, 24, inSamples, 1000));
        FF_AudioProcessBlock out(proto);
        out.SetBitsPerSample(outBits);
        src.Process(&in, &out);
    };
    auto const make = [](i32 in, i32 out, int quality) { FF_AudioProcessSRC(in, out, static_cast<Q>(quality)); };
    struct Case
    {
        char const* what;
        std::function<void()> misuse;
    } const cases[] = {
        {"a change of depth, linear", [&] { process(FF_AudioProcessSRC::kQualityLinear, 64, 16); }},
        {"a change of depth, sinc", [&] { process(FF_AudioProcessSRC::kQualitySinc33, 64, 16); }},
        {"a block longer than preflight said", [&] { process(FF_AudioProcessSRC::kQualitySinc17, 128, 24); }},
        {"no input rate", [&] { make(0, 48000, 17); }},
        {"a negative output rate", [&] { make(44100, -1, 0); }},
        {"quality 16", [&] { make(44100, 48000, 16); }},
        {"quality 2", [&] { make(44100, 48000, 2); }},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.what);
        EXPECT_THROW(c.misuse(), std::runtime_error);
    }
}
