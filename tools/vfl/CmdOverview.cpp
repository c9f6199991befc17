#include "Cmn/Cmn_Exception.h"
#include "FF/FF_AudioFile.h"
#include "FF/FF_AudioFileUtils.h"
#include "FF/FF_AudioProcessDecimateWaveform.h"
#include "Sys/Sys_FileLoc.h"
#include "tools/vfl/Commands.h"
#include "tools/vfl/OptionParser.h"
#include "tools/vfl/OverviewPicture.h"
#include "tools/vfl/Picture.h"
#include "tools/vfl/ProgressLine.h"
#include "tools/vfl/SpooledInput.h"
#include "tools/vfl/StagedOutput.h"
#include "tools/vfl/Terminal.h"
#include "tools/vfl/ToolSupport.h"
#include "tools/vfl/UsageError.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace
{
vfl::CommandSpec const kSpec = {"overview",
                                "[OPTIONS] FILE",
                                "Computes the waveform overview of every channel (or of one): for each\n"
                                "interval of N frames its maximum and minimum, reduced to 8 bits. Prints one\n"
                                "line per interval with a \"max min\" pair for each channel, or a JSON object,\n"
                                "or draws a picture: one lane per channel with its name, an amplitude scale\n"
                                "in dBFS and a time axis. FILE - reads standard input; --png - writes the\n"
                                "picture to standard output.",
                                {{0, "channel", "N", "only channel N (1 is the first)"},
                                 {0, "spi", "N", "frames per interval (default 256; a picture: what fits)"},
                                 {0, "json", nullptr, "print one JSON object"},
                                 {0, "png", "OUT.png", "draw the overview into a PNG picture"},
                                 {0, "width", "W", "width of the picture in pixels (default 1200)"},
                                 {0, "height", "H", "height of the picture in pixels (default: 130 a lane)"},
                                 {'q', "quiet", nullptr, "no progress line"}},
                                1,
                                1};

using Pairs = std::vector<signed char>;

} // namespace

int CmdOverview(int argc, char** argv)
{
    vfl::OptionParser args(kSpec);
    args.Parse(argc, argv);
    if (args.HelpAsked())
        return std::fputs(args.Help().c_str(), stdout), 0;
    std::string const& path = args.Operands().front();
    bool const json = args.Has("json");
    std::string const png = args.Text("png");
    if (json && !png.empty())
        throw vfl::UsageError("--json and --png do not go together");
    int64 const width = args.Count("width", 1200, 200, 20000);

    std::unique_ptr<vfl::SpooledInput> spool;
    FF_AudioFileAttr attr;
    try
    {
        spool = std::make_unique<vfl::SpooledInput>(path);
        if (vfl::Interrupted())
            return vfl::InterruptExitStatus();
        // What the decimation cannot take is said here, in the file's terms.
        FF_AudioFile file(vfl::LocationFromArgument(spool->Path()));
        if (!file.Implements(FF_AudioFile::eImportExportInterface))
        {
            vfl::ReportFileError("overview", "", path, "not an audio file in a known format");
            return 1;
        }
        attr = file.GetAudioFileAttr();
        if (attr.GetNumSamples() == 0)
        {
            vfl::ReportFileError("overview", "", path, "no audio to draw: the file has 0 frames");
            return 1;
        }
        if (!FF_AudioProcessDecimateWaveform::TakesDepth(attr.GetBitsPerSample()))
        {
            vfl::ReportFileError("overview", "", path,
                                 "overviews are made of audio of up to 24 bits, not of " +
                                     std::to_string(attr.GetBitsPerSample()) + "-bit");
            return 1;
        }
    }
    catch (std::exception const& e)
    {
        vfl::ReportFileError("overview", "", path, vfl::ExceptionText(e));
        return 1;
    }
    int const channels = attr.GetNumChannels();
    int64 const frames = attr.GetNumSamples();
    std::vector<int> chosen;
    if (args.Has("channel"))
        chosen.push_back(static_cast<int>(args.Count("channel", 1, 1, channels)) - 1);
    else
        for (int c = 0; c < channels; ++c)
            chosen.push_back(c);
    int const lanes = static_cast<int>(chosen.size());
    int64 const minHeight = 24 + 26 + lanes * 20 + (lanes - 1) * 6;
    int64 const height = args.Count("height", std::max<int64>(minHeight, 50 + lanes * 130), minHeight, 20000);
    // A picture needs no more intervals than it has columns: as many
    // frames to an interval as fit.
    int64 const plotWidth = width - vfl::kOverviewMargins;
    int64 const spi = args.Has("spi") || png.empty() ? args.Count("spi", 256, 1, 0x7FFFFFFF)
                                                     : std::clamp<int64>(frames / plotWidth, 1, 0x7FFFFFFF);

    std::vector<Pairs> overviews(chosen.size(), Pairs(static_cast<std::size_t>((frames + spi - 1) / spi * 2)));
    std::vector<char*> buffers(static_cast<std::size_t>(channels), nullptr);
    for (std::size_t i = 0; i < chosen.size(); ++i)
        buffers[static_cast<std::size_t>(chosen[i])] = reinterpret_cast<char*>(overviews[i].data());
    double const seconds = static_cast<double>(frames) / attr.GetSamplesPerSec();
    {
        vfl::CatchInterrupt();
        FF_AudioFileUtils::ChainHandle chain;
        try
        {
            chain = FF_AudioFileUtils::DecimateWaveform(vfl::LocationFromArgument(spool->Path()),
                                                        static_cast<int32>(spi), buffers);
        }
        catch (std::exception const& e)
        {
            vfl::ReportFileError("overview", "", path, vfl::ExceptionText(e));
            return 1;
        }
        vfl::ProgressLine progress(path, seconds, args.Has("quiet"));
        progress.Follow(*chain);
        if (chain->GetStatus() == Sys_Task::kStatusAborted)
            return vfl::InterruptExitStatus();
        if (chain->GetStatus() != Sys_Task::kStatusCompleted)
        {
            vfl::ReportFileError("overview", "", path,
                                 chain->GetException() ? vfl::ExceptionText(*chain->GetException())
                                                       : std::string("the overview failed"));
            return 1;
        }
    }

    if (!png.empty())
    {
        vfl::OverviewDrawing d;
        d.title = vfl::OverviewTitle(path, channels, attr.GetSamplesPerSec(), attr.GetBitsPerSample(), seconds);
        d.seconds = seconds;
        for (std::size_t i = 0; i < chosen.size(); ++i)
        {
            d.names.push_back(vfl::ChannelName(chosen[i], channels));
            d.lanes.push_back(&overviews[i]);
        }
        vfl::Picture const picture = vfl::DrawOverview(d, static_cast<int>(width), static_cast<int>(height));
        try
        {
            // Like every output: complete, or not at all.
            vfl::StagedOutput out(png);
            if (!picture.WritePng(out.TemporaryPath()))
                throw std::runtime_error("the picture cannot be written");
            out.Commit();
        }
        catch (std::exception const& e)
        {
            vfl::ReportFileError("overview", "output", png, vfl::ExceptionText(e));
            return 1;
        }
        return 0;
    }
    std::size_t const intervals = overviews.front().size() / 2;
    if (json)
    {
        std::string line =
            "{\"path\":" + vfl::JsonString(path) + ",\"samplesPerInterval\":" + std::to_string(spi) + ",\"channels\":[";
        for (std::size_t c = 0; c < chosen.size(); ++c)
        {
            line += (c ? ",{" : "{") + std::string("\"channel\":") + std::to_string(chosen[c] + 1) +
                    ",\"name\":" + vfl::JsonString(vfl::ChannelName(chosen[c], channels)) + ",\"pairs\":[";
            for (std::size_t i = 0; i < intervals; ++i)
                line += (i ? ",[" : "[") + std::to_string(overviews[c][2 * i]) + "," +
                        std::to_string(overviews[c][2 * i + 1]) + "]";
            line += "]}";
        }
        std::printf("%s]}\n", line.c_str());
        return 0;
    }
    // One line an interval; written a few thousand lines at a time, since
    // a long file has hundreds of thousands.
    std::string text;
    for (std::size_t i = 0; i < intervals; ++i)
    {
        for (std::size_t c = 0; c < chosen.size(); ++c)
        {
            char pair[16];
            char* end = std::to_chars(pair, pair + sizeof pair, int{overviews[c][2 * i]}).ptr;
            *end++ = ' ';
            end = std::to_chars(end, pair + sizeof pair, int{overviews[c][2 * i + 1]}).ptr;
            if (c)
                text += ' ';
            text.append(pair, end);
        }
        text += '\n';
        if (text.size() >= 65536 || i + 1 == intervals)
        {
            std::fwrite(text.data(), 1, text.size(), stdout);
            text.clear();
        }
    }
    return 0;
}
