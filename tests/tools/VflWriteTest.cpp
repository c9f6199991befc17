// WAVE files written by vfl read back by independent tools: sox, Python's
// wave, ffprobe and sndfile-info.
#include "support/TestSupport.h"
#include "support/ToolTest.h"

#include <gtest/gtest.h>

#include <regex>

using vfltest::RunCommand;

namespace
{
class VflWrite : public vfltest::ToolTest
{
protected:
    void SetUp() override
    {
        if (auto const missing = Missing({"sox", "python3", "ffprobe", "sndfile-info"}); !missing.empty())
            GTEST_SKIP() << missing << " is needed";
    }
};

TEST_F(VflWrite, NewFilesReadBackByOtherTools)
{
    struct
    {
        int bits, channels, rate;
    } const cases[] = {{8, 1, 8000},   {8, 2, 22050},  {16, 1, 44100}, {16, 2, 44100},
                       {16, 6, 48000}, {24, 2, 48000}, {24, 6, 96000}, {32, 1, 44100}};
    for (auto const& c : cases)
    {
        std::string const tag = std::to_string(c.bits) + "b" + std::to_string(c.channels) + "c";
        SCOPED_TRACE(tag);
        std::string const raw = mDir.File(tag + ".raw");
        std::string const wav = mDir.File(tag + ".wav");
        // 1001 frames of noise, so that odd sizes are exercised too.
        Out("sox -n -r " + std::to_string(c.rate) + " -c " + std::to_string(c.channels) + " -b " +
            std::to_string(c.bits) + " -e signed -t raw " + raw + " synth 1001s whitenoise");
        auto const rawBytes = vfltest::ReadWholeFile(raw);
        std::int64_t const frames = static_cast<std::int64_t>(rawBytes.size()) / (c.bits / 8 * c.channels);
        ASSERT_GT(frames, 0);
        Out(Vfl("new " + wav + " --rate " + std::to_string(c.rate) + " --bits " + std::to_string(c.bits) +
                " --channels " + std::to_string(c.channels) + " < " + raw));

        // sox decodes exactly the samples written.
        std::string const back = Out("sox " + wav + " -t raw -e signed -L -");
        EXPECT_TRUE(back == std::string(rawBytes.begin(), rawBytes.end())) << "sox samples differ";
        // Python's wave module: parameters and bytes (8-bit on disk is unsigned).
        std::string const py = Out("python3 -c \"import wave,sys; w=wave.open('" + wav +
                                   "'); d=w.readframes(w.getnframes()); "
                                   "d=bytes(b^0x80 for b in d) if w.getsampwidth()==1 else d; "
                                   "print(w.getnchannels(), w.getsampwidth(), w.getframerate(), w.getnframes(), "
                                   "d==open('" +
                                   raw + "','rb').read())\"");
        EXPECT_EQ(py, std::to_string(c.channels) + " " + std::to_string(c.bits / 8) + " " + std::to_string(c.rate) +
                          " " + std::to_string(frames) + " True\n");
        // ffprobe sees the stream and the broadcast extension.
        std::string const probe = Out("ffprobe -v error -show_streams -show_format -of flat " + wav);
        EXPECT_NE(probe.find("streams.stream.0.channels=" + std::to_string(c.channels)), std::string::npos);
        EXPECT_NE(probe.find("streams.stream.0.sample_rate=\"" + std::to_string(c.rate) + "\""), std::string::npos);
        EXPECT_NE(probe.find("format.tags.comment=\"Velmora generated sound file\""), std::string::npos) << probe;
        EXPECT_NE(probe.find("format.tags.coding_history=\"PCM Encoded\""), std::string::npos) << probe;
        EXPECT_TRUE(std::regex_search(probe, std::regex("originator_reference=\"[0-9a-f]{32}\"")));
        EXPECT_TRUE(std::regex_search(probe, std::regex("format.tags.creation_time=\"[0-9]{2}-[0-9]{2}-[0-9]{2}\"")));
        // sndfile-info walks every chunk to the end without complaint.
        std::string const walk = Out("sndfile-info " + wav);
        EXPECT_NE(walk.find("smpl : 36"), std::string::npos) << walk;
        EXPECT_EQ(walk.find("rror"), std::string::npos) << walk;
        EXPECT_NE(walk.find("Frames      : " + std::to_string(frames)), std::string::npos) << walk;
    }
}
} // namespace
