#include "FF/FF_AudioFile.h"
#include "tools/vfl/Commands.h"
#include "tools/vfl/ToolSupport.h"

#include <cstdio>
#include <iostream>
#include <string>

namespace
{
char const kUsage[] = "Usage: vfl print FILE\n\n"
                      "Prints the file's chunks as they lie on disk, then the values a\n"
                      "fresh handler holds for it.\n";
}

int CmdPrint(int argc, char** argv)
{
    if (argc != 2 || vfl::IsHelp(argv[1]))
    {
        std::fputs(kUsage, argc == 2 ? stdout : stderr);
        return argc == 2 ? 0 : 2;
    }
    FF_AudioFile file(vfl::LocationFromArgument(argv[1]));
    file.PrintFile(std::cout);
    file.PrintCache(std::cout);
    std::cout.flush();
    return 0;
}
