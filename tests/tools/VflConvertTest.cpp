// vfl convert and vfl overview end to end: channel layouts, frame counts by
// the exact rule, copies that change nothing, the broadcast stamp scaled to
// the new rate, MP3 made at the target rate with bit rates and tags only when
// asked for, the progress line on a terminal, and overviews of every channel,
// as numbers, as a picture and against a reference computed from the samples.
#include "support/ToolTest.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <sstream>

namespace
{
class VflConvert : public vfltest::ToolTest
{
protected:
    VflConvert() : ToolTest({"sox", "soxi", "python3", "ffmpeg", "ffprobe"}) {}
    std::string Soxi(std::string const& flag, std::string const& file)
    {
        return Trim(Out("soxi " + flag + " " + file));
    }
};

TEST_F(VflConvert, ChannelLayouts)
{
    Out("sox -n -r 44100 -c 1 -b 16 " + F("l.wav") + " synth 0.1 sine 300");
    Out("sox -n -r 44100 -c 1 -b 16 " + F("r.wav") + " synth 0.1 sine 500");
    Out("sox -n -r 44100 -c 2 -b 16 " + F("st.wav") + " synth 0.1 sine 300 sine 500");

    // Two mono inputs into one output make a stereo file, sample for sample.
    Out(Vfl("convert " + F("l.wav") + " " + F("r.wav") + " -o " + F("lr.wav")));
    EXPECT_EQ(Soxi("-c", F("lr.wav")), "2");
    EXPECT_TRUE(Raw(F("lr.wav")) == Out("sox -M " + F("l.wav") + " " + F("r.wav") + " -t raw -e signed -L -"));
    // One stereo input into two outputs makes two mono files.
    Out(Vfl("convert " + F("st.wav") + " -o " + F("a.wav") + " " + F("b.wav")));
    EXPECT_EQ(Soxi("-c", F("a.wav")), "1");
    EXPECT_TRUE(Raw(F("a.wav")) == Out("sox " + F("st.wav") + " -t raw -e signed -L - remix 1"));
    EXPECT_TRUE(Raw(F("b.wav")) == Out("sox " + F("st.wav") + " -t raw -e signed -L - remix 2"));
    // Two mono inputs into two outputs stay two mono files.
    Out(Vfl("convert " + F("l.wav") + " " + F("r.wav") + " -o " + F("c.wav") + " " + F("d.wav")));
    EXPECT_TRUE(Raw(F("d.wav")) == Raw(F("r.wav")));
    // Three mono inputs cannot make two outputs.
    std::string const err = Out(
        Vfl("convert " + F("l.wav") + " " + F("r.wav") + " " + F("l.wav") + " -o " + F("x.wav") + " " + F("y.wav")) +
            " 2>&1",
        1);
    EXPECT_NE(err.find("not 2"), std::string::npos) << err;
}

TEST_F(VflConvert, FrameCountsFollowTheExactRule)
{
    struct
    {
        int frames, from, to;
        char const* expected;
    } const cases[] = {{100, 44100, 48000, "109"}, {44100, 44100, 48000, "48000"},
                       {1, 44100, 88200, "2"},     {48000, 48000, 44100, "44100"},
                       {0, 44100, 48000, "0"},     {1000, 1000, 256000, "256000"}}; // the steepest rise taken
    for (auto const& c : cases)
    {
        SCOPED_TRACE(std::to_string(c.frames) + " frames " + std::to_string(c.from) + " to " + std::to_string(c.to));
        std::string const in = F("in" + std::to_string(c.frames) + ".wav");
        Out("python3 -c \"import wave; w=wave.open('" + in +
            "','wb'); w.setnchannels(1); w.setsampwidth(2); "
            "w.setframerate(" +
            std::to_string(c.from) + "); w.writeframes(bytes(2*" + std::to_string(c.frames) + ")); w.close()\"");
        for (int quality : {0, 1, 4})
        {
            std::string const out = F("out" + std::to_string(quality) + ".wav");
            Out(Vfl("convert " + in + " -o " + out + " --rate " + std::to_string(c.to) + " --quality " +
                    std::to_string(quality)));
            EXPECT_EQ(Soxi("-s", out), c.expected);
            EXPECT_EQ(Soxi("-r", out), std::to_string(c.to));
        }
    }
}

TEST_F(VflConvert, SameFormatIsACopyWideningShiftsAndTheStampScales)
{
    Out("sox -n -r 44100 -c 2 -b 16 " + F("in.wav") + " synth 0.7 whitenoise gain -6");
    Out(Vfl("convert " + F("in.wav") + " -o " + F("copy.wav")));
    EXPECT_TRUE(Raw(F("copy.wav")) == Raw(F("in.wav")));
    // 16 to 24 bits: each sample shifted up by 8, the low byte zero.
    Out(Vfl("convert " + F("in.wav") + " -o " + F("w24.aif") + " --bits 24"));
    EXPECT_EQ(Soxi("-b", F("w24.aif")), "24");
    EXPECT_TRUE(Raw(F("w24.aif")) == Out("sox " + F("in.wav") + " -b 24 -t raw -e signed -L -"));
    // A part of the input.
    Out(Vfl("convert " + F("in.wav") + " -o " + F("part.wav") + " --start 1000 --length 500"));
    EXPECT_TRUE(Raw(F("part.wav")) == Raw(F("in.wav")).substr(1000 * 4, 500 * 4));
    // The broadcast stamp scales with the rate.
    Out("ffmpeg -v error -i " + F("in.wav") + " -write_bext 1 -metadata time_reference=44100 -c copy " +
        F("stamped.wav"));
    Out(Vfl("convert " + F("stamped.wav") + " -o " + F("s48.wav") + " --rate 48000"));
    std::string const probe = Out("ffprobe -v error -show_format -of flat " + F("s48.wav"));
    EXPECT_NE(probe.find("format.tags.time_reference=\"48000\""), std::string::npos) << probe;
}

TEST_F(VflConvert, OverviewAgreesWithAReferenceFromTheSamples)
{
    // A ramp that runs through the reduction's edges (256 -> 0, 257 -> 1).
    std::string const in = F("ramp.wav");
    Out("python3 -c \"import wave,struct; w=wave.open('" + in +
        "','wb'); w.setnchannels(2); w.setsampwidth(2); w.setframerate(8000); "
        "w.writeframes(b''.join(struct.pack('<hh', ((i*37)%65536)-32768, 0) for i in range(5000))); w.close()\"");
    std::string const expected =
        Out("python3 -c \"import wave,struct\n"
            "w=wave.open('" +
            in +
            "'); d=w.readframes(w.getnframes())\n"
            "s=[struct.unpack_from('<h',d,4*i)[0] for i in range(w.getnframes())]\n"
            "r=lambda a: 0 if abs(a)<=256 else (1 if a>0 else -1)*(abs(a)>>8)\n"
            "print(' '.join('%d,%d'%(max(map(r,s[k:k+300])),min(map(r,s[k:k+300]))) for k in range(0,len(s),300)))\"");
    std::string const json = Out(Vfl("overview " + in + " --channel 1 --spi 300 --json"));
    std::string got;
    std::regex const pair("\\[(-?[0-9]+),(-?[0-9]+)\\]");
    for (std::sregex_iterator it(json.begin(), json.end(), pair), end; it != end; ++it)
        got += (got.empty() ? "" : " ") + (*it)[1].str() + "," + (*it)[2].str();
    EXPECT_EQ(got + "\n", expected);
}

// Silence on the left, a loud tone on the right.
TEST_F(VflConvert, OverviewOfEveryChannelAsNumbersAndAsAPicture)
{
    Out("sox -n -r 44100 -c 2 -b 16 " + F("lr.wav") + " synth 3 sine 440 sine 220 remix 0 2 gain -1");
    std::size_t const intervals = (3 * 44100 + 999) / 1000;
    struct
    {
        char const* options;
        std::size_t numbersPerLine;
        int silent, loud; // where the pair of each channel starts on a line; -1: not there
    } const cases[] = {{"", 4, 0, 2}, {"--channel 1", 2, 0, -1}, {"--channel 2", 2, -1, 0}};
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.options);
        std::istringstream text(Out(Vfl("overview --spi 1000 " + std::string(c.options) + " " + F("lr.wav"))));
        std::size_t lines = 0;
        for (std::string line; std::getline(text, line); ++lines)
        {
            std::istringstream numbers(line);
            std::vector<int> v;
            for (int x; numbers >> x;)
                v.push_back(x);
            ASSERT_EQ(v.size(), c.numbersPerLine) << line;
            if (c.silent >= 0)
            {
                EXPECT_TRUE(v.at(c.silent) == 0 && v.at(c.silent + 1) == 0) << line;
            }
            if (c.loud >= 0)
            {
                EXPECT_TRUE(v.at(c.loud) > 100 && v.at(c.loud + 1) < -100) << line;
            }
        }
        EXPECT_EQ(lines, intervals);
    }
    std::string const json = Out(Vfl("overview --spi 1000 --json " + F("lr.wav")));
    EXPECT_TRUE(std::regex_search(json, std::regex("\"channel\":1,\"name\":\"left\",\"pairs\":\\[\\[0,0\\]"))) << json;
    EXPECT_TRUE(std::regex_search(json, std::regex("\"channel\":2,\"name\":\"right\",\"pairs\":\\[\\[1[0-9]{2},-1")))
        << json.substr(0, 400);
    // A channel the file does not have is a usage error.
    Out(Vfl("overview --channel 3 " + F("lr.wav") + " 2>/dev/null"), 2);

    // The picture has a lane for each channel.
    for (auto const& size : {std::pair{1200, 310}, {400, 120}})
    {
        // Named copies: clang 14 lambdas cannot capture a structured binding.
        int const width = size.first, height = size.second;
        SCOPED_TRACE(width);
        std::string const png = F("lr.png");
        Out(Vfl("overview " + F("lr.wav") + " --png " + png + " --width " + std::to_string(width) + " --height " +
                std::to_string(height)));
        std::string const rgb = Out("ffmpeg -v error -i " + png + " -f rawvideo -pix_fmt rgb24 -");
        ASSERT_EQ(rgb.size(), static_cast<std::size_t>(width * height * 3));
        // The wave's colour in the upper (silent) half is the centre line
        // at most; the lower half is full of it.
        auto waveIn = [&](int y0, int y1)
        {
            int n = 0;
            for (int y = y0; y < y1; ++y)
                for (int x = 0; x < width; ++x)
                {
                    auto const* p = reinterpret_cast<unsigned char const*>(rgb.data()) + (y * width + x) * 3;
                    n += p[0] == 34 && p[1] == 87 && p[2] == 160;
                }
            return n;
        };
        EXPECT_LE(waveIn(0, height / 2), width);
        EXPECT_GT(waveIn(0, height / 2), width / 2);
        EXPECT_GT(waveIn(height / 2, height), 20 * width / 2);
    }
    // To standard output as well.
    EXPECT_EQ(Out(Vfl("overview " + F("lr.wav") + " --png -")).substr(1, 3), "PNG");
}

// The layouts the MP3 encoder cannot take are refused before any file is made.
TEST_F(VflConvert, Mp3IsMadeAtTheTargetRateAndWhatTheEncoderCannotTakeIsRefused)
{
    std::string const in = F("in.wav");
    Out("sox -n -r 44100 -c 2 -b 24 -t wavpcm " + in + " synth 2 sine 440 sine 550");
    std::string const err = Out(Vfl("convert " + in + " --rate 48000 --bits 24 -o " + F("o.mp3") + " 2>&1 >/dev/null"));
    EXPECT_NE(err.find("16-bit"), std::string::npos) << err; // the depth asked for is not what mp3 takes
    EXPECT_EQ(
        Out("ffprobe -v error -show_entries stream=codec_name,sample_rate,channels -of default=nw=1 " + F("o.mp3")),
        "codec_name=mp3\nsample_rate=48000\nchannels=2\n");

    Out("sox -n -r 44100 -c 1 -b 16 " + F("m.wav") + " synth 0.1 sine 300");
    std::string const refused[] = {
        "--rate 44000 " + in,
        in + " " + in, // stereo inputs cannot be merged
        "--type mp3 " + F("m.wav") + " " + F("m.wav") + " " + F("m.wav"),
    };
    for (auto const& args : refused)
    {
        SCOPED_TRACE(args);
        Out(Vfl("convert " + args + " -o " + F("r.mp3") + " 2>/dev/null"), 1);
        EXPECT_FALSE(std::filesystem::exists(F("r.mp3")));
    }
    // MP3's options without an MP3 output are a mistake.
    Out(Vfl("convert " + in + " --bitrate 192 -o " + F("x.wav") + " 2>/dev/null"), 2);
}

TEST_F(VflConvert, Mp3BitRatesAndTagsOnlyWhenAskedFor)
{
    std::string const in = F("take.wav");
    Out("sox -n -r 44100 -c 2 -b 16 " + in + " synth 3 pinknoise");
    auto const probe = [&] { return Out("ffprobe -v error -show_format -show_streams -of flat " + F("take.mp3")); };
    struct
    {
        char const* options;
        char const* expected; // lines of ffprobe's answer that must be there
        char const* absent;
    } const cases[] = {
        {"", "stream.0.bit_rate=\"128000\"", "format.tags."},
        {"--bitrate 192", "stream.0.bit_rate=\"192000\"", "format.tags."},
        {"--bitrate=64", "stream.0.bit_rate=\"64000\"", "format.tags."},
        {"--vbr 0 --title 'First light' --artist Ana --year 2024 --track 3", "format.tags.title=\"First light\"",
         "title=\"take\""},
        {"--album Nights --comment hi --genre 8", "format.tags.genre=", "title="},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.options);
        Out(Vfl("convert " + in + " " + c.options + " -o " + F("take.mp3")));
        std::string const probed = probe();
        EXPECT_NE(probed.find(c.expected), std::string::npos) << probed;
        // No tag unless asked for, and none made from the file's name.
        EXPECT_EQ(probed.find(c.absent), std::string::npos) << probed;
    }
    EXPECT_NE(probe().find("format.tags.album=\"Nights\""), std::string::npos);
    // A variable rate differs from the constant one, and better quality is larger.
    auto size = [&](char const* options)
    {
        Out(Vfl("convert " + in + " " + options + " -o " + F("v.mp3")));
        return std::filesystem::file_size(F("v.mp3"));
    };
    EXPECT_GT(size("--vbr 0"), size("--vbr 9"));
}

// The progress line on a terminal: redrawn in place within the terminal's
// width and wiped at the end; nothing with -q or off a terminal.
TEST_F(VflConvert, OnATerminalTheProgressLineIsRedrawnInPlaceWithinTheWidthAndWiped)
{
    if (auto const missing = Missing({"script", "stty"}); !missing.empty())
        GTEST_SKIP() << missing << " is needed";
    Out("sox -n -r 44100 -c 2 -b 16 " + F("in.wav") + " synth 20 sine 300");
    struct
    {
        char const* options;
        int columns;
        bool drawn;
    } const cases[] = {{"", 80, true}, {"", 24, true}, {"-q", 80, false}};
    for (auto const& c : cases)
    {
        SCOPED_TRACE(std::string(c.options) + " in " + std::to_string(c.columns) + " columns");
        // script gives vfl a terminal; only what vfl writes comes back.
        std::string const out = Out("script -qfec 'stty cols " + std::to_string(c.columns) + "; " +
                                    Vfl("convert " + std::string(c.options) + " " + F("in.wav") + " -r 48k -o " +
                                        F("take_with_a_long_name.wav")) +
                                    "' /dev/null");
        if (!c.drawn)
        {
            EXPECT_EQ(out, "");
            continue;
        }
        ASSERT_GE(out.size(), 4u);
        EXPECT_EQ(out.substr(out.size() - 4), "\r\033[K") << "wiped at the end";
        EXPECT_EQ(out.find('\n'), std::string::npos) << "never a new line";
        // Every drawing fits the terminal and says how far it is.
        for (std::size_t at = out.find('\r'); at + 4 < out.size(); at = out.find('\r', at + 1))
        {
            std::string const line = out.substr(at + 1, out.find("\033[K", at) - at - 1);
            EXPECT_LT(line.size(), static_cast<std::size_t>(c.columns)) << line;
            EXPECT_NE(line.find('%'), std::string::npos) << line;
        }
    }
    // Off a terminal, stderr stays clean.
    EXPECT_EQ(Out(Vfl("convert " + F("in.wav") + " -o " + F("b.wav") + " 2>&1 >/dev/null")), "");
}
} // namespace
