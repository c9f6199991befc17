// vfl convert to MP3: the stream made at the target rate, bit rates and tags
// only when asked for, and the layouts the encoder cannot take refused before
// any file is made.
#include "support/TestSupport.h"
#include "support/ToolTest.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace
{
class VflMp3 : public vfltest::ToolTest
{
protected:
    VflMp3() : ToolTest({"sox", "ffprobe"}) {}
    std::string Probe(std::string const& file)
    {
        return Out("ffprobe -v error -show_format -show_streams -of flat " + file);
    }
};

TEST_F(VflMp3, ConvertsAtTheTargetRateAndRefusesWhatTheEncoderCannotTake)
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

TEST_F(VflMp3, BitRatesAndTagsOnlyWhenAskedFor)
{
    std::string const in = F("take.wav");
    Out("sox -n -r 44100 -c 2 -b 16 " + in + " synth 3 pinknoise");
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
        std::string const probe = Probe(F("take.mp3"));
        EXPECT_NE(probe.find(c.expected), std::string::npos) << probe;
        // No tag unless asked for, and none made from the file's name.
        EXPECT_EQ(probe.find(c.absent), std::string::npos) << probe;
    }
    EXPECT_NE(Probe(F("take.mp3")).find("format.tags.album=\"Nights\""), std::string::npos);
    // A variable rate differs from the constant one, and better quality is larger.
    auto size = [&](char const* options)
    {
        Out(Vfl("convert " + in + " " + options + " -o " + F("v.mp3")));
        return std::filesystem::file_size(F("v.mp3"));
    };
    EXPECT_GT(size("--vbr 0"), size("--vbr 9"));
}
} // namespace
