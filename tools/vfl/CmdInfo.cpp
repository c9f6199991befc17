#include "Cmn/Cmn_Exception.h"
#include "FF/FF_AudioFile.h"
#include "Sys/MacFileInfo.h"
#include "Sys/Sys_File.h"
#include "Sys/Sys_FileAttr.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_MacRoman.h"
#include "tools/vfl/Commands.h"
#include "tools/vfl/OptionParser.h"
#include "tools/vfl/SpooledInput.h"
#include "tools/vfl/Terminal.h"
#include "tools/vfl/ToolSupport.h"
#include "tools/vfl/UsageError.h"

#include "Sys/Sys_Utils.h"
#include "Sys/Sys_Volume.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

namespace
{
vfl::CommandSpec const kSpec = {"info",
                                "[OPTIONS] FILE...",
                                "Describes each file: type, byte order, channels, sample rate, bits, frames,\n"
                                "duration, file size and bit rate, and the metadata it carries: the system's\n"
                                "identity (umid, modification, revision), broadcast data, regions, overviews\n"
                                "and instrument data. A file in no known format is reported as type\n"
                                "\"unknown\". FILE - reads the file from standard input. With one of the\n"
                                "single-field options, only that value is printed, one line per file.",
                                {{0, "json", nullptr, "one JSON object per file and line (fields: see the README)"},
                                 {'r', "rate", nullptr, "print the sample rate only"},
                                 {'c', "channels", nullptr, "print the number of channels only"},
                                 {'b', "bits", nullptr, "print the bits per sample only"},
                                 {'s', "frames", nullptr, "print the number of frames only"},
                                 {'D', "seconds", nullptr, "print the duration in seconds only"},
                                 {'t', "type", nullptr, "print the type only (wav, aiff, aifc)"}},
                                1,
                                -1};

struct Overview
{
    std::string samplesPerInterval, bitsPerInterval, intervals;
};

struct Facts
{
    std::string path; // as the user named it
    int64 fileSize = -1;
    std::string type;
    FF_AudioFileAttr attr;
    bool known = false;
    std::string volume;
    // The system's own metadata, where the file has it.
    bool identity = false;
    std::string umid, modified;
    uint64 revision = 0;
    bool broadcast = false;
    int64 timeReference = 0;
    std::vector<std::pair<std::string, std::string>> bext; // fields as the file holds them
    std::string unknownReason;
    bool headerIncomplete = false;
    uint32 channelMask = 0;
    std::vector<FF_ImportAudioRegion> regions;
    std::vector<Overview> overviews;
    bool instrument = false;
    FF_AudioInstrumentAttr instrumentAttr;
    // Finder type and creator, where a Macintosh or a file server left them.
    std::string finderType, finderCreator;
};

// A four-character code as text: Mac OS Roman in UTF-8, "\xNN" for a control byte.
std::string CodeText(u32 code)
{
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8)
    {
        u8 const byte = u8(code >> shift);
        u16 const c = Sys_MacRoman::ToUnicode(byte);
        char buffer[8];
        if (c < 0x20 || c == 0x7F)
            std::snprintf(buffer, sizeof buffer, "\\x%02X", byte);
        else if (c < 0x80)
            std::snprintf(buffer, sizeof buffer, "%c", char(c));
        else if (c < 0x800)
            std::snprintf(buffer, sizeof buffer, "%c%c", char(0xC0 | (c >> 6)), char(0x80 | (c & 0x3F)));
        else
            std::snprintf(buffer, sizeof buffer, "%c%c%c", char(0xE0 | (c >> 12)), char(0x80 | ((c >> 6) & 0x3F)),
                          char(0x80 | (c & 0x3F)));
        text += buffer;
    }
    return text;
}

// Reading the Finder info never writes, and a file without it has none.
void ReadFinderInfo(Sys_FileLoc const& loc, Facts& f)
{
    MacFileInfo info;
    if (info.Open(loc.GetFullPath()) != 0 || (info.GetFileType() == 0 && info.GetCreator() == 0))
        return;
    f.finderType = CodeText(info.GetFileType());
    f.finderCreator = CodeText(info.GetCreator());
}

// The overviews, from the file's own chunk walk.
void ReadChunkDetails(FF_AudioFile& file, Facts& f)
{
    std::ostringstream dump;
    file.PrintFile(dump);
    std::istringstream in(dump.str());
    std::string line, chunk;
    while (std::getline(in, line))
    {
        if (line.rfind("Chunk ID: ", 0) == 0)
        {
            chunk = line.substr(10);
            continue;
        }
        // A VORN file's overview is a resource of its fork.
        if (line.rfind("Resource ID: ", 0) == 0)
        {
            chunk = line.rfind("Resource ID: qxOV ", 0) == 0 ? "ovwf" : line.substr(13, 4);
            continue;
        }
        auto field = [&](char const* label, std::string* value)
        {
            std::string const l = label;
            if (line.rfind(l, 0) != 0)
                return false;
            *value = line.substr(l.size());
            return true;
        };
        std::string value;
        if (chunk == "ovwf")
        {
            if (field("\t\tsamplesPerInterval ", &value))
                f.overviews.push_back({value, "", ""});
            else if (!f.overviews.empty() && field("\t\tbitsPerInterval ", &value))
                f.overviews.back().bitsPerInterval = value;
            else if (!f.overviews.empty() && field("\t\tnumIntervals ", &value))
                f.overviews.back().intervals = value;
        }
    }
}

Facts Gather(FF_AudioFile& file, Sys_FileLoc const& loc, std::string const& name)
{
    Facts f;
    f.path = name;
    f.fileSize = Sys_File(loc).GetFileAttr().GetSize();
    try
    {
        f.volume = Sys_Utils::GetVolumeRootFolderLoc(loc.GetVolume()).GetFullPath();
    }
    catch (std::exception const&)
    {
    }
    f.type = vfl::TypeName(file);
    ReadFinderInfo(loc, f);
    f.known = file.Implements(FF_AudioFile::eImportExportInterface);
    if (!f.known)
    {
        f.unknownReason = file.GetUnknownReason();
        return f;
    }
    f.attr = file.GetAudioFileAttr();
    f.headerIncomplete = file.IsHeaderIncomplete();
    f.channelMask = file.GetChannelMask();
    for (auto const& [key, value] : file.GetBroadcastFields())
        if (!value.empty())
            f.bext.emplace_back(key, value);
    f.identity = file.Implements(FF_AudioFile::eVelmoraInterface);
    if (f.identity)
    {
        f.umid = file.GetUmid().AsString();
        // 0: the format keeps no date (VORN).
        if (uint64 const date = file.GetUTCModDate(); date != 0)
            f.modified = Sys_Utils::UTC2String(static_cast<int64>(date));
        f.revision = file.GetDataRevision();
    }
    f.broadcast = file.Implements(FF_AudioFile::eEbuInterface);
    if (f.broadcast)
        f.timeReference = file.GetSMPTETimeStamp();
    file.GetRegions(&f.regions, false);
    f.instrument = file.Implements(FF_AudioFile::eOrvanelInterface) && file.HasInstrumentAttr();
    if (f.instrument)
        file.GetInstrumentAttr(&f.instrumentAttr);
    ReadChunkDetails(file, f);
    return f;
}

// The speaker positions of a WAVE channel mask, in bit order.
std::string SpeakerNames(uint32 mask)
{
    static char const* const kNames[] = {"FL", "FR", "FC", "LFE", "BL",  "BR",  "FLC", "FRC", "BC",
                                         "SL", "SR", "TC", "TFL", "TFC", "TFR", "TBL", "TBC", "TBR"};
    std::string names;
    for (std::size_t bit = 0; bit < 32; ++bit)
        if (mask & (uint32{1} << bit))
            names += (names.empty() ? "" : " ") +
                     (bit < std::size(kNames) ? std::string(kNames[bit]) : "bit" + std::to_string(bit));
    return names;
}

// h:mm:ss.sss
std::string Duration(FF_AudioFileAttr const& a)
{
    if (a.GetSamplesPerSec() <= 0)
        return "";
    int64 const ms =
        (a.GetNumSamples() * 1000 + a.GetSamplesPerSec() / 2) / a.GetSamplesPerSec(); // rounded to the millisecond
    char text[64];
    std::snprintf(text, sizeof text, "%" PRId64 ":%02" PRId64 ":%02" PRId64 ".%03" PRId64, ms / 3600000,
                  ms / 60000 % 60, ms / 1000 % 60, ms % 1000);
    return text;
}

// Bits per second of the audio as it is stored.
int64 BitRate(FF_AudioFileAttr const& a)
{
    return static_cast<int64>(a.GetSamplesPerSec()) * a.GetNumChannels() * a.GetBytesPerSample() * 8;
}

char const* LoopName(int type)
{
    switch (type)
    {
    case 1: return "forward";
    case 2: return "forward-backward";
    case 3: return "backward";
    default: return "none";
    }
}

void PrintText(Facts const& f)
{
    std::printf("%s\n  type: %s\n", f.path.c_str(), f.type.c_str());
    if (!f.finderType.empty())
        std::printf("  Finder type: %s\n  Finder creator: %s\n", f.finderType.c_str(), f.finderCreator.c_str());
    if (!f.known)
    {
        std::printf("  unknown: %s\n", f.unknownReason.c_str());
        return;
    }
    FF_AudioFileAttr const& a = f.attr;
    std::printf("  byte order: %s\n", a.GetByteOrder() == FF_AudioFileAttr::eLittleEndian ? "little" : "big");
    std::printf("  channels: %d\n  sample rate: %d\n  bits: %d\n  bytes per sample: %d\n", a.GetNumChannels(),
                a.GetSamplesPerSec(), a.GetBitsPerSample(), a.GetBytesPerSample());
    std::printf("  frames: %" PRId64 "\n", a.GetNumSamples());
    if (f.headerIncomplete)
        std::printf("  header incomplete: length from the file size\n");
    if (f.channelMask)
        std::printf("  channel mask: 0x%" PRIX32 " (%s)\n", f.channelMask, SpeakerNames(f.channelMask).c_str());
    if (a.GetSamplesPerSec() > 0)
        std::printf("  duration: %s (%" PRId64 " frames)\n", Duration(a).c_str(), a.GetNumSamples());
    std::printf("  file size: %" PRId64 " bytes\n", f.fileSize);
    std::printf("  bit rate: %.1f kb/s\n", static_cast<double>(BitRate(a)) / 1000);
    if (!f.volume.empty())
        std::printf("  volume: %s\n", f.volume.c_str());
    if (f.identity)
    {
        std::printf("  umid: %s\n", f.umid.c_str());
        if (!f.modified.empty())
            std::printf("  modified: %s\n", f.modified.c_str());
        std::printf("  revision: %" PRIu64 "\n", f.revision);
    }
    if (f.broadcast)
    {
        std::printf("  broadcast time reference: %" PRId64 "\n", f.timeReference);
        for (auto const& [key, value] : f.bext)
        {
            // Multi-line fields (key=value lines of recorders) keep their lines, indented.
            std::string text = vfl::ToUtf8(value);
            for (std::size_t at = 0; (at = text.find_first_of("\r\n", at)) != std::string::npos;)
            {
                std::size_t const end = text.find_first_not_of("\r\n", at);
                text.replace(at, end == std::string::npos ? std::string::npos : end - at, "\n    ");
                at += 5;
            }
            while (!text.empty() && (text.back() == ' ' || text.back() == '\n'))
                text.pop_back();
            std::printf("  broadcast %s: %s\n", key.c_str(), text.c_str());
        }
    }
    for (auto const& r : f.regions)
        std::printf("  region: %s %" PRIu64 "..%" PRIu64 " sync %" PRIu64 "%s\n", r.GetName().c_str(),
                    r.GetStartSample(), r.GetStopSample(), r.GetSyncSample(),
                    r.IsWholeFileRegion() ? " (whole file)" : "");
    for (auto const& o : f.overviews)
        std::printf("  overview: %s samples per interval, %s bits, %s intervals\n", o.samplesPerInterval.c_str(),
                    o.bitsPerInterval.c_str(), o.intervals.c_str());
    if (f.instrument)
    {
        FF_AudioInstrumentAttr const& i = f.instrumentAttr;
        std::printf("  instrument: root note %d, fine tune %d cents\n", i.GetRootMIDINote(), i.GetFineTuneCents());
        if (i.GetLoop1Type())
            std::printf("  loop 1: %s %" PRId64 "..%" PRId64 "\n", LoopName(i.GetLoop1Type()), i.GetLoop1StartSample(),
                        i.GetLoop1StopSample());
        if (i.GetLoop2Type())
            std::printf("  loop 2: %s %" PRId64 "..%" PRId64 "\n", LoopName(i.GetLoop2Type()), i.GetLoop2StartSample(),
                        i.GetLoop2StopSample());
    }
}

void PrintJson(Facts const& f)
{
    std::string line = "{\"path\":" + vfl::JsonString(f.path) + ",\"type\":" + vfl::JsonString(f.type);
    if (!f.finderType.empty())
        line += ",\"finderType\":" + vfl::JsonString(f.finderType) +
                ",\"finderCreator\":" + vfl::JsonString(f.finderCreator);
    if (!f.known)
        line += ",\"unknown\":" + vfl::JsonString(f.unknownReason);
    if (f.known)
    {
        FF_AudioFileAttr const& a = f.attr;
        char buffer[512];
        std::snprintf(buffer, sizeof buffer,
                      ",\"byteOrder\":\"%s\",\"channels\":%d,\"sampleRate\":%d,\"bits\":%d,\"bytesPerSample\":%d,"
                      "\"frames\":%" PRId64 ",\"duration\":%.6f,\"durationText\":\"%s\",\"fileSize\":%" PRId64
                      ",\"bitRate\":%" PRId64,
                      a.GetByteOrder() == FF_AudioFileAttr::eLittleEndian ? "little" : "big", a.GetNumChannels(),
                      a.GetSamplesPerSec(), a.GetBitsPerSample(), a.GetBytesPerSample(), a.GetNumSamples(),
                      a.GetSamplesPerSec() > 0 ? static_cast<double>(a.GetNumSamples()) / a.GetSamplesPerSec() : 0.0,
                      Duration(a).c_str(), f.fileSize, BitRate(a));
        line += buffer;
        if (f.headerIncomplete)
            line += ",\"headerIncomplete\":true";
        if (f.channelMask)
            line += ",\"channelMask\":" + std::to_string(f.channelMask);
        if (!f.volume.empty())
            line += ",\"volume\":" + vfl::JsonString(f.volume);
        if (f.identity)
            line += ",\"umid\":" + vfl::JsonString(f.umid) +
                    (f.modified.empty() ? std::string() : ",\"modified\":" + vfl::JsonString(f.modified)) +
                    ",\"revision\":\"" + std::to_string(f.revision) + "\"";
        if (f.broadcast)
        {
            line += ",\"broadcast\":{\"timeReference\":" + std::to_string(f.timeReference);
            for (auto const& [key, value] : f.bext)
                line += "," + vfl::JsonString(key) + ":" + vfl::JsonString(value);
            line += "}";
        }
        line += ",\"regions\":[";
        for (std::size_t i = 0; i < f.regions.size(); ++i)
        {
            auto const& r = f.regions[i];
            line += (i ? "," : "") + std::string("{\"name\":") + vfl::JsonString(r.GetName()) +
                    ",\"start\":" + std::to_string(r.GetStartSample()) +
                    ",\"stop\":" + std::to_string(r.GetStopSample()) +
                    ",\"sync\":" + std::to_string(r.GetSyncSample()) +
                    ",\"wholeFile\":" + (r.IsWholeFileRegion() ? "true" : "false") + "}";
        }
        line += "],\"overviews\":[";
        for (std::size_t i = 0; i < f.overviews.size(); ++i)
            line += (i ? "," : "") + std::string("{\"samplesPerInterval\":") + f.overviews[i].samplesPerInterval +
                    ",\"bitsPerInterval\":" + f.overviews[i].bitsPerInterval +
                    ",\"intervals\":" + f.overviews[i].intervals + "}";
        line += "]";
        if (f.instrument)
        {
            FF_AudioInstrumentAttr const& i = f.instrumentAttr;
            line += ",\"instrument\":{\"rootNote\":" + std::to_string(i.GetRootMIDINote()) +
                    ",\"fineTune\":" + std::to_string(i.GetFineTuneCents()) + ",\"loops\":[";
            bool first = true;
            auto loop = [&](int type, int64 start, int64 stop)
            {
                if (!type)
                    return;
                line += (first ? "" : ",") + std::string("{\"type\":\"") + LoopName(type) +
                        "\",\"start\":" + std::to_string(start) + ",\"stop\":" + std::to_string(stop) + "}";
                first = false;
            };
            loop(i.GetLoop1Type(), i.GetLoop1StartSample(), i.GetLoop1StopSample());
            loop(i.GetLoop2Type(), i.GetLoop2StartSample(), i.GetLoop2StopSample());
            line += "]}";
        }
    }
    line += "}";
    std::printf("%s\n", line.c_str());
}
// The fields of the single-field options.
struct Field
{
    char const* option;
    std::string (*value)(Facts const&);
};

Field const kFields[] = {
    {"rate", [](Facts const& f) { return std::to_string(f.attr.GetSamplesPerSec()); }},
    {"channels", [](Facts const& f) { return std::to_string(f.attr.GetNumChannels()); }},
    {"bits", [](Facts const& f) { return std::to_string(f.attr.GetBitsPerSample()); }},
    {"frames", [](Facts const& f) { return std::to_string(f.attr.GetNumSamples()); }},
    {"seconds",
     [](Facts const& f)
     {
         char text[64];
         std::snprintf(text, sizeof text, "%f",
                       f.attr.GetSamplesPerSec() > 0
                           ? static_cast<double>(f.attr.GetNumSamples()) / f.attr.GetSamplesPerSec()
                           : 0.0);
         return std::string(text);
     }},
    {"type", [](Facts const& f) { return f.type; }},
};
} // namespace

int CmdInfo(int argc, char** argv)
{
    vfl::OptionParser args(kSpec);
    args.Parse(argc, argv);
    if (args.HelpAsked())
        return std::fputs(args.Help().c_str(), stdout), 0;
    bool const json = args.Has("json");
    std::vector<Field const*> fields; // in the order asked for
    for (auto const& name : args.Given())
        for (auto const& field : kFields)
            if (name == field.option)
                fields.push_back(&field);
    if (json && !fields.empty())
        throw vfl::UsageError("--json prints every field; leave out the single-field options");

    std::vector<std::string> const& paths = args.Operands();
    if (std::count(paths.begin(), paths.end(), "-") > 1)
        throw vfl::UsageError("standard input (-) can be read once");
    int status = 0;
    for (auto const& path : paths)
    {
        try
        {
            vfl::SpooledInput const spool(path);
            if (vfl::Interrupted())
                return vfl::InterruptExitStatus();
            Sys_FileLoc loc = vfl::LocationFromArgument(spool.Path());
            FF_AudioFile file(loc);
            Facts const f = Gather(file, loc, path);
            if (fields.empty())
                json ? PrintJson(f) : PrintText(f);
            else if (!f.known)
                vfl::ReportFileError("info", "", path, "not an audio file in a known format: " + f.unknownReason);
            else
                for (auto const* field : fields)
                    std::printf("%s\n", field->value(f).c_str());
            // As soxi does: a file that could not be read fails the command.
            if (!f.known)
                status = 1;
        }
        catch (std::exception const& e)
        {
            vfl::ReportFileError("info", "", path, vfl::ExceptionText(e));
            status = 1;
        }
        std::fflush(stdout);
    }
    return status;
}
