#include "tools/vfl/ProgressLine.h"

#include "tools/vfl/Terminal.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace vfl
{
ProgressLine::ProgressLine(std::string label, double audioSeconds, bool quiet)
    : mLabel(std::move(label)), mAudioSeconds(audioSeconds), mActive(!quiet && StderrIsTerminal()),
      mStart(std::chrono::steady_clock::now()), mLastDraw(mStart - std::chrono::seconds(1))
{
}

ProgressLine::~ProgressLine()
{
    Finish();
}

std::string ProgressLine::Clock(double seconds)
{
    long const total = std::lround(std::max(0.0, seconds));
    char text[32];
    if (total >= 3600)
        std::snprintf(text, sizeof text, "%ld:%02ld:%02ld", total / 3600, total / 60 % 60, total % 60);
    else
        std::snprintf(text, sizeof text, "%ld:%02ld", total / 60, total % 60);
    return text;
}

std::string ProgressLine::Compose(std::string const& label, std::string const& detail, double percent, double elapsed,
                                  double audioSeconds, int width)
{
    percent = std::clamp(percent, 0.0, 100.0);
    char figures[160];
    std::string tail = " " + std::to_string(static_cast<int>(percent)) + "%  " + Clock(elapsed);
    if (percent > 0 && elapsed > 0.5)
    {
        if (audioSeconds > 0)
        {
            std::snprintf(figures, sizeof figures, "  %.1fx", audioSeconds * percent / 100 / elapsed);
            tail += figures;
        }
        if (percent < 100)
            tail += "  " + Clock(elapsed * (100 - percent) / percent) + " left";
    }
    std::string head = detail.empty() ? label : label + " " + detail;
    // The figures stay whole; the name gives way, from its front, where the
    // terminal is narrow (its end tells most).
    int const room = width - 1 - static_cast<int>(tail.size()) - 2;
    if (room < 4)
        return tail.substr(0, static_cast<std::size_t>(std::max(0, width - 1)));
    if (static_cast<int>(head.size()) > room)
        head = "..." + head.substr(head.size() - static_cast<std::size_t>(room - 3));
    return head + "  " + tail.substr(1);
}

void ProgressLine::Update(double percent, std::string const& detail)
{
    if (!mActive)
        return;
    auto const now = std::chrono::steady_clock::now();
    if (now - mLastDraw < std::chrono::milliseconds(200))
        return;
    mLastDraw = now;
    double const elapsed = std::chrono::duration<double>(now - mStart).count();
    std::string const line = Compose(mLabel, detail, percent, elapsed, mAudioSeconds, TerminalWidth());
    std::fprintf(stderr, "\r%s\033[K", line.c_str());
    std::fflush(stderr);
    mDrawn = true;
}

void ProgressLine::Finish()
{
    if (mDrawn)
        std::fputs("\r\033[K", stderr);
    mDrawn = false;
    mActive = false;
}
} // namespace vfl
