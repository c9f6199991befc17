#include "Cmn/Cmn_Exception.h"
#include "FF/FF_AudioFile.h"
#include "FF/FF_AudioFileUtils.h"
#include "Sys/Sys_FileLoc.h"
#include "tools/vfl/Commands.h"
#include "tools/vfl/OptionParser.h"
#include "tools/vfl/Picture.h"
#include "tools/vfl/ProgressLine.h"
#include "tools/vfl/SpooledInput.h"
#include "tools/vfl/StagedOutput.h"
#include "tools/vfl/Terminal.h"
#include "tools/vfl/ToolSupport.h"
#include "tools/vfl/UsageError.h"

#include <algorithm>
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

// What a lane is called: the places of one and two channels, numbers beyond.
std::string ChannelName(int channel, int channels)
{
    if (channels == 1)
        return "mono";
    if (channels == 2)
        return channel == 0 ? "left" : "right";
    return "ch " + std::to_string(channel + 1);
}

// h:mm:ss, with tenths or hundredths where the ticks are that close.
std::string TickLabel(double seconds, double step)
{
    int const decimals = step >= 1 ? 0 : step >= 0.1 ? 1 : 2;
    double const scale = std::pow(10.0, decimals);
    long long const units = std::llround(seconds * scale);
    long long const whole = units / static_cast<long long>(scale);
    char text[48];
    int n = std::snprintf(text, sizeof text, "%lld:%02lld:%02lld", whole / 3600, whole / 60 % 60, whole % 60);
    if (decimals > 0)
        std::snprintf(text + n, sizeof text - static_cast<std::size_t>(n), ".%0*lld", decimals,
                      units % static_cast<long long>(scale));
    return text;
}

// The step of the time axis: the smallest of the usual ones that leaves
// room for a label between ticks.
double TickStep(double duration, int plotWidth)
{
    static double const steps[] = {0.01, 0.02, 0.05, 0.1, 0.2, 0.5,  1,    2,    5,     10,    15,   30,
                                   60,   120,  300,  600, 900, 1800, 3600, 7200, 10800, 21600, 43200};
    for (double s : steps)
        if (duration <= 0 || plotWidth * s / duration >= vfl::Picture::TextWidth(TickLabel(duration, s)) + 18)
            return s;
    return steps[sizeof steps / sizeof steps[0] - 1];
}

struct Drawing
{
    std::string title;
    std::vector<std::string> names;
    std::vector<Pairs const*> lanes;
    double seconds = 0;
};

vfl::Picture Draw(Drawing const& d, int width, int height)
{
    using C = vfl::Picture::Colour;
    C const paper{255, 255, 255}, laneBack{246, 247, 250}, grid{214, 218, 226}, axis{60, 60, 60}, ink{40, 40, 40},
        wave{34, 87, 160}, centre{170, 176, 190};
    int const left = 62, right = 14, top = 24, bottom = 26, gap = 6;
    int const n = static_cast<int>(d.lanes.size());
    int const plotWidth = width - left - right;
    int const laneHeight = (height - top - bottom - gap * (n - 1)) / n;
    vfl::Picture p(width, height, paper);
    p.Text(left, 8, d.title, ink);

    double const step = TickStep(d.seconds, plotWidth);
    auto xOf = [&](double t) { return left + static_cast<int>(std::lround(t / d.seconds * (plotWidth - 1))); };
    for (int lane = 0; lane < n; ++lane)
    {
        int const y0 = top + lane * (laneHeight + gap);
        int const half = (laneHeight - 2) / 2;
        int const mid = y0 + laneHeight / 2;
        p.Fill(left, y0, plotWidth, laneHeight, laneBack);
        for (double t = 0; d.seconds > 0 && t <= d.seconds + 1e-9; t += step)
            p.VerticalLine(xOf(t), y0, y0 + laneHeight - 1, grid);
        // The scale: full scale, half, a quarter, a tenth of it, mirrored
        // below the centre; labels where they do not crowd each other.
        int lastLabel = -100;
        for (int db : {0, -6, -12, -20})
        {
            int const offset = static_cast<int>(std::lround(std::pow(10.0, db / 20.0) * half));
            p.HorizontalLine(left, left + plotWidth - 1, mid - offset, grid);
            p.HorizontalLine(left, left + plotWidth - 1, mid + offset, grid);
            int const y = mid - offset;
            if (y - lastLabel >= vfl::Picture::kTextHeight + 2 && mid - y >= vfl::Picture::kTextHeight + 2)
            {
                std::string const label = db == 0 ? "0 dBFS" : std::to_string(db);
                p.Text(left - 5 - vfl::Picture::TextWidth(label), y - 3, label, ink);
                p.HorizontalLine(left - 3, left - 1, y, axis);
                lastLabel = y;
            }
        }
        p.HorizontalLine(left, left + plotWidth - 1, mid, centre);
        // The name below the centre, where the scale has no labels.
        p.Text(4, mid + 4, d.names[static_cast<std::size_t>(lane)], ink);

        // Each column spans its share of the intervals, from their lowest
        // minimum to their highest maximum.
        Pairs const& pairs = *d.lanes[static_cast<std::size_t>(lane)];
        std::size_t const intervals = pairs.size() / 2;
        for (int x = 0; x < plotWidth && intervals > 0; ++x)
        {
            std::size_t const from = intervals * static_cast<std::size_t>(x) / static_cast<std::size_t>(plotWidth);
            std::size_t const to =
                std::max(from + 1, intervals * static_cast<std::size_t>(x + 1) / static_cast<std::size_t>(plotWidth));
            int hi = -128, lo = 127;
            for (std::size_t i = from; i < to && i < intervals; ++i)
            {
                hi = std::max<int>(hi, pairs[2 * i]);
                lo = std::min<int>(lo, pairs[2 * i + 1]);
            }
            if (hi < lo)
                continue;
            auto row = [&](int v) { return mid - static_cast<int>(std::lround(v / 128.0 * half)); };
            p.VerticalLine(left + x, row(hi), row(lo), wave);
        }
    }

    // The time axis under the last lane.
    int const axisY = top + n * laneHeight + (n - 1) * gap + 2;
    p.HorizontalLine(left, left + plotWidth - 1, axisY, axis);
    int labelEnd = -1;
    for (double t = 0; d.seconds > 0 && t <= d.seconds + 1e-9; t += step)
    {
        int const x = xOf(t);
        p.VerticalLine(x, axisY, axisY + 3, axis);
        std::string const label = TickLabel(t, step);
        int const w = vfl::Picture::TextWidth(label);
        int const at = std::clamp(x - w / 2, 0, width - w);
        if (at > labelEnd + 6)
        {
            p.Text(at, axisY + 7, label, ink);
            labelEnd = at + w;
        }
    }
    return p;
}
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
        if (attr.GetBitsPerSample() != 8 && attr.GetBitsPerSample() != 16 && attr.GetBitsPerSample() != 24)
        {
            vfl::ReportFileError("overview", "", path,
                                 "overviews are made of 8, 16 and 24-bit audio, not of " +
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
    int64 const plotWidth = width - 62 - 14;
    int64 const spi = args.Has("spi") || png.empty() ? args.Count("spi", 256, 1, 0x7FFFFFFF)
                                                     : std::clamp<int64>(frames / plotWidth, 1, 0x7FFFFFFF);

    std::vector<Pairs> overviews(chosen.size(), Pairs(static_cast<std::size_t>((frames + spi - 1) / spi * 2)));
    std::vector<char*> buffers(static_cast<std::size_t>(channels), nullptr);
    for (std::size_t i = 0; i < chosen.size(); ++i)
        buffers[static_cast<std::size_t>(chosen[i])] = reinterpret_cast<char*>(overviews[i].data());
    double const seconds = static_cast<double>(frames) / attr.GetSamplesPerSec();
    {
        vfl::CatchInterrupt();
        auto chain = FF_AudioFileUtils::DecimateWaveform(vfl::LocationFromArgument(spool->Path()),
                                                         static_cast<int32>(spi), buffers);
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
        Drawing d;
        std::size_t const slash = path.find_last_of('/');
        char facts[128];
        std::snprintf(facts, sizeof facts, "  %d ch, %d Hz, %d bit, %s", channels, attr.GetSamplesPerSec(),
                      attr.GetBitsPerSample(), vfl::ProgressLine::Clock(seconds).c_str());
        d.title = (slash == std::string::npos ? path : path.substr(slash + 1)) + facts;
        d.seconds = seconds;
        for (std::size_t i = 0; i < chosen.size(); ++i)
        {
            d.names.push_back(ChannelName(chosen[i], channels));
            d.lanes.push_back(&overviews[i]);
        }
        vfl::Picture const picture = Draw(d, static_cast<int>(width), static_cast<int>(height));
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
                    ",\"name\":" + vfl::JsonString(ChannelName(chosen[c], channels)) + ",\"pairs\":[";
            for (std::size_t i = 0; i < intervals; ++i)
                line += (i ? ",[" : "[") + std::to_string(overviews[c][2 * i]) + "," +
                        std::to_string(overviews[c][2 * i + 1]) + "]";
            line += "]}";
        }
        std::printf("%s]}\n", line.c_str());
        return 0;
    }
    for (std::size_t i = 0; i < intervals; ++i)
    {
        std::string line;
        for (std::size_t c = 0; c < chosen.size(); ++c)
            line +=
                (c ? " " : "") + std::to_string(overviews[c][2 * i]) + " " + std::to_string(overviews[c][2 * i + 1]);
        std::printf("%s\n", line.c_str());
    }
    return 0;
}
