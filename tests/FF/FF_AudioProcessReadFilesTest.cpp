// The file reader stage: how it cuts a stream into reads and blocks, and
// what it refuses.
#include "FF_AudioProcessFileTestSupport.h"

#include <gtest/gtest.h>

namespace
{
using namespace fffiles;

class FF_AudioProcessReadFiles_ : public ::testing::Test
{
protected:
    void SetUp() override { InitFileTypes(); }
    vfltest::TempDir mDir;
};

TEST_F(FF_AudioProcessReadFiles_, TheDefaultSizesCutTheStreamIntoTheWorkedBlocksAndReads)
{
    struct Case
    {
        int channels, bits;
        bool separate;
        i64 frames, start, length, blockSamples;
        std::vector<i64> reads; // of each file
    };
    Case const cases[] = {
        // A read takes at most 245760 / 2 = 122880 samples: all of them at once.
        {2, 16, true, 100000, 0, 100000, 7680, {100000}},
        {2, 24, false, 100000, 0, 100000, 2560, {40960, 40960, 18080}},
        {1, 8, false, 300000, 0, 300000, 15360, {245760, 54240}},
        {2, 16, true, 130000, 1000, 125000, 7680, {122880, 2120}},
        // Frames of 9 and 14 bytes: blocks of 15354 and 15358 bytes, reads of
        // 16 of them.
        {3, 24, false, 60000, 0, 60000, 1706, {27296, 27296, 5408}},
        {7, 16, false, 40000, 5, 39990, 1097, {17552, 17552, 4886}},
    };
    for (Case const& k : cases)
    {
        SCOPED_TRACE(testing::Message() << k.channels << " channels of " << k.bits << " bits");
        Samples s = Ramp(k.channels, k.frames, k.bits);
        Paths const in = MakeFiles(mDir, std::to_string(k.frames), k.channels, k.bits, k.frames, k.separate, &s);
        Files files = Open(in);
        std::vector<CountingAudioFile*> counters;
        for (auto const& f : files)
            counters.push_back(static_cast<CountingAudioFile*>(f.get()));
        ChainOf<FF_AudioProcessReadFiles> c(new FF_AudioProcessReadFiles(std::move(files), k.start, k.length));
        ASSERT_EQ(c.Run(), Sys_Task::kStatusCompleted) << ExceptionText(*c.chain);

        std::vector<i64> blocks(static_cast<std::size_t>(k.length / k.blockSamples), k.blockSamples);
        blocks.push_back(k.length % k.blockSamples); // 160 for 100000 samples of 7680
        EXPECT_EQ(c.filters[0]->sizes, blocks);
        std::vector<bool> ends(blocks.size(), false);
        ends.back() = true;
        EXPECT_EQ(c.filters[0]->ends, ends);
        EXPECT_EQ(c.filters[0]->capacities, std::vector<i64>(blocks.size(), k.blockSamples * BytesOf(k.bits)));
        for (auto* counter : counters)
            EXPECT_EQ(counter->reads, k.reads);
        for (auto& channel : s)
            channel = std::vector<i32>(channel.begin() + k.start, channel.begin() + k.start + k.length);
        EXPECT_EQ(c.consumer->samples, s);
    }
}

TEST_F(FF_AudioProcessReadFiles_, BadSizesAndFilesAreRefused)
{
    Paths const mono16 = MakeFiles(mDir, "m16", 1, 16, 100, false);
    Paths const mono24 = MakeFiles(mDir, "m24", 1, 24, 100, false);
    Paths const stereo = MakeFiles(mDir, "st", 2, 16, 100, false);
    Paths const many = MakeFiles(mDir, "many", 65, 8, 1, false);
    struct Case
    {
        char const* what;
        Paths files;
        i64 start, length;
        i32 processBlock, readBlock;
    };
    Case const cases[] = {
        {"a read block that is no multiple of the process block", mono16, 0, 10, 15360, 15360 * 16 + 2},
        {"a zero process block", mono16, 0, 10, 0, 15360},
        {"a negative length", mono16, 0, -1, 15360, 245760},
        {"a negative start", mono16, -1, 10, 15360, 245760},
        {"no file", {}, 0, 0, 15360, 245760},
        {"files of different widths", {mono16[0], mono24[0]}, 0, 10, 15360, 245760},
        {"two files of several channels", {stereo[0], stereo[0]}, 0, 10, 15360, 245760},
        {"more channels than can be split", many, 0, 1, 65 * 64, 65 * 64},
        {"a stretch past the end", mono16, 50, 51, 15360, 245760},
        {"a process block smaller than a frame", stereo, 0, 10, 2, 8},
    };
    for (Case const& k : cases)
    {
        SCOPED_TRACE(k.what);
        auto const preflight = [&]
        {
            FF_AudioProcessReadFiles reader(Open(k.files), k.start, k.length, k.processBlock, k.readBlock);
            FF_AudioProcessBlock prototype;
            reader.Preflight(&prototype);
        };
        EXPECT_THROW(preflight(), Cmn_TypedException<Cmn_TStringXData>);
    }
}

} // namespace
