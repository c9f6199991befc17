// The buffer reader and writer: how the reader cuts, loops and turns round
// a buffer, and streams from memory through a chain back into memory.
#include "FF_AudioProcessTestStages.h"

#include "FF/FF_AudioProcessReadBuffer.h"
#include "FF/FF_AudioProcessWriteBuffer.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <vector>

namespace
{
using namespace ffchain;

// Frame f, channel c holds the value f * 2 + c (in 16 bits), so that every
// sample tells where it came from.
std::vector<char> Frames16(i64 frames, int channels)
{
    std::vector<char> bytes(static_cast<std::size_t>(frames * channels * 2));
    for (i64 f = 0; f < frames; ++f)
        for (int c = 0; c < channels; ++c)
            FF_AudioProcessBlock::StoreSample<2>(bytes.data() + (f * channels + c) * 2, static_cast<i32>(f * 2 + c));
    return bytes;
}

TEST(FF_AudioProcessReadBuffer, CutsLoopsAndTurnsRoundWithEachChannelInPlace)
{
    struct Case
    {
        char const* name;
        int channels;
        i64 length;
        i64 loopStart; // -1: no loop
        bool pingPong;
        // Per block: the first frame it reads, its frames, 1 when it reads
        // backwards, and 1 when it ends the stream.
        std::vector<std::array<i64, 4>> blocks;
    };
    Case const cases[] = {
        {"once, mono", 1, 40000, -1, false, {{0, 16384, 0, 0}, {16384, 16384, 0, 0}, {32768, 7232, 0, 1}}},
        // The frame size does not enter: 16384 frames of each channel.
        {"once, stereo", 2, 20000, -1, false, {{0, 16384, 0, 0}, {16384, 3616, 0, 1}}},
        {"empty", 1, 0, -1, false, {{0, 0, 0, 1}}},
        {"loop", 2, 200, 100, false, {{0, 200, 0, 0}, {100, 100, 0, 0}, {100, 100, 0, 0}}},
        {"ping-pong", 2, 200, 100, true, {{0, 200, 0, 0}, {199, 100, 1, 0}, {100, 100, 0, 0}, {199, 100, 1, 0}}},
        {"ping-pong of the whole",
         1,
         20000,
         0,
         true,
         {{0, 16384, 0, 0}, {16384, 3616, 0, 0}, {19999, 16384, 1, 0}, {3615, 3616, 1, 0}, {0, 16384, 0, 0}}},
    };
    for (auto const& k : cases)
    {
        SCOPED_TRACE(k.name);
        std::vector<char> buffer = Frames16(k.length, k.channels);
        FF_AudioProcessReadBuffer reader(buffer.data(), k.length, 48000, 16, k.channels == 2, k.loopStart >= 0,
                                         std::max<i64>(k.loopStart, 0), k.pingPong);
        FF_AudioProcessBlock proto;
        reader.Preflight(&proto);
        EXPECT_EQ(proto.GetNumSamples(), FF_AudioProcessReadBuffer::cReadBlockSize / 2);
        EXPECT_EQ(proto.GetNumChannels(), k.channels);
        FF_AudioProcessBlock block(proto);
        for (std::size_t b = 0; b < k.blocks.size(); ++b)
        {
            SCOPED_TRACE(testing::Message() << "block " << b);
            block.SetEndOfStream(false);
            reader.Process(&block, &block);
            auto const [first, frames, backwards, end] = k.blocks[b];
            i64 const step = backwards ? -1 : 1;
            ASSERT_EQ(block.GetNumSamples(), frames);
            EXPECT_EQ(block.GetEndOfStream(), end != 0);
            for (i64 i = 0; i < frames; ++i)
                for (int c = 0; c < k.channels; ++c)
                    ASSERT_EQ(static_cast<u16>(ffproc::Get(block, static_cast<u32>(c), i)),
                              static_cast<u16>((first + i * step) * 2 + c))
                        << "frame " << i << " channel " << c;
        }
    }
}

// Memory through a chain into memory: the bytes come back as they were.
TEST(FF_AudioProcessBufferStages, AMonoStreamComesBackByteForByte)
{
    struct Case
    {
        i16 bits;
        i64 frames;
    };
    Case const cases[] = {{8, 70001}, {16, 40000}, {24, 12345}, {32, 0}};
    for (auto const& k : cases)
    {
        SCOPED_TRACE(testing::Message() << k.bits << " bits, " << k.frames << " frames");
        std::size_t const bytes = static_cast<std::size_t>(k.frames * (k.bits / 8));
        std::vector<char> in(bytes), out(bytes + 16, '\x5a');
        for (std::size_t i = 0; i < bytes; ++i)
            in[i] = static_cast<char>(i * 131 + i / 7);
        H<FF_AudioProcessWriteBuffer> writer(new FF_AudioProcessWriteBuffer(out.data()));
        auto const chain = Allocated({FF_AudioProcess::Handle(new FF_AudioProcessReadBuffer(
                                          in.data(), k.frames, 44100, k.bits, false, false, 0, false)),
                                      writer});
        ASSERT_EQ(RunChain(chain), Sys_Task::kStatusCompleted) << ExceptionText(*chain);
        EXPECT_EQ(writer->GetUnitsProcessed(), bytes);
        EXPECT_TRUE(std::equal(in.begin(), in.end(), out.begin()));
        EXPECT_EQ(std::count(out.begin() + static_cast<std::ptrdiff_t>(bytes), out.end(), '\x5a'), 16);
    }
}

} // namespace
