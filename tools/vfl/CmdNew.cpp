#include "Cmn/Cmn_Exception.h"
#include "FF/FF_AudioFile.h"
#include "Sys/Sys_FileLoc.h"
#include "tools/vfl/Commands.h"
#include "tools/vfl/StagedOutput.h"
#include "tools/vfl/Terminal.h"
#include "tools/vfl/ToolSupport.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

namespace
{
char const kUsage[] = "Usage: vfl new OUT --rate R --bits B --channels C [--type wav|aif|aifc]\n\n"
                      "Writes a new audio file from raw PCM on stdin: interleaved, signed, little\n"
                      "endian, B/8 bytes per sample. The type defaults from OUT's extension.\n\n"
                      "Options:\n"
                      "  --rate R       samples per second\n"
                      "  --bits B       8, 16, 24 or 32\n"
                      "  --channels C   number of channels (1 to 64)\n"
                      "  --type T       wav, aif (AIFF) or aifc (AIFF-C)\n";

constexpr int64 kBlockBytes = 1 << 20;

std::string TypeFromExtension(std::string const& path)
{
    auto dot = path.find_last_of('.');
    std::string ext = dot == std::string::npos ? "" : path.substr(dot + 1);
    for (auto& c : ext)
        c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    if (ext == "aif" || ext == "aiff")
        return "aif";
    if (ext == "aifc")
        return "aifc";
    return "wav";
}
} // namespace

int CmdNew(int argc, char** argv)
{
    std::string out, type;
    int64 rate = -1, bits = -1, channels = -1;
    for (int i = 1; i < argc; ++i)
    {
        std::string const a = argv[i];
        if (vfl::IsHelp(argv[i]))
        {
            std::fputs(kUsage, stdout);
            return 0;
        }
        if ((a == "--rate" || a == "--bits" || a == "--channels") && i + 1 < argc)
        {
            int64 value = 0;
            if (!vfl::ParseInt64(argv[++i], &value))
            {
                std::fprintf(stderr, "vfl new: %s needs a whole number, not '%s'\n", a.c_str(), argv[i]);
                return 2;
            }
            (a == "--rate" ? rate : a == "--bits" ? bits : channels) = value;
        }
        else if (a == "--type" && i + 1 < argc)
            type = argv[++i];
        else if (a.size() > 1 && a[0] == '-')
        {
            std::fprintf(stderr, "vfl new: unknown option '%s'\n\n%s", a.c_str(), kUsage);
            return 2;
        }
        else if (out.empty())
            out = a;
        else
        {
            std::fprintf(stderr, "vfl new: one output file\n\n%s", kUsage);
            return 2;
        }
    }
    if (out.empty() || rate < 0 || bits < 0 || channels < 0)
    {
        std::fputs(kUsage, stderr);
        return 2;
    }
    if (type.empty())
        type = TypeFromExtension(out);
    if (type != "wav" && type != "aif" && type != "aiff" && type != "aifc")
    {
        std::fprintf(stderr, "vfl new: unknown type '%s' (wav, aif or aifc)\n", type.c_str());
        return 2;
    }
    if (bits != 8 && bits != 16 && bits != 24 && bits != 32)
    {
        std::fprintf(stderr, "vfl new: --bits must be 8, 16, 24 or 32\n");
        return 2;
    }
    if (channels < 1 || channels > 64 || rate < 1 || rate > 0x7FFFFFFF)
    {
        std::fprintf(stderr, "vfl new: --channels must be 1 to 64 and --rate positive\n");
        return 2;
    }

    // Written beside the destination and put in its place when complete:
    // an old file of the same name stays whole until then.
    vfl::CatchInterrupt();
    vfl::StagedOutput staged(out);
    FF_AudioFile file(vfl::LocationFromArgument(staged.TemporaryPath()));
    file.Format(vfl::TypeFromName(type), static_cast<int32>(channels), static_cast<int32>(rate),
                static_cast<int32>(bits), 0);

    int64 const frameBytes = bits / 8 * channels;
    int64 const blockFrames = std::max<int64>(1, kBlockBytes / frameBytes);
    std::unique_ptr<char[]> buffer(new char[static_cast<size_t>(blockFrames * frameBytes)]);
    int64 total = 0;
    size_t partial = 0;
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
                file.SampleWrite(buffer.get(), frames);
            total += frames;
            partial = bytes - static_cast<size_t>(frames * frameBytes);
            if (partial)
                std::memmove(buffer.get(), buffer.get() + frames * frameBytes, partial);
        }
        file.SetNumSamples(total);
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
    staged.Commit();
    if (partial)
        std::fprintf(stderr, "vfl new: dropped %zu bytes of an incomplete frame at the end of the input\n", partial);
    return vfl::InterruptExitStatus();
}
