#include "Cmn/Cmn_Exception.h"
#include "FF/FF_AudioFile.h"
#include "tools/vfl/Commands.h"
#include "tools/vfl/ToolSupport.h"

#include <cstdio>
#include <string>

namespace
{
char const kUsage[] = "Usage: vfl adopt FILE...\n\n"
                      "Gives each file the identity metadata of the system (unique id,\n"
                      "modification record, region and overview lists), written behind\n"
                      "its audio. No sample is touched.\n";
}

int CmdAdopt(int argc, char** argv)
{
    if (argc < 2)
    {
        std::fputs(kUsage, stderr);
        return 2;
    }
    int status = 0;
    for (int i = 1; i < argc; ++i)
    {
        if (vfl::IsHelp(argv[i]))
        {
            std::fputs(kUsage, stdout);
            return 0;
        }
        try
        {
            FF_AudioFile file(vfl::LocationFromArgument(argv[i]));
            if (!file.Implements(FF_AudioFile::eImportExportInterface))
            {
                vfl::ReportError(argv[i], "not an audio file in a known format");
                status = 1;
                continue;
            }
            if (file.Implements(FF_AudioFile::eVelmoraInterface))
                std::printf("%s: already has its identity (%s)\n", argv[i], file.GetUmid().AsString().c_str());
            else if (file.Implement(FF_AudioFile::eVelmoraInterface))
                std::printf("%s: adopted (%s)\n", argv[i], file.GetUmid().AsString().c_str());
            else
            {
                vfl::ReportError(argv[i], "this file cannot take identity metadata");
                status = 1;
            }
        }
        catch (std::exception const& e)
        {
            vfl::ReportError(argv[i], vfl::ExceptionText(e));
            status = 1;
        }
    }
    return status;
}
