#include "Sys/Sys_Umid.h"
#include "tools/vfl/Commands.h"
#include "tools/vfl/ToolSupport.h"

#include <cstdio>
#include <sstream>
#include <string>

namespace
{
char const kUsage[] = "Usage: vfl umid [--words]\n\n"
                      "Prints a new unique media identifier in its short text form.\n\n"
                      "Options:\n"
                      "  --words  also print its four words in decimal, separated by dots\n";
} // namespace

int CmdUmid(int argc, char** argv)
{
    bool words = false;
    for (int i = 1; i < argc; ++i)
    {
        std::string const arg = argv[i];
        if (vfl::IsHelp(argv[i]))
        {
            std::fputs(kUsage, stdout);
            return 0;
        }
        if (arg == "--words")
            words = true;
        else
        {
            std::fprintf(stderr, "vfl umid: unexpected argument '%s'\n\n%s", argv[i], kUsage);
            return 2;
        }
    }
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
