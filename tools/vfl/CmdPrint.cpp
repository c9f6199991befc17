#include "FF/FF_AudioFile.h"
#include "tools/vfl/Commands.h"
#include "tools/vfl/OptionParser.h"
#include "tools/vfl/SpooledInput.h"
#include "tools/vfl/Terminal.h"
#include "tools/vfl/ToolSupport.h"

#include <cstdio>
#include <iostream>
#include <sstream>
#include <string>

namespace
{
vfl::CommandSpec const kSpec = {"print",
                                "FILE",
                                "Prints the file's chunks as they lie on disk, then the values a fresh\n"
                                "handler holds for it. The handler is chosen by the file's extension;\n"
                                "for standard input, by what it holds.",
                                {},
                                1,
                                1};
} // namespace

int CmdPrint(int argc, char** argv)
{
    vfl::OptionParser args(kSpec);
    args.Parse(argc, argv);
    if (args.HelpAsked())
        return std::fputs(args.Help().c_str(), stdout), 0;
    std::string const& path = args.Operands().front();
    try
    {
        vfl::SpooledInput spool(path);
        if (vfl::Interrupted())
            return vfl::InterruptExitStatus();
        // Standard input has no name to go by: its copy is named after
        // what it holds.
        if (spool.IsCopy() && !vfl::FindFormat(spool.Extension().empty() ? "" : spool.Extension().substr(1)))
        {
            vfl::Format const* format = nullptr;
            {
                FF_AudioFile probe(vfl::LocationFromArgument(spool.Path()));
                format = vfl::FindFormat(vfl::TypeName(probe));
            }
            if (format)
                spool.TakeExtension(std::string(".") + format->extensions.front());
        }
        FF_AudioFile file(vfl::LocationFromArgument(spool.Path()));
        // Opened once first, so that a file that cannot be read is reported
        // before anything is printed.
        file.Implements(FF_AudioFile::eImportExportInterface);
        std::ostringstream text;
        file.PrintFile(text);
        file.PrintCache(text);
        std::cout << text.str();
        std::cout.flush();
    }
    catch (std::exception const& e)
    {
        vfl::ReportFileError("print", "", path, vfl::ExceptionText(e));
        return 1;
    }
    return 0;
}
