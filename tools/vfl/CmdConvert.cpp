#include "Cmn/Cmn_Exception.h"
#include "FF/FF_AudioFile.h"
#include "FF/FF_AudioFileUtils.h"
#include "FF/FF_LameMP3Encoder.h"
#include "FF/FF_MP3AudioFile.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Utils.h"
#include "tools/vfl/Commands.h"
#include "tools/vfl/OptionParser.h"
#include "tools/vfl/ProgressLine.h"
#include "tools/vfl/StagedOutput.h"
#include "tools/vfl/Terminal.h"
#include "tools/vfl/ToolSupport.h"
#include "tools/vfl/UsageError.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace
{
vfl::CommandSpec const kSpec = {
    "convert",
    "[OPTIONS] INPUT... -o OUTPUT...",
    "Converts one interleaved input, or several mono inputs of one format, into\n"
    "one interleaved output or one mono output per channel. Each output's type\n"
    "comes from its extension (.wav, .aif/.aiff, .aifc, .mp3) unless -t names\n"
    "one for all. Outputs are written beside their destination and replace it\n"
    "only when complete: a failure or Ctrl-C leaves an old file as it was.\n"
    "Times are frames, or seconds as 90s or 1:30.5.",
    {{'o', "output", "OUT...", "the output files (every argument up to the next option)"},
     {'t', "type", "TYPE", "wav, aif (AIFF), aifc (AIFF-C) or mp3 for every output"},
     {'b', "bits", "BITS", "8, 16, 24 or 32 (default: the input's; mp3 is encoded from 16)"},
     {'r', "rate", "HZ", "sample rate of the outputs: 48000 or 48k (default: the input's)"},
     {0, "quality", "Q", "rate conversion: 0 linear, 1 to 4 windowed sinc of 17, 33, 129\nand 257 taps (default 4)"},
     {0, "squeeze", nullptr, "prepare the sound for small loudspeakers"},
     {0, "start", "TIME", "first input frame to convert (default 0)"},
     {0, "length", "TIME", "how much of the input to convert (default: to the end)"},
     {'q', "quiet", nullptr, "no progress line"}},
    0,
    -1};

std::string Lower(std::string s)
{
    for (auto& c : s)
        c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    return s;
}

// The type a user names ("wav", "aiff", ...) as vfl writes it, or "".
std::string WrittenType(std::string const& name)
{
    std::string const t = Lower(name);
    if (t == "wav" || t == "wave")
        return "wav";
    if (t == "aif" || t == "aiff")
        return "aif";
    if (t == "aifc" || t == "mp3")
        return t;
    return "";
}

// The type of one output: the forced one, or its extension's.
std::string OutputType(std::string const& path, std::string const& forced)
{
    if (!forced.empty())
        return forced;
    std::size_t const slash = path.find_last_of('/');
    std::size_t const dot = path.find_last_of('.');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash))
        throw vfl::UsageError("output " + path +
                              " has no extension to tell its type: name it .wav, .aif, .aifc or "
                              ".mp3, or give -t TYPE");
    std::string const type = WrittenType(path.substr(dot + 1));
    if (type.empty())
        throw vfl::UsageError("output " + path + ": vfl does not write '" + path.substr(dot) +
                              "' files; name it .wav, .aif, .aifc or .mp3, or give -t TYPE");
    return type;
}

// Which files a failed chain was working on: the stage that failed tells.
std::string FailedFiles(FF_AudioFileUtils::ChainHandle const& chain, std::vector<std::string> const& inputs,
                        std::vector<std::string> const& outputs, std::string* role)
{
    auto const& stages = chain->GetStages();
    bool const reader = !stages.empty() && stages.front()->GetStatus() == Sys_Task::kStatusFailed;
    bool const writer = !stages.empty() && stages.back()->GetStatus() == Sys_Task::kStatusFailed;
    std::vector<std::string> const* files = reader ? &inputs : writer ? &outputs : nullptr;
    if (!files)
        return "";
    *role = reader ? (inputs.size() > 1 ? "inputs" : "input") : (outputs.size() > 1 ? "outputs" : "output");
    std::string names;
    for (auto const& f : *files)
        names += (names.empty() ? "" : ", ") + f;
    return names;
}
} // namespace

int CmdConvert(int argc, char** argv)
{
    vfl::OptionParser args(kSpec);
    args.Parse(argc, argv);
    if (args.HelpAsked())
        return std::fputs(args.Help().c_str(), stdout), 0;
    std::vector<std::string> const& inputs = args.Operands();
    std::vector<std::string> const outputs = args.Values("output");
    if (inputs.empty())
        throw vfl::UsageError("no input given");
    if (outputs.empty())
        throw vfl::UsageError("no output given: name the outputs after -o");
    std::string forced;
    if (args.Has("type"))
    {
        forced = WrittenType(args.Text("type"));
        if (forced.empty())
            throw vfl::UsageError("-t needs wav, aif, aifc or mp3, not '" + args.Text("type") + "'");
    }
    std::vector<std::string> types;
    for (auto const& path : outputs)
        types.push_back(OutputType(path, forced));
    int64 const mp3Outputs = std::count(types.begin(), types.end(), "mp3");
    if (mp3Outputs > 1)
        throw vfl::UsageError("one mp3 output per conversion: the encoder takes one stream at a time");
    int64 const quality = args.Count("quality", 4, 0, 4);
    int64 bits = args.Count("bits", -1, 8, 32);
    if (bits > 0 && bits % 8 != 0)
        throw vfl::UsageError("--bits needs 8, 16, 24 or 32, not " + std::to_string(bits));
    int64 rate = args.Rate("rate", -1);

    // What the inputs are, to fill in the defaults and to refuse a layout
    // the conversion cannot make before any file is touched.
    std::vector<Sys_FileLoc> inputLocs, outputLocs;
    FF_AudioFileAttr attr;
    for (auto const& path : inputs)
    {
        try
        {
            inputLocs.push_back(vfl::LocationFromArgument(path));
            FF_AudioFile file(inputLocs.back());
            if (!file.Implements(FF_AudioFile::eImportExportInterface))
            {
                vfl::ReportFileError("convert", "input", path, "not an audio file in a known format");
                return 1;
            }
            FF_AudioFileAttr const a = file.GetAudioFileAttr();
            if (inputLocs.size() > 1 &&
                (a.GetNumChannels() != attr.GetNumChannels() || a.GetSamplesPerSec() != attr.GetSamplesPerSec() ||
                 a.GetBitsPerSample() != attr.GetBitsPerSample() || a.GetNumSamples() != attr.GetNumSamples()))
            {
                vfl::ReportFileError("convert", "input", path,
                                     "inputs must agree in channels, rate, bits and length, as " + inputs.front() +
                                         " has them");
                return 1;
            }
            attr = a;
        }
        catch (std::exception const& e)
        {
            vfl::ReportFileError("convert", "input", path, vfl::ExceptionText(e));
            return 1;
        }
    }
    int64 const channels = attr.GetNumChannels();
    int64 const numInputs = static_cast<int64>(inputs.size());
    int64 const numOutputs = static_cast<int64>(outputs.size());
    if (channels != 1 && numInputs != 1)
    {
        vfl::ReportError("convert", "several inputs must be mono files; " + inputs.front() + " has " +
                                        std::to_string(channels) + " channels");
        return 1;
    }
    // One output for all, or one for each channel (or input).
    int64 const streams = std::max(channels, numInputs);
    if (numOutputs != 1 && numOutputs != streams)
    {
        vfl::ReportError("convert", std::to_string(streams) + " channel(s) make one interleaved output or " +
                                        std::to_string(streams) + " mono outputs, not " + std::to_string(numOutputs));
        return 1;
    }
    int64 const outChannels = streams > numOutputs ? streams : 1;

    if (rate < 0)
        rate = attr.GetSamplesPerSec();
    if (bits < 0)
        bits = attr.GetBitsPerSample();
    if (mp3Outputs > 0)
    {
        // The encoder takes 16-bit samples.
        if (args.Has("bits") && bits != 16)
            std::fprintf(stderr, "vfl: convert: mp3 is encoded from 16-bit samples, not %lld\n",
                         static_cast<long long>(bits));
        bits = 16;
        if (!FF_LameMP3Encoder::IsSupportedRate(static_cast<int32>(rate)) || outChannels > 2)
        {
            vfl::ReportError("convert", "mp3 takes one or two channels at 8000, 11025, 12000, 16000, 22050, 24000, "
                                        "32000, 44100 or 48000 Hz");
            return 1;
        }
    }
    int32 const inRate = attr.GetSamplesPerSec();
    int64 const start = args.Has("start") ? args.Time("start").ToFrames(inRate) : 0;
    int64 length = args.Has("length") ? args.Time("length").ToFrames(inRate) : -1;
    if (start > attr.GetNumSamples() || (length >= 0 && start + length > attr.GetNumSamples()))
        throw vfl::UsageError("--start and --length reach past the end of the input (" +
                              std::to_string(attr.GetNumSamples()) + " frames)");
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
    params.squeeze = args.Has("squeeze");
    params.quality = static_cast<uint32>(quality);
    FF_AudioFileUtils::SetConvertAudioFileParams(params);

    // The library's MP3 encoder, at the target rate.
    static FF_LameMP3Encoder encoder;
    FF_MP3AudioFile::SetupEncoder(&encoder);
    MP3EncoderOptions mp3 = FF_MP3AudioFile::GetMP3Options();
    mp3.field6 = static_cast<int32>(rate);
    FF_MP3AudioFile::SetupMP3Options(mp3);

    // Each output is written beside its destination and put in its place
    // only when the conversion is complete; until then an old file of the
    // same name stays as it was, and on a failure or an interrupt the
    // temporary files go.
    vfl::CatchInterrupt();
    std::vector<std::unique_ptr<vfl::StagedOutput>> staged;
    std::vector<Sys_FileType> fileTypes;
    for (std::size_t i = 0; i < outputs.size(); ++i)
    {
        try
        {
            staged.push_back(std::make_unique<vfl::StagedOutput>(outputs[i]));
        }
        catch (std::exception const& e)
        {
            vfl::ReportFileError("convert", "output", outputs[i], vfl::ExceptionText(e));
            return 1;
        }
        outputLocs.push_back(vfl::LocationFromArgument(staged.back()->TemporaryPath()));
        fileTypes.push_back(vfl::TypeFromName(types[i]));
    }
    FF_AudioFileUtils::ChainHandle chain;
    try
    {
        chain = FF_AudioFileUtils::ConvertAudioFiles(inputLocs, start, length, outputLocs, fileTypes);
    }
    catch (std::exception const& e)
    {
        // The outputs are formatted as the chain is built.
        vfl::ReportFileError("convert", outputs.size() > 1 ? "outputs" : "output", outputs.front(),
                             vfl::ExceptionText(e));
        return 1;
    }
    std::string label = outputs.front();
    vfl::ProgressLine progress(label, static_cast<double>(length) / inRate, args.Has("quiet"));
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
        progress.Update(chain->GetPercentCompleted());
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    progress.Finish();
    switch (chain->GetStatus())
    {
    case Sys_Task::kStatusCompleted:
        for (std::size_t i = 0; i < staged.size(); ++i)
        {
            try
            {
                staged[i]->Commit();
            }
            catch (std::exception const& e)
            {
                vfl::ReportFileError("convert", "output", outputs[i], vfl::ExceptionText(e));
                return 1;
            }
        }
        return 0;
    case Sys_Task::kStatusAborted: return vfl::InterruptExitStatus();
    default:
    {
        std::string role;
        std::string const files = FailedFiles(chain, inputs, outputs, &role);
        std::string const text =
            chain->GetException() ? vfl::ExceptionText(*chain->GetException()) : std::string("the conversion failed");
        vfl::ReportError(files.empty() ? "convert" : "convert: " + role + " " + files, text);
        return 1;
    }
    }
}
