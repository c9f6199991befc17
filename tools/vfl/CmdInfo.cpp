#include "Cmn/Cmn_Exception.h"
#include "FF/FF_AudioFile.h"
#include "Sys/Sys_File.h"
#include "Sys/Sys_FileAttr.h"
#include "Sys/Sys_FileLoc.h"
#include "tools/vfl/Commands.h"
#include "tools/vfl/FileFacts.h"
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

using vfl::BitRate;
using vfl::Duration;
using vfl::Facts;
using vfl::LoopName;

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
            Facts const f = vfl::GatherFacts(file, loc, path);
            if (fields.empty())
                json ? PrintJson(f) : static_cast<void>(std::fputs(vfl::FactsText(f).c_str(), stdout));
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
