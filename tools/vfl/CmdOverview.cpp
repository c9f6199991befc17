#include "Cmn/Cmn_Exception.h"
#include "FF/FF_AudioFile.h"
#include "FF/FF_AudioFileUtils.h"
#include "Sys/Sys_FileLoc.h"
#include "tools/vfl/Commands.h"
#include "tools/vfl/OptionParser.h"
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
vfl::CommandSpec const kSpec = {"overview",
                                "FILE [--spi N] [--json | --png OUT.png [--width W] [--height H]]",
                                "Computes the waveform overview of channel 0: for each interval of N\n"
                                "frames its maximum and minimum, reduced to 8 bits. Prints one \"max min\"\n"
                                "pair a line, or a JSON object, or draws the overview as a picture.",
                                {{0, "spi", "N", "frames per interval (default 256)"},
                                 {0, "json", nullptr, "print one JSON object"},
                                 {0, "png", "OUT.png", "draw the overview into a PNG picture"},
                                 {0, "width", "W", "width of the picture in pixels (default 1200)"},
                                 {0, "height", "H", "height of the picture in pixels (default 300)"}},
                                1,
                                1};

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
    vfl::OptionParser args(kSpec);
    args.Parse(argc, argv);
    if (args.HelpAsked())
        return std::fputs(args.Help().c_str(), stdout), 0;
    std::string const& path = args.Operands().front();
    int64 const spi = args.Count("spi", 256, 1, 0x7FFFFFFF);
    int64 const width = args.Count("width", 1200, 1, 20000);
    int64 const height = args.Count("height", 300, 2, 20000);
    bool const json = args.Has("json");
    std::string const png = args.Text("png");
    Sys_FileLoc const loc = vfl::LocationFromArgument(path);
    int64 frames = 0;
    try
    {
        // What the decimation cannot take is said here, in the file's terms.
        FF_AudioFile file(loc);
        if (!file.Implements(FF_AudioFile::eImportExportInterface))
        {
            vfl::ReportFileError("overview", "", path, "not an audio file in a known format");
            return 1;
        }
        FF_AudioFileAttr const attr = file.GetAudioFileAttr();
        frames = attr.GetNumSamples();
        if (frames == 0)
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
        vfl::ReportFileError("overview", "", path,
                             chain->GetException() ? chain->GetException()->GetFullDescription()
                                                   : std::string("the overview failed"));
        return 1;
    }
    if (!png.empty())
    {
        if (!WritePng(png, pairs, static_cast<int>(width), static_cast<int>(height)))
        {
            vfl::ReportFileError("overview", "output", png, "cannot write the picture");
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
