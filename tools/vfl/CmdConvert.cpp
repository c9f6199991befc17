#include "Cmn/Cmn_Exception.h"
#include "FF/FF_AudioFile.h"
#include "FF/FF_AudioFileUtils.h"
#include "FF/FF_LameMP3Encoder.h"
#include "FF/FF_MP3AudioFile.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Utils.h"
#include "tools/vfl/Commands.h"
#include "tools/vfl/Files.h"
#include "tools/vfl/OptionParser.h"
#include "tools/vfl/Processes.h"
#include "tools/vfl/ProgressLine.h"
#include "tools/vfl/SpooledInput.h"
#include "tools/vfl/StagedOutput.h"
#include "tools/vfl/Terminal.h"
#include "tools/vfl/ToolSupport.h"
#include "tools/vfl/UsageError.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace
{
vfl::CommandSpec const kSpec = {
    "convert",
    "[OPTIONS] INPUT... -o OUTPUT...\n[OPTIONS] -d FOLDER [-j N] INPUT...",
    "Converts one interleaved input, or several mono inputs of one format, into\n"
    "one interleaved output or one mono output per channel. Each output's type\n"
    "comes from its extension (.wav, .aif/.aiff, .aifc, .vorn, .mp3) unless -t\n"
    "names one for all (a VORN file keeps its metadata in Resource.FRK/NAME).\n"
    "Outputs are written beside their destination and replace it\n"
    "only when complete: a failure or Ctrl-C leaves an old file as it was.\n"
    "INPUT - reads standard input; OUTPUT - writes to standard output (with -t).\n"
    "With -d, each input is converted on its own into FOLDER, under its own\n"
    "name, N at a time. Times are frames, or seconds as 90s or 1:30.5.",
    {{'o', "output", "OUT...", "the outputs (the arguments up to the next option)"},
     {'d', "directory", "FOLDER", "convert each input on its own into FOLDER"},
     {'j', "jobs", "N", "with -d: conversions at once (default: processors)"},
     {'t', "type", "TYPE", "wav, aif (AIFF), aifc (AIFF-C), vorn or mp3 for every\noutput"},
     {'b', "bits", "BITS", "8, 16, 24 or 32 (default: the input's; mp3: 16)"},
     {'r', "rate", "HZ", "output rate, 48000 or 48k (default: the input's)"},
     {0, "quality", "Q", "rate conversion: 0 linear, 1 to 4 windowed sinc of 17,\n33, 129 and 257 taps (default 4)"},
     {0, "squeeze", nullptr, "prepare the sound for small loudspeakers"},
     {0, "start", "TIME", "first input frame to convert (default 0)"},
     {0, "length", "TIME", "how much of the input to convert (default: to the end)"},
     {0, "bitrate", "KBPS", "mp3: constant bit rate, 32 to 320 (default 128)"},
     {0, "vbr", "Q", "mp3: variable bit rate of quality 0 (best) to 9"},
     {0, "title", "TEXT", "mp3: tag the title (no tag unless one is asked for)"},
     {0, "artist", "TEXT", "mp3: tag the artist"},
     {0, "album", "TEXT", "mp3: tag the album"},
     {0, "comment", "TEXT", "mp3: tag a comment"},
     {0, "year", "YEAR", "mp3: tag the year"},
     {0, "track", "N", "mp3: tag the track number, 1 to 255"},
     {0, "genre", "N", "mp3: tag the genre by its number, 0 to 254"},
     {0, "unique", nullptr,
      "outputs are wished names: each is written under a\nfree name the library chooses, which is printed"},
     {'q', "quiet", nullptr, "no progress line"}},
    0,
    -1};

// The options a conversion of a batch hands on to the conversion of each
// file, and those that are MP3's alone.
char const* const kPassedOn[] = {"type", "bits",  "rate",   "quality", "squeeze", "start", "length", "bitrate",
                                 "vbr",  "title", "artist", "album",   "comment", "year",  "track",  "genre"};
char const* const kMp3Options[] = {"bitrate", "vbr", "title", "artist", "album", "comment", "year", "track", "genre"};

// The type a user names ("wav", "aiff", ...) as vfl writes it, or "".
std::string WrittenType(std::string const& name)
{
    vfl::Format const* format = vfl::FindFormat(name);
    return format ? format->name : "";
}

// The type of one output: the forced one, or its extension's.
std::string OutputType(std::string const& path, std::string const& forced)
{
    if (!forced.empty())
        return forced;
    if (path == "-")
        throw vfl::UsageError("output - (standard output) has no extension to tell its type: give -t TYPE");
    std::size_t const slash = path.find_last_of('/');
    std::size_t const dot = path.find_last_of('.');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash))
        throw vfl::UsageError("output " + path +
                              " has no extension to tell its type: name it .wav, .aif, .aifc, "
                              ".vorn or .mp3, or give -t TYPE");
    std::string const type = WrittenType(path.substr(dot + 1));
    if (type.empty())
        throw vfl::UsageError("output " + path + ": vfl does not write '" + path.substr(dot) +
                              "' files; name it .wav, .aif, .aifc, .vorn or .mp3, or give -t TYPE");
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
// What every conversion of one command line shares: the target format and
// the MP3 encoding.
struct Settings
{
    std::string forcedType;
    int64 bits = -1, rate = -1, quality = 4;
    bool quiet = false;
};

Settings ReadSettings(vfl::OptionParser const& args)
{
    Settings s;
    if (args.Has("type"))
    {
        s.forcedType = WrittenType(args.Text("type"));
        if (s.forcedType.empty())
            throw vfl::UsageError("-t needs wav, aif, aifc, vorn or mp3, not '" + args.Text("type") + "'");
    }
    s.quality = args.Count("quality", 4, 0, 4);
    s.bits = args.Count("bits", -1, 8, 32);
    if (s.bits > 0 && s.bits % 8 != 0)
        throw vfl::UsageError("--bits needs 8, 16, 24 or 32, not " + std::to_string(s.bits));
    s.rate = args.Rate("rate", -1);
    s.quiet = args.Has("quiet");
    if (args.Has("bitrate") && args.Has("vbr"))
        throw vfl::UsageError("--bitrate and --vbr do not go together: a stream has one rate or varies");
    return s;
}

// The encoder's options from the command line. Tags only when asked for:
// an ID3v2 tag at the front, which every player reads.
MP3EncoderOptions Mp3Options(vfl::OptionParser const& args, int64 rate)
{
    MP3EncoderOptions mp3 = FF_MP3AudioFile::GetMP3Options();
    mp3.field6 = static_cast<int32>(rate);
    if (args.Has("vbr"))
    {
        mp3.field4 = 2;
        mp3.field3 = static_cast<int32>(args.Count("vbr", 4, 0, 9) * 10);
    }
    else
    {
        mp3.field4 = 0;
        mp3.field5 = static_cast<int32>(args.Count("bitrate", 128, 32, 320) * 1000);
    }
    bool const tagged = args.Has("title") || args.Has("artist") || args.Has("album") || args.Has("comment") ||
                        args.Has("year") || args.Has("track") || args.Has("genre");
    mp3.tagMode = tagged ? 3 : 0;
    mp3.tag1 = args.Text("title");
    mp3.tag2 = args.Text("artist");
    mp3.tag3 = args.Text("album");
    mp3.tag4 = args.Text("comment");
    mp3.tagValue1 = static_cast<int16>(args.Count("year", -1, 1, 9999));
    mp3.tagValue2 = static_cast<int16>(args.Count("track", -1, 1, 255));
    mp3.tagValue3 = static_cast<int16>(args.Count("genre", -1, 0, 254));
    return mp3;
}

void RefuseMp3OptionsWithoutMp3(vfl::OptionParser const& args, std::vector<std::string> const& types)
{
    if (std::find(types.begin(), types.end(), "mp3") != types.end())
        return;
    for (char const* option : kMp3Options)
        if (args.Has(option))
            throw vfl::UsageError(std::string("--") + option + " is for mp3 outputs, and none is named");
}

std::string ExtensionOf(std::string const& type)
{
    return "." + type;
}

std::string BaseName(std::string const& path)
{
    std::size_t const slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

int ConvertOne(vfl::OptionParser const& args, Settings settings);
int ConvertBatch(vfl::OptionParser const& args, Settings const& settings);
} // namespace

int CmdConvert(int argc, char** argv)
{
    vfl::OptionParser args(kSpec);
    args.Parse(argc, argv);
    if (args.HelpAsked())
        return std::fputs(args.Help().c_str(), stdout), 0;
    Settings const settings = ReadSettings(args);
    if (args.Operands().empty())
        throw vfl::UsageError("no input given");
    if (args.Has("directory"))
        return ConvertBatch(args, settings);
    if (args.Has("jobs"))
        throw vfl::UsageError("-j goes with -d: one conversion runs at a time");
    return ConvertOne(args, settings);
}

namespace
{
int ConvertOne(vfl::OptionParser const& args, Settings settings)
{
    std::vector<std::string> const& inputs = args.Operands();
    std::vector<std::string> outputs = args.Values("output");
    if (outputs.empty())
        throw vfl::UsageError("no output given: name the outputs after -o, or a folder with -d");
    if (args.Has("unique"))
    {
        for (auto& output : outputs)
        {
            if (output == "-")
                throw vfl::UsageError("--unique names files; standard output (-) has no name");
            std::string const wished = output;
            try
            {
                output = vfl::UniqueOutputPath(wished);
            }
            catch (std::exception const& e)
            {
                vfl::ReportFileError("convert", "output", wished, vfl::ExceptionText(e));
                return 1;
            }
            // Two outputs wished under one name must not get the same free one.
            if (std::count(outputs.begin(), outputs.end(), output) > 1)
                throw vfl::UsageError("--unique: two outputs wished as " + wished + "; name them apart");
        }
        for (auto const& output : outputs)
            std::printf("%s\n", output.c_str());
        std::fflush(stdout);
    }
    if (std::count(inputs.begin(), inputs.end(), "-") > 1)
        throw vfl::UsageError("standard input (-) can be read once");
    if (std::count(outputs.begin(), outputs.end(), "-") > 1)
        throw vfl::UsageError("standard output (-) can take one output");
    std::vector<std::string> types;
    for (auto const& path : outputs)
        types.push_back(OutputType(path, settings.forcedType));
    for (std::size_t i = 0; i < outputs.size(); ++i)
        if (outputs[i] == "-" && types[i] == "vorn")
            throw vfl::UsageError("standard output (-) cannot take a vorn file: its metadata lies in a resource "
                                  "fork beside it");
    RefuseMp3OptionsWithoutMp3(args, types);
    int64 const mp3Outputs = std::count(types.begin(), types.end(), "mp3");
    if (mp3Outputs > 1)
        throw vfl::UsageError("one mp3 output per conversion: the encoder takes one stream at a time");
    int64 bits = settings.bits;
    int64 rate = settings.rate;

    // What the inputs are, to fill in the defaults and to refuse a layout
    // the conversion cannot make before any file is touched.
    vfl::CatchInterrupt();
    std::vector<std::unique_ptr<vfl::SpooledInput>> spools;
    std::vector<Sys_FileLoc> inputLocs, outputLocs;
    FF_AudioFileAttr attr;
    for (auto const& path : inputs)
    {
        try
        {
            spools.push_back(std::make_unique<vfl::SpooledInput>(path));
            if (vfl::Interrupted())
                return vfl::InterruptExitStatus();
            inputLocs.push_back(vfl::LocationFromArgument(spools.back()->Path()));
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
        if (outputs[i] == "-")
            continue;
        Sys_FileLoc const out = vfl::LocationFromArgument(outputs[i]);
        for (std::size_t k = 0; k < inputs.size() + i; ++k)
        {
            bool const isInput = k < inputs.size();
            std::string const& other = isInput ? spools[k]->Path() : outputs[k - inputs.size()];
            if (other == "-")
                continue;
            if (Sys_Utils::IsSameFile(out, vfl::LocationFromArgument(other)))
            {
                vfl::ReportError("convert", "output " + outputs[i] + " is the same file as " +
                                                (isInput ? "input " + inputs[k] : "output " + other));
                return 1;
            }
        }
    }

    FF_AudioFileUtils::ConvertAudioFileParams params;
    params.bitsPerSample = static_cast<int16>(bits);
    params.samplesPerSec = static_cast<int32>(rate);
    params.squeeze = args.Has("squeeze");
    params.quality = static_cast<uint32>(settings.quality);
    FF_AudioFileUtils::SetConvertAudioFileParams(params);

    // The library's MP3 encoder, at the target rate.
    static FF_LameMP3Encoder encoder;
    FF_MP3AudioFile::SetupEncoder(&encoder);
    FF_MP3AudioFile::SetupMP3Options(Mp3Options(args, rate));

    // Each output is written beside its destination and put in its place
    // only when the conversion is complete; until then an old file of the
    // same name stays as it was, and on a failure or an interrupt the
    // temporary files go.
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
        // Building the chain opens the inputs again and formats the
        // outputs; which of them failed the library does not say.
        auto list = [](std::vector<std::string> const& files)
        {
            std::string names;
            for (auto const& f : files)
                names += (names.empty() ? "" : ", ") + f;
            return names;
        };
        vfl::ReportError("convert: " + list(inputs) + " to " + list(outputs), vfl::ExceptionText(e));
        return 1;
    }
    vfl::ProgressLine progress(BaseName(outputs.front()), static_cast<double>(length) / inRate, settings.quiet);
    progress.Follow(*chain);
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

int ConvertBatch(vfl::OptionParser const& args, Settings const& settings)
{
    if (args.Has("output"))
        throw vfl::UsageError("-o and -d do not go together: with -d each output is named after its input");
    std::vector<std::string> const& inputs = args.Operands();
    std::string folder = args.Text("directory");
    if (std::count(inputs.begin(), inputs.end(), "-"))
        throw vfl::UsageError("standard input (-) cannot be one of the files of -d");
    int64 const jobs =
        args.Count("jobs", std::max<int64>(1, static_cast<int64>(std::thread::hardware_concurrency())), 1, 256);

    // Every output's name and type, and every refusal, before anything runs.
    std::vector<std::string> outputs, types;
    for (auto const& input : inputs)
    {
        std::string name = BaseName(input);
        if (!settings.forcedType.empty())
        {
            std::size_t const dot = name.find_last_of('.');
            name =
                (dot == std::string::npos || dot == 0 ? name : name.substr(0, dot)) + ExtensionOf(settings.forcedType);
        }
        std::string const output = folder + (folder.back() == '/' ? "" : "/") + name;
        types.push_back(OutputType(output, settings.forcedType));
        for (std::size_t k = 0; k < outputs.size(); ++k)
            if (outputs[k] == output)
                throw vfl::UsageError("inputs " + inputs[k] + " and " + input + " would both become " + output);
        outputs.push_back(output);
    }
    RefuseMp3OptionsWithoutMp3(args, types);
    std::error_code ec;
    if (!std::filesystem::is_directory(folder, ec))
    {
        vfl::ReportFileError("convert", "output folder", folder, ec ? ec.message() : std::string("not a folder"));
        return 1;
    }
    for (std::size_t i = 0; i < inputs.size(); ++i)
        for (auto const& input : inputs)
            if (Sys_Utils::IsSameFile(vfl::LocationFromArgument(outputs[i]), vfl::LocationFromArgument(input)))
            {
                vfl::ReportError("convert", "output " + outputs[i] + " is the same file as input " + input);
                return 1;
            }

    // The length of each input weighs its share of the progress.
    std::vector<double> seconds(inputs.size(), 0.0);
    double total = 0;
    for (std::size_t i = 0; i < inputs.size(); ++i)
    {
        try
        {
            FF_AudioFile file(vfl::LocationFromArgument(inputs[i]));
            if (file.Implements(FF_AudioFile::eImportExportInterface))
            {
                FF_AudioFileAttr const a = file.GetAudioFileAttr();
                seconds[i] =
                    a.GetSamplesPerSec() > 0 ? static_cast<double>(a.GetNumSamples()) / a.GetSamplesPerSec() : 0.0;
            }
        }
        catch (std::exception const&)
        {
            // Its own conversion reports it.
        }
        total += seconds[i];
    }

    // Each file in a process of its own: the process threads of one process
    // run one chain at a time.
    std::vector<std::string> common = {"convert", "-q"};
    for (char const* option : kPassedOn)
        if (args.Has(option))
        {
            common.push_back(std::string("--") + option);
            for (auto const& v : args.Values(option))
                common.push_back(v);
        }
    vfl::CatchInterrupt();
    std::string const temp = Sys_Utils::GetTempFolderLoc().GetFullPath();
    std::vector<std::string> errorFiles(inputs.size());
    std::vector<int> status(inputs.size(), -1);
    std::map<int, std::size_t> running;
    std::size_t next = 0, finished = 0;
    double done = 0;
    bool forwarded = false;
    vfl::ProgressLine progress("convert", total, settings.quiet);
    while ((next < inputs.size() && !vfl::Interrupted()) || !running.empty())
    {
        while (static_cast<int64>(running.size()) < jobs && next < inputs.size() && !vfl::Interrupted())
        {
            // "--" before the input, whose name may begin with '-'.
            std::vector<std::string> childArgs = common;
            for (char const* a : {"-o", outputs[next].c_str(), "--", inputs[next].c_str()})
                childArgs.push_back(a);
            try
            {
                errorFiles[next] = vfl::MakeFileBeside(temp + "vfl-job");
                running[vfl::StartSelf(childArgs, errorFiles[next])] = next;
            }
            catch (std::exception const& e)
            {
                vfl::ReportFileError("convert", "input", inputs[next], vfl::ExceptionText(e));
                status[next] = 1;
                ++finished;
            }
            ++next;
        }
        if (vfl::Interrupted() && !forwarded)
        {
            // A signal for the batch is one for each conversion under way.
            for (auto const& [pid, index] : running)
                vfl::SignalChild(pid, vfl::InterruptExitStatus());
            forwarded = true;
        }
        int pid = 0, code = 0;
        if (vfl::WaitForChild(100, &pid, &code) && running.count(pid))
        {
            std::size_t const index = running[pid];
            running.erase(pid);
            status[index] = code;
            done += seconds[index];
            ++finished;
        }
        progress.Update(total > 0 ? 100 * done / total : 100.0 * static_cast<double>(finished) / inputs.size(),
                        std::to_string(finished) + "/" + std::to_string(inputs.size()) + " files");
    }
    progress.Finish();

    // What each failed conversion said, in the order of the inputs, then a summary.
    std::vector<std::string> failed;
    for (std::size_t i = 0; i < inputs.size(); ++i)
    {
        if (!errorFiles[i].empty())
        {
            if (status[i] != 0)
            {
                std::ifstream said(errorFiles[i]);
                for (std::string line; std::getline(said, line);)
                    std::fprintf(stderr, "%s\n", line.c_str());
            }
            vfl::RemoveFile(errorFiles[i]);
        }
        if (status[i] > 0 && status[i] < 128)
            failed.push_back(inputs[i]);
    }
    if (vfl::Interrupted())
        return vfl::InterruptExitStatus();
    if (!failed.empty())
    {
        std::string names;
        for (auto const& f : failed)
            names += (names.empty() ? "" : ", ") + f;
        vfl::ReportError("convert", std::to_string(failed.size()) + " of " + std::to_string(inputs.size()) +
                                        " files failed: " + names);
        return 1;
    }
    return 0;
}
} // namespace
