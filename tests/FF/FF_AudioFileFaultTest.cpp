// Failures of the disk at every write of the operations that write a file:
// a full disk (also one that fills up in the middle of a write), a
// file-size limit and an I/O error, also one the disk reports only as it
// writes the bytes back, each end in an exception; a rewrite of a
// foreign file in place never touches its audio or the chunks another tool
// wrote, and a VORN file keeps a fork that tells how to read it.
#include "Cmn/Cmn_Exception.h"
#include "FF/FF_AudioFile.h"
#include "FF/FF_AudioProcessFileTestSupport.h"
#include "FF/PlugIns/PlugInTable.h"
#include "FF/PlugIns/UAFOvwfChunk.h"
#include "Sys/Posix/Sys_FilePosixCalls.h"
#include "Sys/Sys_FileLoc.h"
#include "support/ChunkFileBuilder.h"
#include "support/ChunkWalker.h"
#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <functional>
#include <numeric>

namespace
{
using Bytes = std::vector<std::uint8_t>;

// The calls a failing disk lets through before it fails, with an errno.
int sAllowed = 0;
int sErrno = 0;
bool sFailed = false; // a call failed, or landed in part

bool FailsNow()
{
    if (sAllowed-- > 0)
        return false;
    errno = sErrno;
    sFailed = true;
    return true;
}

int64 FailingPwrite(int fd, void const* buffer, uint64 count, int64 offset)
{
    return FailsNow() ? -1 : Sys_FilePosixCalls::System().pwrite(fd, buffer, count, offset);
}

// A disk that fills up in the middle of a write: half of it lands, then
// the rest fails.
int64 FillingPwrite(int fd, void const* buffer, uint64 count, int64 offset)
{
    if (sAllowed == 0 && count > 1)
    {
        --sAllowed;
        sFailed = true;
        return Sys_FilePosixCalls::System().pwrite(fd, buffer, count / 2, offset);
    }
    return FailingPwrite(fd, buffer, count, offset);
}

// A full disk: writes within the first `sRoom` bytes of the file land, one
// that needs room behind them lands as far as they go and fails there, and
// no room is taken ahead behind them.
int64 sRoom = 0;

int64 FullDiskPwrite(int fd, void const* buffer, uint64 count, int64 offset)
{
    if (offset + static_cast<int64>(count) <= sRoom)
        return Sys_FilePosixCalls::System().pwrite(fd, buffer, count, offset);
    sFailed = true;
    if (offset < sRoom)
        return Sys_FilePosixCalls::System().pwrite(fd, buffer, static_cast<uint64>(sRoom - offset), offset);
    errno = 28; // ENOSPC
    return -1;
}

int FullDiskFallocate(int fd, int64 offset, int64 length)
{
    if (offset + length <= sRoom)
        return Sys_FilePosixCalls::System().fallocate(fd, offset, length);
    sFailed = true;
    errno = 28; // ENOSPC
    return -1;
}

int FailingFtruncate(int fd, int64 length)
{
    return FailsNow() ? -1 : Sys_FilePosixCalls::System().ftruncate(fd, length);
}

// A disk that takes every write and fails as it writes them back. The
// system tells the first sync that follows, and no other.
int FailingFsync(int fd)
{
    if (sAllowed-- != 0)
        return Sys_FilePosixCalls::System().fsync(fd);
    errno = sErrno;
    sFailed = true;
    return -1;
}

// Runs f on a disk that fails after `allowed` calls with `err`; true if it
// threw. With no pwrite, the calls that fail are those that wait for the
// disk.
bool ThrowsOnAFailingDisk(int allowed, int err, decltype(&FailingPwrite) pwrite, std::function<void()> const& f)
{
    sAllowed = allowed;
    sErrno = err;
    sFailed = false;
    if (pwrite)
    {
        Sys_FilePosixCalls::Current().pwrite = pwrite;
        Sys_FilePosixCalls::Current().ftruncate = &FailingFtruncate;
    }
    else
        Sys_FilePosixCalls::Current().fsync = &FailingFsync;
    bool threw = false;
    try
    {
        f();
    }
    catch (Cmn_Exception const&)
    {
        threw = true;
    }
    Sys_FilePosixCalls::Current() = Sys_FilePosixCalls::System();
    return threw;
}

class FF_AudioFileFault : public ::testing::Test
{
protected:
    void SetUp() override { fffiles::InitFileTypes(); }
    void TearDown() override { Sys_FilePosixCalls::Current() = Sys_FilePosixCalls::System(); }

    vfltest::TempDir mDir;
};

constexpr int32 kReadWrite = FF_AudioFile::eOpenRead | FF_AudioFile::eOpenWrite;

Bytes Audio()
{
    Bytes audio(4000);
    std::iota(audio.begin(), audio.end(), std::uint8_t{1});
    return audio;
}

// Audio() as the 1000 frames of a new file of this type, with a region
// "first" and an overview if asked.
void WriteNew(FF_AudioFile& file, Sys_FileType const& type, int32 rate, bool region = false, bool overview = false)
{
    file.Format(type, 2, rate, 16, 0);
    FF_AudioFile::StOpen open(&file, kReadWrite);
    Bytes audio = Audio(); // a write may leave it in the file's order
    file.SampleWrite(audio.data(), 1000);
    file.SetNumSamples(1000);
    if (region)
        file.AddRegion("first", 10, 20, 10, 0, 0);
    if (overview)
        file.SetOverview(UAFOvwfChunk::NewBlock(2 * 4, 256), 256, 8, 4);
}

// A foreign file with chunks of another tool on both sides of the audio,
// one of them odd with its pad, and a tag behind the form.
Bytes ForeignFile()
{
    Bytes b = ChunkFileBuilder()
                  .RiffHeader()
                  .Fmt(2, 44100, 16)
                  .Chunk("LIST", Bytes(27, 'a'))
                  .Data(Audio())
                  .Chunk("smpl", Bytes(60, 3))
                  .Done();
    Bytes const tag(128, 'T');
    b.insert(b.end(), tag.begin(), tag.end());
    return b;
}

TEST_F(FF_AudioFileFault, EveryFailedWriteIsReportedAndForeignBytesSurvive)
{
    using Run = std::function<void(FF_AudioFile&)>;
    struct
    {
        char const* name;
        bool foreign; // rewrites ForeignFile() in place; otherwise makes a new file
        Run run;
    } const ops[] = {
        {"adopt", true,
         [](FF_AudioFile& f)
         {
             FF_AudioFile::StOpen open(&f, kReadWrite);
             f.Implement(FF_AudioFile::eVelmoraInterface);
         }},
        {"add a region", true,
         [](FF_AudioFile& f)
         {
             f.Implement(FF_AudioFile::eVelmoraInterface);
             FF_AudioFile::StOpen open(&f, kReadWrite);
             f.AddRegion("take", 10, 20, 10, 0, 0);
         }},
        {"overwrite the audio", true,
         [](FF_AudioFile& f)
         {
             FF_AudioFile::StOpen open(&f, kReadWrite);
             Bytes same = Audio();
             f.SampleWrite(same.data(), 1000);
         }},
        {"write a new file", false, [](FF_AudioFile& f) { WriteNew(f, Sys_FileType(std::string("wav")), 44100); }},
    };
    Bytes const original = ForeignFile();
    for (auto const& op : ops)
        for (auto [err, pwrite] : {std::pair{28 /* ENOSPC */, &FailingPwrite},
                                   {28, &FillingPwrite},
                                   {27 /* EFBIG */, &FailingPwrite},
                                   {5 /* EIO */, &FailingPwrite},
                                   {5, nullptr}})
        {
            bool failed = true;
            for (int allowed = 0; failed && allowed < 100; ++allowed)
            {
                SCOPED_TRACE(std::string(op.name) + ", errno " + std::to_string(err) + " after " +
                             std::to_string(allowed) + (pwrite ? " writes" : " syncs") +
                             (pwrite == &FillingPwrite ? ", half" : ""));
                std::string const path = mDir.File("f.wav");
                std::filesystem::remove(path);
                if (op.foreign)
                    vfltest::WriteWholeFile(path, original);
                bool const threw = ThrowsOnAFailingDisk(allowed, err, pwrite,
                                                        [&]
                                                        {
                                                            FF_AudioFile file((Sys_FileLoc(path)));
                                                            op.run(file);
                                                        });
                failed = sFailed;
                EXPECT_EQ(threw, failed) << "a failed write must reach the caller";
                if (!op.foreign)
                    continue;
                // The audio and every chunk of the other tool are where they
                // were, whatever the rewrite got to.
                Bytes const after = vfltest::ReadWholeFile(path);
                std::size_t const chunksEnd = original.size() - 128;
                ASSERT_GE(after.size(), chunksEnd);
                EXPECT_TRUE(std::equal(original.begin() + 12, original.begin() + chunksEnd, after.begin() + 12));
                FF_AudioFile again((Sys_FileLoc(path)));
                ASSERT_TRUE(again.Implements(FF_AudioFile::eImportExportInterface));
                EXPECT_EQ(again.GetAudioFileAttr().GetNumSamples(), 1000);
                if (failed)
                    continue;
                // Done: the tag still ends the file.
                EXPECT_TRUE(std::equal(original.end() - 128, original.end(), after.end() - 128));
            }
            EXPECT_FALSE(failed) << op.name << ": more than 100 writes";
        }
}

// Metadata in front of the audio, as some tools order chunks: a region
// added grows it and moves the audio towards the end. On a full disk the
// file is left byte for byte as it was, however many regions went in
// before the disk's room ran out, and the audio reads back whole after.
TEST_F(FF_AudioFileFault, OnAFullDiskMetadataInFrontOfTheAudioMovesNothing)
{
    Bytes const audio = Audio();
    for (auto const& [name, type] : {std::pair{"front.wav", Sys_FileType(std::string("wav"))},
                                     {"front.aif", Sys_FileType(PlugInTable::MacType("AIFF"))}})
    {
        SCOPED_TRACE(name);
        std::string const path = mDir.File(name);
        {
            FF_AudioFile file((Sys_FileLoc(path)));
            WriteNew(file, type, 44100, true);
        }
        vfltest::WriteWholeFile(path, ChunkWalker::AudioLast(vfltest::ReadWholeFile(path)));

        bool threw = false;
        for (int i = 0; i < 50 && !threw; ++i)
        {
            Bytes const before = vfltest::ReadWholeFile(path);
            sRoom = static_cast<int64>(before.size());
            Sys_FilePosixCalls::Current().fallocate = &FullDiskFallocate;
            threw = ThrowsOnAFailingDisk(1000, 28, &FullDiskPwrite,
                                         [&]
                                         {
                                             FF_AudioFile file((Sys_FileLoc(path)));
                                             FF_AudioFile::StOpen open(&file, kReadWrite);
                                             file.AddRegion("a region of a long name " + std::to_string(i), 0, 500, 0,
                                                            0, 0);
                                         });
            if (threw)
            {
                EXPECT_TRUE(vfltest::ReadWholeFile(path) == before) << "changed on a full disk";
            }
        }
        EXPECT_TRUE(threw) << "the disk never ran out: " << ChunkWalker::Layout(vfltest::ReadWholeFile(path));
        FF_AudioFile file((Sys_FileLoc(path)));
        FF_AudioFile::StOpen open(&file, kReadWrite);
        file.AddRegion("with room", 0, 10, 0, 0, 0);
        Bytes back(audio.size());
        file.SampleSetPosition(Sys_File::kFromStart, 0);
        file.SampleRead(back.data(), 1000);
        EXPECT_TRUE(back == audio);
    }
}

// Chunks behind the audio (another tool's, held in memory only until the
// flush, or the file's own regions), on a disk with too little room for
// the frames a host appends: the length is refused before any frame is
// written over their place or any region goes, and the file stays as it
// was.
TEST_F(FF_AudioFileFault, OnAFullDiskAppendedFramesTakeNoPlaceOfTheChunksBehind)
{
    Bytes const audio = Audio();
    Bytes const tags(300, 't');
    std::string const own = mDir.File("own.wav");
    {
        FF_AudioFile file((Sys_FileLoc(own)));
        WriteNew(file, Sys_FileType(std::string("wav")), 44100, true, true);
    }
    for (auto const& [name, before] :
         {std::pair{"foreign.wav",
                    ChunkFileBuilder().RiffHeader().Fmt(2, 44100, 16).Data(audio).Chunk("LIST", tags).Done()},
          {"foreign.aif",
           ChunkFileBuilder(true).Form("AIFF").Comm(2, 1000, 16, 44100).Ssnd(audio).Chunk("ANNO", tags).Done()},
          {"own.wav", vfltest::ReadWholeFile(own)}})
    {
        SCOPED_TRACE(name);
        std::string const path = mDir.File(name);
        vfltest::WriteWholeFile(path, before);
        sRoom = static_cast<int64>(before.size()) + 1000; // less than the frames need
        Sys_FilePosixCalls::Current().fallocate = &FullDiskFallocate;
        EXPECT_TRUE(ThrowsOnAFailingDisk(1000, 28, &FullDiskPwrite,
                                         [&]
                                         {
                                             FF_AudioFile f((Sys_FileLoc(path)));
                                             FF_AudioFile::StOpen open(&f, kReadWrite);
                                             f.SetNumSamples(2000);
                                             Bytes more = audio;
                                             f.SampleSetPosition(Sys_File::kFromStart, 1000);
                                             f.SampleWrite(more.data(), 1000);
                                         }));
        EXPECT_TRUE(vfltest::ReadWholeFile(path) == before);
    }
    // A host that goes on after the refusal and adds a region keeps every
    // region and the overview the file had.
    {
        FF_AudioFile f((Sys_FileLoc(own)));
        FF_AudioFile::StOpen open(&f, kReadWrite);
        Sys_FilePosixCalls::Current().pwrite = &FullDiskPwrite;
        Sys_FilePosixCalls::Current().fallocate = &FullDiskFallocate;
        EXPECT_THROW(f.SetNumSamples(2000), Cmn_Exception);
        Sys_FilePosixCalls::Current() = Sys_FilePosixCalls::System();
        f.AddRegion("later", 30, 40, 30, 0, 0);
    }
    FF_AudioFile f((Sys_FileLoc(own)));
    std::vector<FF_ImportAudioRegion> regions;
    f.GetRegions(&regions, false);
    std::string names;
    for (auto const& r : regions)
        names += r.GetName() + (r.IsWholeFileRegion() ? "(whole) " : " ");
    EXPECT_EQ(names, "own(whole) first later ");
    EXPECT_TRUE(f.HasOverview(256, 8));
}

// The fork of a VORN file is all that tells how to read its audio: a write
// of it that fails, at any point, leaves the old fork whole.
TEST_F(FF_AudioFileFault, AFailedForkWriteLeavesTheOldFork)
{
    std::string const path = mDir.File("take.vorn");
    {
        FF_AudioFile file((Sys_FileLoc(path)));
        WriteNew(file, Sys_FileType(PlugInTable::MacType("Vn4f")), 22050);
    }
    Bytes const fork = vfltest::ReadWholeFile(mDir.File("Resource.FRK/take.vorn"));
    for (int err : {28 /* ENOSPC */, 5 /* EIO */})
        for (int allowed = 0; allowed < 3; ++allowed)
        {
            SCOPED_TRACE("errno " + std::to_string(err) + " after " + std::to_string(allowed) + " writes");
            vfltest::WriteWholeFile(mDir.File("Resource.FRK/take.vorn"), fork);
            bool const threw =
                ThrowsOnAFailingDisk(allowed, err, &FillingPwrite,
                                     [&]
                                     {
                                         FF_AudioFile file((Sys_FileLoc(path)));
                                         FF_AudioFile::StOpen open(&file, kReadWrite);
                                         for (int i = 0; i < 40; ++i)
                                             file.AddRegion("take " + std::to_string(i), 10, 20 + i, 10, 0, 0);
                                     });
            EXPECT_EQ(threw, sFailed);
            FF_AudioFile again((Sys_FileLoc(path)));
            ASSERT_TRUE(again.Implements(FF_AudioFile::eImportExportInterface));
            EXPECT_EQ(again.GetAudioFileAttr().GetSamplesPerSec(), 22050);
            EXPECT_EQ(again.GetAudioFileAttr().GetNumSamples(), 1000);
        }
}
} // namespace
