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
using Answer = std::function<int32(std::string const&)>;
Answer const kAllCandidates = [](std::string const&) { return M::eCandidate; };

// A search whose answers come from a function; it notes what it is asked about.
class TestFind : public MMgr_FindFileTask
{
public:
    explicit TestFind(Answer answer) : mAnswer(std::move(answer)) {}
    Names mAsked;

protected:
    int32 MatchFile(Sys_FileLoc const& loc) override
    {
        mAsked.push_back(loc.GetFullPath());
        return mAnswer(mAsked.back());
    }

private:
    Answer mAnswer;
};

// start/ a.wav  b.aif  c.txt  one/ (x.wav  deep/ z.wav)  two/ y.aif
class MMgrFindFileTaskTest : public vfltest::SysFolderTest
{
protected:
    void SetUp() override
    {
        SysFolderTest::SetUp();
        mStart = Dir() + "start/";
        fs::create_directories(mStart + "one/deep");
        fs::create_directories(mStart + "two");
        for (char const* name : {"a.wav", "b.aif", "c.txt", "one/x.wav", "one/deep/z.wav", "two/y.aif"})
            vfltest::WriteWholeFile(mStart + name, {1});
    }

    // By name ("*"), or by type when one is given.
    M::Handle Make(M::EFindMethod where, Answer answer, Sys_FileType const* type = {})
    {
        M::Handle task(new TestFind(std::move(answer)));
        task->SetFindMethod(where | (type ? M::eFindByType : M::eFindByName));
        type ? task->SetFindFileType(*type) : task->SetFindFileName("*");
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

    std::string mStart;
};

TEST_F(MMgrFindFileTaskTest, AFolderAloneOrTheTreeBreadthFirstOrTheFilesOfARegisteredType)
{
    Sys_FileType const wav("wav"), aiff(vfltest::MacCode("AIFF"));
    struct Case
    {
        M::EFindMethod where;
        Sys_FileType const* type;
        Names expected;
    } const cases[] = {
        {M::eFindInFolder, nullptr, {"a.wav", "b.aif", "c.txt", "one/", "two/"}},
        {M::eFindInFolderTree,
         nullptr,
         {"a.wav", "b.aif", "c.txt", "one/", "two/", "one/deep/", "one/x.wav", "two/y.aif", "one/deep/z.wav"}},
        {M::eFindInFolderTree, &wav, {"a.wav", "one/x.wav", "one/deep/z.wav"}},
        {M::eFindInFolderTree, &aiff, {"b.aif", "two/y.aif"}},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(testing::Message() << c.where << (c.type ? " by type" : ""));
        // Everything asked about is a candidate, and all of them are kept.
        M::Handle const task = Make(c.where, kAllCandidates, c.type);
        EXPECT_EQ(task->Exec(), Sys_Task::kStatusCompleted);
        EXPECT_EQ(Asked(task), c.expected);
        EXPECT_EQ(Drain(task), c.expected);
        EXPECT_FALSE(task->FoundExactMatch());
    }
}

TEST_F(MMgrFindFileTaskTest, AnExactMatchEndsTheWalkAndCandidatesArriveInOrderWhileItRuns)
{
    M::Handle const task = Make(M::eFindInFolderTree,
                                [](std::string const& path)
                                {
                                    if (path.ends_with("x.wav"))
                                        return M::eExactMatch;
                                    return path.ends_with("/") ? M::eCandidate : M::eNotTheFile;
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
    } const cases[] = {
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
    std::string const outer = mStart + "ram/", name = fs::path(mDir.Path()).filename().string(); // unique here
    M::Handle const task(new TestFind(kAllCandidates));
    task->SetFindMethod(M::eFindOnVolumes | M::eFindByName);
    task->SetVolumeTypes(Sys_Volume::kVolumeTypeRAMDisk);
    task->SetFindFileName(name + ".*");
    bool innerMounted = false;
    Sys_Task::EStatus status = Sys_Task::kStatusReady;
    {
        vfltest::StMount const ram("-t tmpfs -o size=1m vfltest", outer);
        if (!ram.Mounted())
            GTEST_SKIP() << "cannot mount here";
        vfltest::StMount const inner("-t tmpfs -o size=1m vfltest", outer + "inner/");
        innerMounted = inner.Mounted();
        vfltest::WriteWholeFile(outer + name + ".wav", {1});
        vfltest::WriteWholeFile(outer + "inner/" + name + ".wav", {1});
        Sys_VolumePosix::FlushMountTableCache();
        status = task->Exec();
    }
    Sys_VolumePosix::FlushMountTableCache();

    ASSERT_TRUE(innerMounted);
    EXPECT_EQ(status, Sys_Task::kStatusCompleted);
    EXPECT_EQ(Asked(task), (Names{"ram/" + name + ".wav", "ram/inner/" + name + ".wav"}));
}

} // namespace
