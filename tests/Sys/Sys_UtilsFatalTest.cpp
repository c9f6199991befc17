// The fatal path's order of calls, through the seams: no process ends here.
#include "Sys/Sys_Utils.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "Cmn/Cmn_Exception.h"
#include "Sys/Posix/Sys_UtilsPosix.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys_FileTestSupport.h"

namespace
{

std::vector<std::string> sCalls;
int sLocs = 0;
bool sHandle = true;
bool sWriteFails = false;

class SysUtilsFatalTest : public vfltest::SysLayerTest
{
protected:
    void SetUp() override
    {
        SysLayerTest::SetUp();
        sCalls.clear();
        sLocs = 0;
        sHandle = true;
        sWriteFails = false;
        Sys_Utils::SetHandleFatalExceptionsMethod([] { return sHandle; });
        Sys_Utils::SetGetNewExceptionLogFileLocMethod(
            []
            {
                sCalls.push_back("loc");
                return Sys_FileLoc("/logs/Log-" + std::to_string(++sLocs) + ".vlx");
            });
        Sys_Utils::SetWriteExceptionLogFileMethod(
            [](Sys_FileLoc const& loc, Cmn_Exception const* e)
            {
                sCalls.push_back("write " + loc.GetFileName() + " " + (e ? e->GetDescription() : "null"));
                if (sWriteFails || !e)
                    throw std::runtime_error("cannot write");
            });
        Sys_Utils::SetPostFatalExceptionDialogMethod(
            [](Sys_FileLoc* loc) { sCalls.push_back("dialog " + (loc ? loc->GetFileName() : std::string("none"))); });
        Sys_Utils::SetExitMethod([] { sCalls.push_back("exit"); });
    }
    void TearDown() override { Sys_UtilsPosix::SetPlatformDependentMethods(); }
};

TEST_F(SysUtilsFatalTest, TheLogGoesToTheSecondLocationAndTheDialogNamesTheFirst)
{
    struct Case
    {
        char const* name;
        bool ours;
        bool handle;
        bool writeFails;
        std::vector<std::string> calls;
    };
    Case const cases[] = {
        {"ours",
         true,
         true,
         false,
         {"loc", "loc", "write Log-2.vlx Access violation occurred", "dialog Log-1.vlx", "exit"}},
        {"a standard exception", false, true, false, {"loc", "loc", "write Log-2.vlx null", "dialog none", "exit"}},
        {"the write fails",
         true,
         true,
         true,
         {"loc", "loc", "write Log-2.vlx Access violation occurred", "dialog none", "exit"}},
        {"not handled", true, false, false, {}},
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

} // namespace
