// vfl play: what the client received is the file, with a tick of silence
// for each underrun the summary counts, as raw PCM or as a WAVE file; a
// signal ends it at once.
#include "support/TestSupport.h"
#include "support/ToolTest.h"

#include <gtest/gtest.h>

#include <regex>

namespace
{
class VflPlay : public vfltest::ToolTest
{
protected:
    VflPlay() : ToolTest({"python3"}) {}
};

TEST_F(VflPlay, WritesWhatTheClientReceivedAndCountsItsUnderruns)
{
    // 1.5 s of stereo 16 bits at 48 kHz that is not a whole number of ticks.
    std::string const in = F("in.wav");
    Out("python3 -c \"import wave,struct; w=wave.open('" + in +
        "','wb'); w.setnchannels(2); w.setsampwidth(2); w.setframerate(48000); "
        "w.writeframes(b''.join(struct.pack('<hh', (i*37)%30000-15000, (i*91)%20000-10000) for i in range(72001)))\"");
    std::string const cat = Out(Vfl("cat " + in));
    ASSERT_EQ(cat.size(), 72001u * 4);

    struct Case
    {
        char const* to;
        char const* out;
        char const* ticks;
        long tickFrames;
    };
    Case const cases[] = {{"raw", "out.raw", "", 256}, {"wav", "out.wav", "--tick 100", 100}};
    for (auto const& k : cases)
    {
        SCOPED_TRACE(k.to);
        std::string const out = F(k.out);
        std::string const summary =
            Out(Vfl("play " + in + " --to " + k.to + " " + k.ticks + " --speed 2 -o " + out) + " 2>&1 >/dev/null");
        std::smatch m;
        ASSERT_TRUE(std::regex_search(summary, m, std::regex("([0-9]+) underruns"))) << summary;
        long const underruns = std::stol(m[1].str());
        std::string const got = std::string(k.to) == "wav" ? Out(Vfl("cat " + out)) : Out("cat " + out);
        EXPECT_EQ(got.size(), cat.size() + static_cast<std::size_t>(underruns * k.tickFrames * 4)) << summary;
        if (underruns == 0)
        {
            EXPECT_TRUE(got == cat) << summary;
        }
    }
    // A tick of minutes (a rate of 1 Hz) still ends at once on SIGTERM.
    std::string const slow = F("slow.wav");
    Out("python3 -c \"import wave; w=wave.open('" + slow +
        "','wb'); w.setnchannels(1); w.setsampwidth(2); w.setframerate(1); w.writeframes(bytes(2000))\"");
    EXPECT_EQ(Out("timeout 30 sh -c '" + Vfl("play " + slow + " -q -o /dev/null") +
                  " & p=$!; sleep 1; kill -TERM $p; wait $p; echo $?'"),
              "143\n");
    Out(Vfl("play " + in + " --to mp3"), 2);
    Out(Vfl("play " + in + " --tick 8"), 2);
}

} // namespace
