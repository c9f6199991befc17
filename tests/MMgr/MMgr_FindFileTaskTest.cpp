// The find-file task on made-up trees: where it looks and in which order,
// what stops it, what it keeps, and volumes, real and made up.
#include "MMgr/MMgr_FindFileTask.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <future>
#include <thread>

#include "Sys/Posix/Sys_UtilsPosix.h"
#include "Sys/Posix/Sys_VolumePosix.h"
#include "Sys/Sys_FileTestSupport.h"
#include "Sys/Sys_Volume.h"
#include "support/TestSupport.h"

namespace
{

namespace fs = std::filesystem;
using Names = std::vector<std::string>;
using M = MMgr_FindFileTask;

// A search whose answers come from a function; it notes every location it is asked about.
class TestFind : public MMgr_FindFileTask
{
public:
    explicit TestFind(std::function<int32(std::string const&)> answer) : mAnswer(std::move(answer)) {}

    Names mAsked;

protected:
    int32 MatchFile(Sys_FileLoc const& loc) override
    {
        std::string const path = loc.GetFullPath();
        mAsked.push_back(path);
        return mAnswer(path);
    }

private:
    std::function<int32(std::string const&)> mAnswer;
};

bool EndsWith(std::string const& text, std::string const& end)
{
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// start/
//   a.wav  b.aif  c.txt
//   one/ x.wav  deep/ z.wav
//   two/ y.aif
class MMgrFindFileTaskTest : public vfltest::SysLayerTest
{
protected:
    void SetUp() override
    {
        SysLayerTest::SetUp();
        mStart = fs::canonical(mDir.Path()).string() + "/start/";
        fs::create_directories(mStart + "one/deep");
        fs::create_directories(mStart + "two");
        for (char const* name : {"a.wav", "b.aif", "c.txt", "one/x.wav", "one/deep/z.wav", "two/y.aif"})
            vfltest::WriteWholeFile(mStart + name, {1});
    }

    M::Handle Make(M::EFindMethod method, std::function<int32(std::string const&)> answer)
    {
        M::Handle task(new TestFind(std::move(answer)));
        task->SetFindMethod(method);
        if (method & M::eFindByName)
            task->SetFindFileName("*");
        if (method & (M::eFindInFolder | M::eFindInFolderTree))
            task->SetStartFolder(Sys_FileLoc(mStart));
        return task;
    }

    Names Below(Names const& paths) const
    {
        Names names;
        for (std::string const& path : paths)
            names.push_back(path.substr(mStart.size()));
        return names;
    }

    Names Asked(M::Handle const& task) const { return Below(static_cast<TestFind*>(task.Get())->mAsked); }

    Names Drain(M::Handle const& task) const
    {
        Names paths;
        while (!task->GetCandidates().IsEmpty())
            paths.push_back(task->GetCandidates().Pop().GetFullPath());
        return Below(paths);
    }

    vfltest::TempDir mDir;
    std::string mStart;
};

int32 Nothing(std::string const&)
{
    return M::eNotTheFile;
}

TEST_F(MMgrFindFileTaskTest, AFolderAloneOrTheTreeInTheWalksOrder)
{
    struct Case
    {
        char const* name;
        M::EFindMethod method;
        Names expected;
    };
    Case const cases[] = {
        {"folder", M::eFindInFolder | M::eFindByName, {"a.wav", "b.aif", "c.txt", "one/", "two/"}},
        {"tree",
         M::eFindInFolderTree | M::eFindByName,
         {"a.wav", "b.aif", "c.txt", "one/", "two/", "one/deep/", "one/x.wav", "two/y.aif", "one/deep/z.wav"}},
        {"folder by type", M::eFindInFolder | M::eFindByType, {"a.wav"}},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        M::Handle const task = Make(c.method, &Nothing);
        if (c.method & M::eFindByType)
            task->SetFindFileType(Sys_FileType("wav"));
        EXPECT_EQ(task->GetStatusString(), "");
        EXPECT_EQ(task->Exec(), Sys_Task::kStatusCompleted);
        EXPECT_EQ(Asked(task), c.expected);
        EXPECT_EQ(task->GetStatusString(), "");
        EXPECT_FALSE(task->FoundExactMatch());
        EXPECT_TRUE(task->GetCandidates().IsEmpty());
    }
}

TEST_F(MMgrFindFileTaskTest, AnExactMatchEndsTheWalkAndCandidatesComeInOrder)
{
    M::Handle const task =
        Make(M::eFindInFolderTree | M::eFindByName,
             [](std::string const& path)
             {
                 if (EndsWith(path, "x.wav"))
                     return M::eExactMatch;
                 return EndsWith(path, ".wav") || EndsWith(path, "/") ? M::eCandidate : M::eNotTheFile;
             });
    EXPECT_EQ(task->Exec(), Sys_Task::kStatusCompleted);
    EXPECT_EQ(Asked(task), (Names{"a.wav", "b.aif", "c.txt", "one/", "two/", "one/deep/", "one/x.wav"}));
    ASSERT_TRUE(task->FoundExactMatch());
    EXPECT_EQ(task->GetExactMatch().GetFullPath(), mStart + "one/x.wav");
    EXPECT_EQ(Drain(task), (Names{"a.wav", "one/", "two/", "one/deep/"}));
    EXPECT_FALSE(task->IsAbortRequested());
}

TEST_F(MMgrFindFileTaskTest, ByTypeFindsTheFilesOfTheRegisteredTypes)
{
    struct Case
    {
        char const* name;
        Sys_FileType type;
        Names expected;
    };
    Case const cases[] = {
        {"wav", Sys_FileType("wav"), {"a.wav", "one/x.wav", "one/deep/z.wav"}},
        {"WAVE by its code", Sys_FileType(vfltest::MacCode("WAVE")), {"a.wav", "one/x.wav", "one/deep/z.wav"}},
        {"AIFF by its code", Sys_FileType(vfltest::MacCode("AIFF")), {"b.aif", "two/y.aif"}},
        {"folders", Sys_FileType(Sys_FileType::kTypeFolder), {"one/", "two/", "one/deep/"}},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        M::Handle const task =
            Make(M::eFindInFolderTree | M::eFindByType, [](std::string const&) { return M::eCandidate; });
        task->SetFindFileType(c.type);
        EXPECT_EQ(task->Exec(), Sys_Task::kStatusCompleted);
        EXPECT_EQ(Drain(task), c.expected);
    }
}

TEST_F(MMgrFindFileTaskTest, AnAbortDuringASlowMatchEndsTheSearchWithItsCandidates)
{
    std::promise<void> entered, release;
    std::shared_future<void> const released = release.get_future().share();
    int calls = 0;
    M::Handle const task = Make(M::eFindInFolderTree | M::eFindByName,
                                [&](std::string const&)
                                {
                                    if (++calls == 3)
                                    {
                                        entered.set_value();
                                        released.wait();
                                    }
                                    return M::eCandidate;
                                });
    Sys_Task::EStatus status = Sys_Task::kStatusReady;
    std::thread worker([&] { status = task->Exec(); });
    entered.get_future().wait();
    EXPECT_EQ(task->GetStatusString(), mStart); // the folder being searched
    task->Abort();
    release.set_value();
    worker.join();

    EXPECT_EQ(status, Sys_Task::kStatusCompleted);
    EXPECT_TRUE(task->IsAbortRequested());
    EXPECT_FALSE(task->FoundExactMatch());
    EXPECT_EQ(Asked(task), (Names{"a.wav", "b.aif", "c.txt"}));
    EXPECT_EQ(Drain(task), (Names{"a.wav", "b.aif", "c.txt"}));
    EXPECT_EQ(task->GetStatusString(), "");

    // Aborted before it ran, a task never starts.
    M::Handle const early = Make(M::eFindInFolderTree | M::eFindByName, &Nothing);
    early->Abort();
    EXPECT_EQ(early->Exec(), Sys_Task::kStatusAborted);
    EXPECT_TRUE(Asked(early).empty());
}

TEST_F(MMgrFindFileTaskTest, SettersAgainstTheMethodAndABadStartFail)
{
    struct Case
    {
        char const* name;
        M::EFindMethod method;
        std::function<void(MMgr_FindFileTask&)> set;
    };
    Case const cases[] = {
        {"name for a search by type", M::eFindInFolder | M::eFindByType,
         [](MMgr_FindFileTask& t) { t.SetFindFileName("*.wav"); }},
        {"type for a search by name", M::eFindInFolder | M::eFindByName,
         [](MMgr_FindFileTask& t) { t.SetFindFileType(Sys_FileType("wav")); }},
        {"start folder on volumes", M::eFindOnVolumes | M::eFindByName,
         [this](MMgr_FindFileTask& t) { t.SetStartFolder(Sys_FileLoc(mStart)); }},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        M::Handle const task(new TestFind(&Nothing));
        task->SetFindMethod(c.method);
        EXPECT_THROW(c.set(*task), std::runtime_error);
    }

    M::Handle const task(new TestFind(&Nothing));
    task->SetFindMethod(M::eFindInFolder | M::eFindByName);
    task->SetStartFolder(Sys_FileLoc(mStart + "a.wav"));
    EXPECT_EQ(task->Exec(), Sys_Task::kStatusFailed);
    ASSERT_NE(task->GetException(), nullptr);
    EXPECT_EQ(task->GetException()->GetCode(), XC_Sys_BadStartLoc);
}

// Two folders of the tree stand in for the roots of two mounted volumes.
std::vector<std::pair<Sys_VolumeImpl*, std::string>> sFakeRoots;
int32 sAskedMask = 0;

void FakeMountedVolumes(int32 typeMask, std::list<Sys_Volume::ImplPtr>* volumes)
{
    sAskedMask = typeMask;
    volumes->clear();
    for (auto const& [impl, root] : sFakeRoots)
        volumes->push_back(Sys_VolumePosix::Create(root.c_str()));
}

Sys_FileLoc FakeRootOf(Sys_Volume const& volume)
{
    for (auto const& [impl, root] : sFakeRoots)
        if (impl == volume.GetImpl())
            return Sys_FileLoc(root);
    return Sys_FileLoc(std::string("*:"));
}

TEST_F(MMgrFindFileTaskTest, OnVolumesEachIsWalkedFromItsRootInTurn)
{
    sFakeRoots.clear();
    for (char const* root : {"two/", "one/"})
    {
        std::string const path = mStart + root;
        sFakeRoots.emplace_back(Sys_VolumePosix::Create(path.c_str()).get(), path);
    }
    Sys_Volume::SetGetMountedVolumesMethod(&FakeMountedVolumes);
    Sys_Utils::SetGetVolumeRootFolderLocMethod(&FakeRootOf);
    struct Case
    {
        char const* name;
        char const* exact;
        Names asked;
    };
    Case const cases[] = {
        {"both, in the table's order", "", {"two/y.aif", "one/deep/", "one/x.wav", "one/deep/z.wav"}},
        {"stopping in the first", "two/y.aif", {"two/y.aif"}},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        std::string const exact = c.exact;
        M::Handle const task =
            Make(M::eFindOnVolumes | M::eFindByName, [&](std::string const& path)
                 { return !exact.empty() && EndsWith(path, exact) ? M::eExactMatch : M::eCandidate; });
        task->SetVolumeTypes(Sys_Volume::kVolumeTypeFixed | Sys_Volume::kVolumeTypeNetwork);
        EXPECT_EQ(task->Exec(), Sys_Task::kStatusCompleted);
        EXPECT_EQ(Asked(task), c.asked);
        EXPECT_EQ(sAskedMask, Sys_Volume::kVolumeTypeFixed | Sys_Volume::kVolumeTypeNetwork);
        EXPECT_EQ(task->FoundExactMatch(), !exact.empty());
    }
    Sys_Volume::SetGetMountedVolumesMethod(&Sys_VolumePosix::GetMountedVolumes);
    Sys_Utils::SetGetVolumeRootFolderLocMethod(&Sys_UtilsPosix::GetVolumeRootFolderLoc);
}

TEST_F(MMgrFindFileTaskTest, AVolumeMountedInsideAnotherIsSearchedOnce)
{
    std::string const outer = mStart + "ram/";
    std::string const inner = outer + "inner/";
    fs::create_directory(outer);
    if (vfltest::RunCommand("mount -t tmpfs -o size=1m vfltest-outer '" + outer + "' 2>/dev/null") != 0)
        GTEST_SKIP() << "cannot mount here";
    fs::create_directory(inner);
    bool const innerMounted =
        vfltest::RunCommand("mount -t tmpfs -o size=1m vfltest-inner '" + inner + "' 2>/dev/null") == 0;
    std::string const name = fs::path(mDir.Path()).filename().string(); // unique on this machine
    vfltest::WriteWholeFile(outer + name + ".wav", {1});
    vfltest::WriteWholeFile(inner + name + ".wav", {1});
    Sys_VolumePosix::FlushMountTableCache();

    M::Handle const task(new TestFind([](std::string const&) { return M::eCandidate; }));
    task->SetFindMethod(M::eFindOnVolumes | M::eFindByName);
    task->SetVolumeTypes(Sys_Volume::kVolumeTypeRAMDisk);
    task->SetFindFileName(name + ".*");
    Sys_Task::EStatus const status = task->Exec();

    if (innerMounted)
        vfltest::RunCommand("umount '" + inner + "'");
    vfltest::RunCommand("umount '" + outer + "'");
    Sys_VolumePosix::FlushMountTableCache();
    ASSERT_TRUE(innerMounted);
    EXPECT_EQ(status, Sys_Task::kStatusCompleted);
    EXPECT_EQ(Asked(task), (Names{"ram/" + name + ".wav", "ram/inner/" + name + ".wav"}));
}

} // namespace
