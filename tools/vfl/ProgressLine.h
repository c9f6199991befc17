// The progress of a long command on one line of the terminal: what is being
// worked on, how far it is, for how long it has run, its speed against real
// time and the time left. Redrawn in place within the terminal's width and
// wiped at the end, so that the terminal looks as before. Nothing is drawn
// when standard error is not a terminal, or when the user asked for quiet.
#pragma once

#include "FF/FF_AudioProcessChain.h"

#include <chrono>
#include <string>

namespace vfl
{
class ProgressLine
{
public:
    // audioSeconds: the length of the audio the work covers, for the speed
    // (0 when there is none, as for a batch of files).
    ProgressLine(std::string label, double audioSeconds, bool quiet);
    ~ProgressLine();
    ProgressLine(ProgressLine const&) = delete;
    ProgressLine& operator=(ProgressLine const&) = delete;

    // percent: 0 to 100. `detail` replaces the label's tail for a moment
    // ("3/20 files"). Draws at most a few times a second.
    void Update(double percent, std::string const& detail = "");
    // Wipes the line.
    void Finish();
    // Follows a chain to its end: the line shows its progress, and
    // an interrupt aborts it. The line is wiped; the answer is the chain's
    // last status.
    Sys_Task::EStatus Follow(FF_AudioProcessChain& chain);

    // The text of the line for a given state, cut to `width` columns.
    static std::string Compose(std::string const& label, std::string const& detail, double percent, double elapsed,
                               double audioSeconds, int width);
    // h:mm:ss, or m:ss under an hour.
    static std::string Clock(double seconds);

private:
    std::string mLabel;
    double mAudioSeconds;
    bool mActive;
    bool mDrawn = false;
    std::chrono::steady_clock::time_point mStart;
    std::chrono::steady_clock::time_point mLastDraw;
};
} // namespace vfl
