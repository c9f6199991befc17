// The utilities of the system layer: priorities, clocks, places, copies,
// the space a copy needs, and the fatal path with its exception logs.
#include "Sys/Sys_Utils.h"
#include "Cmn/Cmn_Exception.h"
#include "Sys/Posix/Sys_ElfSymbolsPosix.h"
#include "Sys/Posix/Sys_FilePosixCalls.h"
#include "Sys/Posix/Sys_ModuleListPosix.h"
#include "Sys/Posix/Sys_SEHandlerPosix.h"
#include "Sys/Posix/Sys_StackDumpPosix.h"
#include "Sys/Posix/Sys_UtilsPosix.h"
#include "Sys/Sys_File.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Init.h"
#include "Sys/Sys_OSErrData.h"
#include "Sys/Sys_StBoostThreadPriority.h"
#include "Sys/Sys_Thread.h"
#include "Sys/Sys_Volume.h"
#include "Sys_FileTestSupport.h"
#include "Sys_ThreadingTestSupport.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>

// Frames with names of their own, for the lookups below.
extern "C" __attribute__((noinline)) Sys_StackDumpPosix* VflTestCaptureHere()
{
    Sys_StackDumpPosix* dump = Sys_StackDumpPosix::Capture(0);
    asm volatile("" ::: "memory"); // not a tail call: this frame stays
    return dump;
}

namespace
{

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;

using SysUtilsTest = vfltest::SysFolderTest;

TEST_F(SysUtilsTest, ThePriorityLadder)
{
    struct Case
    {
        int32 from;
        bool boost;
        int32 to;
    };
    Case const cases[] = {
        {0, true, 1},      {0, false, -1},   {2, true, 15}, {15, false, 2}, {-15, true, -2}, {15, true, 15},
        {-15, false, -15}, {-2, false, -15}, {1, false, 0}, {7, true, 7},   {7, false, 7},
    };
    // On a thread of its own: the test thread keeps its priority.
    std::thread(
        [&]
        {
            for (Case const& c : cases)
            {
                SCOPED_TRACE(testing::Message() << c.from << (c.boost ? " boost" : " lower"));
                Sys_UtilsPosix::SetThreadPriority(c.from);
                c.boost ? Sys_Utils::BoostThreadPriority() : Sys_Utils::LowerThreadPriority();
                EXPECT_EQ(Sys_UtilsPosix::GetThreadPriority(), c.to);
            }
            Sys_UtilsPosix::SetThreadPriority(0);
            {
                Sys_StBoostThreadPriority boost;
                EXPECT_EQ(Sys_UtilsPosix::GetThreadPriority(), 1);
            }
            EXPECT_EQ(Sys_UtilsPosix::GetThreadPriority(), 0);
        })
        .join();

    // The ladder starts from the priority a thread really has, also when its
    // owner set it through Sys_Thread: below normal is its third step,
    // lowest the second. Lowering needs no privilege, so this works for any user.
    std::atomic<int32> seen{99}, lowered{99};
    auto task = vfltest::ScriptedTask::Make(
        [&](vfltest::ScriptedTask&)
        {
            seen = Sys_UtilsPosix::GetThreadPriority();
            Sys_UtilsPosix::LowerThreadPriority();
            lowered = Sys_UtilsPosix::GetThreadPriority();
            return Sys_Task::kResultCompleted;
        });
    Sys_Thread::Handle thread = Sys_Thread::Create(task, true);
    thread->SetPriority(Sys_Thread::kPriorityBelowNormal);
    thread->Resume();
    ASSERT_TRUE(vfltest::Eventually([&] { return thread->GetStatus() == Sys_Thread::kThreadFinished; }));
    EXPECT_EQ(seen.load(), -1);
    EXPECT_EQ(lowered.load(), -2);
}

TEST_F(SysUtilsTest, ClocksAreInFileTimeUnitsAndSteadyAndCountersGiveTheNewValue)
{
    Sys_Init::Init(); // a second time: harmless
    volatile int32 value = 5;
    EXPECT_EQ(Sys_Utils::ThreadSafeIncrement(value), 6);
    EXPECT_EQ(Sys_Utils::ThreadSafeDecrement(value), 5);
    EXPECT_EQ(Sys_Utils::ThreadSafeDecrement(value), 4);
    auto const now = std::chrono::system_clock::now().time_since_epoch();
    int64 const expected =
        std::chrono::duration_cast<std::chrono::nanoseconds>(now).count() / 100 + 116444736000000000LL;
    EXPECT_NEAR(static_cast<double>(Sys_Utils::GetUTC()), static_cast<double>(expected), 600e7);
    int64 const a = Sys_Utils::Microseconds();
    int64 const b = Sys_Utils::Microseconds();
    EXPECT_LE(a, b);
    EXPECT_EQ(Sys_Utils::UTC2String(-1), "N/A");
    EXPECT_EQ(Sys_Utils::UTC2String(INT64_MIN), "N/A");
    EXPECT_TRUE(
        std::regex_match(Sys_Utils::UTC2String(Sys_Utils::GetUTC()), std::regex(R"(\d\d/\d\d/\d{4} \d\d:\d\d:\d\d)")));
    EXPECT_NE(Sys_Utils::UTC2String(INT64_MAX), ""); // far in the future, but not a crash
}

TEST_F(SysUtilsTest, WellKnownLocationsAndTheNameLimit)
{
    Sys_FileLoc const temp = Sys_Utils::GetTempFolderLoc();
    EXPECT_EQ(temp.GetFullPath().back(), '/');
    EXPECT_TRUE(fs::is_directory(temp.GetFullPath()));
    Sys_FileLoc const file = Sys_Utils::GetTempFileLoc();
    EXPECT_EQ(file.GetParentFolder(), temp);
    EXPECT_EQ(file.GetFileName().rfind("tmp", 0), 0u);
    EXPECT_TRUE(Sys_File(file).IsOnline());
    Sys_Utils::DeleteFile(file);
    EXPECT_FALSE(Sys_File(file).IsOnline());
    EXPECT_EQ(Sys_Utils::GetDesktopFolderLoc().GetFullPath().back(), '/');
    Sys_FileLoc app;
    Sys_UtilsPosix::GetAppModuleLoc(&app);
    EXPECT_TRUE(Sys_File(app).IsOnline());

    // The limit of a name is the file system's; a missing folder throws.
    std::string limit;
    ASSERT_EQ(vfltest::RunCommand("getconf NAME_MAX " + Dir(), &limit), 0);
    EXPECT_EQ(Sys_Utils::GetMaxFileNameLength(Loc("")), std::stoi(limit));

    int err = 0;
    std::string context;
    try
    {
        Sys_Utils::GetMaxFileNameLength(Loc("not here/"));
    }
    catch (Cmn_TypedException<Sys_OSErrData> const& e)
    {
        err = e.GetCode() == XC_Sys_SystemError ? e.GetData().GetErr() : -1;
        if (e.GetContextListBegin() != e.GetContextListEnd())
            context = (*e.GetContextListBegin())->GetDescription();
    }
    EXPECT_EQ(err, ENOENT);
    EXPECT_NE(context.find(Dir() + "not here"), std::string::npos) << context;
}

// The waits for the disk, in order: 'f' a file's, 'd' a folder's. A
// folder's fails with sFolderError when it is set.
std::string sWaits;
int sFolderError = 0;
int RecordingFsync(int fd)
{
    struct stat st;
    bool const folder = ::fstat(fd, &st) == 0 && S_ISDIR(st.st_mode);
    sWaits += folder ? 'd' : 'f';
    if (folder && sFolderError != 0)
    {
        errno = sFolderError;
        return -1;
    }
    return Sys_FilePosixCalls::System().fsync(fd);
}

struct StRecordWaits
{
    explicit StRecordWaits(int folderError = 0)
    {
        sWaits.clear();
        sFolderError = folderError;
        Sys_FilePosixCalls::Current().fsync = &RecordingFsync;
    }
    ~StRecordWaits() { Sys_FilePosixCalls::Current() = Sys_FilePosixCalls::System(); }
};

// A copy replaces a file only once it is whole and on the disk; a move
// refuses to replace one, and waits for the folders that hold its names.
TEST_F(SysUtilsTest, CopyOverwritesMoveDoesNotAndDeletingTheCurrentFolderLeavesIt)
{
    vfltest::WriteWholeFile(Dir() + "a.bin", {1, 2, 3});
    vfltest::WriteWholeFile(Dir() + "b.bin", {9});
    {
        StRecordWaits const waits;
        Sys_Utils::CopyFile(Loc("a.bin"), Loc("b.bin"));
        EXPECT_EQ(sWaits, "fd");
    }
    EXPECT_EQ(vfltest::ReadWholeFile(Dir() + "b.bin"), (Bytes{1, 2, 3}));
    Sys_Utils::CopyFile(Loc("a.bin"), Loc("a.bin")); // onto itself: left as it is
    EXPECT_EQ(vfltest::ReadWholeFile(Dir() + "a.bin"), (Bytes{1, 2, 3}));
    // A second name of the destination sees the copy: the link is kept.
    fs::create_hard_link(Dir() + "b.bin", Dir() + "b2.bin");
    vfltest::WriteWholeFile(Dir() + "h.bin", {5});
    Sys_Utils::CopyFile(Loc("h.bin"), Loc("b.bin"));
    EXPECT_EQ(vfltest::ReadWholeFile(Dir() + "b2.bin"), (Bytes{5}));

    vfltest::WriteWholeFile(Dir() + "c.bin", {7});
    Sys_Utils::MoveFile(Loc("c.bin"), Loc("a.bin"));
    EXPECT_EQ(vfltest::ReadWholeFile(Dir() + "a.bin"), (Bytes{1, 2, 3}));
    EXPECT_TRUE(fs::exists(Dir() + "c.bin"));
    fs::create_directory(Dir() + "sub");
    for (std::string const to : {"d.bin", "sub/d.bin"})
    {
        SCOPED_TRACE(to);
        StRecordWaits const waits;
        Sys_Utils::MoveFile(Loc(to == "d.bin" ? "c.bin" : "d.bin"), Loc(to));
        EXPECT_EQ(sWaits, to == "d.bin" ? "d" : "dd") << "the folder of each name";
    }
    EXPECT_FALSE(fs::exists(Dir() + "c.bin"));
    EXPECT_EQ(vfltest::ReadWholeFile(Dir() + "sub/d.bin"), (Bytes{7}));
    // Quiet on failure.
    Sys_Utils::CopyFile(Loc("missing"), Loc("e.bin"));
    Sys_Utils::MoveFile(Loc("missing"), Loc("e.bin"));
    Sys_Utils::DeleteFile(Loc("missing"));
    EXPECT_FALSE(fs::exists(Dir() + "e.bin"));

    // Deleting the current folder moves the process to its parent.
    fs::path const saved = fs::current_path();
    fs::create_directory(Dir() + "cwd");
    fs::current_path(Dir() + "cwd");
    Sys_Utils::DeleteFolder(Loc("cwd"));
    fs::path const after = fs::current_path();
    fs::current_path(saved);
    EXPECT_FALSE(fs::exists(Dir() + "cwd"));
    EXPECT_EQ(after.string() + "/", Dir());
}

// A file written whole is put in place by a rename, and its name is on the
// disk before the call returns: until then a power cut may bring back the
// old file. The folder's error is the call's.
TEST_F(SysUtilsTest, AFileWrittenWholeHasItsNameOnTheDisk)
{
    {
        StRecordWaits const waits;
        Sys_Utils::WriteFileWhole(Loc("w.bin"), "abc", 3);
        EXPECT_EQ(sWaits.back(), 'd');
        EXPECT_NE(sWaits.find('f'), std::string::npos) << "the file before its name";
    }
    StRecordWaits const failing(EIO);
    EXPECT_EQ(vfltest::SystemErrorOf([&] { Sys_Utils::WriteFileWhole(Loc("w.bin"), "xyz", 3); }), EIO);
    EXPECT_EQ(vfltest::ReadWholeFile(Dir() + "w.bin").size(), 3u);
    EXPECT_EQ(std::distance(fs::directory_iterator(Dir()), fs::directory_iterator()), 1) << "no file left beside";
}

TEST_F(SysUtilsTest, MovesAndCopiesAcrossVolumesLoseNothing)
{
    std::string const mountPoint = Dir() + "other";
    vfltest::StMount const other("-t tmpfs -o size=1m h3move", mountPoint);
    if (!other.Mounted())
        GTEST_SKIP() << "cannot mount a tmpfs here";
    vfltest::WriteWholeFile(Dir() + "m.bin", {4, 5});
    {
        // The copy and its name reach the disk before the source goes.
        StRecordWaits const waits;
        Sys_Utils::MoveFile(Loc("m.bin"), Sys_FileLoc(mountPoint + "/m.bin"));
        EXPECT_EQ(sWaits, "fd");
    }
    EXPECT_EQ(vfltest::ReadWholeFile(mountPoint + "/m.bin"), (Bytes{4, 5}));
    EXPECT_FALSE(fs::exists(Dir() + "m.bin"));
    {
        // A folder that fails to keep the name keeps the source.
        StRecordWaits const failing(EIO);
        vfltest::WriteWholeFile(Dir() + "n.bin", {6});
        Sys_Utils::MoveFile(Loc("n.bin"), Sys_FileLoc(mountPoint + "/n.bin"));
        EXPECT_EQ(vfltest::ReadWholeFile(Dir() + "n.bin"), (Bytes{6}));
        EXPECT_FALSE(fs::exists(mountPoint + "/n.bin"));
    }

    // One that does not fit stays where it was, whole, and leaves no part
    // of itself behind; a copy that does not fit leaves the file it was to
    // replace as it was.
    Bytes const big(2 << 20, 0x5A);
    vfltest::WriteWholeFile(Dir() + "big.bin", big);
    Sys_Utils::MoveFile(Loc("big.bin"), Sys_FileLoc(mountPoint + "/big.bin"));
    EXPECT_TRUE(vfltest::ReadWholeFile(Dir() + "big.bin") == big);
    Sys_Utils::CopyFile(Loc("big.bin"), Sys_FileLoc(mountPoint + "/big.bin"));
    Sys_Utils::CopyFile(Loc("big.bin"), Sys_FileLoc(mountPoint + "/m.bin"));
    EXPECT_EQ(vfltest::ReadWholeFile(mountPoint + "/m.bin"), (Bytes{4, 5}));
    EXPECT_EQ(std::distance(fs::directory_iterator(mountPoint), fs::directory_iterator()), 1) << "no part left";
}

TEST_F(SysUtilsTest, CopyFolderWithOrWithoutItsSubfolders)
{
    // Names differing only in case are different files here, and each is
    // copied under its own name.
    struct Entry
    {
        char const* name;
        Bytes bytes;
        bool inSubfolder;
    };
    Entry const entries[] = {
        {"a.wav", {1}, false}, {"notes", {2}, false},   {"sub/b.wav", {3}, true},     {"x.WAV", {4}, false},
        {"x.wav", {5}, false}, {"Mix.Wav", {6}, false}, {"Sub.AIF/c.Aif", {7}, true},
    };
    fs::create_directories(Dir() + "from/sub");
    fs::create_directories(Dir() + "from/Sub.AIF");
    for (Entry const& e : entries)
        vfltest::WriteWholeFile(Dir() + "from/" + e.name, e.bytes);
    Sys_Utils::CopyFolder(Loc("from"), Loc("tree"), Sys_Utils::kCopyFolderTree);
    Sys_Utils::CopyFolder(Loc("from"), Loc("flat"), Sys_Utils::kCopyFolderFilesOnly);
    for (Entry const& e : entries)
    {
        SCOPED_TRACE(e.name);
        EXPECT_EQ(vfltest::ReadWholeFile(Dir() + "tree/" + e.name), e.bytes);
        EXPECT_EQ(fs::exists(Dir() + "flat/" + e.name), !e.inSubfolder);
    }
    size_t files = 0;
    for (auto const& entry : fs::recursive_directory_iterator(Dir() + "tree"))
        files += entry.is_regular_file() ? 1 : 0;
    EXPECT_EQ(files, std::size(entries));
    EXPECT_FALSE(fs::exists(Dir() + "flat/sub"));
}

TEST_F(SysUtilsTest, SpaceToCopyRoundsToTheAllocationUnitAddsAThirtiethAndCountsTheFork)
{
    Sys_Volume const volume = Loc("").GetVolume();
    int64 const unit = volume.GetMinimumAllocationSize();
    ASSERT_GT(unit, 0);
    vfltest::WriteWholeFile(Dir() + "empty", {});
    vfltest::WriteWholeFile(Dir() + "one", {1});
    vfltest::WriteWholeFile(Dir() + "more", Bytes(static_cast<size_t>(unit) + 1, 0));
    EXPECT_EQ(Sys_Utils::GetSpaceRequiredToCopyFile(Loc("empty"), volume), 0);
    EXPECT_EQ(Sys_Utils::GetSpaceRequiredToCopyFile(Loc("one"), volume), unit + unit / 30);
    EXPECT_EQ(Sys_Utils::GetSpaceRequiredToCopyFile(Loc("more"), volume), 2 * unit + 2 * unit / 30);

    fs::create_directory(Dir() + "sub");
    vfltest::WriteWholeFile(Dir() + "sub/two", {1, 2});
    int64 const flat = Sys_Utils::GetSpaceRequiredToCopyFolder(Loc(""), volume, false);
    int64 const tree = Sys_Utils::GetSpaceRequiredToCopyFolder(Loc(""), volume, true);
    EXPECT_EQ(flat, (unit + unit / 30) + (2 * unit + 2 * unit / 30));
    EXPECT_EQ(tree, flat + unit + unit / 30);

    // A resource fork lives in the folder Resource.FRK beside the file, under
    // the file's own name; a file whose name merely ends in ":Afp_Resource"
    // is an ordinary file of its own.
    fs::create_directories(Dir() + "mac/Resource.FRK");
    struct Case
    {
        char const* name;
        size_t dataSize;
        int64 forkSize; // -1: no fork
        int64 expected;
    };
    Case const cases[] = {
        {"plain", 1, -1, unit + unit / 30},
        {"Take 1.WAV", 1, unit + 1, 3 * unit + 3 * unit / 30},
        {"only a fork", 0, 10, unit + unit / 30},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        std::string const path = Dir() + "mac/" + c.name;
        vfltest::WriteWholeFile(path, Bytes(c.dataSize, 1));
        vfltest::WriteWholeFile(path + ":Afp_Resource", Bytes(static_cast<size_t>(5 * unit), 2));
        if (c.forkSize >= 0)
            vfltest::WriteWholeFile(Dir() + "mac/Resource.FRK/" + c.name, Bytes(static_cast<size_t>(c.forkSize), 3));
        EXPECT_EQ(Sys_Utils::GetSpaceRequiredToCopyFile(Sys_FileLoc(path), volume), c.expected);
    }
    // The rule is the platform's, and this is where the fork of a file lies.
    EXPECT_EQ(Sys_Utils::GetResourceForkLoc(Loc("mac/TAKE.WAV")).GetFullPath(), Dir() + "mac/Resource.FRK/TAKE.WAV");
    EXPECT_FALSE(Sys_Utils::GetResourceForkLoc(Sys_FileLoc(std::string("/"))));
}

// Whether two locations reach one file: by the file itself where it exists,
// by the place it would be made where it does not.
TEST_F(SysUtilsTest, IsSameFileBySpellingsLinksAndFilesNotMadeYet)
{
    std::string const d = Dir();
    vfltest::WriteWholeFile(d + "a.wav", {1});
    vfltest::WriteWholeFile(d + "A.wav", {2});
    vfltest::WriteWholeFile(d + "other.wav", {1});
    fs::create_directory(d + "sub");
    fs::create_symlink(d + "a.wav", d + "link.wav");
    fs::create_hard_link(d + "a.wav", d + "hard.wav");
    fs::create_symlink(d + "sub", d + "sublink");
    fs::create_symlink(d + "new.wav", d + "dangling.wav");
    struct
    {
        char const *a, *b;
        bool same;
    } const cases[] = {
        {"a.wav", "a.wav", true},
        {"a.wav", "sub/../a.wav", true},
        {"a.wav", "link.wav", true},
        {"a.wav", "hard.wav", true},
        {"a.wav", "A.wav", false}, // two files on a file system that tells case
        {"a.wav", "other.wav", false},
        {"a.wav", "missing.wav", false},
        {"new.wav", "new.wav", true},
        {"new.wav", "dangling.wav", true}, // writing through the link makes new.wav
        {"sub/x.wav", "sublink/x.wav", true},
        {"x.wav", "sub/x.wav", false},
        {"n.wav", "N.wav", false},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(std::string(c.a) + " and " + c.b);
        EXPECT_EQ(Sys_Utils::IsSameFile(Sys_FileLoc(d + c.a), Sys_FileLoc(d + c.b)), c.same);
        EXPECT_EQ(Sys_Utils::IsSameFile(Sys_FileLoc(d + c.b), Sys_FileLoc(d + c.a)), c.same);
    }
}

// The fatal path's order of calls, through the seams: no process ends here.
std::string sCalls; // joined by ", "
int sLocs = 0;
bool sHandle = true;
bool sWriteFails = false;

void Called(std::string const& what)
{
    sCalls += (sCalls.empty() ? "" : ", ") + what;
}

class SysUtilsFatalTest : public vfltest::SysLayerTest
{
protected:
    void SetUp() override
    {
        SysLayerTest::SetUp();
        Sys_Utils::SetHandleFatalExceptionsMethod([] { return sHandle; });
        Sys_Utils::SetGetNewExceptionLogFileLocMethod(
            []
            {
                Called("loc");
                return Sys_FileLoc("/logs/Log-" + std::to_string(++sLocs) + ".vlx");
            });
        Sys_Utils::SetWriteExceptionLogFileMethod(
            [](Sys_FileLoc const& loc, Cmn_Exception const* e)
            {
                Called("write " + loc.GetFileName() + " " + (e ? e->GetDescription() : "null"));
                if (sWriteFails || !e)
                    throw std::runtime_error("cannot write");
            });
        Sys_Utils::SetPostFatalExceptionDialogMethod(
            [](Sys_FileLoc* loc) { Called("dialog " + (loc ? loc->GetFileName() : std::string("none"))); });
        Sys_Utils::SetExitMethod([] { Called("exit"); });
    }
    void TearDown() override { Sys_UtilsPosix::SetPlatformDependentMethods(); }
};

TEST_F(SysUtilsFatalTest, TheLogGoesToTheSecondLocationAndTheDialogNamesTheFirst)
{
    struct Case
    {
        char const* name;
        bool ours, handle, writeFails;
        char const* calls;
    } const cases[] = {
        {"ours", true, true, false, "loc, loc, write Log-2.vlx Access violation occurred, dialog Log-1.vlx, exit"},
        {"a standard exception", false, true, false, "loc, loc, write Log-2.vlx null, dialog none, exit"},
        {"the write fails", true, true, true, "loc, loc, write Log-2.vlx Access violation occurred, dialog none, exit"},
        {"not handled", true, false, false, ""},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        sCalls.clear();
        sLocs = 0;
        sHandle = c.handle;
        sWriteFails = c.writeFails;
        auto ours = Cmn_TypedException<Cmn_NullExceptionData>::New(XC_SYS_SE_AccessViolation, Cmn_NullExceptionData());
        std::runtime_error standard("standard");
        std::exception& e = c.ours ? static_cast<std::exception&>(ours) : standard;
        // Exit returned: the handler gives up and says false.
        EXPECT_FALSE(Sys_Utils::HandleFatalException(e));
        EXPECT_EQ(sCalls, c.calls);
    }
}

class SysStackDumpTest : public vfltest::SysFolderTest
{
protected:
    void SetUp() override
    {
        SysFolderTest::SetUp();
        Sys_UtilsPosix::SetConfigRoot(mDir.File("config"));
        Sys_UtilsPosix::SetStateRoot(mDir.File("state"));
    }
    void TearDown() override
    {
        Sys_UtilsPosix::SetConfigRoot("");
        Sys_UtilsPosix::SetStateRoot("");
    }
};

TEST(Sys_SEHandlerPosix, MapsEachFaultToItsException)
{
    struct Case
    {
        int signal, code;
        bool overflow;
        Sys_SEHandlerPosix::Code const* expected;
    };
    Case const cases[] = {
        {SIGSEGV, SEGV_MAPERR, false, &XC_SYS_SE_AccessViolation},
        {SIGSEGV, SEGV_ACCERR, false, &XC_SYS_SE_AccessViolation},
        {SIGSEGV, SEGV_MAPERR, true, &XC_SYS_SE_StackOverflow},
        {SIGSEGV, SI_KERNEL, false, &XC_SYS_SE_AccessViolation}, // a pointer not in canonical form
        {SIGSEGV, SI_USER, false, nullptr},                      // sent, not a fault
        {SIGBUS, BUS_ADRALN, false, &XC_SYS_SE_DataTypeMisalignment},
        {SIGBUS, BUS_ADRERR, false, &XC_SYS_SE_InPageError},
        {SIGBUS, BUS_OBJERR, false, &XC_SYS_SE_InPageError},
        {SIGILL, ILL_ILLOPC, false, &XC_SYS_SE_IllegalInstruction},
        {SIGILL, ILL_PRVOPC, false, &XC_SYS_SE_PriviledgedInstruction},
        {SIGILL, ILL_PRVREG, false, &XC_SYS_SE_PriviledgedInstruction},
        {SIGFPE, FPE_INTDIV, false, &XC_SYS_SE_IntegerDivideByZero},
        {SIGFPE, FPE_INTOVF, false, &XC_SYS_SE_IntegerOverflow},
        {SIGFPE, FPE_FLTDIV, false, &XC_SYS_SE_FloatDivideByZero},
        {SIGFPE, FPE_FLTOVF, false, &XC_SYS_SE_FloatOverflow},
        {SIGFPE, FPE_FLTUND, false, &XC_SYS_SE_FloatUnderflow},
        {SIGFPE, FPE_FLTRES, false, &XC_SYS_SE_FloatInexactResult},
        {SIGFPE, FPE_FLTINV, false, &XC_SYS_SE_FloatInvalidOperation},
        {SIGFPE, FPE_FLTSUB, false, &XC_SYS_SE_ArrayBoundsExceeded},
        {SIGFPE, SI_USER, false, nullptr},
        {SIGTRAP, TRAP_BRKPT, false, nullptr}, // a breakpoint passes through
        {SIGABRT, SI_TKILL, false, nullptr},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(testing::Message() << "signal " << c.signal << " code " << c.code);
        EXPECT_EQ(Sys_SEHandlerPosix::MapSignal(c.signal, c.code, c.overflow), c.expected);
    }
}

// A log read back gives the addresses in the order written and stands on
// the first byte of the text; a count the file cannot hold is refused.
TEST_F(SysStackDumpTest, ALogReadBackGivesTheAddressesAndStandsOnTheText)
{
    struct Case
    {
        char const* name;
        std::vector<uint64> addresses;
        int64 cut; // bytes taken off the end of the file
        bool fits;
    };
    Case const cases[] = {
        {"none", {}, 0, true},
        {"three", {0x401000, 0x7fffdeadbeef, 1}, 0, true},
        {"one address short", {1, 2, 3}, 5 + 8, false},
        {"a count cut short", {}, 5 + 2, false},
        {"more than a walk gives", std::vector<uint64>(Sys_StackDumpPosix::kMaxFrames + 1, 7), 0, false},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        Sys_FileLoc const loc(mDir.File("log.vlx"));
        {
            Sys_File file(loc);
            Sys_File::StOpen open(&file, Sys_File::kOpenCreate | Sys_File::kOpenWrite);
            Sys_StackDumpPosix dump;
            dump.SetAddresses(c.addresses);
            dump.Dump(file);
            file.Write("text\n", 5);
            file.SetEOF(file.GetEOF() - c.cut);
        }
        Sys_File file(loc);
        Sys_File::StOpen open(&file, Sys_File::kOpenExisting | Sys_File::kOpenRead);
        if (!c.fits)
        {
            EXPECT_THROW(Sys_StackDumpPosix{file}, Cmn_Exception);
            continue;
        }
        Sys_StackDumpPosix const read(file);
        EXPECT_EQ(read.GetAddresses(), c.addresses);
        EXPECT_EQ(file.GetPosition(), static_cast<int64>(4 + 8 * c.addresses.size()));
    }
    // The empty log of an exception that was none of ours.
    vfltest::WriteWholeFile(mDir.File("empty.vlx"), {});
    Sys_File empty(Sys_FileLoc(mDir.File("empty.vlx")));
    Sys_File::StOpen open(&empty, Sys_File::kOpenExisting | Sys_File::kOpenRead);
    EXPECT_TRUE(Sys_StackDumpPosix(empty).GetAddresses().empty());
}

// The log holds the stack, the text with each context on a line, and the
// modules; read back, it shows the text and the stack with names. Print
// names the function or gives the bare address.
TEST_F(SysStackDumpTest, ALogWrittenIsShownWithTextContextsAndNames)
{
    std::unique_ptr<Sys_StackDumpPosix> here(VflTestCaptureHere());
    ASSERT_FALSE(here->GetAddresses().empty());
    Sys_StackDumpPosix dump;
    dump.SetAddresses({here->GetAddresses()[0], 0x401000});
    std::ostringstream os;
    dump.Print(os);
    EXPECT_TRUE(std::regex_search(os.str(), std::regex("^0x[0-9a-f]{8,}:\t VflTestCaptureHere \\+ 0x[0-9a-f]+\r\n")))
        << os.str();
    EXPECT_NE(os.str().find("\r\n0x00401000\r\n"), std::string::npos) << os.str();

    auto e = Cmn_TypedException<Cmn_NullExceptionData>::New(XC_SYS_SE_AccessViolation, Cmn_NullExceptionData(),
                                                            VflTestCaptureHere());
    e.AddContext(
        new Cmn_TypedExceptionContext<Cmn_TStringXData>(XC_Cmn_ExceptionContext, Cmn_TStringXData("while testing")));
    Sys_FileLoc const loc = Sys_UtilsPosix::GetNewExceptionLogFileLoc();
    ASSERT_TRUE(std::regex_match(
        loc.GetFullPath(), std::regex(".*/state/Zenthar/Velmora/Velmora Utilities/ExceptionLogFiles/Log-[0-9]+\\.vlx")))
        << loc.GetFullPath();
    Sys_UtilsPosix::WriteExceptionLogFile(loc, &e);

    std::vector<std::uint8_t> const bytes = vfltest::ReadWholeFile(loc.GetFullPath());
    uint32 count = 0;
    ASSERT_GE(bytes.size(), 4u);
    std::memcpy(&count, bytes.data(), 4);
    std::string const text(bytes.begin() + 4 + 8 * count, bytes.end());
    EXPECT_EQ(text.rfind("Access violation occurred\nwhile testing\nLoaded modules:\n", 0), 0u) << text;

    std::string const shown = Sys_UtilsPosix::DescribeExceptionLogFile(loc);
    EXPECT_EQ(shown.rfind("Description:\r\nAccess violation occurred\nwhile testing\n\r\nStack: \r\n0x", 0), 0u)
        << shown;
    EXPECT_NE(shown.find(":\t VflTestCaptureHere + 0x"), std::string::npos) << shown;
    EXPECT_EQ(shown.find("Loaded modules"), std::string::npos);

    // No exception: the log is made, stays empty, and the write throws.
    Sys_FileLoc const empty = Sys_UtilsPosix::GetNewExceptionLogFileLoc();
    EXPECT_THROW(Sys_UtilsPosix::WriteExceptionLogFile(empty, nullptr), Cmn_Exception);
    EXPECT_TRUE(vfltest::ReadWholeFile(empty.GetFullPath()).empty());
}

// Files that are no ELF, or a damaged one, have no symbols; a module list
// ignores lines that are not modules.
TEST_F(SysStackDumpTest, DamagedModulesAndListsGiveNoNames)
{
    std::vector<std::uint8_t> elf(64);
    std::ifstream("/proc/self/exe", std::ios::binary).read(reinterpret_cast<char*>(elf.data()), 64);
    struct Case
    {
        char const* name;
        std::vector<std::uint8_t> bytes;
    };
    std::vector<std::uint8_t> cut(elf.begin(), elf.begin() + 64);
    std::vector<std::uint8_t> farSections = cut;
    farSections[0x28 + 7] = 0x7f; // section headers far past the end
    Case const cases[] = {
        {"empty", {}}, {"text", {'h', 'i'}}, {"header only", cut}, {"sections past the end", farSections}};
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        vfltest::WriteWholeFile(mDir.File("module"), c.bytes);
        Sys_ElfSymbolsPosix const symbols(mDir.File("module"));
        EXPECT_FALSE(symbols.HasSymbols());
        std::string name;
        uint64 displacement = 0;
        EXPECT_FALSE(symbols.Find(0x1000, &name, &displacement));
    }
    // A log may name a pipe: it is no module, and holds nothing up.
    ASSERT_EQ(::mkfifo(mDir.File("pipe").c_str(), 0600), 0);
    EXPECT_FALSE(Sys_ElfSymbolsPosix(mDir.File("pipe")).HasSymbols());

    std::string text = "Boom\nLoaded modules:\nnonsense\n0x10 0x20 0x30 - /a b\n0x10 0x40 0x30 - /c\n";
    Sys_ModuleListPosix const list = Sys_ModuleListPosix::SplitFromText(&text);
    EXPECT_EQ(text, "Boom\n");
    ASSERT_EQ(list.GetModules().size(), 1u);
    EXPECT_EQ(list.GetModules()[0].path, "/a b");
    EXPECT_EQ(list.GetModules()[0].start, 0x20u);
}

} // namespace
