// The write path of FF_AudioFile on real files: Format, SampleWrite,
// SetNumSamples and the region policy, instrument data as an independent
// reader sees it, and failures of the disk.
#include "FF/FF_AudioFile.h"
#include "FF/FF_AudioFileTestSupport.h"
#include "FF/FF_AudioProcessFileTestSupport.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Init.h"
#include "Sys/Sys_Utils.h"
#include "support/ChunkFileBuilder.h"
#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <numeric>
#include <optional>
#include <regex>
#include <stdexcept>

namespace
{
using Bytes = std::vector<std::uint8_t>;

class FF_AudioFileWrite : public ::testing::Test
{
protected:
    // Locations know an extension only when the registry knows the type.
    void SetUp() override { fffiles::InitFileTypes(); }

    // A foreign 16-bit mono WAVE file of `frames` frames on disk.
    std::string Foreign(std::string const& name, int frames)
    {
        std::string const path = mDir.File(name);
        vfltest::WriteWholeFile(path,
                                ChunkFileBuilder().RiffHeader().Fmt(1, 8000, 16).Data(Bytes(2 * frames, 7)).Done());
        return path;
    }
    // A new 16-bit stereo WAVE file of `frames` frames, written through the library.
    std::string New(std::string const& name, int frames)
    {
        std::string const path = mDir.File(name);
        FF_AudioFile file((Sys_FileLoc(path)));
        file.Format(Sys_FileType(std::string("wav")), 2, 44100, 16, 0);
        FF_AudioFile::StOpen open(&file, FF_AudioFile::eOpenRead | FF_AudioFile::eOpenWrite);
        std::vector<std::int16_t> samples(2 * frames);
        std::iota(samples.begin(), samples.end(), std::int16_t{0});
        file.SampleWrite(samples.data(), frames);
        file.SetNumSamples(frames);
        return path;
    }

    vfltest::TempDir mDir;
};

std::vector<FF_ImportAudioRegion> Regions(FF_AudioFile& file, bool includeWholeFile)
{
    std::vector<FF_ImportAudioRegion> regions;
    file.GetRegions(&regions, includeWholeFile);
    return regions;
}

TEST_F(FF_AudioFileWrite, WholeFileRegionRules)
{
    std::string const path = Foreign("take.wav", 1000);
    {
        FF_AudioFile file((Sys_FileLoc(path)));
        ASSERT_TRUE(file.Implement(FF_AudioFile::eVelmoraInterface));
        // No region yet: one is made up, whole-file, with no identity.
        auto regions = Regions(file, true);
        ASSERT_EQ(regions.size(), 1u);
        EXPECT_TRUE(regions[0].IsWholeFileRegion());
        EXPECT_EQ(regions[0].GetName(), "take");
        EXPECT_EQ(regions[0].GetStopSample(), 1000u);
        EXPECT_EQ(regions[0].GetUmid().AsString(), "");
        EXPECT_TRUE(Regions(file, false).empty());

        file.AddRegion("almost", 0, 999, 0, 0, 0); // one short: not whole-file
        file.AddRegion("almost", 0, 999, 0, 0, 0); // a duplicate adds nothing
        file.AddRegion("all", 0, 1000, 0, 5, 6);
        file.AddRegion("everything", 0, 1000, 0, 7, 8); // the newest whole-file region wins
        regions = Regions(file, true);
        ASSERT_EQ(regions.size(), 2u);
        EXPECT_EQ(regions[0].GetName(), "almost");
        EXPECT_FALSE(regions[0].IsWholeFileRegion());
        EXPECT_EQ(regions[1].GetName(), "everything");
        EXPECT_TRUE(regions[1].IsWholeFileRegion());

        // A name over 31 characters is a programming error.
        EXPECT_THROW(file.AddRegion(std::string(32, 'x'), 0, 10, 0, 0, 0), std::runtime_error);
    }
    {
        // Shortening: regions past the new end go, and one whole-file region
        // of the file's name takes the stamps of the old one.
        FF_AudioFile file((Sys_FileLoc(path)));
        auto regions = Regions(file, false);
        ASSERT_EQ(regions.size(), 2u); // survived the reopen
        file.SetNumSamples(500);
        regions = Regions(file, true);
        ASSERT_EQ(regions.size(), 1u);
        EXPECT_EQ(regions[0].GetName(), "take");
        EXPECT_TRUE(regions[0].IsWholeFileRegion());
        EXPECT_EQ(regions[0].GetStopSample(), 500u);
        EXPECT_EQ(regions[0].GetUserTimeStamp(), 7u);
        EXPECT_EQ(regions[0].GetOrigTimeStamp(), 8u);
        Sys_Umid const id = regions[0].GetUmid();

        file.SetNumSamples(500); // the same length still replaces the region
        regions = Regions(file, false);
        ASSERT_EQ(regions.size(), 1u);
        EXPECT_FALSE(regions[0].GetUmid() == id);

        file.SetNumSamples(0);
        regions = Regions(file, false);
        ASSERT_EQ(regions.size(), 1u);
        EXPECT_EQ(regions[0].GetStopSample(), 0u);
    }
}

// The whole-file region takes the file name, cut between characters. A file
// open for reading is not written: a write throws, and removing a region
// without identity opens nothing.
TEST_F(FF_AudioFileWrite, AFileNameLongerThanARegionNameIsCutAndAReadingOpenWritesNothing)
{
    std::string const e = "\xC3\xA9"; // two bytes
    auto times = [](std::string const& s, int n)
    {
        std::string r;
        while (n-- > 0)
            r += s;
        return r;
    };
    struct
    {
        std::string name, region;
    } const cases[] = {
        {std::string(31, 'a'), std::string(31, 'a')},
        {std::string(200, 'b'), std::string(31, 'b')},
        {times(e, 20), times(e, 15)},
        {std::string(30, 'c') + e, std::string(30, 'c')},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.name);
        // Written, given a length (the recording's end), and listed.
        std::string const path = New(c.name + ".wav", 10);
        Bytes const before = vfltest::ReadWholeFile(path);
        FF_AudioFile file((Sys_FileLoc(path)));
        file.Implements(FF_AudioFile::eNativeInterface);
        {
            // A removal without identity opens nothing (not even for
            // writing a file open for reading) and removes nothing.
            FF_AudioFile::StOpen reading(&file, FF_AudioFile::eOpenRead);
            std::int16_t samples[8] = {};
            EXPECT_EQ(fftest::ErrnoOf([&] { file.SampleWrite(samples, 4); }), 9); // EBADF
            file.RemoveRegion(Sys_Umid{});
        }
        EXPECT_FALSE(file.IsOpen());
        EXPECT_EQ(vfltest::ReadWholeFile(path), before);
        EXPECT_EQ(Regions(file, false).size(), 1u);
        auto regions = Regions(file, true);
        ASSERT_EQ(regions.size(), 1u);
        EXPECT_EQ(regions[0].GetName(), c.region);
        // A foreign file has none on disk: the one listed is made up.
        FF_AudioFile foreign((Sys_FileLoc(Foreign("f" + c.name.substr(1) + ".wav", 10))));
        regions = Regions(foreign, true);
        ASSERT_EQ(regions.size(), 1u);
        EXPECT_EQ(regions[0].GetName(), "f" + c.region.substr(1));
    }
}

TEST_F(FF_AudioFileWrite, FormatStampsTypeAndCreator)
{
    static std::vector<std::pair<std::uint32_t, std::uint32_t>> stamps;
    stamps.clear();
    FF_AudioFile::SetSetFileAndCreatorTypeMethod([](Sys_FileLoc const&, std::uint32_t type, std::uint32_t creator)
                                                 { stamps.emplace_back(type, creator); });
    std::string const path = Foreign("old.wav", 100);
    {
        FF_AudioFile file((Sys_FileLoc(path)));
        ASSERT_TRUE(file.Implements(FF_AudioFile::eImportExportInterface));
        file.Format(Sys_FileType(std::string("wav")), 1, 48000, 24, 0);
        EXPECT_EQ(file.GetFileType(), Sys_FileType(std::string("wav")));
        EXPECT_EQ(file.GetAudioFileAttr().GetNumSamples(), 0);
        EXPECT_TRUE(file.Implements(FF_AudioFile::eVelmoraInterface));
    }
    FF_AudioFile::SetSetFileAndCreatorTypeMethod(nullptr);
    ASSERT_EQ(stamps.size(), 1u);
    EXPECT_EQ(stamps[0].first, 0x2E574156u);  // ".WAV"
    EXPECT_EQ(stamps[0].second, 0x4E75766Fu); // "Nuvo"
    FF_AudioFile again((Sys_FileLoc(path)));
    EXPECT_EQ(again.GetAudioFileAttr().GetBitsPerSample(), 24);
}

// A file past 4 GiB takes the 64-bit WAVE form: 'RF64' header, sizes in
// a 'ds64' chunk right behind it, 0xFFFFFFFF in the 32-bit fields; its
// frames and last samples read back. A new file; another tool's file grown
// past 4 GiB, whose 'JUNK' chunk behind the header the 'ds64' replaces so
// that its audio stays where it stands; and a file another tool wrote past
// 4 GiB with its sizes wrapped to 32 bits, read whole and made RF64 at its
// rewrite, its 'JUNK' of the size of a 'ds64' or larger (what is left of it
// stays a 'JUNK'). A grown file with no 'JUNK' gives up another chunk in
// front of the audio, which goes behind it whole, rather than have its
// audio moved. The files are sparse: only their ends are written.
TEST_F(FF_AudioFileWrite, PastFourGigabytesTheFileBecomesRF64)
{
    int64 const frames = (int64{1} << 31) + 1000; // 16-bit mono: 4 GiB and 2000 bytes
    std::vector<std::int16_t> tail(1000);
    std::iota(tail.begin(), tail.end(), std::int16_t{-500});
    struct
    {
        std::string kind;
        std::size_t junkBody;
        char id[5] = "JUNK";
        bool behindFmt = false; // the chunk stands between 'fmt ' and the audio
    } const cases[] = {{"new", 0},       {"grown", 28},         {"wrapped", 28},
                       {"wrapped", 100}, {"grown", 72, "LIST"}, {"grown", 72, "LIST", true}};
    for (auto const& [kind, junkBody, id, behindFmt] : cases)
    {
        std::string const name = kind + std::to_string(junkBody) + id + (behindFmt ? "b" : "");
        SCOPED_TRACE(name);
        std::string const path = mDir.File(name + ".wav");
        int64 const fmtAt = behindFmt ? 20 : 20 + static_cast<int64>(junkBody),
                    dataAt = 44 + static_cast<int64>(junkBody);
        Bytes const other = ChunkFileBuilder().Chunk(id, Bytes(junkBody, id[0] == 'J' ? 0 : 'L')).Bytes();
        if (kind != "new") // the sizes of 1000 frames: 4 GiB and 1000 frames wrapped
        {
            ChunkFileBuilder b;
            b.RiffHeader().Raw(behindFmt ? Bytes() : other).Fmt(1, 48000, 16).Raw(behindFmt ? other : Bytes());
            vfltest::WriteWholeFile(path, b.Data(Bytes(2000, 1)).Done());
        }
        if (kind == "wrapped")
        {
            std::filesystem::resize_file(path, fmtAt + 32 + 2 * frames - 2000);
            std::ofstream(path, std::ios::binary | std::ios::app)
                .write(reinterpret_cast<char const*>(tail.data()), 2000);
            FF_AudioFile file((Sys_FileLoc(path)));
            EXPECT_EQ(file.GetAudioFileAttr().GetNumSamples(), frames);
            EXPECT_TRUE(file.IsHeaderIncomplete());
        }
        {
            FF_AudioFile file((Sys_FileLoc(path)));
            if (kind == "new")
                file.Format(Sys_FileType(std::string("wav")), 1, 48000, 16, frames);
            FF_AudioFile::StOpen open(&file, FF_AudioFile::eOpenRead | FF_AudioFile::eOpenWrite);
            if (kind != "new") // grows the one, and writes the other's header
                file.SetNumSamples(frames);
            file.SampleSetPosition(Sys_File::kFromStart, frames - 1000);
            std::vector<std::int16_t> copy = tail;
            file.SampleWrite(copy.data(), 1000);
        }
        char head[160] = {};
        std::ifstream(path, std::ios::binary).read(head, sizeof head);
        EXPECT_EQ(std::string(head, 4), "RF64");
        EXPECT_EQ(std::string(head + 12, 4), "ds64");
        auto const number = [&head](int at, std::size_t n)
        {
            std::uint64_t v = 0;
            std::memcpy(&v, head + at, n);
            return v;
        };
        EXPECT_EQ(number(4, 4), 0xFFFFFFFFu);
        EXPECT_EQ(number(28, 8), static_cast<std::uint64_t>(frames) * 2);
        EXPECT_EQ(number(36, 8), static_cast<std::uint64_t>(frames));
        if (kind != "new") // 'fmt ' behind the 'ds64' and the first samples where they stood
        {
            EXPECT_EQ(std::string(head + (behindFmt ? 48 : fmtAt), 4) + std::string(head + dataAt, 4) +
                          std::string(head + dataAt + 8, 8),
                      "fmt data" + std::string(8, '\1'));
        }
        if (junkBody > 28)
        {
            int const junkAt = behindFmt ? 72 : 48;
            EXPECT_EQ(std::string(head + junkAt, 4), "JUNK");
            EXPECT_EQ(number(junkAt + 4, 4), junkBody - 36);
        }
        if (id[0] == 'L') // the chunk given up, whole behind the audio
        {
            Bytes moved(other.size());
            std::ifstream in(path, std::ios::binary);
            in.seekg(dataAt + 8 + 2 * frames);
            in.read(reinterpret_cast<char*>(moved.data()), static_cast<std::streamsize>(moved.size()));
            EXPECT_EQ(moved, other);
        }

        FF_AudioFile file((Sys_FileLoc(path)));
        ASSERT_TRUE(file.Implements(FF_AudioFile::eImportExportInterface));
        EXPECT_EQ(file.GetAudioFileAttr().GetNumSamples(), frames);
        EXPECT_FALSE(file.IsHeaderIncomplete());
        FF_AudioFile::StOpen open(&file, FF_AudioFile::eOpenRead);
        std::vector<std::int16_t> back(1000);
        file.SampleSetPosition(Sys_File::kFromStart, frames - 1000);
        file.SampleRead(back.data(), 1000);
        EXPECT_EQ(back, tail);
        if (vfltest::HaveProgram("ffprobe"))
        {
            std::string out;
            vfltest::RunCommand("ffprobe -v error -show_entries stream=duration_ts -of csv=p=0 " + path, &out);
            EXPECT_EQ(out, std::to_string(frames) + "\n");
        }
    }
}

// An AIFF another tool took past 4 GiB, its sizes wrapped to 32 bits, is
// read whole; a rewrite, which could only give it sizes a reader takes for
// an unfinished header, is refused and leaves the file as it was.
TEST_F(FF_AudioFileWrite, AnAiffPastFourGigabytesIsReadWholeAndNotRewritten)
{
    int64 const frames = (int64{1} << 31) + 1000; // 16-bit mono: 4 GiB and 2000 bytes
    std::string const path = mDir.File("wrapped.aif");
    Bytes const head =
        ChunkFileBuilder(true).Form("AIFF").Comm(1, std::uint32_t(frames), 16, 48000).Ssnd(Bytes(2000, 1)).Done();
    vfltest::WriteWholeFile(path, head);
    std::filesystem::resize_file(path, head.size() + (std::uintmax_t{1} << 32));
    {
        FF_AudioFile file((Sys_FileLoc(path)));
        EXPECT_EQ(file.GetAudioFileAttr().GetNumSamples(), frames);
        EXPECT_TRUE(file.IsHeaderIncomplete());
        EXPECT_THROW(file.Implement(FF_AudioFile::eVelmoraInterface), std::exception);
    }
    EXPECT_EQ(std::filesystem::file_size(path), head.size() + (std::uintmax_t{1} << 32));
    Bytes now(head.size());
    std::ifstream(path, std::ios::binary).read(reinterpret_cast<char*>(now.data()), std::streamsize(now.size()));
    EXPECT_EQ(now, head);
}

TEST_F(FF_AudioFileWrite, InstrumentAsAnIndependentReaderSeesIt)
{
    if (!vfltest::HaveProgram("sndfile-info"))
        GTEST_SKIP() << "sndfile-info is needed";
    std::string const path = New("i.wav", 5000);
    {
        FF_AudioFile file((Sys_FileLoc(path)));
        ASSERT_TRUE(file.Implements(FF_AudioFile::eOrvanelInterface));
        file.SetInstrumentAttr(FF_AudioInstrumentAttr(62, 0, FF_AudioInstrumentAttr::kLoopForward, 100, 1000,
                                                      FF_AudioInstrumentAttr::kLoopForwardBackward, 2000, 3000));
    }
    std::string out;
    ASSERT_EQ(vfltest::RunCommand("sndfile-info --instrument " + path, &out), 0);
    EXPECT_NE(out.find("Base note   : 62"), std::string::npos) << out;
    EXPECT_NE(out.find("Loop points : 2"), std::string::npos) << out;
    // That reader reports a loop's end as the stored end plus one.
    EXPECT_TRUE(std::regex_search(out, std::regex("Mode : fwd +Start : +100 +End : +1001"))) << out;
    EXPECT_TRUE(std::regex_search(out, std::regex("Mode : alt +Start : +2000 +End : +3001"))) << out;
}

// Unsigned 8-bit AIFF-C ('raw '): read signed, written back unsigned, and a
// kept buffer comes back as the caller gave it.
TEST_F(FF_AudioFileWrite, UnsignedBytesOfAnotherToolStayUnsigned)
{
    std::string const path = mDir.File("u8.aif");
    vfltest::WriteWholeFile(
        path, ChunkFileBuilder(true).Form("AIFC").CommC(1, 4, 8, 8000, "raw ", "").Ssnd({0x80, 0x81, 0x7F, 0}).Done());
    FF_AudioFile file((Sys_FileLoc(path)));
    ASSERT_TRUE(file.Implements(FF_AudioFile::eImportExportInterface)) << file.GetUnknownReason();
    {
        FF_AudioFile::StOpen open(&file, FF_AudioFile::eOpenRead | FF_AudioFile::eOpenWrite);
        std::int8_t samples[4] = {};
        file.SampleRead(samples, 4);
        EXPECT_EQ(std::vector<std::int8_t>(samples, samples + 4), (std::vector<std::int8_t>{0, 1, -1, -128}));
        std::int8_t more[2] = {5, -5};
        file.SampleSetPosition(Sys_File::kFromStart, 4);
        file.SampleWrite(more, 2, FF_AudioFile::ePreserveBuffer);
        EXPECT_EQ(more[0], 5);
        EXPECT_EQ(more[1], -5);
        file.SetNumSamples(6);
    }
    Bytes const b = vfltest::ReadWholeFile(path);
    auto const ssnd = std::search(b.begin(), b.end(), std::begin("SSND"), std::end("SSND") - 1);
    ASSERT_NE(ssnd, b.end());
    EXPECT_EQ(Bytes(ssnd + 16, ssnd + 22), (Bytes{0x80, 0x81, 0x7F, 0, 0x85, 0x7B}));
}

TEST_F(FF_AudioFileWrite, AFullDiskThrowsAndKeepsWhatIsOnDisk)
{
    fftest::SmallDisk const disk(mDir);
    if (!disk.Mounted())
        GTEST_SKIP() << "cannot mount a small tmpfs here";
    std::string const path = disk.File("full.wav");
    {
        FF_AudioFile file((Sys_FileLoc(path)));
        file.Format(Sys_FileType(std::string("wav")), 2, 44100, 16, 0);
        file.Open(FF_AudioFile::eOpenRead | FF_AudioFile::eOpenWrite);
        std::vector<std::int16_t> block(2 * 16384);
        auto const err = fftest::ErrnoOf(
            [&]
            {
                for (int i = 0; i < 64; ++i)
                    file.SampleWrite(block.data(), 16384);
            });
        EXPECT_EQ(err, std::optional<std::int32_t>(28)); // ENOSPC
        EXPECT_NO_THROW(file.Close());
    }
    {
        // What stands in front of the audio is as the format wrote it; the
        // header never got the length, and every whole frame that reached
        // the disk is read, as from a recorder that stopped.
        FF_AudioFile file((Sys_FileLoc(path)));
        EXPECT_TRUE(file.Implements(FF_AudioFile::eImportExportInterface));
        EXPECT_TRUE(file.Implements(FF_AudioFile::eEbuInterface));
        EXPECT_TRUE(file.IsHeaderIncomplete());
        auto const size = static_cast<int64>(std::filesystem::file_size(path));
        EXPECT_GT(file.GetAudioFileAttr().GetNumSamples(), 0);
        EXPECT_EQ(file.GetAudioFileAttr().GetNumSamples(), (size - 1024) / 4);
        EXPECT_EQ(file.GetAudioFileAttr().GetNumChannels(), 2);
    }
}
} // namespace
