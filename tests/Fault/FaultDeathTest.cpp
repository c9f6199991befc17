// Hardware faults and fatal exceptions on the library's threads, each in a
// process of its own. The sanitizers own the fault signals, so these run in
// a build without them (label "fault").
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <regex>
#include <stdexcept>

#include "Cmn/Cmn_Exception.h"
#include "Sys/Posix/Sys_UtilsPosix.h"
#include "Sys/Sys_Event.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Init.h"
#include "Sys/Sys_Thread.h"
#include "Sys/Sys_ThreadingTestSupport.h"
#include "Sys/Sys_Utils.h"
#include "support/TestSupport.h"

// The faulting frames, under names that the logs must show.
int volatile* volatile gNowhere = nullptr;
// Not in canonical form: the processor refuses it before any page lookup.
int volatile* volatile gWild = reinterpret_cast<int volatile*>(0xdead0000beef0000ULL);
int volatile gZero = 0;
bool volatile gNever = false;

extern "C" __attribute__((noinline)) void VflTestWriteThroughNull()
{
    *gNowhere = 1;
}

extern "C" __attribute__((noinline)) int VflTestReadWild()
{
    return *gWild;
}

extern "C" __attribute__((noinline)) int VflTestDivide(int a)
{
    return a / gZero;
}

extern "C" __attribute__((noinline)) int VflTestRecurse(int depth)
{
    char volatile frame[512];
    frame[depth % 512] = static_cast<char>(depth);
    if (gNever)
        return 0;
    return VflTestRecurse(depth + 1) + frame[0];
}

namespace
{

namespace fs = std::filesystem;
using vfltest::ScriptedTask;

constexpr char kWithLog[] = "A fatal exception has occured.\nVelmora must exit.\nA log file has been written to: \n";
constexpr char kWithoutLog[] = "^A fatal exception has occurred.\nVelmora must exit.\n$";

// A library thread that aborts its task outside any slice, where nothing
// but the thread's entry catches.
class AbortingThread : public Sys_Thread
{
public:
    static Handle Start(Sys_Task::Handle const& task)
    {
        Handle thread(new AbortingThread(task));
        thread->Resume();
        return thread;
    }

protected:
    EStatus Exec() override
    {
        mVictim->Abort();
        return kThreadFinished;
    }

private:
    explicit AbortingThread(Sys_Task::Handle const& task) : Sys_Thread(nullptr), mVictim(task) {}
    Sys_Task::Handle mVictim;
};

class FaultingAbortTask : public Sys_Task
{
protected:
    EResult ExecImpl() override { return kResultCompleted; }
    void AbortImpl() override { VflTestWriteThroughNull(); }
};

// Runs step as the one slice of a task on a new library thread and waits
// for the task to end.
Sys_Task::Handle RunSlice(ScriptedTask::Step step)
{
    auto task = ScriptedTask::Make(std::move(step));
    Sys_Event::Handle done = task->GetNotificationEvent(vfltest::kFinalStates);
    Sys_Thread::Handle thread = Sys_Thread::Create(task, false);
    done->Wait();
    return task;
}

// The parent makes the folders, and the child of a death test, which runs
// the test again from its start, finds them through the environment.
class FaultTest : public testing::Test
{
protected:
    static void SetUpTestSuite() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

    void SetUp() override
    {
        if (char const* root = std::getenv("VFL_FAULT_TEST_ROOT"))
        {
            mRoot = root;
        }
        else
        {
            mTemp = std::make_unique<vfltest::TempDir>();
            mRoot = fs::canonical(mTemp->Path()).string();
            ::setenv("VFL_FAULT_TEST_ROOT", mRoot.c_str(), 1);
            ::setenv("XDG_STATE_HOME", (mRoot + "/state").c_str(), 1);
            ::setenv("XDG_CONFIG_HOME", (mRoot + "/config").c_str(), 1);
        }
        Sys_Init::Init();
    }

    void TearDown() override
    {
        if (!mTemp)
            return;
        ::unsetenv("VFL_FAULT_TEST_ROOT");
        ::unsetenv("XDG_STATE_HOME");
        ::unsetenv("XDG_CONFIG_HOME");
    }

    void Mark(char const* name)
    {
        fs::create_directories(mRoot + "/config/Zenthar");
        vfltest::WriteWholeFile(mRoot + "/config/Zenthar/" + name, {});
    }

    std::vector<std::string> Logs() const
    {
        std::vector<std::string> logs;
        fs::path const folder = mRoot + "/state/Zenthar/Velmora/Velmora Utilities/ExceptionLogFiles";
        if (fs::exists(folder))
            for (auto const& entry : fs::directory_iterator(folder))
                logs.push_back(entry.path().string());
        return logs;
    }

    // The one log there is: its count, and the text behind the addresses.
    void ReadTheLog(uint32* count, std::string* text, std::string* path = nullptr) const
    {
        std::vector<std::string> const logs = Logs();
        ASSERT_EQ(logs.size(), 1u);
        EXPECT_TRUE(std::regex_match(fs::path(logs[0]).filename().string(), std::regex("Log-[0-9]+\\.vlx")));
        std::vector<std::uint8_t> const bytes = vfltest::ReadWholeFile(logs[0]);
        ASSERT_GE(bytes.size(), 4u);
        std::memcpy(count, bytes.data(), 4);
        ASSERT_GE(bytes.size(), 4 + 8 * uint64{*count});
        text->assign(bytes.begin() + 4 + 8 * *count, bytes.end());
        if (path)
            *path = logs[0];
    }

    std::string mRoot;
    std::unique_ptr<vfltest::TempDir> mTemp;
};

TEST_F(FaultTest, ANullWriteInAnAbortOnALibraryThreadEndsWithAMessageAndALog)
{
    EXPECT_EXIT(
        {
            AbortingThread::Start(Sys_Task::Handle(new FaultingAbortTask()));
            for (;;)
                Sys_Utils::Sleep(1000);
        },
        testing::ExitedWithCode(0), std::string("^") + kWithLog + ".*/Log-[0-9]+\\.vlx\n$");
    uint32 count = 0;
    std::string text, path;
    ReadTheLog(&count, &text, &path);
    EXPECT_GE(count, 2u);
    EXPECT_EQ(text.rfind("Access violation occurred\nLoaded modules:\n", 0), 0u) << text;
    // Read as another process would: the first address is the faulting function.
    std::string const shown = Sys_UtilsPosix::DescribeExceptionLogFile(Sys_FileLoc(path));
    EXPECT_TRUE(std::regex_search(shown, std::regex("Stack: \r\n0x[0-9a-f]+:\t VflTestWriteThroughNull \\+ 0x")))
        << shown;
}

TEST_F(FaultTest, ANullWriteInASliceFailsTheTaskAndTheProcessGoesOn)
{
    Sys_Task::Handle task = RunSlice(
        [](ScriptedTask&)
        {
            VflTestWriteThroughNull();
            return Sys_Task::kResultCompleted;
        });
    ASSERT_EQ(task->GetStatus(), Sys_Task::kStatusFailed);
    Cmn_Exception const* failure = task->GetException();
    ASSERT_NE(failure, nullptr);
    EXPECT_EQ(failure->GetCode(), XC_SYS_SE_AccessViolation);
    EXPECT_STREQ(failure->what(), "Access violation occurred");
    EXPECT_TRUE(Logs().empty());
}

TEST_F(FaultTest, FaultsAreCaughtAgainAndAgainOnOneThread)
{
    struct Case
    {
        char const* name;
        int (*fault)();
        char const* text;
    };
    Case const cases[] = {
        {"division by zero", [] { return VflTestDivide(7); }, "Integer error occurred (divide by zero)"},
        {"wild pointer", [] { return VflTestReadWild(); }, "Access violation occurred"},
        {"null write",
         []
         {
             VflTestWriteThroughNull();
             return 0;
         },
         "Access violation occurred"},
        {"stack overflow", [] { return VflTestRecurse(0); }, "Stack overflow occurred"},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        std::vector<std::string> caught;
        RunSlice(
            [&](ScriptedTask&)
            {
                for (int i = 0; i < 3; ++i)
                {
                    try
                    {
                        c.fault();
                    }
                    catch (Cmn_Exception const& e)
                    {
                        caught.push_back(e.what());
                    }
                }
                return Sys_Task::kResultCompleted;
            });
        EXPECT_EQ(caught, std::vector<std::string>(3, c.text));
    }
}

TEST_F(FaultTest, WhatIsNoExceptionOfOursEndsWithTheUnknownExceptionLog)
{
    EXPECT_EXIT(
        {
            RunSlice([](ScriptedTask&) -> Sys_Task::EResult { throw 42; });
            for (;;)
                Sys_Utils::Sleep(1000);
        },
        testing::ExitedWithCode(0), std::string("^") + kWithLog);
    uint32 count = 1;
    std::string text;
    ReadTheLog(&count, &text);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(text.rfind("An unknown exception occurred\nLoaded modules:\n", 0), 0u) << text;
}

TEST_F(FaultTest, AStandardExceptionLeavesAnEmptyLogAndAMessageWithoutIt)
{
    EXPECT_EXIT(
        {
            std::runtime_error e("not ours");
            Sys_Utils::HandleFatalException(e);
        },
        testing::ExitedWithCode(0), kWithoutLog);
    std::vector<std::string> const logs = Logs();
    ASSERT_EQ(logs.size(), 1u);
    EXPECT_TRUE(vfltest::ReadWholeFile(logs[0]).empty());
}

TEST_F(FaultTest, TheMarkersLeaveFaultsToADebuggerOrLeaveTheStackOut)
{
    Mark(Sys_UtilsPosix::kSuppressStackDumpsMarker);
    EXPECT_EXIT(
        {
            AbortingThread::Start(Sys_Task::Handle(new FaultingAbortTask()));
            for (;;)
                Sys_Utils::Sleep(1000);
        },
        testing::ExitedWithCode(0), std::string("^") + kWithLog);
    uint32 count = 1;
    std::string text;
    ReadTheLog(&count, &text);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(text.rfind("Access violation occurred\n", 0), 0u) << text;

    Mark(Sys_UtilsPosix::kEnableJITDebuggingMarker);
    fs::remove_all(mRoot + "/state");
    EXPECT_FALSE(Sys_Utils::HandleFatalExceptions());
    std::runtime_error e("left alone");
    EXPECT_FALSE(Sys_Utils::HandleFatalException(e));
    EXPECT_EXIT(
        {
            AbortingThread::Start(Sys_Task::Handle(new FaultingAbortTask()));
            for (;;)
                Sys_Utils::Sleep(1000);
        },
        testing::KilledBySignal(SIGSEGV), "^$");
    EXPECT_TRUE(Logs().empty());
}

} // namespace
