#include "tools/vfl/OverviewPicture.h"

#include "tools/vfl/ProgressLine.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace
{
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
} // namespace

namespace vfl
{
std::string OverviewTitle(std::string const& path, int channels, int rate, int bits, double seconds)
{
    std::size_t const slash = path.find_last_of('/');
    char facts[128];
    std::snprintf(facts, sizeof facts, "  %d ch, %d Hz, %d bit, %s", channels, rate, bits,
                  ProgressLine::Clock(seconds).c_str());
    return (slash == std::string::npos ? path : path.substr(slash + 1)) + facts;
}

std::string ChannelName(int channel, int channels)
{
    if (channels == 1)
        return "mono";
    if (channels == 2)
        return channel == 0 ? "left" : "right";
    return "ch " + std::to_string(channel + 1);
}

Picture DrawOverview(OverviewDrawing const& d, int width, int height)
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
        std::vector<signed char> const& pairs = *d.lanes[static_cast<std::size_t>(lane)];
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
} // namespace vfl
