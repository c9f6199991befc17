#include "Sys/Sys_FileLocIterator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <thread>

#include "Sys/Posix/Sys_FileLocIteratorPosix.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys_FileTestSupport.h"

namespace
{

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

// start/
//   a.WAV  B.wav  c.txt  d.aif  Take [1].wav
//   loop -> start          (a link to a folder: listed, never entered)
//   sub0/ y.wav  deeper/ z.wav
//   Sub1/ x.wav
class SysFileLocIteratorTest : public vfltest::SysFolderTest
{
protected:
    void SetUp() override
    {
        SysFolderTest::SetUp();
        mStart = Dir() + "start/";
        fs::create_directories(mStart + "sub0/deeper");
        fs::create_directories(mStart + "Sub1");
        for (char const* name :
             {"a.WAV", "B.wav", "c.txt", "d.aif", "Take [1].wav", "sub0/y.wav", "sub0/deeper/z.wav", "Sub1/x.wav"})
            vfltest::WriteWholeFile(mStart + name, {1, 2, 3});
        fs::create_directory_symlink(mStart, mStart + "loop");
    }

    // The paths below the start of everything a walk yields.
    Names Walk(Sys_FileLocIterator& it) const
    {
        Names names;
        for (; it; ++it)
            names.push_back((*it).GetFullPath().substr(mStart.size()));
        return names;
    }

    Names WalkTypes(std::vector<Sys_FileType> types, Sys_FileLocIterator::EIterType iterType) const
    {
        Sys_FileLocIterator it(Sys_FileLoc(mStart), types, iterType);
        return Walk(it);
    }

    Names WalkPattern(std::string const& pattern, Sys_FileLocIterator::EIterType iterType) const
    {
        Sys_FileLocIterator it(Sys_FileLoc(mStart), pattern, iterType);
        return Walk(it);
    }

    std::string mStart;
};

constexpr auto kTree = Sys_FileLocIterator::kIterateSubfolders;
constexpr auto kFolderOnly = Sys_FileLocIterator::kIterateFolderOnly;

TEST_F(SysFileLocIteratorTest, AWalkListsEachFolderInOrderBreadthFirst)
{
    Names const expected = {"a.WAV", "B.wav",        "c.txt",        "d.aif",      "loop/",      "sub0/",
                            "Sub1/", "Take [1].wav", "sub0/deeper/", "sub0/y.wav", "Sub1/x.wav", "sub0/deeper/z.wav"};
    EXPECT_EQ(WalkTypes({}, kTree), expected);
}

TEST_F(SysFileLocIteratorTest, FiltersSelectByTypeOncePerTypeAndFolder)
{
    struct Case
    {
        char const* name;
        std::vector<Sys_FileType> types;
        Sys_FileLocIterator::EIterType iterType;
        Names expected;
    };
    Case const cases[] = {
        {"wav in the tree",
         {Sys_FileType("wav")},
         kTree,
         {"a.WAV", "B.wav", "Take [1].wav", "sub0/y.wav", "Sub1/x.wav", "sub0/deeper/z.wav"}},
        {"wav by its Macintosh code",
         {Sys_FileType(vfltest::MacCode("WAVE"))},
         kFolderOnly,
         {"a.WAV", "B.wav", "Take [1].wav"}},
        {"wav then aif, per folder",
         {Sys_FileType("wav"), Sys_FileType("aif")},
         kFolderOnly,
         {"a.WAV", "B.wav", "Take [1].wav", "d.aif"}},
        {"a type listed twice comes twice",
         {Sys_FileType("aif"), Sys_FileType("aif")},
         kFolderOnly,
         {"d.aif", "d.aif"}},
        {"folders, links left out",
         {Sys_FileType(Sys_FileType::kTypeFolder)},
         kTree,
         {"sub0/", "Sub1/", "sub0/deeper/"}},
        {"any file",
         {Sys_FileType(Sys_FileType::kTypeFile)},
         kFolderOnly,
         {"a.WAV", "B.wav", "c.txt", "d.aif", "Take [1].wav"}},
        {"an unregistered extension", {Sys_FileType("txt")}, kFolderOnly, {}},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(WalkTypes(c.types, c.iterType), c.expected);
    }
}

TEST_F(SysFileLocIteratorTest, PatternsUseStarAndQuestionMarkWithoutCase)
{
    struct Case
    {
        char const* pattern;
        Names expected;
    };
    Case const cases[] = {
        {"?.wav", {"a.WAV", "B.wav"}},
        {"*.WAV", {"a.WAV", "B.wav", "Take [1].wav"}},
        {"Take [1].wav", {"Take [1].wav"}},
        {"take [?].WAV", {"Take [1].wav"}},
        {"*1*", {"Sub1/", "Take [1].wav"}},
        {"sub?", {"sub0/", "Sub1/"}},
        {"*.*", {"a.WAV", "B.wav", "c.txt", "d.aif", "loop/", "sub0/", "Sub1/", "Take [1].wav"}},
        {"[1]*", {}},
        {"", {}},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.pattern);
        EXPECT_EQ(WalkPattern(c.pattern, kFolderOnly), c.expected);
    }
}

TEST_F(SysFileLocIteratorTest, PatternMatchingCases)
{
    struct Case
    {
        char const* pattern;
        char const* name;
        bool matches;
    };
    Case const cases[] = {
        {"*", "", true},          {"*", "x", true},           {"?", "", false},
        {"a*b*c", "aXbYc", true}, {"a*b*c", "aXbY", false},   {"*.wav", ".wav", true},
        {"take.*", "take", true}, {"take.*", "takes", false}, {"**?", "a", true},
        {"[ab]", "a", false},     {"[ab]", "[AB]", true},     {"*a*a*a*a*b", "aaaaaaaaaaaaaaaaaaaaaaaa", false},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(testing::Message() << c.pattern << " ~ " << c.name);
        EXPECT_EQ(Sys_FileLocIteratorPosix::MatchesPattern(c.pattern, c.name), c.matches);
    }
}

TEST_F(SysFileLocIteratorTest, AStartThatIsNoFolderThrowsAnEmptyOneYieldsNothingALinkIsFollowed)
{
    std::vector<Sys_FileType> none;
    for (std::string const& start : {mStart + "a.WAV", mStart + "missing/", mStart + "missing"})
    {
        SCOPED_TRACE(start);
        EXPECT_TRUE(
            vfltest::ThrowsCode([&] { Sys_FileLocIterator it(Sys_FileLoc(start), none, kTree); }, XC_Sys_BadStartLoc));
    }
    fs::create_directory(mStart + "empty");
    Sys_FileLocIterator it(Sys_FileLoc(mStart + "empty"), none, kTree);
    EXPECT_FALSE(it);
    EXPECT_FALSE(it);

    // A start through a link hands out the folder it leads to.
    std::vector<Sys_FileType> wav = {Sys_FileType("wav")};
    Sys_FileLocIterator linked(Sys_FileLoc(mStart + "loop/sub0"), wav, kFolderOnly);
    ASSERT_TRUE(linked);
    EXPECT_EQ((*linked).GetFullPath(), mStart + "sub0/y.wav");
    EXPECT_EQ((*linked).GetFullPath(), Sys_FileLoc(mStart + "loop/sub0/y.wav").GetFullPath());
}

TEST_F(SysFileLocIteratorTest, AfterAbortTheNextStepEndsTheWalkAlsoFromAnotherThread)
{
    std::vector<Sys_FileType> none;
    Sys_FileLocIterator first(Sys_FileLoc(mStart), none, kTree);
    ASSERT_TRUE(first);
    EXPECT_EQ((*first).GetFileName(), "a.wav"); // the registry's extension
    EXPECT_EQ(first.GetCurrentSearchPath(), mStart);
    first.Abort();
    ++first;
    EXPECT_FALSE(first);

    std::string const big = mStart + "big/";
    fs::create_directory(big);
    constexpr int kFiles = 3000;
    for (int i = 0; i < kFiles; ++i)
        vfltest::WriteWholeFile(big + "f" + std::to_string(i), {});
    Sys_FileLocIterator it(Sys_FileLoc(big), none, kTree);
    std::atomic<bool> seen{false};
    std::thread watcher(
        [&]
        {
            while (it.GetCurrentSearchPath().empty())
                std::this_thread::yield();
            seen = true;
            it.Abort();
        });
    int count = 0;
    for (; it; ++it)
        ++count;
    watcher.join();
    EXPECT_TRUE(seen);
    EXPECT_LE(count, kFiles);
    EXPECT_FALSE(it);
}

TEST_F(SysFileLocIteratorTest, AWalkKeptOnItsVolumeHandsOutMountPointsWithoutEnteringThem)
{
    vfltest::StMount const ram("-t tmpfs -o size=1m vfltest", mStart + "ram");
    vfltest::StMount const bound("--bind '" + mStart + "Sub1'", mStart + "bound");
    if (!ram.Mounted() || !bound.Mounted())
        GTEST_SKIP() << "cannot mount here";
    vfltest::WriteWholeFile(mStart + "ram/r.wav", {1});

    struct Case
    {
        char const* name;
        bool stay;
        Names expected;
    };
    Case const cases[] = {
        {"crossing",
         false,
         {"a.WAV", "B.wav", "Take [1].wav", "bound/x.wav", "ram/r.wav", "sub0/y.wav", "Sub1/x.wav",
          "sub0/deeper/z.wav"}},
        {"staying", true, {"a.WAV", "B.wav", "Take [1].wav", "sub0/y.wav", "Sub1/x.wav", "sub0/deeper/z.wav"}},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        std::vector<Sys_FileType> wav = {Sys_FileType("wav")};
        Sys_FileLocIterator it(Sys_FileLoc(mStart), wav, kTree);
        if (c.stay)
            it.StayOnStartVolume();
        EXPECT_EQ(Walk(it), c.expected);
    }
    Sys_FileLocIterator folders(Sys_FileLoc(mStart), "*", kFolderOnly);
    folders.StayOnStartVolume();
    Names const listed = Walk(folders);
    EXPECT_NE(std::find(listed.begin(), listed.end(), "ram/"), listed.end());
}

TEST_F(SysFileLocIteratorTest, AnUnreadableFolderIsPassedOverInSilence)
{
    fs::create_directory(mStart + "locked");
    vfltest::WriteWholeFile(mStart + "locked/secret.wav", {1});
    fs::permissions(mStart + "locked", fs::perms::none);
    for (fs::path p = mStart; p != p.parent_path() && p.string().size() > 1; p = p.parent_path())
        if (p.string().rfind(fs::canonical(mDir.Path()).string(), 0) == 0)
            fs::permissions(p, fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec |
                                   fs::perms::others_read | fs::perms::others_exec);
    int const found = vfltest::RunUnprivileged(
        [&]
        {
            std::vector<Sys_FileType> wav = {Sys_FileType("wav")};
            int count = 0;
            try
            {
                for (Sys_FileLocIterator it(Sys_FileLoc(mStart), wav, kTree); it; ++it)
                    ++count;
            }
            catch (...)
            {
                return 101;
            }
            return count;
        });
    fs::permissions(mStart + "locked", fs::perms::owner_all);
    if (found == -1)
        GTEST_SKIP() << "cannot drop privileges";
    EXPECT_EQ(found, 6); // the six wave files outside the locked folder
}

} // namespace
