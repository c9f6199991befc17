// The overview picture of `vfl overview --png`: a lane per channel with its
// name and a dBFS scale, the title, and a time axis; the browser (vfl-gtk)
// shows the same picture.
#pragma once

#include "tools/vfl/Picture.h"

#include <string>
#include <vector>

namespace vfl
{
struct OverviewDrawing
{
    std::string title;
    std::vector<std::string> names;
    // Each lane's "max min" pairs, one pair an interval.
    std::vector<std::vector<signed char> const*> lanes;
    double seconds = 0;
};

// The picture of the lanes at the size asked for.
Picture DrawOverview(OverviewDrawing const& d, int width, int height);
// The picture's title: the file's name and its format.
std::string OverviewTitle(std::string const& path, int channels, int rate, int bits, double seconds);
// What a lane is called: the places of one and two channels, numbers beyond.
std::string ChannelName(int channel, int channels);
// The room the picture keeps left and right of its plot.
constexpr int kOverviewMargins = 62 + 14;
} // namespace vfl
