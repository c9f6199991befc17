#include "Cmn/Cmn_Exception.h"
#include "FF/FF_AudioFile.h"
#include "MMgr/MMgr_FindFileTask.h"
#include "Sys/Sys_Event.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_MultiTaskThread.h"
#include "Sys/Sys_ThreadSafeQueue.h"
#include "Sys/Sys_Umid.h"
#include "Sys/Sys_Utils.h"
#include "Sys/Sys_Volume.h"
#include "tools/vfl/Commands.h"
#include "tools/vfl/OptionParser.h"
#include "tools/vfl/Terminal.h"
#include "tools/vfl/ToolSupport.h"
#include "tools/vfl/UsageError.h"

#include <charconv>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace
{
vfl::CommandSpec const kSpec = {
    "find",
    "[NAME-PATTERN] [--umid UMID | --like FILE] [--in FOLDER [--tree] | --volumes [--types TYPES]] [--json]",
    "Searches for audio files (of the types wav, aif, aiff, aifc and vorn) whose\n"
    "name matches NAME-PATTERN: '*' stands for any run of characters, '?' for\n"
    "any one, without regard to case; without a pattern, every audio file.\n"
    "Results are printed as they are found. Ctrl-C stops the search and keeps\n"
    "what was found. Exit status: 0 if something was found (with --umid: the\n"
    "file itself), 1 if not, 2 for a usage error, 130 when interrupted.",
    {{0, "umid", "UMID",
      "the file whose media identifier is UMID (as 'vfl info' prints it, or its\nfour words with dots): the "
      "search stops there and prints it as 'exact';\nwith a NAME-PATTERN, the other matching files are printed "
      "as 'candidate'"},
     {0, "like", "FILE",
      "copies of FILE: files with its media identifier ('copy'), and files of\nits name, length and format "
      "('similar')"},
     {0, "in", "FOLDER", "the folder alone (default: the current folder and every folder below it)"},
     {0, "tree", nullptr, "also every folder below it"},
     {0, "volumes", nullptr, "every mounted volume, each from its root"},
     {0, "types", "TYPES",
      "the kinds of volume searched: names separated by commas (fixed,\nremovable, floppy, network, cdrom, "
      "ramdisk, unknown) or their mask as\na number; default all"},
     {0, "json", nullptr,
      "one JSON object per line and result: its path, and how it matched\n(name, exact, candidate, copy or "
      "similar)"}},
    0,
    1};

// A whole non-negative decimal number.
bool ParseNumber(std::string const& text, int64* value)
{
    auto const [end, ec] = std::from_chars(text.data(), text.data() + text.size(), *value);
    return !text.empty() && ec == std::errc() && end == text.data() + text.size() && *value >= 0;
}

enum ESought
{
    eByName,
    eByUmid,
    eLike
};

// The file that --like names, as the search compares others with it.
struct Original
{
    std::string path;
    std::string name; // the last part of the path, in lower case
    bool hasUmid = false;
    Sys_Umid umid{};
    FF_AudioFileAttr attr;
};

std::string LowerClassic(std::string text)
{
    for (char& c : text)
        c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    return text;
}

std::string LastPart(std::string const& path)
{
    std::size_t const slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

// The types vfl registers for audio: by name, so that a search by name
// opens no file it need not.
bool HasAudioType(std::string const& path)
{
    std::size_t const dot = path.find_last_of("./");
    if (dot == std::string::npos || path[dot] != '.')
        return false;
    Sys_FileType const type(path.substr(dot + 1));
    if (!Sys_Utils::IsKnownType(type))
        return false;
    // The forks of VORN files bear their files' names.
    static std::string const kForkFolder = "/resource.frk/";
    if (LowerClassic(path).find(kForkFolder) != std::string::npos)
        return false;
    for (vfl::Format const& format : vfl::Formats())
        if (!format.writeOnly && Sys_Utils::AreTypesEquivalent(type, Sys_FileType(std::string(format.name))))
            return true;
    return false;
}

bool SameFormat(FF_AudioFileAttr const& a, FF_AudioFileAttr const& b)
{
    return Sys_Utils::AreTypesEquivalent(a.GetFileType(), b.GetFileType()) &&
           a.GetNumChannels() == b.GetNumChannels() && a.GetSamplesPerSec() == b.GetSamplesPerSec() &&
           a.GetBitsPerSample() == b.GetBitsPerSample() && a.GetNumSamples() == b.GetNumSamples();
}

// The identifier as 'vfl info' prints it (six bits a character, most
// significant first) or as four decimal words with dots.
bool ParseUmid(std::string const& text, Sys_Umid* umid)
{
    static char const kDigits[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789#!";
    if (text.empty())
        return false;
    if (text.find('.') != std::string::npos)
    {
        uint32 words[4];
        std::size_t at = 0;
        for (int w = 0; w < 4; ++w)
        {
            std::size_t const end = w < 3 ? text.find('.', at) : text.size();
            int64 value = 0;
            if (end == std::string::npos || !ParseNumber(text.substr(at, end - at), &value) || value > 0xFFFFFFFFLL)
                return false;
            words[w] = static_cast<uint32>(value);
            at = end + 1;
        }
        *umid = Sys_Umid(words[0], words[1], words[2], words[3]);
        return true;
    }
    unsigned char bytes[16] = {};
    for (char c : text)
    {
        char const* const digit = std::strchr(kDigits, c);
        if (c == '\0' || digit == nullptr || (bytes[0] >> 2) != 0)
            return false; // not a digit, or more than 128 bits
        unsigned carry = static_cast<unsigned>(digit - kDigits);
        for (int i = 15; i >= 0; --i)
        {
            unsigned const v = (static_cast<unsigned>(bytes[i]) << 6) | carry;
            bytes[i] = static_cast<unsigned char>(v);
            carry = v >> 8;
        }
    }
    Sys_Umid parsed{};
    std::memcpy(parsed.mWords, bytes, sizeof bytes);
    parsed.SwapIfWin32(); // the text is of the big-endian number
    if (parsed.AsString() != text)
        return false; // leading zero digits: not a form the identifier has
    *umid = parsed;
    return true;
}

// A mask of volume types from names or a number.
bool ParseVolumeTypes(std::string const& text, int32* mask)
{
    int64 number = 0;
    if (ParseNumber(text, &number))
    {
        *mask = static_cast<int32>(number & 0x7FFFFFFF);
        return number > 0 && number <= 0x7FFFFFFF;
    }
    struct Name
    {
        char const* name;
        Sys_Volume::EVolumeType type;
    };
    static Name const kNames[] = {
        {"fixed", Sys_Volume::kVolumeTypeFixed},    {"removable", Sys_Volume::kVolumeTypeRemovable},
        {"floppy", Sys_Volume::kVolumeTypeFloppy},  {"network", Sys_Volume::kVolumeTypeNetwork},
        {"cdrom", Sys_Volume::kVolumeTypeCDROM},    {"ramdisk", Sys_Volume::kVolumeTypeRAMDisk},
        {"unknown", Sys_Volume::kVolumeTypeUnknown}};
    *mask = 0;
    std::size_t at = 0;
    while (at <= text.size())
    {
        std::size_t end = text.find(',', at);
        if (end == std::string::npos)
            end = text.size();
        std::string const name = LowerClassic(text.substr(at, end - at));
        bool known = false;
        for (Name const& n : kNames)
            if (name == n.name)
            {
                *mask |= n.type;
                known = true;
            }
        if (!known)
            return false;
        at = end + 1;
    }
    return *mask != 0;
}

// The search of this command: the walk and its filter come from the task,
// and each file that passes is judged here. Why a candidate was taken is
// pushed beside it, in the same order.
class AudioFileSearch : public MMgr_FindFileTask
{
public:
    AudioFileSearch(ESought sought, bool nameGiven, Sys_Umid const& umid, Original const& original)
        : mSought(sought), mNameGiven(nameGiven), mUmid(umid), mOriginal(original)
    {
    }

    Sys_ThreadSafeQueue<std::string>& GetReasons() { return mReasons; }

protected:
    int32 MatchFile(Sys_FileLoc const& loc) override
    {
        std::string const path = loc.GetFullPath();
        if (path.empty() || path.back() == '/' || !HasAudioType(path))
            return eNotTheFile;
        if (mSought == eByName)
            return Candidate("name");
        try
        {
            FF_AudioFile file(loc);
            if (!file.Implements(FF_AudioFile::eImportExportInterface))
                return eNotTheFile;
            bool const hasUmid = file.Implements(FF_AudioFile::eVelmoraInterface);
            if (mSought == eByUmid)
            {
                if (hasUmid && file.GetUmid() == mUmid)
                    return eExactMatch;
                return mNameGiven ? Candidate("candidate") : eNotTheFile;
            }
            if (path == mOriginal.path)
                return eNotTheFile;
            if (mOriginal.hasUmid && hasUmid && file.GetUmid() == mOriginal.umid)
                return Candidate("copy");
            if (LowerClassic(LastPart(path)) == mOriginal.name && SameFormat(file.GetAudioFileAttr(), mOriginal.attr))
                return Candidate("similar");
        }
        catch (std::exception const&)
        {
            // A file that cannot be read, or is damaged, is not the one sought.
        }
        return eNotTheFile;
    }

private:
    int32 Candidate(char const* reason)
    {
        mReasons.Push(reason);
        return eCandidate;
    }

    ESought const mSought;
    bool const mNameGiven;
    Sys_Umid const mUmid;
    Original const mOriginal;
    Sys_ThreadSafeQueue<std::string> mReasons;
};

// The progress line on standard error: the folder being searched.
class ProgressLine
{
public:
    explicit ProgressLine(bool shown) : mShown(shown) {}

    void Draw(std::string const& folder)
    {
        if (!mShown || folder.empty())
            return;
        constexpr std::size_t kWidth = 79;
        std::string text = "searching " + folder;
        if (text.size() > kWidth)
            text = "searching ..." + folder.substr(folder.size() - (kWidth - 13));
        std::fprintf(stderr, "\r\033[K%s", text.c_str());
        mDrawn = true;
    }
    void Clear()
    {
        if (mDrawn)
            std::fputs("\r\033[K", stderr);
        mDrawn = false;
    }

private:
    bool const mShown;
    bool mDrawn = false;
};

void PrintResult(std::string const& kind, std::string const& path, ESought sought, bool json)
{
    if (json)
        std::printf("{\"path\":%s,\"match\":%s}\n", vfl::JsonString(path).c_str(), vfl::JsonString(kind).c_str());
    else if (sought == eByName)
        std::printf("%s\n", path.c_str());
    else
        std::printf("%-9s %s\n", kind.c_str(), path.c_str());
}

int Usage(char const* problem, std::string const& what)
{
    throw vfl::UsageError(problem + what);
}
} // namespace

int CmdFind(int argc, char** argv)
{
    vfl::OptionParser args(kSpec);
    args.Parse(argc, argv);
    if (args.HelpAsked())
        return std::fputs(args.Help().c_str(), stdout), 0;
    bool const patternGiven = !args.Operands().empty();
    std::string const pattern = patternGiven ? args.Operands()[0] : std::string();
    std::string const folder = args.Text("in"), umidText = args.Text("umid"), likePath = args.Text("like");
    bool const tree = args.Has("tree"), volumes = args.Has("volumes"), json = args.Has("json");
    int32 volumeTypes = 0xFF;
    if (args.Has("types") && !ParseVolumeTypes(args.Text("types"), &volumeTypes))
        return Usage("--types takes fixed, removable, floppy, network, cdrom, ramdisk or unknown, "
                     "separated by commas, or a mask: ",
                     args.Text("types"));
    if (!umidText.empty() && !likePath.empty())
        return Usage("--umid and --like exclude each other", "");
    if (volumes && !folder.empty())
        return Usage("--in and --volumes exclude each other", "");
    if (patternGiven && pattern.empty())
        return Usage("an empty name pattern matches nothing", "");

    ESought const sought = !umidText.empty() ? eByUmid : !likePath.empty() ? eLike : eByName;
    Sys_Umid umid{};
    if (sought == eByUmid && !ParseUmid(umidText, &umid))
        return Usage("not a media identifier: ", "'" + umidText + "'");
    Original original;
    if (sought == eLike)
    {
        Sys_FileLoc const loc = vfl::LocationFromArgument(likePath);
        try
        {
            FF_AudioFile file(loc);
            if (!file.Implements(FF_AudioFile::eImportExportInterface))
            {
                vfl::ReportFileError("find", "", likePath, "not an audio file of a known format");
                return 1;
            }
            original.path = loc.GetFullPath();
            original.name = LowerClassic(LastPart(original.path));
            original.hasUmid = file.Implements(FF_AudioFile::eVelmoraInterface);
            if (original.hasUmid)
                original.umid = file.GetUmid();
            original.attr = file.GetAudioFileAttr();
        }
        catch (std::exception const& e)
        {
            vfl::ReportFileError("find", "", likePath, vfl::ExceptionText(e));
            return 1;
        }
    }

    auto method = MMgr_FindFileTask::eFindByName;
    if (volumes)
        method = method | MMgr_FindFileTask::eFindOnVolumes;
    else if (folder.empty() || tree)
        method = method | MMgr_FindFileTask::eFindInFolderTree;
    else
        method = method | MMgr_FindFileTask::eFindInFolder;
    Sys_FileLoc start;
    if (!volumes)
    {
        start = vfl::LocationFromArgument(folder.empty() ? std::string(".") : folder);
        if (Sys_Utils::GetFileType(start).GetFileType() != Sys_FileType::kTypeFolder)
        {
            vfl::ReportFileError("find", "", folder.empty() ? std::string(".") : folder, "not a folder");
            return 1;
        }
    }

    auto* const search = new AudioFileSearch(sought, patternGiven, umid, original);
    MMgr_FindFileTask::Handle const task(search);
    task->SetFindMethod(method);
    task->SetVolumeTypes(volumeTypes);
    task->SetFindFileName(patternGiven ? pattern : std::string("*"));
    if (!volumes)
        task->SetStartFolder(start);

    vfl::CatchInterrupt();
    ProgressLine progress(vfl::StderrIsTerminal());
    Sys_Event::Handle const ended =
        task->GetNotificationEvent(Sys_Task::kStatusCompleted | Sys_Task::kStatusFailed | Sys_Task::kStatusAborted);
    Sys_MultiTaskThread::Handle thread = Sys_MultiTaskThread::Create();
    thread->AddTask(task, 0);

    // The walk begins at the start folder: said before the first look.
    if (!volumes)
        progress.Draw(start.GetFullPath());
    int found = 0;
    bool exactPrinted = false, interrupted = false;
    auto report = [&]
    {
        // The exact match comes after every candidate found before it: the
        // flag is read first. Each candidate's reason was pushed before it.
        bool const exact = task->FoundExactMatch();
        bool cleared = false;
        while (!task->GetCandidates().IsEmpty())
        {
            if (!cleared)
                progress.Clear();
            cleared = true;
            std::string const path = task->GetCandidates().Pop().GetFullPath();
            PrintResult(search->GetReasons().Pop(), path, sought, json);
            if (sought != eByUmid)
                ++found;
        }
        if (exact && !exactPrinted)
        {
            progress.Clear();
            PrintResult("exact", task->GetExactMatch().GetFullPath(), sought, json);
            exactPrinted = true;
            ++found;
        }
        std::fflush(stdout);
    };
    for (;;)
    {
        Sys_Task::EStatus const status = task->GetStatus();
        bool const finished = status == Sys_Task::kStatusCompleted || status == Sys_Task::kStatusFailed ||
                              status == Sys_Task::kStatusAborted;
        report();
        if (finished)
            break;
        if (vfl::Interrupted() && !interrupted)
        {
            // Said at once: a file being read may hold the search a moment.
            progress.Clear();
            std::fprintf(stderr, "vfl find: interrupted\n");
            task->Abort();
            interrupted = true;
        }
        if (!interrupted)
            progress.Draw(task->GetStatusString());
        ended->Wait(50); // at once when the search ends; else a look at the queue and Ctrl-C
    }
    progress.Clear();

    if (task->GetStatus() == Sys_Task::kStatusFailed)
    {
        Cmn_Exception const* const failure = task->GetException();
        vfl::ReportError("find", failure ? failure->GetFullDescription() : std::string("the search failed"));
        return 1;
    }
    // Ctrl-C counts even when the search ended before it could be stopped.
    if (interrupted)
        return 130;
    if (vfl::Interrupted())
    {
        std::fprintf(stderr, "vfl find: interrupted\n");
        return 130;
    }
    return found > 0 ? 0 : 1;
}
