// WAVE, AIFF and AIFF-C files written by vfl read back by independent tools:
// sox, ffmpeg, Python's wave and aifc, ffprobe and sndfile-info.
#include "support/TestSupport.h"
#include "support/ToolTest.h"

#include <gtest/gtest.h>

#include <regex>

namespace
{
class VflWrite : public vfltest::ToolTest
{
protected:
    VflWrite() : ToolTest({"sox", "ffmpeg", "python3", "ffprobe", "sndfile-info"}) {}
};

TEST_F(VflWrite, NewFilesReadBackByOtherTools)
{
    struct
    {
        char const* type;
        int bits, channels, rate;
    } const cases[] = {{"wav", 8, 1, 8000},   {"wav", 8, 2, 22050},   {"wav", 16, 1, 44100},  {"wav", 16, 2, 44100},
                       {"wav", 16, 6, 48000}, {"wav", 24, 2, 48000},  {"wav", 24, 6, 96000},  {"wav", 32, 1, 44100},
                       {"aif", 8, 1, 8000},   {"aif", 16, 2, 44100},  {"aif", 24, 3, 48000},  {"aif", 32, 6, 96000},
                       {"aifc", 8, 2, 22050}, {"aifc", 16, 1, 44100}, {"aifc", 24, 6, 48000}, {"aifc", 32, 4, 192000}};
    for (auto const& c : cases)
    {
        std::string const tag = std::string(c.type) + std::to_string(c.bits) + "b" + std::to_string(c.channels) + "c";
        SCOPED_TRACE(tag);
        bool const wave = std::string(c.type) == "wav", aifc = std::string(c.type) == "aifc";
        std::string const raw = F(tag + ".raw");
        std::string const out = F(tag + "." + c.type);
        // 1001 frames of noise, so that odd sizes are exercised too.
        Out("sox -n -r " + std::to_string(c.rate) + " -c " + std::to_string(c.channels) + " -b " +
            std::to_string(c.bits) + " -e signed -t raw " + raw + " synth 1001s whitenoise 2>/dev/null");
        std::string const input = Contents(raw);
        std::int64_t const frames = static_cast<std::int64_t>(input.size()) / (c.bits / 8 * c.channels);
        ASSERT_GT(frames, 0);
        Out(Vfl("new " + out + " --rate " + std::to_string(c.rate) + " --bits " + std::to_string(c.bits) +
                " --channels " + std::to_string(c.channels) + " --type " + c.type + " < " + raw));
        EXPECT_EQ(Contents(out).substr(8, 4), wave ? "WAVE" : aifc ? "AIFC" : "AIFF");
        EXPECT_EQ(JsonField(Out(Vfl("info --json " + out)), "type"), wave ? "wav" : aifc ? "aifc" : "aiff");
        // Named after the file, not the temporary one it was written as.
        EXPECT_EQ(JsonField(Out(Vfl("regions --json " + out)), "name"), tag);

        // sox and ffmpeg decode exactly the samples written.
        EXPECT_TRUE(Raw(out) == input) << "sox samples differ";
        std::string const pcm = c.bits == 8 ? "s8" : "s" + std::to_string(c.bits) + "le";
        EXPECT_TRUE(Out("ffmpeg -v error -i " + out + " -f " + pcm + " -") == input) << "ffmpeg samples differ";
        // Python: parameters, and the bytes (8-bit WAVE is unsigned, AIFF big-endian).
        std::string const py =
            Out(std::string("python3 -W ignore::DeprecationWarning -c \"import wave,aifc; a=") +
                (wave ? "wave" : "aifc") + ".open('" + out +
                "'); d=a.readframes(a.getnframes()); w=a.getsampwidth(); "
                "d=bytes(b^0x80 for b in d) if " +
                (wave ? "w==1" : "False") +
                " else d; d=" + (wave ? "d" : "b''.join(d[i:i+w][::-1] for i in range(0,len(d),w))") +
                "; print(a.getnchannels(), w, a.getframerate(), a.getnframes(), a.getcomptype() in ('NONE', b'NONE'), "
                "d==open('" +
                raw + "','rb').read())\"");
        EXPECT_EQ(py, std::to_string(c.channels) + " " + std::to_string(c.bits / 8) + " " + std::to_string(c.rate) +
                          " " + std::to_string(frames) + " True True\n");
        // sndfile-info walks every chunk to the last one. It asks AIFF-C
        // files for a version chunk, which is not written; in WAVE files it
        // flags the workstation's own chunk as unknown.
        std::string walk = Out("sndfile-info " + out);
        walk = std::regex_replace(walk, std::regex("\\*\\*\\* Valid AIFC files should have an FVER chunk.\n"), "");
        EXPECT_NE(walk.find(wave ? "smpl : 36" : "INST : 20"), std::string::npos) << walk;
        EXPECT_NE(walk.find("Frames      : " + std::to_string(frames)), std::string::npos) << walk;
        EXPECT_EQ(walk.find("rror"), std::string::npos) << walk;
        if (!wave)
        {
            EXPECT_EQ(walk.find("***"), std::string::npos) << walk;
            continue;
        }
        // ffprobe sees the stream and the broadcast extension.
        std::string const probe = Out("ffprobe -v error -show_streams -show_format -of flat " + out);
        EXPECT_NE(probe.find("streams.stream.0.channels=" + std::to_string(c.channels)), std::string::npos);
        EXPECT_NE(probe.find("streams.stream.0.sample_rate=\"" + std::to_string(c.rate) + "\""), std::string::npos);
        EXPECT_NE(probe.find("format.tags.comment=\"Velmora generated sound file\""), std::string::npos) << probe;
        EXPECT_NE(probe.find("format.tags.coding_history=\"PCM Encoded\""), std::string::npos) << probe;
        EXPECT_TRUE(std::regex_search(probe, std::regex("originator_reference=\"[0-9a-f]{32}\"")));
        EXPECT_TRUE(std::regex_search(probe, std::regex("format.tags.creation_time=\"[0-9]{2}-[0-9]{2}-[0-9]{2}\"")));
    }
}
} // namespace
