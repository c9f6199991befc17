// The file reader stage: how it cuts a stream into reads and blocks, how it
// splits interleaved frames, and what it refuses.
#include "FF_AudioProcessFileTestSupport.h"

#include <gtest/gtest.h>

namespace
{
using namespace fffiles;
using ffchain::WaitForChain;

class FF_AudioProcessReadFiles_ : public ::testing::Test
{
protected:
    void SetUp() override { InitFileTypes(); }
    vfltest::TempDir mDir;
};

TEST_F(FF_AudioProcessReadFiles_, DefaultSizesCutTheStreamIntoTheWorkedBlocks)
{
    struct Case
    {
        char const* what;
        int channels;
        int bits;
        bool separate;
        i64 frames;
        i64 blockSamples;
        std::vector<i64> reads; // per file
    };
    Case const cases[] = {
        // A read takes at most 245760 / 2 = 122880 samples: all of them at once.
        {"two mono 16-bit files", 2, 16, true, 100000, 7680, {100000}},
        {"one stereo 24-bit file", 2, 24, false, 100000, 2560, {40960, 40960, 18080}},
        {"one mono 8-bit file", 1, 8, false, 300000, 15360, {245760, 54240}},
    };
    for (Case const& k : cases)
    {
        SCOPED_TRACE(k.what);
        Samples const s = ffchain::Ramp(k.channels, k.frames, k.bits);
        auto const in = WriteStream(mDir, k.what, s, k.bits, k.separate);
        std::vector<CountingAudioFile*> counters;
        Files files;
        for (auto const& p : in)
        {
            counters.push_back(new CountingAudioFile(p));
            files.push_back(std::unique_ptr<FF_AudioFile>(counters.back()));
        }
        ffchain::TestFilter::Handle probe(new ffchain::TestFilter());
        ffchain::MemoryConsumer::Handle sink(new ffchain::MemoryConsumer());
        FF_AudioProcessChain::Handle chain(new FF_AudioProcessChain());
        FF_AudioProcess::Handle reader(new FF_AudioProcessReadFiles(std::move(files), 0, k.frames));
        chain->Append(reader);
        chain->Append(probe);
        chain->Append(sink);
        chain->Allocate();
        FF_ScheduleChain(chain);
        ASSERT_EQ(WaitForChain(*chain), Sys_Task::kStatusCompleted) << ffchain::ExceptionText(*chain);

        std::vector<i64> blocks(static_cast<std::size_t>(k.frames / k.blockSamples), k.blockSamples);
        blocks.push_back(k.frames % k.blockSamples);
        EXPECT_EQ(probe->mBlockSizes, blocks);
        EXPECT_EQ(probe->mEndFlags.back(), true);
        EXPECT_EQ(std::count(probe->mEndFlags.begin(), probe->mEndFlags.end(), true), 1);
        for (i64 capacity : probe->mCapacities)
            EXPECT_EQ(capacity, k.blockSamples * BytesOf(k.bits));
        for (auto* counter : counters)
            EXPECT_EQ(counter->mFramesRead, k.reads);
        EXPECT_EQ(sink->mSamples, s);
    }
}

TEST_F(FF_AudioProcessReadFiles_, AStretchFromTheMiddleOfTheFiles)
{
    Samples const s = ffchain::Ramp(2, 1000, 16);
    auto const in = WriteStream(mDir, "in", s, 16, true);
    ffchain::MemoryConsumer::Handle sink(new ffchain::MemoryConsumer());
    FF_AudioProcessChain::Handle chain(new FF_AudioProcessChain());
    chain->Append(FF_AudioProcess::Handle(new FF_AudioProcessReadFiles(Open(in), 300, 500, 64, 128)));
    chain->Append(sink);
    chain->Allocate();
    FF_ScheduleChain(chain);
    ASSERT_EQ(WaitForChain(*chain), Sys_Task::kStatusCompleted);
    for (std::size_t c = 0; c < 2; ++c)
        EXPECT_EQ(sink->mSamples[c], std::vector<i32>(s[c].begin() + 300, s[c].begin() + 800));
    EXPECT_EQ(sink->mBlockSizes.front(), 32);
}

TEST_F(FF_AudioProcessReadFiles_, BadSizesAndFilesAreRefused)
{
    auto const mono16 = WriteStream(mDir, "m16", ffchain::Ramp(1, 100, 16), 16, false);
    auto const mono24 = WriteStream(mDir, "m24", ffchain::Ramp(1, 100, 24), 24, false);
    auto const stereo = WriteStream(mDir, "st", ffchain::Ramp(2, 100, 16), 16, false);
    auto const many = mDir.File("many.wav");
    Format(many, 65, 8, 1);

    struct Case
    {
        char const* what;
        std::vector<std::string> files;
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
        {"more channels than can be split", {many}, 0, 1, 65 * 64, 65 * 64},
        {"a stretch past the end", mono16, 50, 51, 15360, 245760},
        {"a read block of no whole frames", stereo, 0, 10, 6, 30},
        {"a process block smaller than a frame", stereo, 0, 10, 2, 8},
    };
    for (Case const& k : cases)
    {
        SCOPED_TRACE(k.what);
        try
        {
            FF_AudioProcessReadFiles reader(Open(k.files), k.start, k.length, k.processBlock, k.readBlock);
            FF_AudioProcessBlock prototype;
            reader.Preflight(&prototype);
            ADD_FAILURE() << "accepted";
        }
        catch (Cmn_TypedException<Cmn_TStringXData> const& e)
        {
            EXPECT_TRUE(e.GetCode() == XC_Cmn_TextAssert);
        }
    }
}

} // namespace
