// Samples in blocks and their moves between layouts: the block's depths
// and buffers, the stereo interleave, and the mono splitter.
#include "FF/FF_AudioProcessBlock.h"
#include "FF/FF_AudioProcessInterleave.h"
#include "FF/FF_AudioProcessSplitter.h"

#include "FF/FF_AudioProcessTestBlocks.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

// Depths outside 1 to 65535 are assertions that leave the depth as it was.
TEST(FF_AudioProcessBlock, BytesPerSampleAreTheBitsRoundedUpToBytes)
{
    struct Case
    {
        int bits;
        int bytes; // 0: refused
    } const cases[] = {{1, 1},  {8, 1},  {9, 2}, {12, 2}, {16, 2},       {17, 3},
                       {24, 3}, {32, 4}, {0, 0}, {-8, 0}, {65535, 8192}, {65536, 0}};
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.bits);
        FF_AudioProcessBlock b;
        b.SetBitsPerSample(7);
        if (c.bytes == 0)
            EXPECT_THROW(b.SetBitsPerSample(c.bits), std::runtime_error);
        else
            b.SetBitsPerSample(c.bits);
        EXPECT_EQ(b.GetBitsPerSample(), c.bytes ? c.bits : 7);
        EXPECT_EQ(b.GetBytesPerSample(), c.bytes ? c.bytes : 1);
    }
}

TEST(FF_AudioProcessBlock, CopyAllocatesOneBufferPerChannelAndClearsTheEndFlag)
{
    FF_AudioProcessBlock proto;
    ffproc::Shape(proto, 3, 48000, 24, 2560, 100000, true);
    EXPECT_EQ(proto.GetNumChannelBuffers(), 0u);

    FF_AudioProcessBlock b(proto);
    EXPECT_EQ(b.GetNumChannels(), 3);
    EXPECT_EQ(b.GetSampleRate(), 48000);
    EXPECT_EQ(b.GetBitsPerSample(), 24);
    EXPECT_EQ(b.GetBytesPerSample(), 3);
    EXPECT_EQ(b.GetNumSamples(), 2560);
    EXPECT_EQ(b.GetTotalSamples(), 100000);
    EXPECT_FALSE(b.GetEndOfStream());
    ASSERT_EQ(b.GetNumChannelBuffers(), 3u);
    EXPECT_EQ(b.GetChannelCapacity(), 2560 * 3);
    // Each buffer is its own and spans the whole capacity.
    for (u32 c = 0; c < 3; ++c)
    {
        b.GetChannelData(c)[0] = static_cast<char>(c);
        b.GetChannelData(c)[2560 * 3 - 1] = static_cast<char>(c + 10);
    }
    for (u32 c = 0; c < 3; ++c)
    {
        EXPECT_EQ(b.GetChannelData(c)[0], static_cast<char>(c));
        EXPECT_EQ(b.GetChannelData(c)[2560 * 3 - 1], static_cast<char>(c + 10));
    }
    EXPECT_THROW(b.GetChannelData(3), std::runtime_error);
}

namespace
{
template <int N> i32 RoundTrip(char* buf, i32 value)
{
    FF_AudioProcessBlock::StoreSample<N>(buf, value);
    return FF_AudioProcessBlock::LoadSample<N>(buf);
}
i32 (*const kRoundTrips[])(char*, i32) = {nullptr, RoundTrip<1>, RoundTrip<2>, RoundTrip<3>, RoundTrip<4>};
} // namespace

TEST(FF_AudioProcessBlock, SamplesLoadSignExtendedAndStoreTheirLowBytes)
{
    struct Case
    {
        int bytes;
        i32 value;
        unsigned char stored[4];
    } const cases[] = {
        {1, -1, {0xFF}},
        {1, 127, {0x7F}},
        {2, -256, {0x00, 0xFF}},
        {2, 0x1234, {0x34, 0x12}},
        {3, -8388608, {0x00, 0x00, 0x80}},
        {3, 0x123456, {0x56, 0x34, 0x12}},
        {4, -65536, {0x00, 0x00, 0xFF, 0xFF}},
        {4, 0x7FFFFFFF, {0xFF, 0xFF, 0xFF, 0x7F}},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.value);
        char buf[4] = {};
        i32 const back = kRoundTrips[c.bytes](buf, c.value);
        for (int k = 0; k < c.bytes; ++k)
            EXPECT_EQ(static_cast<unsigned char>(buf[k]), c.stored[k]) << "byte " << k;
        EXPECT_EQ(back, c.value);
    }
}

// Every width and every count around the vector steps: split and joined
// bytes are those of the plain per-sample copy, and nothing beyond the
// frames or the channels is touched.
TEST(FF_AudioProcessInterleave, SplitAndJoinMoveEveryByteToItsPlaceAndNoFurther)
{
    for (i32 bytes : {1, 2, 3})
        for (i64 count = 0; count <= 40; ++count)
        {
            SCOPED_TRACE(testing::Message() << bytes << " bytes, " << count << " frames");
            std::size_t const side = static_cast<std::size_t>(count * bytes);
            std::string frames(2 * side, '\0');
            for (std::size_t k = 0; k < frames.size(); ++k)
                frames[k] = static_cast<char>(k * 37 + 11);
            std::string expectLeft, expectRight;
            for (i64 i = 0; i < count; ++i)
            {
                expectLeft += frames.substr(static_cast<std::size_t>(2 * i * bytes), static_cast<std::size_t>(bytes));
                expectRight +=
                    frames.substr(static_cast<std::size_t>((2 * i + 1) * bytes), static_cast<std::size_t>(bytes));
            }
            // A guard of 32 bytes after each buffer must stay as it was.
            std::string const guard(32, '\x5a');
            std::string left(side, '\0'), right(side, '\0');
            left += guard;
            right += guard;
            FF_DeinterleaveStereo(frames.data(), left.data(), right.data(), count, bytes);
            EXPECT_EQ(left, expectLeft + guard);
            EXPECT_EQ(right, expectRight + guard);

            std::string joined(2 * side, '\0');
            joined += guard;
            FF_InterleaveStereo(expectLeft.data(), expectRight.data(), joined.data(), count, bytes);
            EXPECT_EQ(joined, frames + guard);
        }
}

TEST(FF_AudioProcessSplitter, MonoBecomesTwoEqualChannelsAndMoreIsAnAssertion)
{
    for (int bits : {8, 16, 24, 32})
    {
        SCOPED_TRACE(bits);
        ffproc::Channels const input = ffproc::SineRamp(1, 1000, bits, 1.0);
        FF_AudioProcessSplitter stage;
        ffproc::RunResult r = ffproc::RunStage(stage, input, 48000, bits, 300);
        ASSERT_EQ(r.out.size(), 2u);
        EXPECT_EQ(r.out[0], input[0]);
        EXPECT_EQ(r.out[1], input[0]);
        EXPECT_EQ(r.last.GetNumChannels(), 2);
    }
    // More than one channel is an assertion.
    FF_AudioProcessSplitter stage;
    FF_AudioProcessBlock proto = ffproc::Prototype(2, 48000, 16, 64, 64);
    EXPECT_THROW(stage.Preflight(&proto), std::runtime_error);
    FF_AudioProcessBlock in(proto);
    FF_AudioProcessBlock out(proto);
    EXPECT_THROW(stage.Process(&in, &out), std::runtime_error);
}
