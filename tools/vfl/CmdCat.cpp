#include "Cmn/Cmn_Exception.h"
#include "FF/FF_AudioFile.h"
#include "Sys/Sys_FileLoc.h"
#include "tools/vfl/Commands.h"
#include "tools/vfl/OptionParser.h"
#include "tools/vfl/SpooledInput.h"
#include "tools/vfl/Terminal.h"
#include "tools/vfl/ToolSupport.h"
#include "tools/vfl/UsageError.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace
{
vfl::CommandSpec const kSpec = {"cat",
                                "[OPTIONS] FILE",
                                "Writes the file's samples to stdout: interleaved, signed, little endian,\n"
                                "in the file's own sample width (1, 2, 3 or 4 bytes). FILE - reads the\n"
                                "file from standard input. Times are frames, or seconds as 90s or 1:30.5.",
                                {{0, "start", "TIME", "first frame to write (default 0)"},
                                 {0, "length", "TIME", "how much to write (default: to the end)"},
                                 {0, "frames", "N", "the same as --length"},
                                 {0, "unbuffered", nullptr, "read past the page cache, by whole sectors"}},
                                1,
                                1};

// Large enough that the system calls, not the loop, set the pace.
constexpr int64 kBlockBytes = 1 << 20;
// Unbuffered reads want the caller's memory on the file's sector grid;
// every sector size there is divides this.
constexpr int64 kSectorGrid = 4096;
// A frame wider than this is not a real audio file.
constexpr int64 kMaxFrameBytes = 1 << 16;
} // namespace

int CmdCat(int argc, char** argv)
{
    vfl::OptionParser args(kSpec);
    args.Parse(argc, argv);
    if (args.HelpAsked())
        return std::fputs(args.Help().c_str(), stdout), 0;
    std::string const& path = args.Operands().front();
    vfl::TimeValue const start = args.Has("start") ? args.Time("start") : vfl::TimeValue();
    char const* const lengthName = args.Has("length") ? "length" : "frames";
    bool const haveLength = args.Has(lengthName);
    vfl::TimeValue const length = haveLength ? args.Time(lengthName) : vfl::TimeValue();

    std::unique_ptr<vfl::SpooledInput> spool;
    try
    {
        spool = std::make_unique<vfl::SpooledInput>(path);
    }
    catch (std::exception const& e)
    {
        vfl::ReportFileError("cat", "", path, vfl::ExceptionText(e));
        return 1;
    }
    if (vfl::Interrupted())
        return vfl::InterruptExitStatus();
    FF_AudioFile file(vfl::LocationFromArgument(spool->Path()));
    try
    {
        if (!file.Implements(FF_AudioFile::eImportExportInterface))
        {
            vfl::ReportFileError("cat", "", path, "not an audio file in a known format");
            return 1;
        }
        bool const unbuffered = args.Has("unbuffered");
        FF_AudioFile::StOpen open(&file, unbuffered ? FF_AudioFile::eOpenRead | FF_AudioFile::eOpenUnbuffered
                                                    : FF_AudioFile::eOpenRead);
        FF_AudioFileAttr const attr = file.GetAudioFileAttr();
        int64 const frameBytes = static_cast<int64>(attr.GetBytesPerSample()) * attr.GetNumChannels();
        if (frameBytes <= 0 || frameBytes > kMaxFrameBytes)
        {
            vfl::ReportFileError("cat", "", path, "unsupported frame size of " + std::to_string(frameBytes) + " bytes");
            return 1;
        }
        int64 const total = attr.GetNumSamples();
        int64 const first = start.ToFrames(attr.GetSamplesPerSec());
        if (first > total)
            throw vfl::UsageError("--start " + std::to_string(first) + " is past the end of " + path + " (" +
                                  std::to_string(total) + " frames)");
        int64 remaining = total - first;
        if (haveLength)
            remaining = std::min(remaining, length.ToFrames(attr.GetSamplesPerSec()));

        file.SampleSetPosition(Sys_File::kFromStart, first);
        int64 blockFrames = std::max<int64>(1, kBlockBytes / frameBytes);
        // Unbuffered, each block is a whole number of grid steps, so that
        // every block starts at the same place on the grid; the buffer has
        // room to start anywhere on it.
        if (unbuffered)
            blockFrames = (blockFrames + kSectorGrid - 1) / kSectorGrid * kSectorGrid;
        int64 const blockBytes = blockFrames * frameBytes;
        std::vector<char> memory(static_cast<size_t>(blockBytes + 2 * kSectorGrid));
        char* buffer = memory.data();
        if (unbuffered)
            buffer += (kSectorGrid - reinterpret_cast<std::uintptr_t>(buffer) % kSectorGrid) % kSectorGrid;
        if (unbuffered && file.Implements(FF_AudioFile::eNativeInterface))
            buffer += file.SampleToOffset(first) % kSectorGrid;
        std::setvbuf(stdout, nullptr, _IONBF, 0);
        while (remaining > 0)
        {
            int64 const n = std::min(remaining, blockFrames);
            file.SampleRead(buffer, n);
            size_t const bytes = static_cast<size_t>(n * frameBytes);
            if (std::fwrite(buffer, 1, bytes, stdout) != bytes)
            {
                vfl::ReportError("cat", "cannot write to standard output");
                return 1;
            }
            remaining -= n;
        }
    }
    catch (vfl::UsageError const&)
    {
        throw;
    }
    catch (std::exception const& e)
    {
        vfl::ReportFileError("cat", "", path, vfl::ExceptionText(e));
        return 1;
    }
    return 0;
}
