#include "tools/vfl/FileFacts.h"

#include "Sys/MacFileInfo.h"
#include "Sys/Sys_File.h"
#include "Sys/Sys_FileAttr.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_MacRoman.h"
#include "Sys/Sys_Utils.h"
#include "Sys/Sys_Volume.h"
#include "tools/vfl/ToolSupport.h"

#include <cinttypes>
#include <cstdarg>
#include <cstdio>
#include <sstream>

namespace
{
__attribute__((format(printf, 2, 3))) void Put(std::string& out, char const* format, ...)
{
    char text[1024];
    va_list args;
    va_start(args, format);
    int const n = std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    if (n < 0)
        return;
    if (static_cast<std::size_t>(n) < sizeof text)
    {
        out.append(text, static_cast<std::size_t>(n));
        return;
    }
    std::string big(static_cast<std::size_t>(n) + 1, '\0');
    va_start(args, format);
    std::vsnprintf(big.data(), big.size(), format, args);
    va_end(args);
    big.pop_back();
    out += big;
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
} // namespace

namespace vfl
{
// A four-character code as text: Mac OS Roman in UTF-8, "\xNN" for a control byte.
static std::string CodeText(u32 code)
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
static void ReadFinderInfo(Sys_FileLoc const& loc, Facts& f)
{
    MacFileInfo info;
    if (info.Open(loc.GetFullPath()) != 0 || (info.GetFileType() == 0 && info.GetCreator() == 0))
        return;
    f.finderType = CodeText(info.GetFileType());
    f.finderCreator = CodeText(info.GetCreator());
}

// The overviews, from the file's own chunk walk.
static void ReadChunkDetails(FF_AudioFile& file, Facts& f)
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

Facts GatherFacts(FF_AudioFile& file, Sys_FileLoc const& loc, std::string const& name)
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

std::string FactsText(Facts const& f)
{
    std::string out;
    Put(out, "%s\n  type: %s\n", f.path.c_str(), f.type.c_str());
    if (!f.finderType.empty())
        Put(out, "  Finder type: %s\n  Finder creator: %s\n", f.finderType.c_str(), f.finderCreator.c_str());
    if (!f.known)
    {
        Put(out, "  unknown: %s\n", f.unknownReason.c_str());
        return out;
    }
    FF_AudioFileAttr const& a = f.attr;
    Put(out, "  byte order: %s\n", a.GetByteOrder() == FF_AudioFileAttr::eLittleEndian ? "little" : "big");
    Put(out, "  channels: %d\n  sample rate: %d\n  bits: %d\n  bytes per sample: %d\n", a.GetNumChannels(),
        a.GetSamplesPerSec(), a.GetBitsPerSample(), a.GetBytesPerSample());
    Put(out, "  frames: %" PRId64 "\n", a.GetNumSamples());
    if (f.headerIncomplete)
        Put(out, "  header incomplete: length from the file size\n");
    if (f.channelMask)
        Put(out, "  channel mask: 0x%" PRIX32 " (%s)\n", f.channelMask, SpeakerNames(f.channelMask).c_str());
    if (a.GetSamplesPerSec() > 0)
        Put(out, "  duration: %s (%" PRId64 " frames)\n", Duration(a).c_str(), a.GetNumSamples());
    Put(out, "  file size: %" PRId64 " bytes\n", f.fileSize);
    Put(out, "  bit rate: %.1f kb/s\n", static_cast<double>(BitRate(a)) / 1000);
    if (!f.volume.empty())
        Put(out, "  volume: %s\n", f.volume.c_str());
    if (f.identity)
    {
        Put(out, "  umid: %s\n", f.umid.c_str());
        if (!f.modified.empty())
            Put(out, "  modified: %s\n", f.modified.c_str());
        Put(out, "  revision: %" PRIu64 "\n", f.revision);
    }
    if (f.broadcast)
    {
        Put(out, "  broadcast time reference: %" PRId64 "\n", f.timeReference);
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
            Put(out, "  broadcast %s: %s\n", key.c_str(), text.c_str());
        }
    }
    for (auto const& r : f.regions)
        Put(out, "  region: %s %" PRIu64 "..%" PRIu64 " sync %" PRIu64 "%s\n", r.GetName().c_str(), r.GetStartSample(),
            r.GetStopSample(), r.GetSyncSample(), r.IsWholeFileRegion() ? " (whole file)" : "");
    for (auto const& o : f.overviews)
        Put(out, "  overview: %s samples per interval, %s bits, %s intervals\n", o.samplesPerInterval.c_str(),
            o.bitsPerInterval.c_str(), o.intervals.c_str());
    if (f.instrument)
    {
        FF_AudioInstrumentAttr const& i = f.instrumentAttr;
        Put(out, "  instrument: root note %d, fine tune %d cents\n", i.GetRootMIDINote(), i.GetFineTuneCents());
        if (i.GetLoop1Type())
            Put(out, "  loop 1: %s %" PRId64 "..%" PRId64 "\n", LoopName(i.GetLoop1Type()), i.GetLoop1StartSample(),
                i.GetLoop1StopSample());
        if (i.GetLoop2Type())
            Put(out, "  loop 2: %s %" PRId64 "..%" PRId64 "\n", LoopName(i.GetLoop2Type()), i.GetLoop2StartSample(),
                i.GetLoop2StopSample());
    }
    return out;
}
} // namespace vfl
