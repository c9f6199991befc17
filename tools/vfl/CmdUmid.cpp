#include "Sys/Sys_Umid.h"
#include "tools/vfl/Commands.h"
#include "tools/vfl/OptionParser.h"
#include "tools/vfl/ToolSupport.h"

#include <cstdio>
#include <sstream>
#include <string>

namespace
{
vfl::CommandSpec const kSpec = {"umid",
                                "[--words]",
                                "Prints a new unique media identifier in its short text form.",
                                {{0, "words", nullptr, "also print its four words in decimal, separated by dots"}},
                                0,
                                0};
} // namespace

int CmdUmid(int argc, char** argv)
{
    vfl::OptionParser args(kSpec);
    args.Parse(argc, argv);
    if (args.HelpAsked())
        return std::fputs(args.Help().c_str(), stdout), 0;
    bool const words = args.Has("words");
    Sys_Umid const umid = Sys_Umid::Create();
    if (words)
    {
        std::ostringstream text;
        text << umid;
        std::printf("%s %s\n", umid.AsString().c_str(), text.str().c_str());
    }
    else
        std::printf("%s\n", umid.AsString().c_str());
    return 0;
}
