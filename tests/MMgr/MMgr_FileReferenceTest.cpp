// Shared references to audio files: one object per file, private positions
// on many threads, following a file that moved or changed, and the answers
// of a reference whose file has gone.
#include "MMgr/MMgr_FileReference.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <thread>

#include "FF/FF_AudioFile.h"
#include "MMgr/MMgr_LockingReference.h"
#include "MMgr_TestFiles.h"
#include "Sys/Sys_FileTestSupport.h"

namespace
{

namespace fs = std::filesystem;

FF_AudioFile* ObjectOf(MMgr_FileReference const& ref)
{
    return ref.operator->().operator->();
}

// Reads `frames` frames through the reference and checks them against the
// ramp from `start`: each reference reads as a reader of its own would.
bool ReadsRamp(MMgr_FileReference& ref, std::int64_t start, std::int64_t frames)
{
    std::vector<std::int16_t> buffer(2 * frames);
    ref->SampleRead(buffer.data(), frames);
    return buffer == vfltest::Ramp(frames, start);
}

// A modification time of its own, as another program's write would leave.
void Touch(std::string const& path, int seconds)
{
    fs::last_write_time(path, fs::last_write_time(path) + std::chrono::seconds(seconds));
}

class MMgrFileReferenceTest : public vfltest::SysFolderTest
{
protected:
    std::string Path(std::string const& name) const { return Dir() + name; }
};

TEST_F(MMgrFileReferenceTest, ReferencesToOneFileShareItAndReadLikeIndependentReaders)
{
    for (bool identity : {true, false})
    {
        SCOPED_TRACE(identity ? "with identifier" : "without identifier");
        std::string const path = Path(identity ? "umid.wav" : "foreign.wav");
        vfltest::MakeRampFile(path, 100000, identity);
        MMgr_FileReference a((Sys_FileLoc(path))), b((Sys_FileLoc(path)));
        ASSERT_TRUE(a.IsOnline());
        EXPECT_TRUE(a == b);

        a->Open(FF_AudioFile::eOpenRead);
        a->SampleSetPosition(Sys_File::kFromStart, 0);
        b->SampleSetPosition(Sys_File::kFromStart, 70000);
        std::int64_t posA = 0, posB = 70000;
        for (std::int64_t n = 100; n < 1000; posA += n, posB += n, n += 37)
        {
            EXPECT_TRUE(ReadsRamp(a, posA, n));
            EXPECT_TRUE(ReadsRamp(b, posB, n));
        }
        // A copy starts where its source stood, then goes its own way.
        MMgr_FileReference copy(a);
        EXPECT_TRUE(ReadsRamp(copy, posA, 500));
        EXPECT_EQ(a->SampleGetPosition(), posA);
        a->Close();
    }
}

TEST_F(MMgrFileReferenceTest, FourThreadsReadTheRampThroughSharedReferences)
{
    std::string const path = Path("ramp.wav");
    constexpr int kThreads = 4, kStatements = 10000, kFrames = 64;
    vfltest::MakeRampFile(path, 1 << 20);
    MMgr_FileReference shared((Sys_FileLoc(path)));
    shared->Open(FF_AudioFile::eOpenRead);
    std::vector<MMgr_FileReference> refs(kThreads, shared);
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back(
            [&, t]
            {
                std::int64_t position = 4099 * t;
                try
                {
                    refs[t]->SampleSetPosition(Sys_File::kFromStart, position);
                    for (int s = 0; s < kStatements; ++s, position += kFrames)
                        wrong += !ReadsRamp(refs[t], position, kFrames);
                }
                catch (std::exception const&)
                {
                    ++wrong; // a read from where this reference never was
                }
            });
    for (auto& thread : threads)
        thread.join();
    shared->Close();
    EXPECT_EQ(wrong.load(), 0);
}

TEST_F(MMgrFileReferenceTest, AChangedOrMovedFileGetsANewObjectThatEveryReferenceFollows)
{
    std::string const first = Path("take.wav"), moved = Path("moved.wav");
    vfltest::MakeRampFile(first, 1000);
    MMgr_FileReference old((Sys_FileLoc(first)));
    FF_AudioFile* const before = ObjectOf(old);
    EXPECT_EQ(ObjectOf(MMgr_FileReference(Sys_FileLoc(first))), before); // unchanged: the same object

    Touch(first, 10);
    MMgr_FileReference changed((Sys_FileLoc(first)));
    EXPECT_NE(ObjectOf(changed), before);
    EXPECT_EQ(ObjectOf(old), ObjectOf(changed));

    fs::copy_file(first, moved);
    MMgr_FileReference atMoved((Sys_FileLoc(moved)));
    EXPECT_TRUE(old == atMoved);
    EXPECT_EQ(old.GetFileLoc().GetFullPath(), moved);
    // The old place no longer leads to the object: asked for, it makes a new one.
    FF_AudioFile* const atMovedObject = ObjectOf(atMoved);
    MMgr_FileReference again((Sys_FileLoc(first)));
    EXPECT_NE(ObjectOf(again), atMovedObject);
    EXPECT_EQ(atMoved.GetFileLoc().GetFullPath(), first);
}

TEST_F(MMgrFileReferenceTest, ALocationThatGetsAnotherFileRebindsAsTheFilesSay)
{
    // A file without identifier is its place: a reference to it sees what comes there.
    struct Case
    {
        bool oldIdentity, newIdentity, follows;
    } const cases[] = {{true, true, false}, {true, false, false}, {false, false, true}, {false, true, true}};
    int n = 0;
    for (Case const& c : cases)
    {
        SCOPED_TRACE(testing::Message() << c.oldIdentity << " then " << c.newIdentity);
        std::string const path = Path("place" + std::to_string(n++) + ".wav");
        vfltest::MakeRampFile(path, 1000, c.oldIdentity);
        MMgr_FileReference old((Sys_FileLoc(path)));
        vfltest::MakeRampFile(path, 2000, c.newIdentity);
        Touch(path, 20);
        MMgr_FileReference now((Sys_FileLoc(path)));
        EXPECT_EQ(old == now, c.follows);
        EXPECT_TRUE(old.IsOnline());
        EXPECT_EQ(old.GetAudioFileAttr().GetNumSamples(), c.follows ? 2000 : 1000);
    }
}

TEST_F(MMgrFileReferenceTest, AReferenceWhoseFileHasGoneAnswersWhatItKnew)
{
    MMgr_FileReference const empty;
    EXPECT_FALSE(empty.IsOnline());
    EXPECT_FALSE(static_cast<bool>(empty));

    // A foreign file, known by its place, gets an identifier and then moves: the place is empty.
    std::string const path = Path("adopted.wav"), moved = Path("elsewhere.wav");
    vfltest::MakeRampFile(path, 1000, false);
    MMgr_FileReference byPlace((Sys_FileLoc(path)));
    FF_AudioFile(Sys_FileLoc(path)).Implement(FF_AudioFile::eVelmoraInterface);
    Touch(path, 30);
    MMgr_FileReference adopted((Sys_FileLoc(path)));
    EXPECT_TRUE(byPlace == adopted);
    fs::rename(path, moved);
    MMgr_FileReference atNewPlace((Sys_FileLoc(moved)));

    EXPECT_TRUE(static_cast<bool>(byPlace));
    EXPECT_FALSE(byPlace.IsOnline());
    EXPECT_EQ(byPlace.GetFileLoc().GetFullPath(), path);
    EXPECT_EQ(byPlace.GetAudioFileAttr().GetNumSamples(), 1000);
    EXPECT_TRUE(adopted == atNewPlace);
    EXPECT_THROW(byPlace.operator->(), std::runtime_error);
    EXPECT_TRUE(MMgr_FileReference(byPlace) == byPlace); // both lead to nothing

    // What cannot be bound leaves the reference empty.
    vfltest::WriteWholeFile(path, {'n', 'o', 't', ' ', 'a', 'u', 'd', 'i', 'o'});
    EXPECT_TRUE(vfltest::ThrowsCode([&] { atNewPlace.SetFileLoc(Sys_FileLoc(path)); }, XC_FF_FileTypeNotSupported));
    EXPECT_FALSE(static_cast<bool>(atNewPlace));
    EXPECT_EQ(vfltest::SystemErrorOf([&] { MMgr_FileReference(Sys_FileLoc(Path("missing.wav"))); }), ENOENT);
    EXPECT_THROW(MMgr_FileReference(Sys_Umid{}, Sys_FileLoc(moved), FF_AudioFileAttr()), std::runtime_error);
}

} // namespace
