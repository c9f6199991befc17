#include "Sys/Posix/Sys_StackDumpPosix.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <csignal>
#include <cstring>
#include <fstream>
#include <regex>
#include <sstream>

#include "Cmn/Cmn_Exception.h"
#include "Sys/Posix/Sys_ElfSymbolsPosix.h"
#include "Sys/Posix/Sys_ModuleListPosix.h"
#include "Sys/Posix/Sys_SEHandlerPosix.h"
#include "Sys/Posix/Sys_UtilsPosix.h"
#include "Sys/Sys_File.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys_FileTestSupport.h"

// Frames with names of their own, for the lookups below.
extern "C" __attribute__((noinline)) Sys_StackDumpPosix* VflTestCaptureHere()
{
    Sys_StackDumpPosix* dump = Sys_StackDumpPosix::Capture(0);
    asm volatile("" ::: "memory"); // not a tail call: this frame stays
    return dump;
}

namespace
{

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
        int signal;
        int code;
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

TEST_F(SysStackDumpTest, PrintNamesTheFunctionOrGivesTheBareAddress)
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
}

// The log holds the stack, the text with each context on a line, and the
// modules; read back, it shows the text and the stack with names.
TEST_F(SysStackDumpTest, ALogWrittenIsShownWithTextContextsAndNames)
{
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
