// vfl convert and vfl overview end to end: channel layouts, frame counts by
// the exact rule, copies that change nothing, the broadcast stamp scaled to
// the new rate, and overviews against a reference computed from the samples.
#include "support/TestSupport.h"
#include "support/ToolTest.h"

#include <gtest/gtest.h>

#include <regex>

using vfltest::RunCommand;

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
    std::string err;
    EXPECT_EQ(RunCommand(Vfl("convert " + F("l.wav") + " " + F("r.wav") + " " + F("l.wav") + " -o " + F("x.wav") + " " +
                             F("y.wav") + " 2>&1"),
                         &err),
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

TEST_F(VflConvert, SameFormatIsACopyAndWideningShifts)
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
}

TEST_F(VflConvert, BroadcastStampScalesWithTheRate)
{
    Out("sox -n -r 44100 -c 1 -b 16 " + F("plain.wav") + " synth 0.2 sine 440");
    Out("ffmpeg -v error -i " + F("plain.wav") + " -write_bext 1 -metadata time_reference=44100 -c copy " +
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
} // namespace
