#include "Cmn/Cmn_Exception.h"
#include "FF/FF_AudioFile.h"
#include "Sys/Sys_FileLoc.h"
#include "tools/vfl/Commands.h"
#include "tools/vfl/OptionParser.h"
#include "tools/vfl/StagedOutput.h"
#include "tools/vfl/Terminal.h"
#include "tools/vfl/ToolSupport.h"
#include "tools/vfl/UsageError.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace
{
vfl::CommandSpec const kSpec = {
    "new",
    "OUT -r RATE -b BITS -c CHANNELS [-t TYPE]",
    "Writes a new audio file from raw PCM on standard input: interleaved,\n"
    "signed, little endian, BITS/8 bytes per sample. The file is written beside\n"
    "OUT and takes its place when the input ends; on Ctrl-C (or SIGTERM, SIGHUP)\n"
    "it keeps every whole frame received, as a recorder would; a full disk\n"
    "ends the take with what the disk took. OUT - writes the file to\n"
    "standard output when the input ends (give -t).",
    {{'r', "rate", "HZ", "samples per second: 48000 or 48k"},
     {'b', "bits", "BITS", "8, 16, 24 or 32"},
     {'c', "channels", "N", "number of channels, 1 to 64"},
     {'t', "type", "TYPE", "wav, aif (AIFF), aifc (AIFF-C) or vorn; default: OUT's\nextension"},
     {0, "unique", nullptr,
      "OUT is the wished name: write under a free name the library\nchooses "
      "(shortened and numbered as needed), and print it"}},
    1,
    1};

constexpr int64 kBlockBytes = 1 << 20;
// What a take gives back when the disk takes no more of it: the metadata
// behind its audio takes a few hundred bytes.
constexpr int64 kRoomForMetadata = 16 << 10;

std::string Lower(std::string s)
{
    for (auto& c : s)
        c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    return s;
}

// The type vfl new writes for OUT's extension; refused if there is none it writes.
std::string TypeFromExtension(std::string const& path)
{
    std::size_t const slash = path.find_last_of('/');
    std::size_t const dot = path.find_last_of('.');
    std::string const ext =
        dot == std::string::npos || (slash != std::string::npos && dot < slash) ? "" : Lower(path.substr(dot + 1));
    if (vfl::Format const* format = vfl::FindFormat(ext); format && !format->writeOnly)
        return format->name;
    throw vfl::UsageError("output " + path +
                          (ext.empty() ? std::string(" has no extension to tell its type")
                                       : ": vfl new does not write '." + ext + "' files") +
                          "; name it .wav, .aif, .aifc or .vorn, or give -t TYPE");
}

// Writes `frames` from `buffer` at frame `at` in pieces of `piece` frames
// until one fails; answers the frames written.
int64 WriteWhatFits(FF_AudioFile& file, char* buffer, int64 frames, int64 frameBytes, int64 at, int64 piece)
{
    int64 done = 0;
    try
    {
        file.SampleSetPosition(Sys_File::kFromStart, at);
        for (int64 n = 0; done < frames; done += n)
        {
            n = std::min(piece, frames - done);
            file.SampleWrite(buffer + done * frameBytes, n);
        }
    }
    catch (std::exception const&)
    {
        // The disk has taken what it could.
    }
    return done;
}

// The file is written under a temporary name, which its whole-file region
// would keep: the region takes the name of the file it becomes. Written to
// standard output, it has no name, and a reader makes up the region from
// whatever the file is called.
void NameTheWholeFileRegionAfter(FF_AudioFile& file, std::string const& out, int64 frames)
{
    std::vector<FF_ImportAudioRegion> regions;
    file.GetRegions(&regions, false);
    for (auto const& r : regions)
    {
        if (!r.IsWholeFileRegion())
            continue;
        file.RemoveRegion(r.GetUmid());
        if (out != "-")
            file.AddRegion(FF_AudioFile::WholeFileRegionName(vfl::LocationFromArgument(out)), 0, frames, 0,
                           static_cast<int64>(r.GetUserTimeStamp()), static_cast<int64>(r.GetOrigTimeStamp()));
    }
}
} // namespace

int CmdNew(int argc, char** argv)
{
    vfl::OptionParser args(kSpec);
    args.Parse(argc, argv);
    if (args.HelpAsked())
        return std::fputs(args.Help().c_str(), stdout), 0;
    std::string out = args.Operands().front();
    for (char const* required : {"rate", "bits", "channels"})
        if (!args.Has(required))
            throw vfl::UsageError(std::string("--") + required + " is required: the input is raw PCM");
    int64 const rate = args.Rate("rate", 0);
    int64 const bits = args.Count("bits", 16, 8, 32);
    int64 const channels = args.Count("channels", 1, 1, 64);
    if (bits % 8 != 0)
        throw vfl::UsageError("--bits needs 8, 16, 24 or 32, not " + std::to_string(bits));
    std::string type = args.Has("type") ? Lower(args.Text("type")) : TypeFromExtension(out);
    vfl::Format const* format = vfl::FindFormat(type);
    if (!format || format->writeOnly)
        throw vfl::UsageError("vfl new writes wav, aif, aifc or vorn, not '" + type + "'");
    type = format->name;
    if (type == "vorn" && out == "-")
        throw vfl::UsageError("standard output (-) cannot take a vorn file: its metadata lies in a resource fork "
                              "beside it");

    if (args.Has("unique"))
    {
        if (out == "-")
            throw vfl::UsageError("--unique names a file; standard output (-) has no name");
        try
        {
            out = vfl::UniqueOutputPath(out);
        }
        catch (std::exception const& e)
        {
            vfl::ReportFileError("new", "output", out, vfl::ExceptionText(e));
            return 1;
        }
        std::printf("%s\n", out.c_str());
        std::fflush(stdout);
    }

    // Written beside the destination and put in its place when complete:
    // an old file of the same name stays whole until then.
    vfl::CatchInterrupt();
    std::unique_ptr<vfl::StagedOutput> staged;
    try
    {
        staged = std::make_unique<vfl::StagedOutput>(out);
    }
    catch (std::exception const& e)
    {
        vfl::ReportFileError("new", "output", out, vfl::ExceptionText(e));
        return 1;
    }
    int64 total = 0;
    size_t partial = 0;
    std::string failure; // why the disk took no more
    int64 given = 0;     // frames given up for the metadata then
    try
    {
        FF_AudioFile file(vfl::LocationFromArgument(staged->TemporaryPath()));
        file.Format(vfl::TypeFromName(type), static_cast<int32>(channels), static_cast<int32>(rate),
                    static_cast<int32>(bits), 0);

        int64 const frameBytes = bits / 8 * channels;
        int64 const blockFrames = std::max<int64>(1, kBlockBytes / frameBytes);
        std::unique_ptr<char[]> buffer(new char[static_cast<size_t>(blockFrames * frameBytes)]);
        file.Open(FF_AudioFile::eOpenRead | FF_AudioFile::eOpenWrite);
        try
        {
            file.SampleSetPosition(Sys_File::kFromStart, 0);
            // Like a recorder: an interrupt or the end of the input ends the
            // take, and every whole frame received is kept.
            for (bool ended = false; !ended;)
            {
                size_t const want = static_cast<size_t>(blockFrames * frameBytes) - partial;
                size_t const got = vfl::ReadInput(buffer.get() + partial, want, &ended);
                size_t const bytes = partial + got;
                int64 const frames = static_cast<int64>(bytes) / frameBytes;
                if (frames > 0)
                {
                    try
                    {
                        // In host order again even if it fails, for the pieces below.
                        file.SampleWrite(buffer.get(), frames, FF_AudioFile::ePreserveBuffer);
                    }
                    catch (std::exception const& e)
                    {
                        // A disk that fills up (or a size limit, or a failing
                        // disk) ends the take too, with what it took: as much
                        // of the block as fits, in small pieces, less the
                        // last piece, which gives its room to the metadata
                        // written behind the audio.
                        failure = vfl::ExceptionText(e);
                        int64 const piece = std::max<int64>(1, kRoomForMetadata / frameBytes);
                        total += WriteWhatFits(file, buffer.get(), frames, frameBytes, total, piece);
                        given = std::min(total, piece);
                        total -= given;
                        break;
                    }
                }
                total += frames;
                partial = bytes - static_cast<size_t>(frames * frameBytes);
                if (partial)
                    std::memmove(buffer.get(), buffer.get() + frames * frameBytes, partial);
            }
            file.SetNumSamples(total);
            NameTheWholeFileRegionAfter(file, out, total);
        }
        catch (...)
        {
            try
            {
                file.Close(false);
            }
            catch (...)
            {
            }
            throw;
        }
        file.Close();
        staged->Commit();
    }
    catch (std::exception const& e)
    {
        vfl::ReportFileError("new", "output", out, vfl::ExceptionText(e));
        return 1;
    }
    if (!failure.empty())
    {
        vfl::ReportFileError("new", "output", out,
                             failure + "; the take ends there, with " + std::to_string(total) + " frames (the last " +
                                 std::to_string(given) + " written gave their room to its metadata)");
        return 1;
    }
    if (partial)
        std::fprintf(stderr, "vfl: new: dropped %zu bytes of an incomplete frame at the end of the input\n", partial);
    return vfl::InterruptExitStatus();
}
