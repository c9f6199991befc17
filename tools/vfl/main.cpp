// vfl: the command-line host of the library.
#include "tools/vfl/Commands.h"
#include "tools/vfl/ToolSupport.h"

#include <cstdio>
#include <cstring>
#include <exception>
#include <string>

#ifndef VFL_VERSION
#define VFL_VERSION "0"
#endif

namespace
{
struct Command
{
    char const* name;
    int (*run)(int, char**);
    char const* summary;
};

Command const kCommands[] = {
    {"info", &CmdInfo, "describe audio files: format, channels, rate, length"},
    {"cat", &CmdCat, "write a file's samples to stdout as raw signed PCM"},
    {"convert", &CmdConvert, "convert audio files: type, bits, rate, channel layout"},
    {"overview", &CmdOverview, "compute a file's waveform overview; print it or draw it"},
    {"new", &CmdNew, "write a new audio file from raw signed PCM on stdin"},
    {"regions", &CmdRegions, "list, add or remove the named regions of a file"},
    {"adopt", &CmdAdopt, "give foreign files the system's identity metadata"},
    {"print", &CmdPrint, "print a file's chunks and the values its handler holds"},
    {"find", &CmdFind, "find audio files by name, media identifier or likeness"},
    {"volumes", &CmdVolumes, "list mounted volumes: root, label, serial, type, free space"},
    {"umid", &CmdUmid, "print a new unique media identifier"},
};

void PrintUsage(std::FILE* out)
{
    std::fprintf(out, "Usage: vfl [--help] [--version] COMMAND [ARGS...]\n\n"
                      "Reads and writes audio files through the Velmora File Library.\n\n"
                      "Commands:\n");
    for (auto const& c : kCommands)
        std::fprintf(out, "  %-10s %s\n", c.name, c.summary);
    std::fprintf(out, "\nRun 'vfl COMMAND --help' for the options of a command.\n");
}
} // namespace

int main(int argc, char** argv)
{
    if (argc < 2)
    {
        PrintUsage(stderr);
        return 2;
    }
    std::string const first = argv[1];
    if (vfl::IsHelp(argv[1]) || first == "help")
    {
        PrintUsage(stdout);
        return 0;
    }
    if (first == "--version" || first == "-V")
    {
        std::printf("vfl %s\n", VFL_VERSION);
        return 0;
    }
    for (auto const& c : kCommands)
    {
        if (first != c.name)
            continue;
        try
        {
            vfl::InitLibrary();
            return c.run(argc - 1, argv + 1);
        }
        catch (std::exception const& e)
        {
            vfl::ReportError(c.name, vfl::ExceptionText(e));
            return 1;
        }
    }
    std::fprintf(stderr, "vfl: unknown command '%s'\n\n", argv[1]);
    PrintUsage(stderr);
    return 2;
}
