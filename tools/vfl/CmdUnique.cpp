#include "FF/FF_AudioFileUtils.h"
#include "Sys/Sys_File.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Utils.h"
#include "tools/vfl/Commands.h"
#include "tools/vfl/ToolSupport.h"

#include <cstdio>
#include <limits>
#include <string>

namespace
{
char const kUsage[] = "Usage: vfl unique FOLDER NAME [--ext EXT] [--stereo] [--max N]\n\n"
                      "Prints the location the library chooses for a new take named NAME in\n"
                      "FOLDER: a name not taken yet, shortened to fit and numbered as needed.\n"
                      "A final .L or .R of NAME is kept as the channel mark. Nothing is created.\n\n"
                      "Options:\n"
                      "  --ext EXT   the extension of the new file (default: none)\n"
                      "  --stereo    a pair of files, marked .L and .R, with the same number\n"
                      "  --max N     the longest file name in bytes, extension included\n"
                      "              (default: what the folder's file system allows)\n";
} // namespace

int CmdUnique(int argc, char** argv)
{
    std::string folderPath, name, extension;
    bool stereo = false;
    int64 max = -1;
    for (int i = 1; i < argc; ++i)
    {
        std::string const a = argv[i];
        if (vfl::IsHelp(argv[i]))
        {
            std::fputs(kUsage, stdout);
            return 0;
        }
        if (a == "--ext" && i + 1 < argc)
        {
            extension = argv[++i];
            if (!extension.empty() && extension[0] == '.')
                extension.erase(0, 1);
        }
        else if (a == "--stereo")
            stereo = true;
        else if (a == "--max" && i + 1 < argc)
        {
            if (!vfl::ParseInt64(argv[++i], &max) || max < 1 || max > std::numeric_limits<int32>::max())
            {
                std::fprintf(stderr, "vfl unique: --max needs a whole number of bytes from 1, not '%s'\n", argv[i]);
                return 2;
            }
        }
        else if (a.size() > 1 && a[0] == '-')
        {
            std::fprintf(stderr, "vfl unique: unknown or incomplete option '%s'\n\n%s", a.c_str(), kUsage);
            return 2;
        }
        else if (folderPath.empty())
            folderPath = a;
        else if (name.empty())
            name = a;
        else
        {
            std::fprintf(stderr, "vfl unique: unexpected argument '%s'\n\n%s", a.c_str(), kUsage);
            return 2;
        }
    }
    if (folderPath.empty() || name.empty())
    {
        std::fputs(kUsage, stderr);
        return 2;
    }
    if (name.find('/') != std::string::npos || extension.find('/') != std::string::npos)
    {
        std::fprintf(stderr, "vfl unique: NAME and EXT are names within the folder and cannot hold '/'\n");
        return 2;
    }

    // The folder as a folder, whatever the user typed after its name.
    Sys_FileLoc const folder = vfl::LocationFromArgument(folderPath + "/");
    if (!Sys_File(folder).IsOnline())
    {
        vfl::ReportError(folderPath, "no such folder");
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
