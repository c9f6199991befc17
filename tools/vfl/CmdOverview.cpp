#include "Cmn/Cmn_Exception.h"
#include "FF/FF_AudioFile.h"
#include "FF/FF_AudioFileUtils.h"
#include "Sys/Sys_FileLoc.h"
#include "tools/vfl/Commands.h"
#include "tools/vfl/ToolSupport.h"

#include <png.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

namespace
{
char const kUsage[] = "Usage: vfl overview FILE [--spi N] [--json] [--png OUT.png [--width W] [--height H]]\n\n"
                      "Computes the waveform overview of channel 0: for each interval of N\n"
                      "frames (default 256) its maximum and minimum, reduced to 8 bits.\n"
                      "Prints one \"max min\" pair a line, or a JSON object, or draws the\n"
                      "overview as a picture.\n";

// Draws the overview: each column covers an equal share of the intervals and
// shows the span from their lowest minimum to their highest maximum.
bool WritePng(std::string const& path, std::vector<signed char> const& pairs, int width, int height)
{
    std::size_t const intervals = pairs.size() / 2;
    std::vector<unsigned char> image(static_cast<std::size_t>(width) * height * 3, 255);
    auto put = [&](int x, int y, unsigned char r, unsigned char g, unsigned char b)
    {
        unsigned char* p = &image[(static_cast<std::size_t>(y) * width + x) * 3];
        p[0] = r;
        p[1] = g;
        p[2] = b;
    };
    int const middle = height / 2;
    for (int x = 0; x < width; ++x)
        put(x, middle, 200, 200, 200);
    for (int x = 0; x < width && intervals > 0; ++x)
    {
        std::size_t const from = intervals * x / width;
        std::size_t const to = std::max(from + 1, intervals * (x + 1) / width);
        int hi = -128, lo = 127;
        for (std::size_t i = from; i < to && i < intervals; ++i)
        {
            hi = std::max<int>(hi, pairs[2 * i]);
            lo = std::min<int>(lo, pairs[2 * i + 1]);
        }
        if (hi < lo)
            continue;
        auto row = [&](int v) { return std::clamp(middle - v * (height / 2) / 128, 0, height - 1); };
        for (int y = row(hi); y <= row(lo); ++y)
            put(x, y, 40, 90, 160);
    }

    std::FILE* out = std::fopen(path.c_str(), "wb");
    if (!out)
        return false;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    if (!png || !info || setjmp(png_jmpbuf(png)))
    {
        png_destroy_write_struct(&png, &info);
        std::fclose(out);
        return false;
    }
    png_init_io(png, out);
    png_set_IHDR(png, info, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height), 8, PNG_COLOR_TYPE_RGB,
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    for (int y = 0; y < height; ++y)
        png_write_row(png, &image[static_cast<std::size_t>(y) * width * 3]);
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    return std::fclose(out) == 0;
}
} // namespace

int CmdOverview(int argc, char** argv)
{
    std::string path, png;
    int64 spi = 256, width = 1200, height = 300;
    bool json = false;
    for (int i = 1; i < argc; ++i)
    {
        std::string const a = argv[i];
        if (vfl::IsHelp(argv[i]))
        {
            std::fputs(kUsage, stdout);
            return 0;
        }
        int64* number = a == "--spi" ? &spi : a == "--width" ? &width : a == "--height" ? &height : nullptr;
        if (number && i + 1 < argc)
        {
            if (!vfl::ParseInt64(argv[++i], number))
            {
                std::fprintf(stderr, "vfl overview: %s needs a whole number\n", a.c_str());
                return 2;
            }
        }
        else if (a == "--json")
            json = true;
        else if (a == "--png" && i + 1 < argc)
            png = argv[++i];
        else if (a.size() > 1 && a[0] == '-')
        {
            std::fprintf(stderr, "vfl overview: unknown option '%s'\n\n%s", a.c_str(), kUsage);
            return 2;
        }
        else if (path.empty())
            path = a;
        else
        {
            std::fprintf(stderr, "vfl overview: one file at a time\n");
            return 2;
        }
    }
    if (path.empty() || spi < 1 || spi > 0x7FFFFFFF || width < 1 || width > 20000 || height < 2 || height > 20000)
    {
        std::fputs(kUsage, stderr);
        return 2;
    }
    Sys_FileLoc const loc = vfl::LocationFromArgument(path);
    int64 frames = 0;
    {
        FF_AudioFile file(loc);
        if (!file.Implements(FF_AudioFile::eImportExportInterface))
        {
            vfl::ReportError(path, "not an audio file in a known format");
            return 1;
        }
        frames = file.GetAudioFileAttr().GetNumSamples();
    }
    std::vector<signed char> pairs(static_cast<std::size_t>((frames + spi - 1) / spi * 2));
    auto chain =
        FF_AudioFileUtils::DecimateWaveform(loc, static_cast<int32>(spi), reinterpret_cast<char*>(pairs.data()));
    for (;;)
    {
        Sys_Task::EStatus const status = chain->GetStatus();
        if (status == Sys_Task::kStatusCompleted || status == Sys_Task::kStatusFailed ||
            status == Sys_Task::kStatusAborted)
            break;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    if (chain->GetStatus() != Sys_Task::kStatusCompleted)
    {
        vfl::ReportError(path, chain->GetException() ? chain->GetException()->GetFullDescription()
                                                     : std::string("the overview failed"));
        return 1;
    }
    if (!png.empty())
    {
        if (!WritePng(png, pairs, static_cast<int>(width), static_cast<int>(height)))
        {
            vfl::ReportError(png, "cannot write the picture");
            return 1;
        }
        return 0;
    }
    if (json)
    {
        std::string line = "{\"path\":" + vfl::JsonString(loc.GetFullPath()) +
                           ",\"samplesPerInterval\":" + std::to_string(spi) + ",\"pairs\":[";
        for (std::size_t i = 0; i < pairs.size() / 2; ++i)
            line += (i ? ",[" : "[") + std::to_string(pairs[2 * i]) + "," + std::to_string(pairs[2 * i + 1]) + "]";
        std::printf("%s]}\n", line.c_str());
        return 0;
    }
    for (std::size_t i = 0; i < pairs.size() / 2; ++i)
        std::printf("%d %d\n", pairs[2 * i], pairs[2 * i + 1]);
    return 0;
}
