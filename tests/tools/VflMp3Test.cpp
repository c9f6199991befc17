// vfl convert to MP3: the stream made at the target rate, and the layouts
// the encoder cannot take refused before any file is made.
#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace
{
TEST(VflMp3, ConvertsAtTheTargetRateAndRefusesWhatTheEncoderCannotTake)
{
    for (char const* tool : {"sox", "ffprobe"})
        if (!vfltest::HaveProgram(tool))
            GTEST_SKIP() << tool << " is needed";
    vfltest::TempDir dir;
    std::string const vfl = vfltest::ToolPath();
    std::string const in = dir.File("in.wav");
    ASSERT_EQ(vfltest::RunCommand("sox -n -r 44100 -c 2 -b 24 -t wavpcm " + in + " synth 2 sine 440 sine 550"), 0);

    std::string err;
    ASSERT_EQ(vfltest::RunCommand(vfl + " convert " + in + " --rate 48000 --bits 24 -o " + dir.File("o.mp3") +
                                      " 2>&1 >/dev/null",
                                  &err),
              0);
    EXPECT_NE(err.find("16-bit"), std::string::npos) << err; // the depth asked for is not what mp3 takes
    std::string probe;
    ASSERT_EQ(vfltest::RunCommand("ffprobe -v error -show_entries stream=codec_name,sample_rate,channels "
                                  "-of default=nw=1 " +
                                      dir.File("o.mp3"),
                                  &probe),
              0);
    EXPECT_EQ(probe, "codec_name=mp3\nsample_rate=48000\nchannels=2\n");

    struct Case
    {
        std::string args;
    } const refused[] = {{"--rate 44000 " + in + " -o " + dir.File("r.mp3")},
                         {in + " " + in + " -o " + dir.File("r.mp3")}, // stereo inputs cannot be merged
                         {"--type mp3 " + dir.File("m.wav") + " " + dir.File("m.wav") + " " + dir.File("m.wav") +
                          " -o " + dir.File("r.mp3")}};
    ASSERT_EQ(vfltest::RunCommand("sox -n -r 44100 -c 1 -b 16 " + dir.File("m.wav") + " synth 0.1 sine 300"), 0);
    for (auto const& c : refused)
    {
        SCOPED_TRACE(c.args);
        EXPECT_EQ(vfltest::RunCommand(vfl + " convert " + c.args + " 2>/dev/null"), 1);
        EXPECT_FALSE(std::filesystem::exists(dir.File("r.mp3")));
    }
}
} // namespace

namespace
{
TEST(VflMp3, BitRatesAndTagsOnlyWhenAskedFor)
{
    for (char const* tool : {"sox", "ffprobe"})
        if (!vfltest::HaveProgram(tool))
            GTEST_SKIP() << tool << " is needed";
    vfltest::TempDir dir;
    std::string const in = dir.File("take.wav");
    ASSERT_EQ(vfltest::RunCommand("sox -n -r 44100 -c 2 -b 16 " + in + " synth 3 pinknoise"), 0);
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
        {"--album Nights --comment hi --genre 8", "format.tags.album=\"Nights\"", "title="},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.options);
        std::string const out = dir.File("take.mp3");
        ASSERT_EQ(vfltest::RunCommand(vfltest::ToolPath() + " convert " + in + " " + c.options + " -o " + out), 0);
        std::string probe;
        ASSERT_EQ(vfltest::RunCommand("ffprobe -v error -show_format -show_streams -of flat " + out, &probe), 0);
        EXPECT_NE(probe.find(c.expected), std::string::npos) << probe;
        // No tag unless asked for, and none made from the file's name.
        EXPECT_EQ(probe.find(c.absent), std::string::npos) << probe;
    }
    std::string probe;
    ASSERT_EQ(vfltest::RunCommand("ffprobe -v error -show_format -of flat " + dir.File("take.mp3"), &probe), 0);
    EXPECT_NE(probe.find("format.tags.genre="), std::string::npos) << probe;
    // A variable rate differs from the constant one, and better quality is larger.
    auto size = [&](char const* options)
    {
        EXPECT_EQ(
            vfltest::RunCommand(vfltest::ToolPath() + " convert " + in + " " + options + " -o " + dir.File("v.mp3")),
            0);
        return std::filesystem::file_size(dir.File("v.mp3"));
    };
    EXPECT_GT(size("--vbr 0"), size("--vbr 9"));
    // MP3's options without an MP3 output are a mistake.
    EXPECT_EQ(vfltest::RunCommand(vfltest::ToolPath() + " convert " + in + " --bitrate 192 -o " + dir.File("x.wav") +
                                  " 2>/dev/null"),
              2);
}
} // namespace
