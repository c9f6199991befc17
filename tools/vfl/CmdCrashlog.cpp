#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Utils.h"
#include "tools/vfl/Commands.h"
#include "tools/vfl/OptionParser.h"
#include "tools/vfl/ToolSupport.h"

#include <cstdio>
#include <exception>
#include <string>

namespace
{
vfl::CommandSpec const kSpec = {"crashlog",
                                "FILE",
                                "Prints an exception log (Log-N.vlx, written when a program of the\n"
                                "workstation died): what happened, where it was under way, and the\n"
                                "stack with the name of each function. The names are found through the\n"
                                "modules the log lists, so a log written by another process reads as\n"
                                "long as the same builds of them are on disk.",
                                {},
                                1,
                                1};
} // namespace

int CmdCrashlog(int argc, char** argv)
{
    vfl::OptionParser args(kSpec);
    args.Parse(argc, argv);
    if (args.HelpAsked())
        return std::fputs(args.Help().c_str(), stdout), 0;
    std::string const& path = args.Operands().front();
    try
    {
        Sys_Utils::DisplayExceptionLogFile(vfl::LocationFromArgument(path));
    }
    catch (std::exception const& e)
    {
        vfl::ReportFileError("crashlog", "", path, vfl::ExceptionText(e));
        return 1;
    }
    return 0;
}
