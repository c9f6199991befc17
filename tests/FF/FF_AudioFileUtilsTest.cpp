// Whole conversions through the driver: the chain it builds for each pair
// of formats, outputs equal to the reference models of the stages bit for
// bit through the reader's real blocks, aborts at any moment, and a disk
// that fills up.
#include "FF/FF_AudioFileUtils.h"
#include "FF/FF_AudioFileTestSupport.h"
#include "FF/FF_AudioProcessDecimateWaveform.h"
#include "FF/FF_AudioProcessFileTestSupport.h"
#include "FF/FF_LameMP3Encoder.h"
#include "FF/FF_MP3AudioFile.h"
#include "FF/ReferenceModels.h"
#include "Sys/Posix/Sys_FilePosixCalls.h"
#include "Sys/Sys_OSErrData.h"
#include "Sys/Sys_ThreadingTestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <optional>
#include <random>
#include <thread>

using namespace fffiles;
using namespace ffproc;

namespace
{
constexpr i64 kBlockBytes = 15360; // the reader's process block

class FF_AudioFileUtilsTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        InitFileTypes();
        FF_MP3AudioFile::SetupEncoder(&mLame);
    }
    void TearDown() override { FF_MP3AudioFile::SetupEncoder(nullptr); }

    static std::vector<Sys_FileLoc> Locs(Paths const& paths) { return {paths.begin(), paths.end()}; }
    static FF_AudioFileUtils::ChainHandle Convert(Paths const& in, Paths const& out, int bits, int rate,
                                                  uint32 quality = 4, bool squeeze = false,
                                                  std::string const& type = "wav")
    {
        FF_AudioFileUtils::ConvertAudioFileParams p;
        p.bitsPerSample = static_cast<int16>(bits);
        p.samplesPerSec = rate;
        p.quality = quality;
        p.squeeze = squeeze;
        FF_AudioFileUtils::SetConvertAudioFileParams(p);
        return FF_AudioFileUtils::ConvertAudioFiles(Locs(in), 0, -1, Locs(out), Sys_FileType(type));
    }
    // Files of a stream of the given shape: the stream, and the files.
    std::pair<Samples, Paths> Input(int channels, i64 frames, int bits = 16, f64 scale = 0.5, bool separate = false)
    {
        Samples s = SineRamp(channels, frames, bits, scale);
        Paths in = MakeFiles(mDir, "in", channels, bits, frames, separate, &s);
        return {std::move(s), std::move(in)};
    }
    vfltest::TempDir mDir;
    FF_LameMP3Encoder mLame;
};

TEST_F(FF_AudioFileUtilsTest, EachPairOfFormatsGetsItsChainAndTheExactLength)
{
    struct Case
    {
        int inBits, outBits, outRate;
        bool squeeze;
        std::vector<std::string> stages;
    } const cases[] = {
        {16, 16, 44100, false, {"ReadFiles", "WriteFiles"}},
        {16, 24, 44100, false, {"ReadFiles", "Requantize", "WriteFiles"}},
        {24, 16, 44100, false, {"ReadFiles", "Requantize", "WriteFiles"}},
        {16, 16, 48000, false, {"ReadFiles", "SRC", "WriteFiles"}},
        {16, 24, 48000, false, {"ReadFiles", "Requantize", "SRC", "WriteFiles"}},
        {24, 16, 48000, false, {"ReadFiles", "SRC", "Requantize", "WriteFiles"}},
        {24, 16, 48000, true, {"ReadFiles", "MultimediaSqueezer", "SRC", "Requantize", "WriteFiles"}},
        {16, 24, 48000, true, {"ReadFiles", "Requantize", "MultimediaSqueezer", "SRC", "WriteFiles"}},
    };
    i64 const frames = 100;
    for (auto const& c : cases)
    {
        SCOPED_TRACE(testing::Message() << c.inBits << " to " << c.outBits << " bits, " << c.outRate << " Hz"
                                        << (c.squeeze ? ", squeezed" : ""));
        auto const [input, in] = Input(2, frames, c.inBits, 0.8);
        Paths const out = {mDir.File("out.wav")};
        auto chain = Convert(in, out, c.outBits, c.outRate, 4, c.squeeze);
        std::vector<std::string> names;
        for (auto const& stage : chain->GetStages())
            names.push_back(stage->GetName().substr(std::string("FF_AudioProcess").size()));
        EXPECT_EQ(names, c.stages);
        ASSERT_EQ(WaitForChain(*chain), Sys_Task::kStatusCompleted) << ExceptionText(*chain);
        Contents const result = ReadBack(out[0]);
        EXPECT_EQ(result.channels, 2);
        EXPECT_EQ(result.bits, c.outBits);
        // 100 frames at 48 kHz from 44.1 kHz are 108.84, rounded up.
        EXPECT_EQ(result.frames, c.outRate == 48000 ? 109 : 100);
        if (c.stages.size() == 2)
        {
            EXPECT_EQ(result.data, Interleave(input, c.inBits, 0, 2)); // the same format is a copy
        }
    }
}

TEST_F(FF_AudioFileUtilsTest, OutputsEqualTheReferenceModelsThroughTheReadersBlocks)
{
    enum Files
    {
        eOne,
        eSplit, // into one mono file per channel
        eJoin   // from one mono file per channel
    };
    struct Case
    {
        int channels, inBits, outBits, outRate;
        uint32 quality;
        Files files;
    };
    std::vector<Case> cases = {
        {1, 24, 16, 44100, 4, eOne}, {2, 24, 16, 44100, 4, eOne}, {1, 16, 8, 44100, 4, eOne},
        {2, 16, 8, 44100, 4, eOne},  {2, 16, 16, 22050, 4, eOne},
    };
    for (uint32 quality = 0; quality <= 4; ++quality)
        for (int channels : {1, 2})
            cases.push_back({channels, 16, 16, 48000, quality, eOne});
    // Frames that do not divide the reader's block, through each kind of chain.
    for (auto [channels, bits] : {std::pair{3, 24}, {5, 24}, {6, 24}, {7, 24}, {12, 24}, {7, 16}})
        for (Case const c : {Case{channels, bits, bits, 44100, 1, eOne},
                             {channels, bits, bits == 24 ? 16 : 24, 44100, 1, eOne},
                             {channels, bits, bits, 48000, 1, eOne},
                             {channels, bits, bits, 44100, 1, eSplit},
                             {channels, bits, bits, 44100, 1, eJoin}})
            cases.push_back(c);
    int const kTaps[] = {0, 17, 33, 129, 257};
    i64 const frames = 20011; // several blocks and a part of one
    for (auto const& c : cases)
    {
        SCOPED_TRACE(testing::Message() << c.channels << " channel(s), " << c.inBits << " to " << c.outBits
                                        << " bits, to " << c.outRate << " Hz at quality " << c.quality << ", files "
                                        << c.files);
        auto const [input, in] = Input(c.channels, frames, c.inBits, 1.05, c.files == eJoin); // clips a little
        Paths out = {mDir.File("out.wav")};
        for (int ch = 1; c.files == eSplit && ch < c.channels; ++ch)
            out.push_back(mDir.File("out" + std::to_string(ch) + ".wav"));
        StSeed seed(4242);
        auto chain = Convert(in, out, c.outBits, c.outRate, c.quality);
        ASSERT_EQ(WaitForChain(*chain), Sys_Task::kStatusCompleted) << ExceptionText(*chain);

        Samples expected = input;
        i32 refSeed = 4242;
        if (c.outRate != 44100)
            expected = ReferenceResample(input, 44100, c.outRate, kTaps[c.quality], c.inBits);
        else if (c.outBits != c.inBits)
        {
            i64 const blockFrames = kBlockBytes / (BytesOf(c.inBits) * c.channels);
            expected = ReferenceRequantize(input, c.inBits, c.outBits, blockFrames, refSeed);
        }
        EXPECT_EQ(DitherTestAccess::GetSeed(), refSeed) << "the dither drew another count of numbers";
        for (std::size_t i = 0; i < out.size(); ++i)
        {
            Contents const result = ReadBack(out[i]);
            EXPECT_EQ(result.channels, out.size() == 1 ? c.channels : 1);
            EXPECT_EQ(result.bits, c.outBits);
            EXPECT_EQ(result.frames, FF_AudioFileUtils::OutputFrames(frames, 44100, c.outRate));
            EXPECT_TRUE(result.data ==
                        Interleave(expected, c.outBits, out.size() == 1 ? 0 : i, out.size() == 1 ? c.channels : 1))
                << "file " << i;
        }
    }
}

TEST_F(FF_AudioFileUtilsTest, AnAbortAtAnyMomentEndsCleanlyAndLeavesEmptyOutputs)
{
    std::mt19937 random(20261122);
    int aborted = 0;
    for (int round = 0; round < 250; ++round)
    {
        // The first round of each kind aborts while its chain is held.
        std::optional<HeldTransfers> hold;
        if (round < 5)
            hold.emplace();
        i64 const frames = std::uniform_int_distribution<i64>(1, 60000)(random);
        int const kind = round % 5; // copy, requantize, rate change, MP3, overview
        auto const delay = std::chrono::microseconds(std::uniform_int_distribution<int>(0, 4000)(random));
        SCOPED_TRACE(testing::Message() << "round " << round << ": " << frames << " frames, kind " << kind
                                        << ", abort after " << delay.count() << " us");
        Paths const in = Input(2, frames).second;
        std::string const out = mDir.File(kind == 3 ? "out.mp3" : "out.wav");
        // The overview's stages run on the thread that feeds them.
        std::vector<std::vector<char>> overviews(2, std::vector<char>(static_cast<std::size_t>(frames + 1)));
        auto chain = kind == 4   ? FF_AudioFileUtils::DecimateWaveform(Sys_FileLoc(in[0]), 2,
                                                                       {overviews[0].data(), overviews[1].data()})
                     : kind == 3 ? Convert(in, {out}, 16, 44100, 4, false, "mp3")
                     : kind == 2 ? Convert(in, {out}, 16, 48000, 1)
                                 : Convert(in, {out}, kind == 1 ? 24 : 16, 44100);
        if (hold)
        {
            ASSERT_TRUE(vfltest::Eventually([] { return HeldTransfers::waiting > 0; }));
        }
        else
            std::this_thread::sleep_for(delay);
        chain->Abort();
        HeldTransfers::held = false;
        Sys_Task::EStatus const status = WaitForChain(*chain);
        EXPECT_TRUE(!hold || status == Sys_Task::kStatusAborted) << "status " << status;
        ASSERT_TRUE(status == Sys_Task::kStatusAborted || status == Sys_Task::kStatusCompleted)
            << "status " << status << " " << ExceptionText(*chain);
        // An abort that comes after the writer finished finds the outputs
        // whole; any other leaves them empty, never partial.
        if (status == Sys_Task::kStatusCompleted ||
            chain->GetStages().back()->GetStatus() == Sys_Task::kStatusCompleted)
            continue;
        ++aborted;
        if (kind == 4)
            continue;
        if (kind == 3)
            EXPECT_EQ(std::filesystem::file_size(out), 0u);
        else
        {
            FF_AudioFile file{Sys_FileLoc(out)};
            ASSERT_TRUE(file.Implements(FF_AudioFile::eImportExportInterface))
                << std::filesystem::file_size(out) << " bytes, not a WAVE file any more";
            EXPECT_EQ(ReadBack(out).frames, 0);
        }
        std::filesystem::remove(out);
    }
    EXPECT_GE(aborted, 5);
}

TEST_F(FF_AudioFileUtilsTest, AFullDiskFailsTheConversionWithNoSpaceAndLeavesTheInputAlone)
{
    fftest::SmallDisk const disk(mDir);
    if (!disk.Mounted())
        GTEST_SKIP() << "cannot mount a small tmpfs here";
    Paths const in = Input(2, 200000).second; // 800 KB of 16-bit stereo
    std::vector<std::uint8_t> const before = vfltest::ReadWholeFile(in[0]);
    auto chain = Convert(in, {disk.File("out.wav")}, 16, 44100);
    EXPECT_EQ(WaitForChain(*chain), Sys_Task::kStatusFailed);
    ASSERT_TRUE(chain->GetException());
    EXPECT_EQ(fftest::ErrnoOf([&] { chain->GetException()->Throw(); }), 28) << ExceptionText(*chain); // ENOSPC
    EXPECT_TRUE(vfltest::ReadWholeFile(in[0]) == before);
    chain = FF_AudioFileUtils::ChainHandle(); // lets go of the output before the disk goes
}
// A disk that takes every write and fails as it writes the output back; the
// system tells the first sync that follows, and no other.
std::atomic<int> sSyncsAllowed{0};
std::atomic<bool> sSyncFailed{false};

int FailingFsync(int fd)
{
    if (sSyncsAllowed-- != 0)
        return Sys_FilePosixCalls::System().fsync(fd);
    sSyncFailed = true;
    errno = 5; // EIO
    return -1;
}

// Whichever sync of the output fails, the conversion fails with its error,
// from the thread that writes or from the call that starts it.
TEST_F(FF_AudioFileUtilsTest, AWriteBackErrorFailsTheConversion)
{
    Paths const in = Input(2, 30000).second;
    for (std::string const type : {"wav", "mp3"})
    {
        bool failed = true;
        for (int allowed = 0; failed && allowed < 20; ++allowed)
        {
            SCOPED_TRACE(type + ", a sync fails after " + std::to_string(allowed));
            sSyncsAllowed = allowed;
            sSyncFailed = false;
            Sys_FilePosixCalls::Current().fsync = &FailingFsync;
            Sys_Task::EStatus status = Sys_Task::kStatusFailed;
            auto const err = fftest::ErrnoOf(
                [&]
                {
                    auto chain = Convert(in, {mDir.File("out." + type)}, 16, 44100, 4, false, type);
                    status = WaitForChain(*chain);
                    if (chain->GetException())
                        chain->GetException()->Throw();
                });
            Sys_FilePosixCalls::Current() = Sys_FilePosixCalls::System();
            failed = sSyncFailed;
            EXPECT_EQ(status == Sys_Task::kStatusFailed, failed);
            EXPECT_EQ(err, failed ? std::optional<int32>(5) : std::nullopt);
        }
        EXPECT_FALSE(failed) << "more than 20 syncs";
    }
}

// An input deleted while it is read, as a user may do in another window,
// is read to its end through the open file, and the conversion completes.
TEST_F(FF_AudioFileUtilsTest, AnInputDeletedWhileReadIsConvertedWhole)
{
    auto const [input, in] = Input(2, 60000);
    std::string const out = mDir.File("out.wav");
    FF_AudioFileUtils::ChainHandle chain;
    {
        HeldTransfers const hold;
        chain = Convert(in, {out}, 16, 44100);
        ASSERT_TRUE(vfltest::Eventually([] { return HeldTransfers::waiting > 0; }));
        std::filesystem::remove(in[0]);
    }
    ASSERT_EQ(WaitForChain(*chain), Sys_Task::kStatusCompleted) << ExceptionText(*chain);
    EXPECT_TRUE(ReadBack(out).data == Interleave(input, 16, 0, 2));
}

TEST_F(FF_AudioFileUtilsTest, WhatCannotBeConvertedIsRefusedBeforeAnythingIsWritten)
{
    Paths const in = Input(2, 1000).second;
    std::filesystem::create_symlink(in[0], mDir.File("link.wav"));
    std::vector<std::uint8_t> const before = vfltest::ReadWholeFile(in[0]);
    struct Case
    {
        char const* what;
        Paths outputs;
    } const cases[] = {
        {"the input itself", {in[0]}},
        {"the input through a link", {mDir.File("link.wav")}},
        {"the input through ./", {mDir.File("./in-0.wav")}},
        {"one new output twice", {mDir.File("d.wav"), mDir.File("d.wav")}},
        {"a new output and the input", {mDir.File("e.wav"), in[0]}},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.what);
        Thrown const t = ThrownBy([&] { Convert(in, c.outputs, 16, 44100); });
        EXPECT_EQ(t.err, 22) << "EINVAL";
        EXPECT_NE(t.text.find("is the same file as the"), std::string::npos) << t.text;
        EXPECT_TRUE(vfltest::ReadWholeFile(in[0]) == before);
        EXPECT_FALSE(std::filesystem::exists(mDir.File("d.wav")));
        EXPECT_FALSE(std::filesystem::exists(mDir.File("e.wav")));
    }

    // Headers (of damaged files, or of more channels than a chain takes)
    // that the stages cannot carry: refused by the conversion or the
    // overview, before any stage runs.
    struct Header
    {
        int32 rate;
        int bits;
        int32 channels;
        bool overview;
        char const* text;
    } const headers[] = {
        {44100, 249, 1, false, "samples of 249 bits (1 to 32 are taken)"},
        {0, 16, 1, false, "its sample rate of 0 cannot be converted"},
        {187, 16, 1, false, "its sample rate of 187 Hz cannot be raised to 48000 Hz (256 times at most)"},
        {44100, 16, 65, false, "65 channels (1 to 64 are taken)"},
        {44100, 32, 1, true, "samples of 32 bits (1 to 24 are taken)"},
        {44100, 16, 65, true, "65 channels (1 to 64 are taken)"},
    };
    for (auto const& h : headers)
    {
        SCOPED_TRACE(h.text);
        std::string const odd = mDir.File("odd.wav");
        FF_AudioFile(Sys_FileLoc(odd)).Format(Sys_FileType(std::string("wav")), h.channels, h.rate, h.bits, 100);
        std::vector<char> overview(200);
        Thrown const t = ThrownBy(
            [&]
            {
                if (h.overview)
                    FF_AudioFileUtils::DecimateWaveform(Sys_FileLoc(odd), 1, overview.data());
                else
                    Convert({odd}, {mDir.File("f.wav")}, 16, 48000);
            });
        EXPECT_NE(t.text.find(h.text), std::string::npos) << t.text;
        EXPECT_FALSE(std::filesystem::exists(mDir.File("f.wav")));
    }
}

TEST_F(FF_AudioFileUtilsTest, OverviewsOfSeveralChannelsInOnePass)
{
    i64 const frames = 40000; // several blocks
    Samples input = SineRamp(3, frames, 16, 0.9);
    std::fill(input[2].begin(), input[2].end(), 0);
    Paths const in = MakeFiles(mDir, "in", 3, 16, frames, false, &input);
    i32 const spi = 300;
    std::size_t const bytes = static_cast<std::size_t>((frames + spi - 1) / spi * 2);
    // Channels 0 and 2; channel 1 is left out.
    std::vector<std::vector<char>> overviews(3, std::vector<char>(bytes, 0x55));
    std::vector<char*> buffers = {overviews[0].data(), nullptr, overviews[2].data()};
    auto chain = FF_AudioFileUtils::DecimateWaveform(Sys_FileLoc(in[0]), spi, buffers);
    ASSERT_EQ(WaitForChain(*chain), Sys_Task::kStatusCompleted) << ExceptionText(*chain);
    for (int c : {0, 2})
    {
        SCOPED_TRACE(c);
        std::vector<char> single(bytes, 0x55);
        FF_AudioProcessDecimateWaveform alone(spi, single.data(), c);
        RunStage(alone, input, 44100, 16, kBlockBytes / 2);
        EXPECT_EQ(overviews[static_cast<std::size_t>(c)], single);
    }
    EXPECT_EQ(overviews[2], std::vector<char>(bytes, 0)); // silence is exactly 0
    EXPECT_EQ(overviews[1], std::vector<char>(bytes, 0x55));
    EXPECT_EQ(chain->GetPercentCompleted(), 100);
    // The one-buffer form gives the first channel's.
    std::vector<char> first(bytes, 0x55);
    auto one = FF_AudioFileUtils::DecimateWaveform(Sys_FileLoc(in[0]), spi, first.data());
    ASSERT_EQ(WaitForChain(*one), Sys_Task::kStatusCompleted) << ExceptionText(*one);
    EXPECT_EQ(first, overviews[0]);
}
} // namespace
