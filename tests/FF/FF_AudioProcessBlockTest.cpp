#include "FF/FF_AudioProcessBlock.h"

#include <gtest/gtest.h>

#include <stdexcept>

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
    proto.SetNumChannels(3);
    proto.SetSampleRate(48000);
    proto.SetBitsPerSample(24);
    proto.SetNumSamples(2560);
    proto.SetTotalSamples(100000);
    proto.SetEndOfStream(true);
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
