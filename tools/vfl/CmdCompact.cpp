#include "Cmn/Cmn_IntervalList.h"
#include "FF/FF_AudioFile.h"
#include "FF/FF_AudioFileUtils.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_FunctionObject.h"
#include "tools/vfl/Commands.h"
#include "tools/vfl/FileLock.h"
#include "tools/vfl/OptionParser.h"
#include "tools/vfl/ProgressLine.h"
#include "tools/vfl/Terminal.h"
#include "tools/vfl/ToolSupport.h"
#include "tools/vfl/UsageError.h"

#include <algorithm>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace
{
vfl::CommandSpec const kSpec = {
    "compact",
    "FILE --keep START-END[,START-END...]",
    "Keeps the given stretches of a file (frames, END exclusive) and throws the\n"
    "rest away, in place: the kept audio moves together toward the start and the\n"
    "file is cut behind it. Regions wholly inside one kept stretch move with it;\n"
    "the others are removed. There is no undo: copy the file first if you may\n"
    "want it back.",
    {{0, "keep", "START-END[,START-END...]", "stretches to keep; may be given more than once"},
     {'q', "quiet", nullptr, "no progress line"}},
    1,
    1};

// Adds "START-END[,START-END...]" to `keep`; false if the text is not that.
bool ParseStretches(std::string const& text, Cmn_IntervalList* keep)
{
    std::size_t at = 0;
    while (at <= text.size())
    {
        std::size_t const comma = std::min(text.find(',', at), text.size());
        std::string const item = text.substr(at, comma - at);
        std::size_t const dash = item.find('-');
        if (dash == std::string::npos)
            return false;
        int64 const start = vfl::OptionParser::ParseCount("--keep", item.substr(0, dash), 0, INT64_MAX);
        int64 const end = vfl::OptionParser::ParseCount("--keep", item.substr(dash + 1), 0, INT64_MAX);
        if (start >= end)
            return false;
        keep->Insert(Cmn_Interval(start, end));
        at = comma + 1;
    }
    return true;
}

struct Interrupted
{
};

// Draws the bar after each round, and stops the work at an interrupt.
class Progress : public Sys_FunctionObject
{
public:
    Progress(int64 total, vfl::ProgressLine& line) : mTotal(total), mLine(line) {}
    void operator()() override
    {
        ++mDone;
        mLine.Update(mTotal > 0 ? 100.0 * static_cast<double>(mDone) / static_cast<double>(mTotal) : 100.0);
        if (vfl::Interrupted())
            throw Interrupted();
    }

private:
    int64 mDone = 0;
    int64 mTotal;
    vfl::ProgressLine& mLine;
};

// Compacts the file at `path`; the exit status.
int Compact(std::string const& path, Cmn_IntervalList const& keep, bool quiet)
{
    if (std::string const why = vfl::WhyNotChangeableInPlace(path); !why.empty())
    {
        vfl::ReportFileError("compact", "", path, why);
        return 1;
    }
    vfl::FileLock const lock(path, vfl::FileLock::eExclusive);
    Sys_FileLoc const loc = vfl::LocationFromArgument(path);
    int64 before = 0;
    FF_AudioFileAttr attr;
    {
        FF_AudioFile file(loc);
        if (!file.Implements(FF_AudioFile::eImportExportInterface))
        {
            std::string const reason = file.GetUnknownReason();
            vfl::ReportFileError("compact", "", path,
                                 "not an audio file in a known format" + (reason.empty() ? "" : ": " + reason));
            return 1;
        }
        if (!file.Implements(FF_AudioFile::eNativeInterface))
        {
            vfl::ReportFileError("compact", "", path, "the length of a file of this format cannot change");
            return 1;
        }
        // Refused before any sample moves: the length it could not write
        // would come only after the kept audio had been moved together. A
        // file another tool took past its format's sizes (an AIFF past
        // 4 GiB) may still be compacted to a length they record.
        if (int64 const most = file.GetMaxNumSamples(); keep.GetTotalLength() > most)
        {
            vfl::Format const* format = vfl::FindFormat(vfl::TypeName(file));
            vfl::ReportFileError("compact", "", path,
                                 std::string(format ? format->description : "its format") + " records " +
                                     std::to_string(most) + " frames at most and " +
                                     std::to_string(keep.GetTotalLength()) +
                                     " are kept: keep fewer ('vfl convert' makes a WAVE file of it)");
            return 1;
        }
        attr = file.GetAudioFileAttr();
        before = attr.GetNumSamples();
    }
    Cmn_Interval const last = *std::prev(keep.end());
    if (last.end > before)
    {
        throw vfl::UsageError("frames " + std::to_string(last.start) + "-" + std::to_string(last.end) +
                              " reach past the " + std::to_string(before) + " frames of " + path);
    }

    vfl::CatchInterrupt();
    vfl::ProgressLine line(path, 0, quiet);
    Progress progress(FF_AudioFileUtils::CountCompactRounds(attr, keep), line);
    std::unique_ptr<FF_AudioFile> file;
    try
    {
        file = FF_AudioFileUtils::CompactAudioFile(loc, keep, FF_AudioFileUtils::eCompactInPlace, &progress);
    }
    catch (Interrupted const&)
    {
        line.Finish();
        std::fprintf(stderr, "vfl compact: interrupted: %s is left partly compacted; its audio is partly moved\n",
                     path.c_str());
        return 130;
    }
    line.Finish();

    std::printf("%s: %" PRId64 " frames kept of %" PRId64 "\n", path.c_str(), file->GetAudioFileAttr().GetNumSamples(),
                before);
    std::vector<FF_ImportAudioRegion> regions;
    file->GetRegions(&regions, false);
    for (auto const& r : regions)
        std::printf("%-31s %12" PRIu64 " %12" PRIu64 " sync %" PRIu64 "%s\n", r.GetName().c_str(), r.GetStartSample(),
                    r.GetStopSample(), r.GetSyncSample(), r.IsWholeFileRegion() ? "  (whole file)" : "");
    return 0;
}
} // namespace

int CmdCompact(int argc, char** argv)
{
    vfl::OptionParser args(kSpec);
    args.Parse(argc, argv);
    if (args.HelpAsked())
        return std::fputs(args.Help().c_str(), stdout), 0;
    std::string const path = args.Operands()[0];
    if (!args.Has("keep"))
        throw vfl::UsageError("--keep is needed: the stretches to keep");
    Cmn_IntervalList keep;
    // Every use of --keep counts, not only the last.
    for (int i = 1; i < argc; ++i)
    {
        std::string const a = argv[i];
        std::string value;
        if (a == "--keep" && i + 1 < argc)
            value = argv[++i];
        else if (a.rfind("--keep=", 0) == 0)
            value = a.substr(7);
        else
            continue;
        if (!ParseStretches(value, &keep))
            throw vfl::UsageError("--keep takes START-END[,START-END...], whole frames with START < END, not '" +
                                  value + "'");
    }
    try
    {
        return Compact(path, keep, args.Has("quiet"));
    }
    catch (std::exception const& e)
    {
        if (dynamic_cast<vfl::UsageError const*>(&e))
            throw;
        vfl::ReportFileError("compact", "", path, vfl::ExceptionText(e));
        return 1;
    }
}
