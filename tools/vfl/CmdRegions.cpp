#include "Cmn/Cmn_Exception.h"
#include "FF/FF_AudioFile.h"
#include "tools/vfl/Commands.h"
#include "tools/vfl/FileLock.h"
#include "tools/vfl/OptionParser.h"
#include "tools/vfl/SpooledInput.h"
#include "tools/vfl/Terminal.h"
#include "tools/vfl/ToolSupport.h"
#include "tools/vfl/UsageError.h"

#include <cinttypes>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace
{
vfl::CommandSpec const kSpec = {
    "regions",
    "FILE [--json]\nFILE --add NAME START STOP [--sync TIME]\nFILE --remove NAME",
    "Lists, adds or removes the named regions of a file. Times are frames, or\n"
    "seconds as 90s or 1:30.5. Adding to a foreign file first gives it the\n"
    "system's identity metadata, behind its audio (see 'vfl adopt --help').",
    {{0, "json", nullptr, "list the regions as one JSON object per line"},
     {0, "add", "NAME START STOP", "add a region: a NAME of 1 to 31 characters,\nand START < STOP within the file"},
     {0, "sync", "TIME", "the sync point of the added region (default 0)"},
     {0, "remove", "NAME", "remove every region of that name"}},
    1,
    1};

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
    vfl::OptionParser args(kSpec);
    args.Parse(argc, argv);
    if (args.HelpAsked())
        return std::fputs(args.Help().c_str(), stdout), 0;
    std::string const& path = args.Operands().front();
    std::vector<std::string> const add = args.Values("add");
    std::string const remove = args.Text("remove");
    if (add.empty() && args.Has("sync"))
        throw vfl::UsageError("--sync goes with --add");
    if (!add.empty() && add[0].size() > 31)
        throw vfl::UsageError("a region's name has at most 31 characters, not " + std::to_string(add[0].size()));
    vfl::TimeValue const start = add.empty() ? vfl::TimeValue() : vfl::OptionParser::ParseTime("--add START", add[1]);
    vfl::TimeValue const stop = add.empty() ? vfl::TimeValue() : vfl::OptionParser::ParseTime("--add STOP", add[2]);
    vfl::TimeValue const sync = args.Has("sync") ? args.Time("sync") : vfl::TimeValue();

    bool const changes = !add.empty() || !remove.empty();
    if (std::string const why = changes ? vfl::WhyNotChangeableInPlace(path) : ""; !why.empty())
    {
        vfl::ReportFileError("regions", "", path, why);
        return 1;
    }
    // A listing reads standard input or a pipe as the other reading commands do.
    std::unique_ptr<vfl::SpooledInput> spool;
    std::unique_ptr<vfl::FileLock> lock;
    try
    {
        if (changes)
            lock = std::make_unique<vfl::FileLock>(path, vfl::FileLock::eExclusive);
        else
            spool = std::make_unique<vfl::SpooledInput>(path);
    }
    catch (std::exception const& e)
    {
        vfl::ReportFileError("regions", "", path, vfl::ExceptionText(e));
        return 1;
    }
    if (vfl::Interrupted())
        return vfl::InterruptExitStatus();
    FF_AudioFile file(vfl::LocationFromArgument(spool ? spool->Path() : path));
    try
    {
        if (!file.Implements(FF_AudioFile::eImportExportInterface))
        {
            vfl::ReportFileError("regions", "", path, "not an audio file in a known format");
            return 1;
        }
        if (!changes)
        {
            List(file, args.Has("json"));
            return 0;
        }
        if (!file.Implements(FF_AudioFile::eNativeInterface))
        {
            vfl::ReportFileError("regions", "", path, "the regions of this file cannot be changed");
            return 1;
        }
    }
    catch (std::exception const& e)
    {
        vfl::ReportFileError("regions", "", path, vfl::ExceptionText(e));
        return 1;
    }

    FF_AudioFileAttr const attr = file.GetAudioFileAttr();
    int64 const frames = attr.GetNumSamples();
    int32 const rate = attr.GetSamplesPerSec();
    if (!add.empty() && !(start.ToFrames(rate) < stop.ToFrames(rate) && stop.ToFrames(rate) <= frames))
        throw vfl::UsageError("a region needs START < STOP <= " + std::to_string(frames) + " (the file's frames)");

    if (std::string const why = vfl::WhyNotRewritable(file); !why.empty())
    {
        vfl::ReportFileError("regions", "", path, why);
        return 1;
    }
    // A signal waits until the change is written: a rewrite that grows a
    // chunk in front of the audio moves the audio in place, and cut short
    // it would leave the audio half moved.
    vfl::CatchInterrupt();
    try
    {
        file.Open(FF_AudioFile::eOpenRead | FF_AudioFile::eOpenWrite);
        if (!add.empty())
        {
            if (!file.Implements(FF_AudioFile::eVelmoraInterface))
                file.Implement(FF_AudioFile::eVelmoraInterface);
            file.AddRegion(add[0], start.ToFrames(rate), stop.ToFrames(rate), sync.ToFrames(rate), 0, 0);
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
                vfl::ReportFileError("regions", "", path, "no region named '" + remove + "'");
                return 1;
            }
            if (!ForceWriteBack(file))
                std::fprintf(stderr, "vfl: regions: %s: the removal is written with the file's next change\n",
                             path.c_str());
        }
    }
    catch (std::exception const& e)
    {
        try
        {
            if (file.IsOpen())
                file.Close(false);
        }
        catch (...)
        {
        }
        vfl::ReportFileError("regions", "", path, vfl::ExceptionText(e));
        return 1;
    }
    try
    {
        file.Close();
    }
    catch (std::exception const& e)
    {
        vfl::ReportFileError("regions", "", path, vfl::ExceptionText(e));
        return 1;
    }
    if (vfl::Interrupted())
    {
        std::fprintf(stderr, "vfl regions: interrupted once the change to %s was written\n", path.c_str());
        return vfl::InterruptExitStatus();
    }
    return 0;
}
