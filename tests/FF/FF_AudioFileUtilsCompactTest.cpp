// Compaction in place: the audio kept is the kept stretches cut from the
// original by sox, regions wholly inside one stretch move with it, a
// shortened file is a new piece of media, refusals touch nothing, and a
// process killed at any byte of the work leaves a file that opens and reads.
#include "Cmn/Cmn_Exception.h"
#include "Cmn/Cmn_IntervalList.h"
#include "FF/FF_AudioFile.h"
#include "FF/FF_AudioFileUtils.h"
#include "FF/FF_AudioProcessFileTestSupport.h"
#include "FF/PlugIns/UAFOvwfChunk.h"
#include "Sys/Posix/Sys_FilePosixCalls.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_FunctionObject.h"
#include "support/ChunkFileBuilder.h"
#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <random>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
using Bytes = std::vector<std::uint8_t>;

struct Region
{
    std::string name;
    int64 start, stop, sync;
    bool operator==(Region const&) const = default;
};

std::ostream& operator<<(std::ostream& out, Region const& r)
{
    return out << r.name << " [" << r.start << ", " << r.stop << ") sync " << r.sync;
}

class Pulses : public Sys_FunctionObject
{
public:
    void operator()() override { ++mCount; }
    int64 mCount = 0;
};

class FF_AudioFileCompact : public ::testing::Test
{
protected:
    void SetUp() override { fffiles::InitFileTypes(); }
    void TearDown() override { Sys_FilePosixCalls::Current() = Sys_FilePosixCalls::System(); }

    // A new WAVE file of noise, with regions and an 8-bit overview.
    std::string Make(std::string const& name, int channels, int bits, int64 frames,
                     std::vector<Region> const& regions = {})
    {
        std::string const path = mDir.File(name);
        FF_AudioFile file((Sys_FileLoc(path)));
        file.Format(Sys_FileType(std::string("wav")), channels, 48000, bits, 0);
        FF_AudioFile::StOpen open(&file, FF_AudioFile::eOpenRead | FF_AudioFile::eOpenWrite);
        int64 const frameBytes = channels * (bits / 8);
        std::mt19937 random(static_cast<unsigned>(frames));
        Bytes block(static_cast<std::size_t>(frameBytes * 65536));
        for (int64 done = 0; done < frames;)
        {
            int64 const n = std::min<int64>(65536, frames - done);
            for (auto& b : block)
                b = static_cast<std::uint8_t>(random());
            file.SampleWrite(block.data(), n);
            done += n;
        }
        file.SetNumSamples(frames);
        for (auto const& r : regions)
            file.AddRegion(r.name, r.start, r.stop, r.sync, 0, 0);
        // Min and max of each interval of 256 frames, one byte each.
        int32 const intervals = static_cast<int32>((frames + 255) / 256);
        file.SetOverview(UAFOvwfChunk::NewBlock(2 * intervals, 256), 256, 8, intervals);
        return path;
    }

    // The regions of a file, or only its whole-file region.
    static std::vector<Region> Regions(std::string const& path, bool wholeFile = false)
    {
        FF_AudioFile file((Sys_FileLoc(path)));
        std::vector<FF_ImportAudioRegion> regions;
        file.GetRegions(&regions, wholeFile);
        std::vector<Region> out;
        for (auto const& r : regions)
            if (r.IsWholeFileRegion() == wholeFile)
                out.push_back({r.GetName(), static_cast<int64>(r.GetStartSample()),
                               static_cast<int64>(r.GetStopSample()), static_cast<int64>(r.GetSyncSample())});
        return out;
    }
    static std::string Sox(std::string const& args)
    {
        std::string out;
        EXPECT_EQ(vfltest::RunCommand("sox " + args + " 2>/dev/null", &out), 0) << args;
        return out;
    }
    static Cmn_IntervalList List(std::vector<Cmn_Interval> const& intervals)
    {
        Cmn_IntervalList list;
        for (auto const& i : intervals)
            list.Insert(i);
        return list;
    }
    static std::unique_ptr<FF_AudioFile> Compact(std::string const& path, Cmn_IntervalList const& keep,
                                                 Sys_FunctionObject* progress = nullptr)
    {
        return FF_AudioFileUtils::CompactAudioFile(Sys_FileLoc(path), keep, FF_AudioFileUtils::eCompactInPlace,
                                                   progress);
    }

    vfltest::TempDir mDir;
};

TEST_F(FF_AudioFileCompact, KeepsTheStretchesAndTheRegionsInsideThem)
{
    if (!vfltest::HaveProgram("sox"))
        GTEST_SKIP() << "sox is needed";
    constexpr int64 kFrames = 400000;
    // B is two rounds of a 16-bit mono file exactly; C is one frame; D ends
    // at the end of the file.
    std::vector<Cmn_Interval> const keep = {{0, 50000}, {100000, 222880}, {300000, 300001}, {350000, kFrames}};
    int64 const kept = 222881;
    std::vector<Region> const before = {
        {"inA", 1000, 2000, 1500},      {"fillsB", 100000, 222880, 99000}, {"longerB", 100000, 222881, 0},
        {"acrossAB", 40000, 110000, 0}, {"inGap", 60000, 70000, 0},        {"inD", 360000, 370000, 365000},
        {"endOfD", 399000, kFrames, 0}, {"syncOut", 360000, 361000, 1000},
    };
    // Shifted by what was cut in front of them; the sync point moves along,
    // and one that would fall in front of the file stays at its start.
    std::vector<Region> const after = {
        {"inA", 1000, 2000, 1500},   {"fillsB", 50000, 172880, 49000}, {"inD", 182881, 192881, 187881},
        {"endOfD", 221881, kept, 0}, {"syncOut", 182881, 183881, 0},
    };
    struct Case
    {
        int channels, bits;
    } const cases[] = {{1, 16}, {1, 24}, {2, 16}, {6, 24}};
    for (auto const& c : cases)
    {
        std::string const tag = std::to_string(c.channels) + "ch" + std::to_string(c.bits);
        SCOPED_TRACE(tag);
        std::string const path = Make(tag + ".wav", c.channels, c.bits, kFrames, before);
        std::string const original = mDir.File(tag + "-original.wav");
        std::filesystem::copy_file(path, original);
        Sys_Umid umid;
        {
            FF_AudioFile file((Sys_FileLoc(path)));
            umid = file.GetUmid();
            ASSERT_TRUE(file.HasOverview(256, 8));
        }

        Pulses pulses;
        Cmn_IntervalList const list = List(keep);
        auto file = Compact(path, list, &pulses);
        ASSERT_TRUE(file);
        EXPECT_FALSE(file->IsOpen());
        EXPECT_EQ(pulses.mCount, FF_AudioFileUtils::CountCompactRounds(file->GetAudioFileAttr(), list));
        EXPECT_EQ(file->GetAudioFileAttr().GetNumSamples(), kept);
        file.reset();

        std::string expected;
        for (auto const& i : keep)
            expected +=
                Sox(original + " -t raw - trim " + std::to_string(i.start) + "s =" + std::to_string(i.end) + "s");
        std::string const actual = Sox(path + " -t raw -");
        EXPECT_EQ(actual.size(), expected.size());
        EXPECT_TRUE(actual == expected) << "the audio is not the kept stretches";

        EXPECT_EQ(Regions(path), after);
        // The whole-file region is made anew over the new length.
        EXPECT_EQ(Regions(path, true), (std::vector<Region>{{tag, 0, kept, 0}}));

        FF_AudioFile back((Sys_FileLoc(path)));
        EXPECT_NE(back.GetUmid(), umid);
        EXPECT_FALSE(back.HasOverview(256, 8));
    }
}

TEST_F(FF_AudioFileCompact, KeepingAllOrNothing)
{
    std::vector<Region> const regions = {{"a", 10, 20, 15}, {"b", 0, 999, 0}};
    // All of it: the same media, its overview kept, its regions made anew.
    std::string const path = Make("all.wav", 1, 16, 1000, regions);
    FF_AudioFile before((Sys_FileLoc(path)));
    std::vector<FF_ImportAudioRegion> old, now;
    before.GetRegions(&old, false);
    Compact(path, List({{0, 1000}}));
    FF_AudioFile after((Sys_FileLoc(path)));
    EXPECT_EQ(after.GetUmid(), before.GetUmid());
    EXPECT_TRUE(after.HasOverview(256, 8));
    EXPECT_EQ(Regions(path), regions);
    after.GetRegions(&now, false);
    for (std::size_t i = 0; i < now.size() && i < old.size(); ++i)
        EXPECT_NE(now[i].GetUmid(), old[i].GetUmid());

    // Nothing: no round, no frame, the whole-file region alone.
    std::string const none = Make("none.wav", 2, 16, 1000, regions);
    Pulses pulses;
    Compact(none, Cmn_IntervalList(), &pulses);
    EXPECT_EQ(pulses.mCount, 0);
    EXPECT_TRUE(Regions(none).empty());
    EXPECT_EQ(Regions(none, true), (std::vector<Region>{{"none", 0, 0, 0}}));
}

TEST_F(FF_AudioFileCompact, RoundsAreWholeFramesOfTheBuffer)
{
    struct Case
    {
        int channels, bits;
        std::vector<Cmn_Interval> keep;
        int64 rounds;
    } const cases[] = {
        {1, 16, {{0, 122880}}, 1}, {1, 16, {{0, 122881}}, 2}, {1, 16, {{5, 5 + 2 * 122880}}, 2},
        {2, 16, {{0, 122880}}, 2}, {6, 24, {{0, 13653}}, 1},  {6, 24, {{0, 13654}}, 2},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(::testing::Message() << c.channels << " x " << c.bits << " bits, " << c.keep.size()
                                          << " stretch(es) from " << (c.keep.empty() ? 0 : c.keep[0].end));
        FF_AudioFileAttr const attr(Sys_FileType(std::string("wav")), FF_AudioFileAttr::eLittleEndian,
                                    static_cast<int16>(c.channels), 48000, static_cast<int16>(c.bits),
                                    static_cast<int16>(c.bits / 8), 1 << 20);
        EXPECT_EQ(FF_AudioFileUtils::CountCompactRounds(attr, List(c.keep)), c.rounds);
    }
}

TEST_F(FF_AudioFileCompact, RefusalsTouchNothing)
{
    std::string const audio = Make("take.wav", 1, 16, 1000, {{"r", 1, 2, 0}});
    std::string const text = mDir.File("notes.wav");
    vfltest::WriteWholeFile(text, Bytes(100, 'x'));
    struct Case
    {
        char const* name;
        std::string path;
        std::vector<Cmn_Interval> keep;
        XC_BaseExceptionCode const* code;
    } const cases[] = {
        {"beyond the end", audio, {{0, 10}, {990, 1001}}, &XC_FF_PlugIn_BadParameter},
        {"not audio", text, {{0, 10}}, &XC_FF_FileTypeNotSupported},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.name);
        Bytes const bytes = vfltest::ReadWholeFile(c.path);
        fffiles::Thrown const t = fffiles::ThrownBy([&] { Compact(c.path, List(c.keep)); });
        EXPECT_TRUE(t.code == *c.code);
        EXPECT_NE(t.text.find(c.path), std::string::npos) << t.text;
        EXPECT_TRUE(vfltest::ReadWholeFile(c.path) == bytes);
    }
    EXPECT_THROW(FF_AudioFileUtils::CompactAudioFile(Sys_FileLoc(audio), List({{0, 10}}),
                                                     FF_AudioFileUtils::eCompactToNewFile, nullptr),
                 std::runtime_error);
}

// Another tool's AIFF past 4 GiB, its sizes wrapped: kept stretches that
// still pass the 32-bit sizes are refused before any audio moves (the
// length could not be set after it), and a compaction to less than that
// makes a whole file. Sparse, and compared by its head and size.
TEST_F(FF_AudioFileCompact, AnAiffPastFourGigabytesIsCompactedOnlyToWhatItsSizesRecord)
{
    std::string const path = mDir.File("wrapped.aif");
    int64 const frames = (int64{1} << 31) + 1000; // 16-bit mono
    Bytes audio(8000);                            // the frames a wrong move would shift, each its own
    for (std::size_t i = 0; i < audio.size(); ++i)
        audio[i] = static_cast<std::uint8_t>(i % 251);
    Bytes const head = ChunkFileBuilder(true).Form("AIFF").Comm(1, std::uint32_t(frames), 16, 48000).Ssnd(audio).Done();
    vfltest::WriteWholeFile(path, head);
    std::filesystem::resize_file(path, head.size() + (std::uintmax_t{1} << 32));
    auto const state = [&path]
    {
        Bytes bytes(1 << 16);
        std::ifstream(path, std::ios::binary)
            .read(reinterpret_cast<char*>(bytes.data()), std::streamsize(bytes.size()));
        return std::make_pair(bytes, std::filesystem::file_size(path));
    };
    auto const before = state();
    fffiles::Thrown const refusal = fffiles::ThrownBy([&] { Compact(path, List({{0, 1000}, {2000, frames}})); });
    EXPECT_TRUE(refusal.code == XC_FF_PlugIn_BadParameter);
    EXPECT_NE(refusal.text.find("sizes record"), std::string::npos) << refusal.text;
    EXPECT_TRUE(state() == before);

    Compact(path, List({{0, 1000}, {frames - 10, frames}}));
    FF_AudioFile file((Sys_FileLoc(path)));
    EXPECT_EQ(file.GetAudioFileAttr().GetNumSamples(), 1010);
    EXPECT_FALSE(file.IsHeaderIncomplete());
    EXPECT_LT(std::filesystem::file_size(path), 4096u);
    FF_AudioFile::StOpen open(&file, FF_AudioFile::eOpenRead);
    std::vector<std::int16_t> samples(1010);
    file.SampleRead(samples.data(), 1010);
    for (int i = 0; i < 1000; ++i)
        ASSERT_EQ(samples[i], static_cast<std::int16_t>(audio[2 * i] << 8 | audio[2 * i + 1])) << i;
    EXPECT_EQ(std::count(samples.begin() + 1000, samples.end(), 0), 10);
}

// ------------------------------------------------------------ killed at any byte

// Bytes the disk takes before the process dies; a truncation counts as one.
int64 sBudget = 0;
bool sKill = false;
int64 sWritten = 0;
int64 sWrittenAtFirstTruncate = -1;

int64 CountingPwrite(int fd, void const* buffer, uint64 count, int64 offset)
{
    if (sKill && static_cast<int64>(count) >= sBudget)
    {
        // A write torn where the budget ends.
        if (sBudget > 0)
            Sys_FilePosixCalls::System().pwrite(fd, buffer, static_cast<uint64>(sBudget), offset);
        std::raise(SIGKILL);
    }
    sBudget -= static_cast<int64>(count);
    sWritten += static_cast<int64>(count);
    return Sys_FilePosixCalls::System().pwrite(fd, buffer, count, offset);
}

int CountingFtruncate(int fd, int64 length)
{
    if (sKill && sBudget <= 0)
        std::raise(SIGKILL);
    if (sWrittenAtFirstTruncate < 0)
        sWrittenAtFirstTruncate = sWritten;
    --sBudget;
    ++sWritten;
    return Sys_FilePosixCalls::System().ftruncate(fd, length);
}

void CountWrites(bool kill, int64 budget)
{
    Sys_FilePosixCalls::Current().pwrite = &CountingPwrite;
    Sys_FilePosixCalls::Current().ftruncate = &CountingFtruncate;
    sKill = kill;
    sBudget = budget;
}

TEST_F(FF_AudioFileCompact, AProcessKilledAtAnyByteLeavesAFileThatOpensAndReads)
{
    // 24 MiB of 16-bit mono, half of it kept in ten stretches, with regions
    // so that the metadata behind the audio is rewritten at the end.
    constexpr int64 kFrames = 12 << 20;
    constexpr int64 kStep = kFrames / 10;
    Cmn_IntervalList keep;
    for (int64 i = 0; i < 10; ++i)
        keep.Insert({i * kStep + kStep / 4, i * kStep + 3 * kStep / 4});
    int64 const kept = keep.GetTotalLength();
    std::string const pristine =
        Make("pristine.wav", 1, 16, kFrames, {{"first", kStep / 4 + 10, kStep / 4 + 20, 0}, {"gone", 0, 100, 0}});
    std::string const path = mDir.File("take.wav");

    // A whole run, counting what it writes.
    std::filesystem::copy_file(pristine, path);
    CountWrites(false, 0);
    Compact(path, keep);
    Sys_FilePosixCalls::Current() = Sys_FilePosixCalls::System();
    int64 const total = sWritten;
    int64 const tail = sWrittenAtFirstTruncate;
    ASSERT_GT(tail, 0);
    Bytes const done = vfltest::ReadWholeFile(path);

    // Kill points anywhere, and as many again once the copy is over, where
    // the length changes and the metadata is written.
    std::random_device device;
    unsigned const seed = device();
    SCOPED_TRACE(::testing::Message() << "seed " << seed);
    std::mt19937_64 random(seed);
    std::vector<int64> points = {0, tail - 1, tail, tail + 1, total - 1};
    for (int i = 0; i < 8; ++i)
    {
        points.push_back(std::uniform_int_distribution<int64>(0, tail)(random));
        points.push_back(std::uniform_int_distribution<int64>(tail, total - 1)(random));
    }
    for (int64 const point : points)
    {
        SCOPED_TRACE(::testing::Message() << "killed after " << point << " of " << total << " bytes");
        std::filesystem::copy_file(pristine, path, std::filesystem::copy_options::overwrite_existing);
        pid_t const child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0)
        {
            CountWrites(true, point);
            try
            {
                Compact(path, keep);
            }
            catch (...)
            {
            }
            ::_exit(3); // the kill point was never reached
        }
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "status " << status;

        FF_AudioFile file((Sys_FileLoc(path)));
        ASSERT_TRUE(file.Implements(FF_AudioFile::eImportExportInterface)) << file.GetUnknownReason();
        FF_AudioFileAttr const attr = file.GetAudioFileAttr();
        EXPECT_EQ(attr.GetNumChannels(), 1);
        EXPECT_EQ(attr.GetBitsPerSample(), 16);
        EXPECT_GE(attr.GetNumSamples(), kept);
        EXPECT_LE(attr.GetNumSamples(), kFrames);
        FF_AudioFile::StOpen open(&file, FF_AudioFile::eOpenRead);
        std::vector<int16> buffer(1 << 20);
        for (int64 at = 0; at < attr.GetNumSamples(); at += static_cast<int64>(buffer.size()))
            file.SampleRead(buffer.data(),
                            std::min<int64>(static_cast<int64>(buffer.size()), attr.GetNumSamples() - at));
        // Once the header gives the new length, the audio is all in place.
        if (attr.GetNumSamples() == kept)
        {
            Bytes const now = vfltest::ReadWholeFile(path);
            int64 const from = file.SampleToOffset(0), to = file.SampleToOffset(kept);
            EXPECT_TRUE(std::equal(done.begin() + from, done.begin() + to, now.begin() + from));
        }
    }
}
} // namespace
