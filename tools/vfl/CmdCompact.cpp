#include "Cmn/Cmn_IntervalList.h"
#include "FF/FF_AudioFile.h"
#include "FF/FF_AudioFileUtils.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_FunctionObject.h"
#include "tools/vfl/Commands.h"
#include "tools/vfl/Terminal.h"
#include "tools/vfl/ToolSupport.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <exception>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace
{
char const kUsage[] = "Usage: vfl compact FILE --keep START-END[,START-END...]\n\n"
                      "Keeps the given stretches of a file (frames, END exclusive) and throws the\n"
                      "rest away, in place: the kept audio moves together toward the start and the\n"
                      "file is cut behind it. Regions wholly inside one kept stretch move with it;\n"
                      "the others are removed. There is no undo: copy the file first if you may\n"
                      "want it back. --keep may be given more than once.\n";

// Adds "START-END[,START-END...]" to `keep`; false if the text is not that.
bool ParseStretches(std::string const& text, Cmn_IntervalList* keep)
{
    std::size_t at = 0;
    while (at <= text.size())
    {
        std::size_t const comma = std::min(text.find(',', at), text.size());
        std::string const item = text.substr(at, comma - at);
        std::size_t const dash = item.find('-');
        int64 start = 0, end = 0;
        if (dash == std::string::npos || !vfl::ParseInt64(item.substr(0, dash), &start) ||
            !vfl::ParseInt64(item.substr(dash + 1), &end) || start >= end)
            return false;
        keep->Insert(Cmn_Interval(start, end));
        at = comma + 1;
    }
    return true;
}

void DrawProgress(int64 done, int64 total)
{
    int const width = 40;
    int const percent = total > 0 ? static_cast<int>(done * 100 / total) : 100;
    int const filled = percent * width / 100;
    std::fprintf(stderr, "\r[%s%s] %3d%%", std::string(static_cast<size_t>(filled), '#').c_str(),
                 std::string(static_cast<size_t>(width - filled), ' ').c_str(), percent);
}

struct Interrupted
{
};

// Draws the bar after each round, and stops the work at an interrupt.
class Progress : public Sys_FunctionObject
{
public:
    Progress(int64 total, bool draw) : mTotal(total), mDraw(draw) {}
    void operator()() override
    {
        ++mDone;
        if (mDraw)
            DrawProgress(mDone, mTotal);
        if (vfl::Interrupted())
            throw Interrupted();
    }

private:
    int64 mDone = 0;
    int64 mTotal;
    bool mDraw;
};

// Compacts the file at `path`; the exit status.
int Compact(std::string const& path, Cmn_IntervalList const& keep)
{
    Sys_FileLoc const loc = vfl::LocationFromArgument(path);
    int64 before = 0;
    FF_AudioFileAttr attr;
    {
        FF_AudioFile file(loc);
        if (!file.Implements(FF_AudioFile::eImportExportInterface))
        {
            std::string const reason = file.GetUnknownReason();
            vfl::ReportError(path, "not an audio file in a known format" + (reason.empty() ? "" : " (" + reason + ")"));
            return 1;
        }
        if (!file.Implements(FF_AudioFile::eNativeInterface))
        {
            vfl::ReportError(path, "the length of a file of this format cannot change");
            return 1;
        }
        attr = file.GetAudioFileAttr();
        before = attr.GetNumSamples();
    }
    Cmn_Interval const last = *std::prev(keep.end());
    if (last.end > before)
    {
        std::fprintf(stderr, "vfl compact: frames %" PRId64 "-%" PRId64 " reach past the %" PRId64 " frames of %s\n",
                     last.start, last.end, before, path.c_str());
        return 2;
    }

    vfl::CatchInterrupt();
    bool const draw = vfl::StderrIsTerminal();
    Progress progress(FF_AudioFileUtils::CountCompactRounds(attr, keep), draw);
    std::unique_ptr<FF_AudioFile> file;
    try
    {
        file = FF_AudioFileUtils::CompactAudioFile(loc, keep, FF_AudioFileUtils::eCompactInPlace, &progress);
    }
    catch (Interrupted const&)
    {
        if (draw)
            std::fputc('\n', stderr);
        std::fprintf(stderr, "vfl compact: interrupted: %s is left partly compacted; its audio is partly moved\n",
                     path.c_str());
        return 130;
    }
    if (draw)
    {
        DrawProgress(1, 1);
        std::fputc('\n', stderr);
    }

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
    std::string path;
    Cmn_IntervalList keep;
    bool haveKeep = false;
    for (int i = 1; i < argc; ++i)
    {
        std::string const a = argv[i];
        if (vfl::IsHelp(argv[i]))
        {
            std::fputs(kUsage, stdout);
            return 0;
        }
        if (a == "--keep" && i + 1 < argc)
        {
            if (!ParseStretches(argv[++i], &keep))
            {
                std::fprintf(stderr,
                             "vfl compact: --keep takes START-END[,START-END...], whole frames with START < END, "
                             "not '%s'\n",
                             argv[i]);
                return 2;
            }
            haveKeep = true;
        }
        else if (a.size() > 1 && a[0] == '-')
        {
            std::fprintf(stderr, "vfl compact: unknown or incomplete option '%s'\n\n%s", a.c_str(), kUsage);
            return 2;
        }
        else if (path.empty())
            path = a;
        else
        {
            std::fprintf(stderr, "vfl compact: one file at a time\n");
            return 2;
        }
    }
    if (path.empty() || !haveKeep)
    {
        std::fputs(kUsage, stderr);
        return 2;
    }

    try
    {
        return Compact(path, keep);
    }
    catch (std::exception const& e)
    {
        vfl::ReportError(path, vfl::ExceptionText(e));
        return 1;
    }
}
