#include "Cmn/Cmn_Exception.h"
#include "FF/FF_AudioFile.h"
#include "tools/vfl/Commands.h"
#include "tools/vfl/ToolSupport.h"

#include <cinttypes>
#include <cstdio>
#include <string>
#include <vector>

namespace
{
char const kUsage[] = "Usage: vfl regions FILE [--json]\n"
                      "       vfl regions FILE --add NAME START STOP [--sync S]\n"
                      "       vfl regions FILE --remove NAME\n\n"
                      "Lists, adds or removes the named regions of a file (frames).\n"
                      "Adding to a foreign file first gives it the system's identity\n"
                      "metadata, behind its audio.\n";

void List(FF_AudioFile& file, bool json)
{
    std::vector<FF_ImportAudioRegion> regions;
    file.GetRegions(&regions, false);
    for (auto const& r : regions)
    {
        if (json)
            std::printf("{\"name\":%s,\"start\":%" PRIu64 ",\"stop\":%" PRIu64 ",\"sync\":%" PRIu64
                        ",\"wholeFile\":%s,\"umid\":%s}\n",
                        vfl::JsonString(r.GetName()).c_str(), r.GetStartSample(), r.GetStopSample(), r.GetSyncSample(),
                        r.IsWholeFileRegion() ? "true" : "false", vfl::JsonString(r.GetUmid().AsString()).c_str());
        else
            std::printf("%-31s %12" PRIu64 " %12" PRIu64 " sync %" PRIu64 "%s\n", r.GetName().c_str(),
                        r.GetStartSample(), r.GetStopSample(), r.GetSyncSample(),
                        r.IsWholeFileRegion() ? "  (whole file)" : "");
    }
}

// A removal alone does not mark the file for write-back. A change that does
// takes it to the disk: the same time stamp again (written into the
// broadcast chunk's own bytes), or else a region added and taken away at
// once, which leaves no trace. Not the instrument: setting it rewrites a
// sampler chunk another tool wrote.
bool ForceWriteBack(FF_AudioFile& file)
{
    if (file.Implements(FF_AudioFile::eEbuInterface))
    {
        file.SetSMPTETimeStamp(file.GetSMPTETimeStamp());
        return true;
    }
    // A region of one frame would be the whole-file region of a file of one frame.
    if (file.GetAudioFileAttr().GetNumSamples() < 2)
        return false;
    std::string const marker = "vfl write-back";
    file.AddRegion(marker, 0, 1, 0, 0, 0);
    std::vector<FF_ImportAudioRegion> regions;
    file.GetRegions(&regions, false);
    for (auto const& r : regions)
        if (r.GetName() == marker)
            file.RemoveRegion(r.GetUmid());
    return true;
}
} // namespace

int CmdRegions(int argc, char** argv)
{
    if (argc < 2)
    {
        std::fputs(kUsage, stderr);
        return 2;
    }
    std::string path, add, remove;
    int64 start = -1, stop = -1, sync = 0;
    bool json = false;
    for (int i = 1; i < argc; ++i)
    {
        std::string const a = argv[i];
        if (vfl::IsHelp(argv[i]))
        {
            std::fputs(kUsage, stdout);
            return 0;
        }
        if (a == "--json")
            json = true;
        else if (a == "--add" && i + 3 < argc)
        {
            add = argv[++i];
            if (!vfl::ParseInt64(argv[++i], &start) || !vfl::ParseInt64(argv[++i], &stop))
            {
                std::fprintf(stderr, "vfl regions: START and STOP are whole numbers of frames\n");
                return 2;
            }
        }
        else if (a == "--sync" && i + 1 < argc)
        {
            if (!vfl::ParseInt64(argv[++i], &sync))
            {
                std::fprintf(stderr, "vfl regions: --sync needs a whole number\n");
                return 2;
            }
        }
        else if (a == "--remove" && i + 1 < argc)
            remove = argv[++i];
        else if (a.size() > 1 && a[0] == '-')
        {
            std::fprintf(stderr, "vfl regions: unknown or incomplete option '%s'\n\n%s", a.c_str(), kUsage);
            return 2;
        }
        else if (path.empty())
            path = a;
        else
        {
            std::fprintf(stderr, "vfl regions: one file at a time\n");
            return 2;
        }
    }

    FF_AudioFile file(vfl::LocationFromArgument(path));
    if (!file.Implements(FF_AudioFile::eImportExportInterface))
    {
        vfl::ReportError(path, "not an audio file in a known format");
        return 1;
    }
    if (add.empty() && remove.empty())
    {
        List(file, json);
        return 0;
    }
    if (!file.Implements(FF_AudioFile::eNativeInterface))
    {
        vfl::ReportError(path, "regions of this file cannot be changed");
        return 1;
    }

    file.Open(FF_AudioFile::eOpenRead | FF_AudioFile::eOpenWrite);
    try
    {
        if (!add.empty())
        {
            int64 const frames = file.GetAudioFileAttr().GetNumSamples();
            if (add.size() > 31 || !(start < stop) || stop > frames)
            {
                file.Close(false);
                std::fprintf(stderr,
                             "vfl regions: a region needs a name of at most 31 characters and "
                             "START < STOP <= %" PRId64 "\n",
                             frames);
                return 2;
            }
            if (!file.Implements(FF_AudioFile::eVelmoraInterface))
                file.Implement(FF_AudioFile::eVelmoraInterface);
            file.AddRegion(add, start, stop, sync, 0, 0);
        }
        if (!remove.empty())
        {
            std::vector<FF_ImportAudioRegion> regions;
            file.GetRegions(&regions, false);
            int removed = 0;
            for (auto const& r : regions)
                if (r.GetName() == remove)
                {
                    file.RemoveRegion(r.GetUmid());
                    ++removed;
                }
            if (removed == 0)
            {
                file.Close(false);
                vfl::ReportError(path, "no region named '" + remove + "'");
                return 1;
            }
            if (!ForceWriteBack(file))
                std::fprintf(stderr, "vfl regions: the removal is written with the file's next change\n");
        }
    }
    catch (...)
    {
        try
        {
            file.Close(false);
        }
        catch (...)
        {
        }
        throw;
    }
    file.Close();
    return 0;
}
