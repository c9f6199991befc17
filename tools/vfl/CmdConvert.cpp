#include "Cmn/Cmn_Exception.h"
#include "FF/FF_AudioFile.h"
#include "FF/FF_AudioFileUtils.h"
#include "FF/FF_LameMP3Encoder.h"
#include "FF/FF_MP3AudioFile.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Utils.h"
#include "tools/vfl/Commands.h"
#include "tools/vfl/StagedOutput.h"
#include "tools/vfl/Terminal.h"
#include "tools/vfl/ToolSupport.h"

#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace
{
char const kUsage[] = "Usage: vfl convert [OPTIONS] INPUT... -o OUTPUT...\n\n"
                      "Converts one interleaved input, or several mono inputs of one format, into\n"
                      "one interleaved output or one mono output per channel.\n\n"
                      "Options:\n"
                      "  --type T        wav, aif (AIFF), aifc (AIFF-C) or mp3; default from the\n"
                      "                  first output's extension\n"
                      "  --bits B        8, 16, 24 or 32 (default: the input's; mp3 is always 16)\n"
                      "  --rate HZ       sample rate of the outputs (default: the input's)\n"
                      "  --quality Q     rate conversion: 0 linear, 1 to 4 windowed sinc of 17,\n"
                      "                  33, 129 and 257 taps (default 4)\n"
                      "  --squeeze       prepare the sound for small loudspeakers\n"
                      "  --start FRAME   first input frame (default 0)\n"
                      "  --length N      number of input frames (default: to the end)\n";

std::string Lower(std::string s)
{
    for (auto& c : s)
        c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    return s;
}

std::string TypeFromExtension(std::string const& path)
{
    auto const dot = path.find_last_of('.');
    std::string const ext = dot == std::string::npos ? "" : Lower(path.substr(dot + 1));
    if (ext == "aif" || ext == "aiff")
        return "aif";
    if (ext == "aifc" || ext == "mp3")
        return ext;
    return "wav";
}

void DrawProgress(int percent)
{
    int const width = 40;
    int const filled = percent * width / 100;
    std::fprintf(stderr, "\r[%s%s] %3d%%", std::string(static_cast<size_t>(filled), '#').c_str(),
                 std::string(static_cast<size_t>(width - filled), ' ').c_str(), percent);
}
} // namespace

int CmdConvert(int argc, char** argv)
{
    std::vector<std::string> inputs, outputs;
    std::string type;
    int64 bits = -1, rate = -1, quality = 4, start = 0, length = -1;
    bool squeeze = false, toOutputs = false, bitsGiven = false;
    for (int i = 1; i < argc; ++i)
    {
        std::string const a = argv[i];
        if (vfl::IsHelp(argv[i]))
        {
            std::fputs(kUsage, stdout);
            return 0;
        }
        int64* number = a == "--bits"      ? &bits
                        : a == "--rate"    ? &rate
                        : a == "--quality" ? &quality
                        : a == "--start"   ? &start
                        : a == "--length"  ? &length
                                           : nullptr;
        if (number && i + 1 < argc)
        {
            bitsGiven = bitsGiven || number == &bits;
            if (!vfl::ParseInt64(argv[++i], number))
            {
                std::fprintf(stderr, "vfl convert: %s needs a whole number, not '%s'\n", a.c_str(), argv[i]);
                return 2;
            }
        }
        else if (a == "--type" && i + 1 < argc)
            type = Lower(argv[++i]);
        else if (a == "--squeeze")
            squeeze = true;
        else if (a == "-o" || a == "--output")
            toOutputs = true;
        else if (a.size() > 1 && a[0] == '-')
        {
            std::fprintf(stderr, "vfl convert: unknown option '%s'\n\n%s", a.c_str(), kUsage);
            return 2;
        }
        else
            (toOutputs ? outputs : inputs).push_back(a);
    }
    if (inputs.empty() || outputs.empty())
    {
        std::fputs(kUsage, stderr);
        return 2;
    }
    if (type.empty())
        type = TypeFromExtension(outputs.front());
    if (type == "aiff")
        type = "aif";
    if (type != "wav" && type != "aif" && type != "aifc" && type != "mp3")
    {
        std::fprintf(stderr, "vfl convert: unknown type '%s' (wav, aif, aifc or mp3)\n", type.c_str());
        return 2;
    }
    if (quality > 4)
    {
        std::fprintf(stderr, "vfl convert: --quality is 0 to 4\n");
        return 2;
    }

    // What the inputs are, to fill in the defaults and to refuse a layout
    // the conversion cannot make before any file is touched.
    std::vector<Sys_FileLoc> inputLocs, outputLocs;
    FF_AudioFileAttr attr;
    for (auto const& path : inputs)
    {
        inputLocs.push_back(vfl::LocationFromArgument(path));
        FF_AudioFile file(inputLocs.back());
        if (!file.Implements(FF_AudioFile::eImportExportInterface))
        {
            vfl::ReportError(path, "not an audio file in a known format");
            return 1;
        }
        FF_AudioFileAttr const a = file.GetAudioFileAttr();
        if (inputLocs.size() > 1 &&
            (a.GetNumChannels() != attr.GetNumChannels() || a.GetSamplesPerSec() != attr.GetSamplesPerSec() ||
             a.GetBitsPerSample() != attr.GetBitsPerSample() || a.GetNumSamples() != attr.GetNumSamples()))
        {
            vfl::ReportError(path, "inputs must agree in channels, rate, bits and length");
            return 1;
        }
        attr = a;
    }
    int64 const channels = attr.GetNumChannels();
    int64 const numInputs = static_cast<int64>(inputs.size());
    int64 const numOutputs = static_cast<int64>(outputs.size());
    if (channels != 1 && numInputs != 1)
    {
        std::fprintf(stderr, "vfl convert: several inputs must be mono files\n");
        return 1;
    }
    // One output for all, or one for each channel (or input).
    if (numOutputs != channels && numOutputs != numInputs)
    {
        std::fprintf(stderr,
                     "vfl convert: %lld channel(s) in %lld input(s) make one interleaved output or %lld mono "
                     "outputs, not %lld\n",
                     static_cast<long long>(std::max(channels, numInputs)), static_cast<long long>(numInputs),
                     static_cast<long long>(std::max(channels, numInputs)), static_cast<long long>(numOutputs));
        return 1;
    }
    int64 const outChannels = std::max(channels, numInputs) > numOutputs ? std::max(channels, numInputs) : 1;

    if (rate < 0)
        rate = attr.GetSamplesPerSec();
    if (bits < 0)
        bits = attr.GetBitsPerSample();
    if (type == "mp3")
    {
        // The encoder takes 16-bit samples.
        if (bitsGiven && bits != 16)
            std::fprintf(stderr, "vfl convert: mp3 output is encoded from 16-bit samples, not %lld\n",
                         static_cast<long long>(bits));
        bits = 16;
        if (!FF_LameMP3Encoder::IsSupportedRate(static_cast<int32>(rate)) || outChannels > 2)
        {
            std::fprintf(stderr, "vfl convert: mp3 output takes one or two channels at 8000, 11025, 12000, 16000, "
                                 "22050, 24000, 32000, 44100 or 48000 Hz\n");
            return 1;
        }
    }
    if (bits != 8 && bits != 16 && bits != 24 && bits != 32)
    {
        std::fprintf(stderr, "vfl convert: --bits must be 8, 16, 24 or 32\n");
        return 2;
    }
    if (rate < 1 || rate > 1000000)
    {
        std::fprintf(stderr, "vfl convert: --rate must be 1 to 1000000\n");
        return 2;
    }
    if (start > attr.GetNumSamples() || (length >= 0 && start + length > attr.GetNumSamples()))
    {
        std::fprintf(stderr, "vfl convert: --start and --length reach past the input's %lld frames\n",
                     static_cast<long long>(attr.GetNumSamples()));
        return 2;
    }
    if (length < 0)
        length = attr.GetNumSamples() - start;
    // One file named twice would be emptied before it is read, or written
    // by two outputs at once: refused before anything is written.
    for (std::size_t i = 0; i < outputs.size(); ++i)
    {
        Sys_FileLoc const out = vfl::LocationFromArgument(outputs[i]);
        for (std::size_t k = 0; k < inputs.size() + i; ++k)
        {
            bool const isInput = k < inputs.size();
            std::string const& other = isInput ? inputs[k] : outputs[k - inputs.size()];
            if (Sys_Utils::IsSameFile(out, vfl::LocationFromArgument(other)))
            {
                vfl::ReportError("convert", "output " + outputs[i] + " is the same file as " +
                                                (isInput ? "input " : "output ") + other);
                return 1;
            }
        }
    }
    FF_AudioFileUtils::ConvertAudioFileParams params;
    params.bitsPerSample = static_cast<int16>(bits);
    params.samplesPerSec = static_cast<int32>(rate);
    params.squeeze = squeeze;
    params.quality = static_cast<uint32>(quality);
    FF_AudioFileUtils::SetConvertAudioFileParams(params);

    // The library's MP3 encoder, at the target rate, titled after the file.
    static FF_LameMP3Encoder encoder;
    FF_MP3AudioFile::SetupEncoder(&encoder);
    MP3EncoderOptions mp3 = FF_MP3AudioFile::GetMP3Options();
    mp3.field6 = static_cast<int32>(rate);
    if (type == "mp3")
    {
        std::string const& first = outputs.front();
        std::size_t const slash = first.find_last_of('/');
        std::string name = slash == std::string::npos ? first : first.substr(slash + 1);
        mp3.tag1 = name.substr(0, name.find_last_of('.'));
    }
    FF_MP3AudioFile::SetupMP3Options(mp3);

    // Each output is written beside its destination and put in its place
    // only when the conversion is complete; until then an old file of the
    // same name stays as it was, and on a failure or an interrupt the
    // temporary files go.
    vfl::CatchInterrupt();
    std::vector<std::unique_ptr<vfl::StagedOutput>> staged;
    for (auto const& path : outputs)
    {
        try
        {
            staged.push_back(std::make_unique<vfl::StagedOutput>(path));
        }
        catch (std::exception const& e)
        {
            vfl::ReportError("convert", "output " + path + ": " + vfl::ExceptionText(e));
            return 1;
        }
        outputLocs.push_back(vfl::LocationFromArgument(staged.back()->TemporaryPath()));
    }
    bool const showProgress = vfl::StderrIsTerminal();
    FF_AudioFileUtils::ChainHandle chain =
        FF_AudioFileUtils::ConvertAudioFiles(inputLocs, start, length, outputLocs, vfl::TypeFromName(type));
    bool aborted = false;
    for (;;)
    {
        Sys_Task::EStatus const status = chain->GetStatus();
        if (status == Sys_Task::kStatusCompleted || status == Sys_Task::kStatusFailed ||
            status == Sys_Task::kStatusAborted)
            break;
        if (vfl::Interrupted() && !aborted)
        {
            chain->Abort();
            aborted = true;
        }
        if (showProgress)
            DrawProgress(chain->GetPercentCompleted());
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    if (showProgress)
    {
        if (chain->GetStatus() == Sys_Task::kStatusCompleted)
            DrawProgress(100);
        std::fputc('\n', stderr);
    }
    switch (chain->GetStatus())
    {
    case Sys_Task::kStatusCompleted:
        for (auto& output : staged)
            output->Commit();
        return 0;
    case Sys_Task::kStatusAborted: return vfl::InterruptExitStatus();
    default:
        vfl::ReportError("convert", chain->GetException() ? chain->GetException()->GetFullDescription()
                                                          : std::string("the conversion failed"));
        return 1;
    }
}
