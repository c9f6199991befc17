#include "tools/vfl/ProgressLine.h"

#include "tools/vfl/Terminal.h"

#include "Sys/Sys_Event.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace vfl
{
ProgressLine::ProgressLine(std::string label, double audioSeconds, bool quiet)
    : mLabel(std::move(label)), mAudioSeconds(audioSeconds), mActive(!quiet && StderrIsTerminal()),
      mStart(std::chrono::steady_clock::now()), mLastDraw(mStart - std::chrono::seconds(1))
{
    // Drawn at once, so that even a short run shows what it works on.
    Update(0);
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
    // The figures in the order they give way when the terminal is narrow:
    // the speed first, then the elapsed time, then the time left.
    std::string const share = std::to_string(static_cast<int>(percent)) + "%";
    std::string speed, left;
    if (percent > 0 && elapsed > 0.5)
    {
        if (audioSeconds > 0)
        {
            char figures[64];
            std::snprintf(figures, sizeof figures, "%.1fx", audioSeconds * percent / 100 / elapsed);
            speed = figures;
        }
        if (percent < 100)
            left = Clock(elapsed * (100 - percent) / percent) + " left";
    }
    std::string clock = Clock(elapsed);
    auto tail = [&]
    {
        std::string t = share;
        for (std::string const* part : {&clock, &speed, &left})
            if (!part->empty())
                t += "  " + *part;
        return t;
    };
    std::string head = detail.empty() ? label : label + " " + detail;
    int const columns = std::max(0, width - 1);
    constexpr int kShortestName = 12;
    for (std::string* part : {&speed, &clock, &left})
        if (static_cast<int>(tail().size()) + 2 + std::min<int>(kShortestName, static_cast<int>(head.size())) > columns)
            part->clear();
    std::string const figures = tail();
    int const room = columns - static_cast<int>(figures.size()) - 2;
    if (room < 4 || head.empty())
        return figures.substr(0, static_cast<std::size_t>(columns));
    // The name gives way from its front: its end tells most.
    if (static_cast<int>(head.size()) > room)
        head = "..." + head.substr(head.size() - static_cast<std::size_t>(room - 3));
    return head + "  " + figures;
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
Sys_Task::EStatus ProgressLine::Follow(FF_AudioProcessChain& task)
{
    bool aborted = false;
    // Woken at once by the end, and every 20 ms for the line and Ctrl-C.
    Sys_Event::Handle const ended =
        task.GetNotificationEvent(Sys_Task::kStatusCompleted | Sys_Task::kStatusFailed | Sys_Task::kStatusAborted);
    while (!ended->IsSet())
    {
        if (Interrupted() && !aborted)
        {
            task.Abort();
            aborted = true;
        }
        Update(task.GetPercentCompleted());
        ended->Wait(20);
    }
    Finish();
    return task.GetStatus();
}
} // namespace vfl
