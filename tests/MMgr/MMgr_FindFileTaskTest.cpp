// The find-file task on a made-up tree: where it looks and in which order,
// what stops it, what it keeps, and volumes mounted inside others.
#include "MMgr/MMgr_FindFileTask.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <future>
#include <thread>

#include "Sys/Posix/Sys_VolumePosix.h"
#include "Sys/Sys_FileTestSupport.h"
#include "Sys/Sys_Volume.h"
#include "support/TestSupport.h"

namespace
{

namespace fs = std::filesystem;
using Names = std::vector<std::string>;
using M = MMgr_FindFileTask;

// A search whose answers come from a function; it notes what it is asked about.
class TestFind : public MMgr_FindFileTask
{
public:
    explicit TestFind(std::function<int32(std::string const&)> answer) : mAnswer(std::move(answer)) {}
    Names mAsked;

protected:
    int32 MatchFile(Sys_FileLoc const& loc) override
    {
        mAsked.push_back(loc.GetFullPath());
        return mAnswer(mAsked.back());
    }

private:
    std::function<int32(std::string const&)> mAnswer;
};

bool EndsWith(std::string const& text, std::string const& end)
{
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// start/ a.wav  b.aif  c.txt  one/ (x.wav  deep/ z.wav)  two/ y.aif
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

    M::Handle Make(M::EFindMethod where, std::function<int32(std::string const&)> answer)
    {
        M::Handle task(new TestFind(std::move(answer)));
        task->SetFindMethod(where | M::eFindByName);
        task->SetFindFileName("*");
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

TEST_F(MMgrFindFileTaskTest, AFolderAloneOrTheTreeBreadthFirst)
{
    struct Case
    {
        M::EFindMethod where;
        Names expected;
    };
    Case const cases[] = {
        {M::eFindInFolder, {"a.wav", "b.aif", "c.txt", "one/", "two/"}},
        {M::eFindInFolderTree,
         {"a.wav", "b.aif", "c.txt", "one/", "two/", "one/deep/", "one/x.wav", "two/y.aif", "one/deep/z.wav"}},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.where);
        M::Handle const task = Make(c.where, [](std::string const&) { return M::eNotTheFile; });
        EXPECT_EQ(task->Exec(), Sys_Task::kStatusCompleted);
        EXPECT_EQ(Asked(task), c.expected);
        EXPECT_FALSE(task->FoundExactMatch());
    }
}

TEST_F(MMgrFindFileTaskTest, AnExactMatchEndsTheWalkAndCandidatesArriveInOrderWhileItRuns)
{
    M::Handle const task = Make(M::eFindInFolderTree,
                                [](std::string const& path)
                                {
                                    if (EndsWith(path, "x.wav"))
                                        return M::eExactMatch;
                                    return EndsWith(path, "/") ? M::eCandidate : M::eNotTheFile;
                                });
    EXPECT_EQ(task->GetStatusString(), "");
    std::thread worker([&] { task->Exec(); });
    // Another thread takes the candidates and looks at the task meanwhile.
    Names candidates;
    for (bool ended = false; !ended;)
    {
        ended = task->GetStatus() == Sys_Task::kStatusCompleted;
        task->GetStatusString();
        if (task->FoundExactMatch())
            task->GetExactMatch();
        for (std::string const& c : Drain(task))
            candidates.push_back(c);
    }
    worker.join();
    EXPECT_EQ(Asked(task), (Names{"a.wav", "b.aif", "c.txt", "one/", "two/", "one/deep/", "one/x.wav"}));
    EXPECT_EQ(candidates, (Names{"one/", "two/", "one/deep/"}));
    ASSERT_TRUE(task->FoundExactMatch());
    EXPECT_EQ(task->GetExactMatch().GetFullPath(), mStart + "one/x.wav");
    EXPECT_EQ(task->GetStatusString(), "");
    EXPECT_FALSE(task->IsAbortRequested());
}

TEST_F(MMgrFindFileTaskTest, ByTypeFindsTheFilesOfTheRegisteredTypes)
{
    struct Case
    {
        Sys_FileType type;
        Names expected;
    };
    Case const cases[] = {
        {Sys_FileType("wav"), {"a.wav", "one/x.wav", "one/deep/z.wav"}},
        {Sys_FileType(vfltest::MacCode("AIFF")), {"b.aif", "two/y.aif"}},
    };
    for (Case const& c : cases)
    {
        M::Handle const task(new TestFind([](std::string const&) { return M::eCandidate; }));
        task->SetFindMethod(M::eFindInFolderTree | M::eFindByType);
        task->SetFindFileType(c.type);
        task->SetStartFolder(Sys_FileLoc(mStart));
        EXPECT_EQ(task->Exec(), Sys_Task::kStatusCompleted);
        EXPECT_EQ(Drain(task), c.expected);
    }
}

TEST_F(MMgrFindFileTaskTest, AnAbortDuringASlowMatchEndsTheSearchWithItsCandidates)
{
    std::promise<void> entered, release;
    std::shared_future<void> const released = release.get_future().share();
    int calls = 0;
    M::Handle const task = Make(M::eFindInFolderTree,
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
    EXPECT_EQ(Asked(task), (Names{"a.wav", "b.aif", "c.txt"}));
    EXPECT_EQ(Drain(task), (Names{"a.wav", "b.aif", "c.txt"}));
}

TEST_F(MMgrFindFileTaskTest, SettersAgainstTheMethodAndABadStartFail)
{
    struct Case
    {
        M::EFindMethod method;
        std::function<void(MMgr_FindFileTask&)> set;
    };
    Case const cases[] = {
        {M::eFindInFolder | M::eFindByType, [](MMgr_FindFileTask& t) { t.SetFindFileName("*.wav"); }},
        {M::eFindInFolder | M::eFindByName, [](MMgr_FindFileTask& t) { t.SetFindFileType(Sys_FileType("wav")); }},
        {M::eFindOnVolumes | M::eFindByName, [this](MMgr_FindFileTask& t) { t.SetStartFolder(Sys_FileLoc(mStart)); }},
    };
    for (Case const& c : cases)
    {
        M::Handle const task(new TestFind(nullptr));
        task->SetFindMethod(c.method);
        EXPECT_THROW(c.set(*task), std::runtime_error) << c.method;
    }
    M::Handle const task = Make(M::eFindInFolder, nullptr);
    task->SetStartFolder(Sys_FileLoc(mStart + "a.wav"));
    EXPECT_EQ(task->Exec(), Sys_Task::kStatusFailed);
    ASSERT_NE(task->GetException(), nullptr);
    EXPECT_EQ(task->GetException()->GetCode(), XC_Sys_BadStartLoc);
}

TEST_F(MMgrFindFileTaskTest, AVolumeMountedInsideAnotherIsSearchedOnceFromItsOwnRoot)
{
    std::string const outer = mStart + "ram/", inner = outer + "inner/";
    fs::create_directory(outer);
    if (vfltest::RunCommand("mount -t tmpfs -o size=1m vfltest '" + outer + "' 2>/dev/null") != 0)
        GTEST_SKIP() << "cannot mount here";
    fs::create_directory(inner);
    bool const innerMounted = vfltest::RunCommand("mount -t tmpfs -o size=1m vfltest '" + inner + "'") == 0;
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
