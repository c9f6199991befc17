// Shared references to audio files: one object per file, private positions,
// following a file that moved or changed, and the answers of a reference
// whose file has gone.
#include "MMgr/MMgr_FileReference.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <thread>

#include "FF/FF_AudioFile.h"
#include "MMgr/MMgr_LockingReference.h"
#include "MMgr_TestFiles.h"
#include "Sys/Sys_FileTestSupport.h"

namespace
{

namespace fs = std::filesystem;

// The object a reference reaches.
FF_AudioFile* ObjectOf(MMgr_FileReference const& ref)
{
    return ref.operator->().operator->();
}

// Frames read through any reader, checked against the ramp from `start`.
bool ReadsRamp(std::function<void(std::int16_t*, std::int64_t)> const& read, std::int64_t start, std::int64_t frames)
{
    std::vector<std::int16_t> buffer(2 * frames);
    read(buffer.data(), frames);
    for (std::int64_t i = 0; i < frames; ++i)
        if (buffer[2 * i] != vfltest::RampSample(start + i, 0) ||
            buffer[2 * i + 1] != vfltest::RampSample(start + i, 1))
            return false;
    return true;
}

// Gives a file a modification time of its own, as another program's write would.
void Touch(std::string const& path, int seconds)
{
    fs::last_write_time(path, fs::last_write_time(path) + std::chrono::seconds(seconds));
}

class MMgrFileReferenceTest : public vfltest::SysLayerTest
{
protected:
    std::string Path(std::string const& name) const { return fs::canonical(mDir.Path()).string() + "/" + name; }

    vfltest::TempDir mDir;
};

TEST_F(MMgrFileReferenceTest, ReferencesToOneFileShareItAndReadFromTheirOwnPositions)
{
    struct Case
    {
        char const* name;
        void (*make)(std::string const&, std::int64_t);
    };
    Case const cases[] = {
        {"with identifier", [](std::string const& p, std::int64_t n) { vfltest::MakeRampFile(p, n); }},
        {"without identifier", &vfltest::MakeForeignRampFile},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        std::string const path = Path(std::string(c.name) + ".wav");
        c.make(path, 200000);
        MMgr_FileReference a((Sys_FileLoc(path)));
        MMgr_FileReference b((Sys_FileLoc(path)));
        ASSERT_TRUE(a.IsOnline());
        EXPECT_TRUE(a == b);
        EXPECT_EQ(ObjectOf(a), ObjectOf(b));

        // Two independent readers on objects of their own give the reference samples.
        FF_AudioFile ownA((Sys_FileLoc(path))), ownB((Sys_FileLoc(path)));
        FF_AudioFile::StOpen openA(&ownA, FF_AudioFile::eOpenRead), openB(&ownB, FF_AudioFile::eOpenRead);
        ownB.SampleSetPosition(Sys_File::kFromStart, 70000);

        a->Open(FF_AudioFile::eOpenRead);
        a->SampleSetPosition(Sys_File::kFromStart, 0);
        b->SampleSetPosition(Sys_File::kFromStart, 70000);
        std::int64_t posA = 0, posB = 70000;
        for (int round = 0; round < 20; ++round)
        {
            std::int64_t const n = 100 + 37 * round;
            EXPECT_TRUE(ReadsRamp([&](std::int16_t* buf, std::int64_t k) { a->SampleRead(buf, k); }, posA, n));
            EXPECT_TRUE(ReadsRamp([&](std::int16_t* buf, std::int64_t k) { ownA.SampleRead(buf, k); }, posA, n));
            posA += n;
            EXPECT_TRUE(ReadsRamp([&](std::int16_t* buf, std::int64_t k) { b->SampleRead(buf, k); }, posB, n));
            EXPECT_TRUE(ReadsRamp([&](std::int16_t* buf, std::int64_t k) { ownB.SampleRead(buf, k); }, posB, n));
            posB += n;
        }
        // A copy starts where its source stood and then goes its own way.
        MMgr_FileReference copy(a);
        EXPECT_TRUE(ReadsRamp([&](std::int16_t* buf, std::int64_t k) { copy->SampleRead(buf, k); }, posA, 500));
        EXPECT_TRUE(ReadsRamp([&](std::int16_t* buf, std::int64_t k) { a->SampleRead(buf, k); }, posA, 500));
        EXPECT_EQ(a->SampleGetPosition(), posA + 500);
        a->Close();
    }
}

TEST_F(MMgrFileReferenceTest, FourThreadsReadTheRampThroughSharedReferences)
{
    std::string const path = Path("ramp.wav");
    constexpr std::int64_t kFrames = 1 << 20;
    constexpr int kThreads = 4, kStatements = 10000, kFramesPerRead = 64;
    vfltest::MakeRampFile(path, kFrames);
    MMgr_FileReference shared((Sys_FileLoc(path)));
    shared->Open(FF_AudioFile::eOpenRead);

    std::vector<MMgr_FileReference> refs(kThreads, shared);
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back(
            [&, t]
            {
                MMgr_FileReference& ref = refs[t];
                std::int64_t position = 4099 * t;
                std::vector<std::int16_t> buffer(2 * kFramesPerRead);
                try
                {
                    ref->SampleSetPosition(Sys_File::kFromStart, position);
                    for (int s = 0; s < kStatements; ++s, position += kFramesPerRead)
                    {
                        ref->SampleRead(buffer.data(), kFramesPerRead);
                        for (int i = 0; i < kFramesPerRead; ++i)
                            if (buffer[2 * i] != vfltest::RampSample(position + i, 0) ||
                                buffer[2 * i + 1] != vfltest::RampSample(position + i, 1))
                                ++wrong;
                    }
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

TEST_F(MMgrFileReferenceTest, TheSameIdentifierAtANewPlaceTakesEveryReferenceThere)
{
    std::string const first = Path("take.wav"), moved = Path("moved.wav");
    vfltest::MakeRampFile(first, 1000);
    MMgr_FileReference atFirst((Sys_FileLoc(first)));
    fs::copy_file(first, moved);

    MMgr_FileReference atMoved((Sys_FileLoc(moved)));
    EXPECT_TRUE(atFirst == atMoved);
    EXPECT_EQ(atFirst.GetFileLoc().GetFullPath(), moved);
    EXPECT_EQ(atFirst.GetUmid(), atMoved.GetUmid());

    // The old place no longer leads to the object: asking for it makes a new one.
    FF_AudioFile* const beforeLookup = ObjectOf(atMoved);
    MMgr_FileReference again((Sys_FileLoc(first)));
    EXPECT_NE(ObjectOf(again), beforeLookup);
    EXPECT_TRUE(again == atFirst);
    EXPECT_EQ(atMoved.GetFileLoc().GetFullPath(), first);
}

TEST_F(MMgrFileReferenceTest, AFileChangedOnDiskGetsANewObjectThatItsReferencesFollow)
{
    std::string const path = Path("take.wav");
    vfltest::MakeRampFile(path, 1000);
    MMgr_FileReference first((Sys_FileLoc(path)));
    MMgr_FileReference unchanged((Sys_FileLoc(path)));
    FF_AudioFile* const before = ObjectOf(first);
    EXPECT_EQ(ObjectOf(unchanged), before);

    Touch(path, 10);
    MMgr_FileReference afterChange((Sys_FileLoc(path)));
    EXPECT_NE(ObjectOf(afterChange), before);
    EXPECT_EQ(ObjectOf(first), ObjectOf(afterChange));
    EXPECT_TRUE(first == afterChange);
}

TEST_F(MMgrFileReferenceTest, ALocationThatGetsAnotherFileRebindsAsTheFilesSay)
{
    // What was at the place, what came, and whether a reference to the old
    // file then sees the new one: a file without identifier is its place.
    struct Case
    {
        char const* name;
        bool oldHasIdentity, newHasIdentity;
        bool follows;
    };
    Case const cases[] = {
        {"identity replaced by identity", true, true, false},
        {"identity replaced by foreign", true, false, false},
        {"foreign replaced by foreign", false, false, true},
        {"foreign replaced by identity", false, true, true},
    };
    int n = 0;
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        std::string const path = Path("place" + std::to_string(n++) + ".wav");
        auto make = [&](bool identity, std::int64_t frames)
        { identity ? vfltest::MakeRampFile(path, frames) : vfltest::MakeForeignRampFile(path, frames); };
        make(c.oldHasIdentity, 1000);
        MMgr_FileReference old((Sys_FileLoc(path)));
        make(c.newHasIdentity, 2000);
        Touch(path, 20);
        MMgr_FileReference now((Sys_FileLoc(path)));

        EXPECT_EQ(now.GetAudioFileAttr().GetNumSamples(), 2000);
        EXPECT_EQ(old == now, c.follows);
        EXPECT_TRUE(old.IsOnline());
        EXPECT_EQ(old.GetAudioFileAttr().GetNumSamples(), c.follows ? 2000 : 1000);
    }
}

TEST_F(MMgrFileReferenceTest, AReferenceWhoseFileHasGoneAnswersWhatItKnew)
{
    MMgr_FileReference empty;
    EXPECT_FALSE(empty.IsOnline());
    EXPECT_FALSE(static_cast<bool>(empty));
    EXPECT_FALSE(empty == empty);

    // A foreign file that got an identifier, then moved: its place is empty.
    std::string const path = Path("adopted.wav"), moved = Path("elsewhere.wav");
    vfltest::MakeForeignRampFile(path, 1000);
    MMgr_FileReference byPlace((Sys_FileLoc(path)));
    Sys_FileLoc const boundAt = byPlace.GetFileLoc();
    {
        FF_AudioFile adopting((Sys_FileLoc(path)));
        ASSERT_TRUE(adopting.Implement(FF_AudioFile::eVelmoraInterface));
    }
    Touch(path, 30);
    MMgr_FileReference adopted((Sys_FileLoc(path)));
    EXPECT_TRUE(byPlace == adopted);
    fs::rename(path, moved);
    MMgr_FileReference atNewPlace((Sys_FileLoc(moved)));

    EXPECT_TRUE(static_cast<bool>(byPlace));
    EXPECT_FALSE(byPlace.IsOnline());
    EXPECT_EQ(byPlace.GetFileLoc().GetFullPath(), boundAt.GetFullPath());
    EXPECT_EQ(byPlace.GetAudioFileAttr().GetNumSamples(), 1000);
    EXPECT_TRUE(adopted == atNewPlace);
    EXPECT_FALSE(byPlace == atNewPlace);
    EXPECT_THROW(byPlace.operator->(), std::runtime_error);
    MMgr_FileReference offlineCopy(byPlace);
    EXPECT_TRUE(offlineCopy == byPlace); // both lead to nothing
}

TEST_F(MMgrFileReferenceTest, AFileThatCannotBeBoundLeavesTheReferenceEmpty)
{
    std::string const text = Path("notes.wav");
    vfltest::WriteWholeFile(text, {'n', 'o', 't', ' ', 'a', 'u', 'd', 'i', 'o'});
    EXPECT_TRUE(vfltest::ThrowsCode([&] { MMgr_FileReference ref((Sys_FileLoc(text))); }, XC_FF_FileTypeNotSupported));
    EXPECT_EQ(vfltest::SystemErrorOf([&] { MMgr_FileReference ref((Sys_FileLoc(Path("missing.wav")))); }), ENOENT);

    std::string const good = Path("good.wav");
    vfltest::MakeRampFile(good, 10);
    MMgr_FileReference ref((Sys_FileLoc(good)));
    EXPECT_ANY_THROW(ref.SetFileLoc(Sys_FileLoc(text)));
    EXPECT_FALSE(static_cast<bool>(ref));
    EXPECT_THROW(MMgr_FileReference(Sys_Umid{}, Sys_FileLoc(good), FF_AudioFileAttr()), std::runtime_error);
}

} // namespace
