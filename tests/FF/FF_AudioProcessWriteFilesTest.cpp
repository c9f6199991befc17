// File to file through a reader and a writer on the shared threads: copies
// equal to their source in every layout, what an abort or a failure leaves
// in the output files, progress, and a soak run with random aborts and
// read failures.
#include "FF_AudioProcessFileTestSupport.h"

#include "Sys/Sys_ThreadingTestSupport.h"

#include <gtest/gtest.h>

#include <random>

namespace
{
using namespace fffiles;
using ffchain::WaitForChain;

class FF_AudioProcessWriteFiles_ : public ::testing::Test
{
protected:
    void SetUp() override { InitFileTypes(); }

    // Checks that the files at outPaths hold the stream, in one file or one
    // file per channel.
    static void ExpectHolds(std::vector<std::string> const& outPaths, Samples const& s, int bits)
    {
        bool const separate = outPaths.size() > 1 || s.size() == 1;
        std::size_t const perFile = separate ? 1 : s.size();
        i64 const frames = static_cast<i64>(s[0].size());
        for (std::size_t f = 0; f < outPaths.size(); ++f)
        {
            SCOPED_TRACE(outPaths[f]);
            Contents const c = ReadBack(outPaths[f]);
            EXPECT_EQ(c.channels, static_cast<int>(perFile));
            EXPECT_EQ(c.bits, bits);
            EXPECT_EQ(c.rate, 44100);
            EXPECT_EQ(c.frames, frames);
            EXPECT_TRUE(c.data == Interleave(s, bits, f * perFile, perFile)) << "samples differ";
        }
    }

    static void ExpectEmpty(std::vector<std::string> const& paths)
    {
        for (auto const& p : paths)
        {
            SCOPED_TRACE(p);
            Contents const c = ReadBack(p);
            EXPECT_GT(c.channels, 0);
            EXPECT_EQ(c.frames, 0);
        }
    }

    vfltest::TempDir mDir;
};

TEST_F(FF_AudioProcessWriteFiles_, CopiesAreEqualToTheirSourceInEveryLayout)
{
    struct Layout
    {
        int channels;
        bool sourceSeparate;
        bool copySeparate;
    };
    Layout const layouts[] = {{1, false, false}, {2, false, false}, {2, true, true}, {2, false, true}, {2, true, false}};
    int const bitDepths[] = {8, 16, 24};
    int count = 0;
    for (Layout const& layout : layouts)
        for (int bits : bitDepths)
        {
            // One block is the process block size over the frame size of the
            // source as the reader sees it.
            int const frameSize = BytesOf(bits) * (layout.sourceSeparate ? 1 : layout.channels);
            i64 const block = FF_AudioProcessReadFiles::cDefaultProcessBlockSize / frameSize;
            for (i64 frames : {i64{0}, i64{1}, block, block + 1, i64{100000}})
            {
                SCOPED_TRACE(testing::Message() << layout.channels << " channels, source "
                                                << (layout.sourceSeparate ? "mono files" : "interleaved")
                                                << ", copy " << (layout.copySeparate ? "mono files" : "interleaved")
                                                << ", " << bits << " bits, " << frames << " frames");
                std::string const name = "c" + std::to_string(count++);
                Samples const s = ffchain::Ramp(layout.channels, frames, bits, count);
                auto const in = WriteStream(mDir, name + "in", s, bits, layout.sourceSeparate);
                auto const out = FormatOutputs(mDir, name + "out", layout.channels, bits, frames, layout.copySeparate);
                FileChain c = MakeFileChain(Open(in), frames, Open(out));
                c.chain->Allocate();
                FF_ScheduleChain(c.chain);
                ASSERT_EQ(WaitForChain(*c.chain), Sys_Task::kStatusCompleted) << ffchain::ExceptionText(*c.chain);
                EXPECT_EQ(c.chain->GetPercentCompleted(), 100);
                if (frames > 0)
                {
                    ExpectHolds(out, s, bits);
                }
                else
                {
                    EXPECT_EQ(ReadBack(out[0]).frames, 0);
                }
            }
        }
}

TEST_F(FF_AudioProcessWriteFiles_, AbortWhileTheReaderWaitsOnAnEmptyPoolLeavesEmptyFiles)
{
    // A writer that keeps every block from the third on, so that the pool
    // runs dry and the reader waits for a block.
    class HoardingWriter : public FF_AudioProcessWriteFiles
    {
    public:
        using FF_AudioProcessWriteFiles::FF_AudioProcessWriteFiles;
        Sys_Semaphore::Handle PoolSemaphore() const { return GetProcessBlockPool()->GetSemaphore(); }
        std::size_t Held() const { return mHeld.size(); }

    protected:
        EResult ExecImpl() override
        {
            EResult const result = FF_AudioProcessWriteFiles::ExecImpl();
            if (++mSlices > 2)
                while (GetProcessBlockPool()->GetSemaphore()->Acquire(1, 0) == Sys_SyncObject::kWaitSignalled)
                    mHeld.push_back(GetProcessBlockPool()->Get());
            return result;
        }

    private:
        int mSlices = 0;
        std::vector<BlockPtr> mHeld;
    };

    i64 const frames = 50000;
    Samples const s = ffchain::Ramp(2, frames, 16);
    auto const in = WriteStream(mDir, "in", s, 16, false);
    auto const out = FormatOutputs(mDir, "out", 2, 16, frames, true);
    auto* writer = new HoardingWriter(Open(out), 0);
    FileChain c = MakeFileChain(Open(in), frames, {}, 1024, 4096, {}, writer);
    c.chain->Allocate();
    Sys_Semaphore::Handle const pool = writer->PoolSemaphore();
    FF_ScheduleChain(c.chain);
    ASSERT_TRUE(vfltest::Eventually([&] { return vfltest::WaitersOn(*pool) == 1; }));
    EXPECT_EQ(writer->Held(), 16u);
    EXPECT_GT(writer->GetUnitsProcessed(), 0u);

    c.chain->Abort();
    ASSERT_EQ(WaitForChain(*c.chain), Sys_Task::kStatusAborted);
    EXPECT_EQ(vfltest::WaitersOn(*pool), 0u);
    EXPECT_EQ(c.reader->GetStatus(), Sys_Task::kStatusAborted);
    EXPECT_EQ(c.writer->GetStatus(), Sys_Task::kStatusAborted);
    c = FileChain();
    ExpectEmpty(out);
}

TEST_F(FF_AudioProcessWriteFiles_, AFailedReadFailsTheChainAndLeavesEmptyFiles)
{
    i64 const frames = 20000;
    Samples const s = ffchain::Ramp(1, frames, 16);
    auto const in = WriteStream(mDir, "in", s, 16, false);
    auto const out = FormatOutputs(mDir, "out", 1, 16, frames, false);
    Files files;
    files.push_back(std::make_unique<CountingAudioFile>(in[0], 3));
    FileChain c = MakeFileChain(std::move(files), frames, Open(out), 512, 2048);
    c.chain->Allocate();
    FF_ScheduleChain(c.chain);
    ASSERT_EQ(WaitForChain(*c.chain), Sys_Task::kStatusFailed);
    ASSERT_NE(c.chain->GetException(), nullptr);
    EXPECT_TRUE(c.chain->GetException()->GetCode() == XC_FF_PlugIn_IOError);
    EXPECT_EQ(c.reader->GetStatus(), Sys_Task::kStatusFailed);
    EXPECT_EQ(c.writer->GetStatus(), Sys_Task::kStatusAborted);
    c = FileChain();
    ExpectEmpty(out);
}

TEST_F(FF_AudioProcessWriteFiles_, ProgressRisesMonotonicallyTo100)
{
    for (i64 frames : {i64{0}, i64{60000}})
    {
        SCOPED_TRACE(frames);
        std::string const name = "p" + std::to_string(frames);
        Samples const s = ffchain::Ramp(1, frames, 16);
        auto const in = WriteStream(mDir, name + "in", s, 16, false);
        auto const out = FormatOutputs(mDir, name + "out", 1, 16, frames, false);
        FileChain c = MakeFileChain(Open(in), frames, Open(out), 256, 1024);
        c.chain->Allocate();
        Sys_Event::Handle const done = c.chain->GetNotificationEvent(ffchain::kFinalStates);
        FF_ScheduleChain(c.chain);
        std::vector<i32> seen;
        do
            seen.push_back(c.chain->GetPercentCompleted());
        while (done->Wait(0) != Sys_SyncObject::kWaitSignalled);
        ASSERT_EQ(WaitForChain(*c.chain), Sys_Task::kStatusCompleted);
        seen.push_back(c.chain->GetPercentCompleted());
        EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
        EXPECT_EQ(seen.back(), 100);
        EXPECT_EQ(c.writer->GetUnitsProcessed(), static_cast<u64>(frames));
    }
}

TEST_F(FF_AudioProcessWriteFiles_, FilesThatDoNotMatchTheStreamAreRefused)
{
    struct Case
    {
        char const* what;
        int streamChannels;
        int streamBits;
        std::vector<int> fileChannels;
        int fileBits;
    };
    Case const cases[] = {
        {"one file of other channels", 2, 16, {3}, 16},
        {"too few mono files", 3, 16, {1, 1}, 16},
        {"a stereo file among channel files", 2, 16, {2, 1}, 16},
        {"a wider file", 1, 16, {1}, 24},
        {"a narrower file", 2, 24, {2}, 16},
    };
    for (Case const& k : cases)
    {
        SCOPED_TRACE(k.what);
        std::vector<std::string> paths;
        for (std::size_t f = 0; f < k.fileChannels.size(); ++f)
        {
            paths.push_back(mDir.File("bad" + std::to_string(f) + ".wav"));
            Format(paths.back(), k.fileChannels[f], k.fileBits, 10);
        }
        FF_AudioProcessWriteFiles writer(Open(paths), 0);
        FF_AudioProcessBlock prototype;
        prototype.SetNumChannels(static_cast<u16>(k.streamChannels));
        prototype.SetBitsPerSample(k.streamBits);
        prototype.SetNumSamples(100);
        prototype.SetTotalSamples(10);
        try
        {
            writer.Preflight(&prototype);
            ADD_FAILURE() << "accepted";
        }
        catch (Cmn_TypedException<Cmn_TStringXData> const& e)
        {
            EXPECT_TRUE(e.GetCode() == XC_Cmn_TextAssert);
        }
    }
}

TEST_F(FF_AudioProcessWriteFiles_, SoakOfChainsWithRandomAbortsAndReadFailures)
{
    std::mt19937 random(1234);
    int const kChains = 300;
    int outcomes[3] = {};
    for (int i = 0; i < kChains; ++i)
    {
        SCOPED_TRACE(i);
        std::string const name = "s" + std::to_string(i);
        int const channels = 1 + static_cast<int>(random() % 2);
        int const bits = 8 * (1 + static_cast<int>(random() % 3));
        i64 const frames = static_cast<i64>(random() % 6000);
        bool const sourceSeparate = random() % 2 == 0;
        bool const copySeparate = random() % 2 == 0;
        int const fault = static_cast<int>(random() % 3); // none, abort, read failure
        Samples const s = ffchain::Ramp(channels, frames, bits, i);
        auto const in = WriteStream(mDir, name + "in", s, bits, sourceSeparate);
        auto const out = FormatOutputs(mDir, name + "out", channels, bits, frames, copySeparate);

        Files files;
        int const failAt = fault == 2 ? static_cast<int>(random() % 4) : -1;
        for (std::size_t f = 0; f < in.size(); ++f)
            files.push_back(std::make_unique<CountingAudioFile>(in[f], f == 0 ? failAt : -1));
        // Blocks of 96 bytes, reads of 4: many turns per chain.
        FileChain c = MakeFileChain(std::move(files), frames, Open(out), 96 * 3, 96 * 3 * 4);
        c.chain->Allocate();
        FF_ScheduleChain(c.chain);
        if (fault == 1)
        {
            i32 const at = static_cast<i32>(random() % 100);
            ASSERT_TRUE(vfltest::Eventually([&] { return c.chain->GetPercentCompleted() >= at; }));
            c.chain->Abort();
        }
        Sys_Task::EStatus const status = WaitForChain(*c.chain);
        ASSERT_NE(status, Sys_Task::kStatusRunning) << "the chain did not end";
        c = FileChain();
        switch (status)
        {
        case Sys_Task::kStatusCompleted:
            ++outcomes[0];
            if (frames > 0)
                ExpectHolds(out, s, bits);
            break;
        case Sys_Task::kStatusAborted:
            ++outcomes[1];
            EXPECT_EQ(fault, 1);
            ExpectEmpty(out);
            break;
        case Sys_Task::kStatusFailed:
            ++outcomes[2];
            EXPECT_EQ(fault, 2);
            ExpectEmpty(out);
            break;
        default: ADD_FAILURE() << "status " << status;
        }
    }
    // Every kind of ending came up.
    EXPECT_GT(outcomes[0], 0);
    EXPECT_GT(outcomes[1], 0);
    EXPECT_GT(outcomes[2], 0);
}

} // namespace
