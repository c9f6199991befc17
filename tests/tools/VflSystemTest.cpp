// What vfl says of things other than audio: the volumes and new identifiers
// of this machine, a bindings file as the workstation reads it, and an
// exception log read by another process.
#include "support/ToolTest.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <regex>
#include <set>

#include "Cmn/Cmn_Exception.h"
#include "Sys/Posix/Sys_StackDumpPosix.h"
#include "Sys/Posix/Sys_UtilsPosix.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Init.h"

extern "C" __attribute__((noinline)) Sys_StackDumpPosix* VflCrashlogTestCapture()
{
    Sys_StackDumpPosix* dump = Sys_StackDumpPosix::Capture(0);
    asm volatile("" ::: "memory"); // not a tail call: this frame stays
    return dump;
}

namespace
{
using VflSystem = vfltest::ToolTest;

TEST_F(VflSystem, VolumesIncludeTheRootWithItsFreeSpace)
{
    std::string const out = Out(Vfl("volumes --json"));
    std::smatch m;
    ASSERT_TRUE(std::regex_search(out, m, std::regex("\\{\"root\":\"/\"[^\n]*\"freeSpace\":([0-9]+)"))) << out;
    // Within a few MB of what df says, on the same call.
    double const ours = std::stod(m[1].str()), theirs = std::stod(Out("df -B1 --output=avail / | tail -1"));
    EXPECT_LT(std::abs(ours - theirs), 64.0 * 1024 * 1024);
    EXPECT_NE(out.find("\"bytesPerSector\":"), std::string::npos);
}

TEST_F(VflSystem, UmidsAreNewEachTime)
{
    std::set<std::string> seen;
    for (int i = 0; i < 5; ++i)
    {
        std::string const out = Out(Vfl("umid"));
        EXPECT_TRUE(std::regex_match(out, std::regex("[A-Za-z0-9#!]{14}\n"))) << out;
        seen.insert(out);
    }
    EXPECT_EQ(seen.size(), 5u);
}

TEST_F(VflSystem, KeysPrintsTheBindingsAndTheirConflicts)
{
    std::string const text = "context 2 Edit\nshift?+space Play\nshift+Space Stop\ncommand+Z Undo\n";
    vfltest::WriteWholeFile(F("edit.keys"), std::vector<std::uint8_t>(text.begin(), text.end()));
    EXPECT_EQ(Out(Vfl("keys " + F("edit.keys")), 1),
              "context 2 Edit\n"
              "shift?+Space  Play\n"
              "shift+Space   Stop\n"
              "command+Z     Undo\n"
              "\n"
              "conflict in context 2: line 3 'shift+Space' (Stop) never runs: line 2 'shift?+Space' (Play) "
              "matches first\n");
    EXPECT_EQ(Out("printf 'F5 Play\\n' | " + Vfl("keys -")), "context 0 \"\"\nF5  Play\n");
    EXPECT_EQ(Out("printf 'F25 Play\\n' | " + Vfl("keys - 2>&1"), 1),
              "vfl: keys: Error reading file; standard input, line 1: no key 'F25' in 'F25'\n");
    std::string const err = Out(Vfl("keys " + F("none.keys") + " 2>&1"), 1);
    EXPECT_NE(err.find("none.keys: cannot be opened"), std::string::npos) << err;
    Out(Vfl("keys 2>/dev/null"), 2);
}

TEST_F(VflSystem, CrashlogNamesTheFunctionsOfALogWrittenByAnotherProcess)
{
    Sys_Init::Init();
    Sys_UtilsPosix::SetStateRoot(F("state"));
    auto e = Cmn_TypedException<Cmn_NullExceptionData>::New(XC_SYS_SE_IntegerDivideByZero, Cmn_NullExceptionData(),
                                                            VflCrashlogTestCapture());
    Sys_FileLoc const loc = Sys_UtilsPosix::GetNewExceptionLogFileLoc();
    Sys_UtilsPosix::WriteExceptionLogFile(loc, &e);
    Sys_UtilsPosix::SetStateRoot("");

    std::string const out = Out(Vfl("crashlog '" + loc.GetFullPath() + "'"));
    EXPECT_TRUE(std::regex_search(out, std::regex("^Description:\r\nInteger error occurred \\(divide by zero\\)\n\r\n"
                                                  "Stack: \r\n0x[0-9a-f]+:\t VflCrashlogTestCapture \\+ 0x")))
        << out;
}

TEST_F(VflSystem, CrashlogReportsWhatIsNoLogRatherThanShowIt)
{
    // A log starts with its count of addresses, little-endian.
    auto const log = [](std::uint32_t count, std::size_t rest)
    {
        std::vector<std::uint8_t> b = {static_cast<std::uint8_t>(count), static_cast<std::uint8_t>(count >> 8),
                                       static_cast<std::uint8_t>(count >> 16), static_cast<std::uint8_t>(count >> 24)};
        b.resize(b.size() + rest);
        return b;
    };
    struct Case
    {
        char const* name;
        std::vector<std::uint8_t> bytes;
        bool file;
        int status;
        char const* says;
    } const cases[] = {
        {"no file", {}, false, 1, "No such file or directory"},
        {"more addresses than a walk gives", log(100000, 800000), true, 1, "not an exception log: 100000 addresses"},
        {"addresses cut short", log(3, 20), true, 1, "End of file"},
        {"the empty log of a foreign exception", {}, true, 0, ""},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        std::string const path = F("Log-1.vlx");
        std::remove(path.c_str());
        if (c.file)
            vfltest::WriteWholeFile(path, c.bytes);
        std::string const err = Out(Vfl("crashlog " + path + " 2>&1 >/dev/null"), c.status);
        EXPECT_EQ(err.rfind(*c.says ? "vfl: crashlog: " + path + ": " : "", 0), 0u) << err;
        EXPECT_NE(err.find(c.says), std::string::npos) << err;
        EXPECT_EQ(err.empty(), c.status == 0) << err;
    }
}
} // namespace
