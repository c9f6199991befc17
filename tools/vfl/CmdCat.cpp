#include "Cmn/Cmn_Exception.h"
#include "FF/FF_AudioFile.h"
#include "Sys/Sys_FileLoc.h"
#include "tools/vfl/Commands.h"
#include "tools/vfl/ToolSupport.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>

namespace
{
char const kUsage[] = "Usage: vfl cat FILE [--start FRAME] [--frames N]\n\n"
                      "Writes the file's samples to stdout: interleaved, signed, little\n"
                      "endian, in the file's own sample width (1, 2, 3 or 4 bytes).\n\n"
                      "Options:\n"
                      "  --start FRAME   first frame to write (default 0)\n"
                      "  --frames N      number of frames to write (default: to the end)\n";

// Large enough that the system calls, not the loop, set the pace.
constexpr int64 kBlockBytes = 1 << 20;
// A frame wider than this is not a real audio file.
constexpr int64 kMaxFrameBytes = 1 << 16;
} // namespace

int CmdCat(int argc, char** argv)
{
    std::string path;
    int64 start = 0;
    int64 frames = -1;
    for (int i = 1; i < argc; ++i)
    {
        std::string const a = argv[i];
        if (vfl::IsHelp(argv[i]))
        {
            std::fputs(kUsage, stdout);
            return 0;
        }
        if ((a == "--start" || a == "--frames") && i + 1 < argc)
        {
            int64 value = 0;
            if (!vfl::ParseInt64(argv[++i], &value))
            {
                std::fprintf(stderr, "vfl cat: %s needs a whole number, not '%s'\n", a.c_str(), argv[i]);
                return 2;
            }
            (a == "--start" ? start : frames) = value;
        }
        else if (a.size() > 1 && a[0] == '-')
        {
            std::fprintf(stderr, "vfl cat: unknown option '%s'\n\n%s", a.c_str(), kUsage);
            return 2;
        }
        else if (path.empty())
            path = a;
        else
        {
            std::fprintf(stderr, "vfl cat: one file at a time\n\n%s", kUsage);
            return 2;
        }
    }
    if (path.empty())
    {
        std::fputs(kUsage, stderr);
        return 2;
    }

    FF_AudioFile file(vfl::LocationFromArgument(path));
    if (!file.Implements(FF_AudioFile::eImportExportInterface))
    {
        vfl::ReportError(path, "not an audio file in a known format");
        return 1;
    }
    FF_AudioFile::StOpen open(&file, FF_AudioFile::eOpenRead);
    FF_AudioFileAttr const attr = file.GetAudioFileAttr();
    int64 const frameBytes = static_cast<int64>(attr.GetBytesPerSample()) * attr.GetNumChannels();
    if (frameBytes <= 0 || frameBytes > kMaxFrameBytes)
    {
        vfl::ReportError(path, "unsupported frame size of " + std::to_string(frameBytes) + " bytes");
        return 1;
    }
    int64 const total = attr.GetNumSamples();
    if (start > total)
    {
        vfl::ReportError(path, "--start " + std::to_string(start) + " is past the end (" + std::to_string(total) +
                                   " frames)");
        return 1;
    }
    int64 remaining = frames < 0 ? total - start : std::min(frames, total - start);

    file.SampleSetPosition(Sys_File::kFromStart, start);
    int64 const blockFrames = std::max<int64>(1, kBlockBytes / frameBytes);
    std::unique_ptr<char[]> buffer(new char[static_cast<size_t>(blockFrames * frameBytes)]);
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    while (remaining > 0)
    {
        int64 const n = std::min(remaining, blockFrames);
        file.SampleRead(buffer.get(), n);
        size_t const bytes = static_cast<size_t>(n * frameBytes);
        if (std::fwrite(buffer.get(), 1, bytes, stdout) != bytes)
        {
            vfl::ReportError(path, "cannot write to standard output");
            return 1;
        }
        remaining -= n;
    }
    return 0;
}
