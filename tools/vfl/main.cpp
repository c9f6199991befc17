// vfl: the command-line host of the library.
#include "tools/vfl/Commands.h"
#include "tools/vfl/Terminal.h"
#include "tools/vfl/ToolSupport.h"
#include "tools/vfl/UsageError.h"

#include <cstdio>
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
    {"info", &CmdInfo, "describe audio files: format, channels, rate, length, metadata"},
    {"cat", &CmdCat, "write a file's samples to stdout as raw signed PCM"},
    {"convert", &CmdConvert, "convert audio files: type, bits, rate, channel layout"},
    {"overview", &CmdOverview, "compute the waveform overview of every channel; print it or draw it"},
    {"play", &CmdPlay, "play a file to a real-time client through a regulator and count its underruns"},
    {"new", &CmdNew, "write a new audio file from raw signed PCM on stdin"},
    {"regions", &CmdRegions, "list, add or remove the named regions of a file"},
    {"adopt", &CmdAdopt, "give foreign files the system's identity metadata"},
    {"compact", &CmdCompact, "keep stretches of a file and throw the rest away, in place"},
    {"unique", &CmdUnique, "print a free name for a new take in a folder"},
    {"print", &CmdPrint, "print a file's chunks and the values its handler holds"},
    {"find", &CmdFind, "find audio files by name, media identifier or likeness"},
    {"volumes", &CmdVolumes, "list mounted volumes: root, label, serial, type, free space"},
    {"umid", &CmdUmid, "print a new unique media identifier"},
    {"keys", &CmdKeys, "print a file of key bindings and the conflicts among them"},
    {"crashlog", &CmdCrashlog, "print an exception log with the names of the functions on its stack"},
};

void PrintUsage(std::FILE* out)
{
    std::fprintf(out, "Usage: vfl [--help] [--version] COMMAND [ARGS...]\n\n"
                      "Reads and writes audio files through the Velmora File Library.\n\n"
                      "Commands:\n");
    for (auto const& c : kCommands)
        std::fprintf(out, "  %-10s %s\n", c.name, c.summary);
    std::fprintf(out, "\nRun 'vfl COMMAND --help' (or 'vfl help COMMAND') for the options of a command.\n"
                      "Exit status: 0 success, 1 failure, 2 usage error, 128+N when ended by signal N.\n");
}

Command const* FindCommand(std::string const& name)
{
    for (auto const& c : kCommands)
        if (name == c.name)
            return &c;
    return nullptr;
}

int Run(Command const& c, int argc, char** argv)
{
    try
    {
        vfl::FailWritesPastTheSizeLimit();
        vfl::InitLibrary();
        return c.run(argc, argv);
    }
    catch (vfl::UsageError const& e)
    {
        std::fprintf(stderr, "vfl: %s: %s (see 'vfl %s --help')\n", c.name, e.what(), c.name);
        return 2;
    }
    catch (std::exception const& e)
    {
        vfl::ReportError(c.name, vfl::ExceptionText(e));
        return 1;
    }
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
    if (first == "--help" || first == "-h" || (first == "help" && argc == 2))
    {
        PrintUsage(stdout);
        return 0;
    }
    if (first == "--version" || first == "-V")
    {
        std::printf("vfl %s\n", VFL_VERSION);
        return 0;
    }
    if (first == "help")
    {
        // "vfl help COMMAND" is "vfl COMMAND --help".
        Command const* c = FindCommand(argv[2]);
        if (!c)
        {
            std::fprintf(stderr, "vfl: no command '%s' (see 'vfl --help')\n", argv[2]);
            return 2;
        }
        char help[] = "--help";
        char* args[] = {argv[2], help, nullptr};
        return Run(*c, 2, args);
    }
    Command const* c = FindCommand(first);
    if (!c)
    {
        std::fprintf(stderr, "vfl: no command '%s' (see 'vfl --help')\n", argv[1]);
        return 2;
    }
    return Run(*c, argc - 1, argv + 1);
}
