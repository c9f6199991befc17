#include "Cmn/Cmn_Exception.h"
#include "FF/FF_AudioFile.h"
#include "Sys/Sys_FileLoc.h"
#include "tools/vfl/Commands.h"
#include "tools/vfl/ToolSupport.h"

#include <cinttypes>
#include <cstdio>
#include <string>
#include <vector>

namespace
{
char const kUsage[] = "Usage: vfl info [--json] FILE...\n\n"
                      "Describes each file: path, type, byte order, channels, sample rate,\n"
                      "bits and bytes per sample, frames and duration. A file in no known\n"
                      "format is reported as type \"unknown\".\n\n"
                      "Options:\n"
                      "  --json   one JSON object per line and file\n";

struct Facts
{
    std::string path;
    std::string type;
    FF_AudioFileAttr attr;
    bool known = false;
};

void PrintText(Facts const& f)
{
    std::printf("%s\n  type: %s\n", f.path.c_str(), f.type.c_str());
    if (!f.known)
        return;
    FF_AudioFileAttr const& a = f.attr;
    std::printf("  byte order: %s\n", a.GetByteOrder() == FF_AudioFileAttr::eLittleEndian ? "little" : "big");
    std::printf("  channels: %d\n  sample rate: %d\n  bits: %d\n  bytes per sample: %d\n", a.GetNumChannels(),
                a.GetSamplesPerSec(), a.GetBitsPerSample(), a.GetBytesPerSample());
    std::printf("  frames: %" PRId64 "\n", a.GetNumSamples());
    if (a.GetSamplesPerSec() > 0)
        std::printf("  duration: %.6f s\n", static_cast<double>(a.GetNumSamples()) / a.GetSamplesPerSec());
}

void PrintJson(Facts const& f)
{
    std::string line = "{\"path\":" + vfl::JsonString(f.path) + ",\"type\":" + vfl::JsonString(f.type);
    if (f.known)
    {
        FF_AudioFileAttr const& a = f.attr;
        char buffer[512];
        std::snprintf(buffer, sizeof buffer,
                      ",\"byteOrder\":\"%s\",\"channels\":%d,\"sampleRate\":%d,\"bits\":%d,\"bytesPerSample\":%d,"
                      "\"frames\":%" PRId64 ",\"duration\":%.6f",
                      a.GetByteOrder() == FF_AudioFileAttr::eLittleEndian ? "little" : "big", a.GetNumChannels(),
                      a.GetSamplesPerSec(), a.GetBitsPerSample(), a.GetBytesPerSample(), a.GetNumSamples(),
                      a.GetSamplesPerSec() > 0 ? static_cast<double>(a.GetNumSamples()) / a.GetSamplesPerSec() : 0.0);
        line += buffer;
    }
    line += "}";
    std::printf("%s\n", line.c_str());
}
} // namespace

int CmdInfo(int argc, char** argv)
{
    bool json = false;
    std::vector<std::string> paths;
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
        else if (a.size() > 1 && a[0] == '-' && a != "--")
        {
            std::fprintf(stderr, "vfl info: unknown option '%s'\n\n%s", a.c_str(), kUsage);
            return 2;
        }
        else if (a != "--")
            paths.push_back(a);
    }
    if (paths.empty())
    {
        std::fputs(kUsage, stderr);
        return 2;
    }

    int status = 0;
    for (auto const& path : paths)
    {
        try
        {
            Sys_FileLoc loc = vfl::LocationFromArgument(path);
            FF_AudioFile file(loc);
            Facts f;
            f.path = loc.GetFullPath();
            f.type = vfl::TypeName(file);
            f.known = file.Implements(FF_AudioFile::eImportExportInterface);
            if (f.known)
                f.attr = file.GetAudioFileAttr();
            json ? PrintJson(f) : PrintText(f);
        }
        catch (std::exception const& e)
        {
            vfl::ReportError(path, vfl::ExceptionText(e));
            status = 1;
        }
        std::fflush(stdout);
    }
    return status;
}
