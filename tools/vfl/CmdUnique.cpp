#include "FF/FF_AudioFileUtils.h"
#include "Sys/Sys_File.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Utils.h"
#include "tools/vfl/Commands.h"
#include "tools/vfl/OptionParser.h"
#include "tools/vfl/ToolSupport.h"
#include "tools/vfl/UsageError.h"

#include <cstdio>
#include <limits>
#include <string>

namespace
{
vfl::CommandSpec const kSpec = {
    "unique",
    "FOLDER NAME",
    "Prints the location the library chooses for a new take named NAME in\n"
    "FOLDER: a name not taken yet, shortened to fit and numbered as needed.\n"
    "A final .L or .R of NAME is kept as the channel mark. Nothing is created.",
    {{0, "ext", "EXT", "the extension of the new file (default: none)"},
     {0, "stereo", nullptr, "a pair of files, marked .L and .R, with the same number"},
     {0, "max", "N",
      "the longest file name in bytes, extension included\n(default: what the folder's file system allows)"}},
    2,
    2};
} // namespace

int CmdUnique(int argc, char** argv)
{
    vfl::OptionParser args(kSpec);
    args.Parse(argc, argv);
    if (args.HelpAsked())
        return std::fputs(args.Help().c_str(), stdout), 0;
    std::string const folderPath = args.Operands()[0];
    std::string const name = args.Operands()[1];
    std::string extension = args.Text("ext");
    if (!extension.empty() && extension[0] == '.')
        extension.erase(0, 1);
    bool const stereo = args.Has("stereo");
    int64 max = args.Count("max", -1, 1, std::numeric_limits<int32>::max());
    if (name.find('/') != std::string::npos || extension.find('/') != std::string::npos)
        throw vfl::UsageError("NAME and EXT are names within the folder and cannot hold '/'");

    // The folder as a folder, whatever the user typed after its name.
    Sys_FileLoc const folder = vfl::LocationFromArgument(folderPath + "/");
    if (!Sys_File(folder).IsOnline())
    {
        vfl::ReportFileError("unique", "", folderPath, "no such folder");
        return 1;
    }
    if (max < 0)
        max = Sys_Utils::GetMaxFileNameLength(folder);

    if (stereo)
    {
        Sys_FileLoc left, right;
        FF_AudioFileUtils::GetUniqueStereoAudioFileLocs(folder, name, extension, &left, &right,
                                                        static_cast<int32>(max));
        std::printf("%s\n%s\n", left.GetFullPath().c_str(), right.GetFullPath().c_str());
    }
    else
    {
        Sys_FileLoc result;
        FF_AudioFileUtils::GetUniqueMonoAudioFileLoc(folder, name, extension, &result, static_cast<int32>(max));
        std::printf("%s\n", result.GetFullPath().c_str());
    }
    return 0;
}
