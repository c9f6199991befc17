// vfl crashlog: an exception log read by another process.
#include "support/TestSupport.h"
#include "support/ToolTest.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <regex>

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

std::vector<std::uint8_t> Count(std::uint32_t count)
{
    return {static_cast<std::uint8_t>(count), static_cast<std::uint8_t>(count >> 8),
            static_cast<std::uint8_t>(count >> 16), static_cast<std::uint8_t>(count >> 24)};
}

class VflCrashlog : public vfltest::ToolTest
{
};

TEST_F(VflCrashlog, NamesTheFunctionsOfALogWrittenByAnotherProcess)
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

TEST_F(VflCrashlog, WhatIsNoLogIsReportedNotShown)
{
    std::vector<std::uint8_t> tooMany = Count(100000);
    tooMany.resize(tooMany.size() + 800000);
    std::vector<std::uint8_t> cut = Count(3);
    cut.resize(cut.size() + 20);
    struct Case
    {
        char const* name;
        std::vector<std::uint8_t> const* bytes; // null: no file
        int status;
        char const* says;
    };
    std::vector<std::uint8_t> const empty;
    Case const cases[] = {
        {"no file", nullptr, 1, "No such file or directory"},
        {"more addresses than a walk gives", &tooMany, 1, "not an exception log: 100000 addresses"},
        {"addresses cut short", &cut, 1, "End of file"},
        {"the empty log of a foreign exception", &empty, 0, ""},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        std::string const path = F("Log-1.vlx");
        std::remove(path.c_str());
        if (c.bytes)
            vfltest::WriteWholeFile(path, *c.bytes);
        std::string const err = Out(Vfl("crashlog " + path + " 2>&1 >/dev/null"), c.status);
        EXPECT_EQ(err.rfind(*c.says ? "vfl: crashlog: " + path + ": " : "", 0), 0u) << err;
        EXPECT_NE(err.find(c.says), std::string::npos) << err;
        EXPECT_EQ(err.empty(), c.status == 0) << err;
    }
}

} // namespace
