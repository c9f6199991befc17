// File to file through a reader and a writer on the shared threads: copies
// equal to their source in every layout, what an abort or a failure leaves
// in the output files, progress, and a soak run with random aborts and
// read failures.
#include "FF_AudioProcessFileTestSupport.h"

#include "Sys/Sys_ThreadingTestSupport.h"

#include <gtest/gtest.h>

#include <optional>
#include <random>

namespace
{
using namespace fffiles;

class FF_AudioProcessWriteFiles_ : public ::testing::Test
{
protected:
    void SetUp() override { InitFileTypes(); }

    // The files hold the stream: one file of all channels, or one per channel.
    static void ExpectHolds(Paths const& paths, Samples const& s, int bits)
    {
        std::size_t const perFile = s.size() / paths.size();
        for (std::size_t f = 0; f < paths.size(); ++f)
        {
            Contents const c = ReadBack(paths[f]);
            EXPECT_EQ(c.channels, static_cast<int>(perFile));
            EXPECT_EQ(c.bits, bits);
            EXPECT_EQ(c.frames, static_cast<i64>(s[0].size()));
            EXPECT_TRUE(c.data == Interleave(s, bits, f * perFile, perFile)) << paths[f] << ": samples differ";
        }
    }

    static void ExpectEmpty(Paths const& paths)
    {
        for (auto const& p : paths)
            EXPECT_EQ(ReadBack(p).frames, 0) << p;
    }

    vfltest::TempDir mDir;
};

TEST_F(FF_AudioProcessWriteFiles_, CopiesAreEqualToTheirSourceInEveryLayout)
{
    struct Layout
    {
        int channels;
        bool sourceSeparate, copySeparate;
    };
    Layout const layouts[] = {
        {1, false, false}, {2, false, false}, {2, true, true}, {2, false, true}, {2, true, false}};
    int count = 0;
    for (Layout const& layout : layouts)
        for (int bits : {8, 16, 24})
        {
            // A block is the process block size over the frame size that the
            // reader sees: 7680 for mono 16-bit files, 2560 for stereo 24-bit.
            i64 const block = FF_AudioProcessReadFiles::cDefaultProcessBlockSize /
                              (BytesOf(bits) * (layout.sourceSeparate ? 1 : layout.channels));
            for (i64 frames : {i64{0}, i64{1}, block, block + 1, i64{100000}})
            {
                SCOPED_TRACE(testing::Message() << layout.channels << " channels " << layout.sourceSeparate
                                                << layout.copySeparate << ", " << bits << " bits, " << frames);
                std::string const name = std::to_string(count++);
                Samples const s = Ramp(layout.channels, frames, bits, count);
                Paths const in = MakeFiles(mDir, name + "in", layout.channels, bits, frames, layout.sourceSeparate, &s);
                Paths const out = MakeFiles(mDir, name + "out", layout.channels, bits, frames, layout.copySeparate);
                FileChain c(new FF_AudioProcessReadFiles(Open(in), 0, frames),
                            new FF_AudioProcessWriteFiles(Open(out), 0));
                c.Start();
                ASSERT_EQ(WaitForChain(*c.chain), Sys_Task::kStatusCompleted) << ExceptionText(*c.chain);
                EXPECT_EQ(c.chain->GetPercentCompleted(), 100);
                ExpectHolds(out, s, bits);
            }
        }
}

TEST_F(FF_AudioProcessWriteFiles_, AbortWhileTheReaderWaitsOnAnEmptyPoolLeavesEmptyFiles)
{
    // Keeps every block from the third slice on, so that the pool runs dry.
    struct HoardingWriter : FF_AudioProcessWriteFiles
    {
        using FF_AudioProcessWriteFiles::FF_AudioProcessWriteFiles;
        Sys_Semaphore::Handle Pool() const { return GetProcessBlockPool()->GetSemaphore(); }
        EResult ExecImpl() override
        {
            if (++slices <= 2)
                return FF_AudioProcessWriteFiles::ExecImpl();
            held.push_back(GetInputQueue().Pop());
            heldCount = held.size();
            return kResultReady;
        }
        int slices = 0;
        std::vector<BlockPtr> held;
        std::atomic<std::size_t> heldCount{0};
    };
    Samples const s = Ramp(2, 50000, 16);
    Paths const in = MakeFiles(mDir, "in", 2, 16, 50000, false, &s);
    Paths const out = MakeFiles(mDir, "out", 2, 16, 50000, true);
    auto* writer = new HoardingWriter(Open(out), 0);
    FileChain c(new FF_AudioProcessReadFiles(Open(in), 0, 50000, 1024, 4096), writer);
    c.Start();
    Sys_Semaphore::Handle const pool = writer->Pool();
    ASSERT_TRUE(vfltest::Eventually([&] { return writer->heldCount == 16 && vfltest::WaitersOn(*pool) == 1; }));
    EXPECT_GT(writer->GetUnitsProcessed(), 0u);

    c.chain->Abort();
    ASSERT_EQ(WaitForChain(*c.chain), Sys_Task::kStatusAborted);
    EXPECT_EQ(vfltest::WaitersOn(*pool), 0u);
    EXPECT_EQ(c.reader->GetStatus(), Sys_Task::kStatusAborted);
    EXPECT_EQ(c.writer->GetStatus(), Sys_Task::kStatusAborted);
    ExpectEmpty(out);
}

TEST_F(FF_AudioProcessWriteFiles_, ProgressRisesMonotonicallyTo100WhilePolledFromAnotherThread)
{
    for (i64 frames : {i64{0}, i64{60000}})
    {
        SCOPED_TRACE(frames);
        std::string const name = std::to_string(frames);
        Samples const s = Ramp(1, frames, 16);
        FileChain c(new FF_AudioProcessReadFiles(Open(MakeFiles(mDir, name + "in", 1, 16, frames, false, &s)), 0,
                                                 frames, 256, 1024),
                    new FF_AudioProcessWriteFiles(Open(MakeFiles(mDir, name + "out", 1, 16, frames, false)), 0));
        Sys_Event::Handle const done = c.chain->GetNotificationEvent(kFinalStates);
        c.Start();
        std::vector<i32> seen;
        do
            seen.push_back(c.chain->GetPercentCompleted());
        while (done->Wait(0) != Sys_SyncObject::kWaitSignalled);
        ASSERT_EQ(WaitForChain(*c.chain), Sys_Task::kStatusCompleted);
        seen.push_back(c.chain->GetPercentCompleted());
        EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
        EXPECT_EQ(seen.back(), 100); // with nothing to process as well
    }
}

TEST_F(FF_AudioProcessWriteFiles_, FilesThatDoNotMatchTheStreamAreRefused)
{
    struct Case
    {
        char const* what;
        int streamChannels, streamBits;
        std::vector<int> fileChannels;
        int fileBits;
    };
    Case const cases[] = {
        {"one file of other channels", 2, 16, {3}, 16},
        {"too few channel files", 3, 16, {1, 1}, 16},
        {"a stereo file among channel files", 2, 16, {2, 1}, 16},
        {"a wider file", 1, 16, {1}, 24},
        {"a narrower file", 2, 24, {2}, 16},
    };
    for (Case const& k : cases)
    {
        SCOPED_TRACE(k.what);
        Files files;
        for (int channels : k.fileChannels)
            files.push_back(
                std::move(Open(MakeFiles(mDir, std::to_string(files.size()), channels, k.fileBits, 10, false))[0]));
        FF_AudioProcessWriteFiles writer(std::move(files), 0);
        FF_AudioProcessBlock prototype = ffproc::Prototype(k.streamChannels, 44100, k.streamBits, 100, 10);
        EXPECT_THROW(writer.Preflight(&prototype), Cmn_TypedException<Cmn_TStringXData>);
    }
}

TEST_F(FF_AudioProcessWriteFiles_, SoakOfChainsWithRandomAbortsAndReadFailures)
{
    std::mt19937 random(1234);
    int outcomes[3] = {};
    for (int i = 0; i < 300; ++i)
    {
        SCOPED_TRACE(i);
        std::string const name = std::to_string(i);
        int const channels = 1 + static_cast<int>(random() % 2);
        int const bits = 8 * (1 + static_cast<int>(random() % 3));
        i64 const frames = static_cast<i64>(random() % 6000);
        bool const sourceSeparate = random() % 2 == 0, copySeparate = random() % 2 == 0;
        int const fault = static_cast<int>(random() % 3); // none, abort, read failure
        Samples const s = Ramp(channels, frames, bits, i);
        Paths const in = MakeFiles(mDir, name + "in", channels, bits, frames, sourceSeparate, &s);
        Paths const out = MakeFiles(mDir, name + "out", channels, bits, frames, copySeparate);
        // Blocks of 288 bytes and reads of 4 blocks: many turns per chain.
        FileChain c(new FF_AudioProcessReadFiles(Open(in, fault == 2 ? static_cast<int>(random() % 4) : -1), 0, frames,
                                                 288, 1152),
                    new FF_AudioProcessWriteFiles(Open(out), 0));
        // The early aborts come while the chain is held, so that some
        // certainly come before its end; the others whenever they do.
        std::optional<HeldTransfers> hold;
        if (fault == 1 && i < 30 && frames > 0)
            hold.emplace();
        c.Start();
        if (hold)
        {
            ASSERT_TRUE(vfltest::Eventually([] { return HeldTransfers::waiting > 0; }));
            c.chain->Abort();
            HeldTransfers::held = false;
        }
        else if (fault == 1)
        {
            i32 const at = static_cast<i32>(random() % 100);
            ASSERT_TRUE(vfltest::Eventually([&] { return c.chain->GetPercentCompleted() >= at; }));
            c.chain->Abort();
        }
        Sys_Task::EStatus const status = WaitForChain(*c.chain);
        ASSERT_NE(status, Sys_Task::kStatusRunning) << "the chain did not end";
        EXPECT_TRUE(!hold || status == Sys_Task::kStatusAborted) << "status " << status;
        if (status == Sys_Task::kStatusCompleted)
        {
            ++outcomes[0];
            ExpectHolds(out, s, bits);
            continue;
        }
        // An aborted or failed copy leaves empty files; a failure is the read's.
        ++outcomes[status == Sys_Task::kStatusAborted ? 1 : 2];
        EXPECT_EQ(status, fault == 1 ? Sys_Task::kStatusAborted : Sys_Task::kStatusFailed);
        if (status == Sys_Task::kStatusFailed)
        {
            EXPECT_TRUE(c.chain->GetException()->GetCode() == XC_FF_PlugIn_IOError);
            EXPECT_EQ(c.reader->GetStatus(), Sys_Task::kStatusFailed);
            EXPECT_EQ(c.writer->GetStatus(), Sys_Task::kStatusAborted);
        }
        ExpectEmpty(out);
    }
    EXPECT_GT(outcomes[0], 0);
    EXPECT_GT(outcomes[1], 0);
    EXPECT_GT(outcomes[2], 0);
}

} // namespace
