#include "Cmn/Cmn_Exception.h"
#include "FF/FF_AudioFile.h"
#include "tools/vfl/Commands.h"
#include "tools/vfl/FileLock.h"
#include "tools/vfl/OptionParser.h"
#include "tools/vfl/Terminal.h"
#include "tools/vfl/ToolSupport.h"

#include <cstdio>
#include <string>

namespace
{
vfl::CommandSpec const kSpec = {"adopt",
                                "FILE...",
                                "Gives each foreign file the system's identity metadata: a unique media\n"
                                "identifier, a modification record, and the lists of regions (one for the\n"
                                "whole file) and waveform overviews that the workstation keeps for its own\n"
                                "files. The chunks are written behind the audio; no sample is touched and a\n"
                                "file that has them already is left as it is.",
                                {},
                                1,
                                -1};
} // namespace

int CmdAdopt(int argc, char** argv)
{
    vfl::OptionParser args(kSpec);
    args.Parse(argc, argv);
    if (args.HelpAsked())
        return std::fputs(args.Help().c_str(), stdout), 0;
    // A signal ends the batch between files, never inside a rewrite.
    vfl::CatchInterrupt();
    int status = 0;
    for (auto const& path : args.Operands())
    {
        if (vfl::Interrupted())
            return vfl::InterruptExitStatus();
        if (std::string const why = vfl::WhyNotChangeableInPlace(path); !why.empty())
        {
            vfl::ReportFileError("adopt", "", path, why);
            status = 1;
            continue;
        }
        vfl::FileLock const lock(path, vfl::FileLock::eExclusive);
        if (vfl::Interrupted())
            return vfl::InterruptExitStatus();
        try
        {
            FF_AudioFile file(vfl::LocationFromArgument(path));
            if (!file.Implements(FF_AudioFile::eImportExportInterface))
            {
                vfl::ReportFileError("adopt", "", path, "not an audio file in a known format");
                status = 1;
                continue;
            }
            std::string const why = vfl::WhyNotRewritable(file);
            if (file.Implements(FF_AudioFile::eVelmoraInterface))
                std::printf("%s: already has its identity (%s)\n", path.c_str(), file.GetUmid().AsString().c_str());
            else if (!why.empty())
            {
                vfl::ReportFileError("adopt", "", path, why);
                status = 1;
            }
            else if (file.Implement(FF_AudioFile::eVelmoraInterface))
                std::printf("%s: adopted (%s)\n", path.c_str(), file.GetUmid().AsString().c_str());
            else
            {
                vfl::ReportFileError("adopt", "", path, "this file cannot take identity metadata");
                status = 1;
            }
        }
        catch (std::exception const& e)
        {
            vfl::ReportFileError("adopt", "", path, vfl::ExceptionText(e));
            status = 1;
        }
    }
    return vfl::Interrupted() ? vfl::InterruptExitStatus() : status;
}
