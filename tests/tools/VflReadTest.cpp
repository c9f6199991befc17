// vfl info and vfl cat against independent tools: WAVE, AIFF and AIFF-C
// files made by sox, ffmpeg and Python must be described as soxi describes
// them, and their samples must come out exactly as sox decodes them; files
// vfl cannot read are unknown. Also the JSON fields scripts read, the
// Finder codes of a file, and what vfl play gives a client.
#include "support/ToolTest.h"

#include <gtest/gtest.h>

#include <regex>

namespace
{
// Python's aifc module is deprecated; its warning is not wanted on stderr.
std::string const kPython = "python3 -W ignore::DeprecationWarning -c ";

class VflRead : public vfltest::ToolTest
{
protected:
    VflRead() : ToolTest({"sox", "soxi", "ffmpeg", "python3"}) {}
};

struct Fixture
{
    std::string name;
    std::string make; // shell command; OUT stands for the file
    char const* type; // as vfl info names it
};

std::vector<Fixture> Fixtures()
{
    auto sox = [](char const* t, int bits, int channels, int rate)
    {
        return "sox -n -r " + std::to_string(rate) + " -c " + std::to_string(channels) + " -b " + std::to_string(bits) +
               " -t " + t + " OUT synth 0.01 whitenoise";
    };
    auto ffmpeg = [](char const* codec, int channels, int rate)
    {
        return "ffmpeg -v error -y -f lavfi -i anoisesrc=d=0.02:r=" + std::to_string(rate) + " -ac " +
               std::to_string(channels) + " -c:a " + codec + " -f aiff OUT";
    };
    // Python's wave module writes plain PCM at every width, 8-bit unsigned;
    // its aifc module AIFF and AIFF-C. An even number of audio bytes: for an
    // odd one aifc counts the pad byte in the SSND size, and sox then decodes
    // it as a sample.
    auto py = [](char const* module, int width, int channels, int frames, int rate)
    {
        bool const aiff = std::string(module) == "aiff";
        return kPython + "\"import wave,aifc,random; random.seed(" + std::to_string(width * 10 + channels) +
               "); w=" + (aiff ? "aifc" : module) + ".open('OUT','wb'); " + (aiff ? "w.aiff(); " : "") +
               "w.setnchannels(" + std::to_string(channels) + "); w.setsampwidth(" + std::to_string(width) +
               "); w.setframerate(" + std::to_string(rate) +
               "); w.writeframes(bytes(random.getrandbits(8) for _ in range(" +
               std::to_string(width * channels * frames) + "))); w.close()\"";
    };
    return {
        {"sox 16-bit stereo", "sox -n -r 44100 -c 2 -b 16 OUT synth 0.25 sine 440 sine 660", "wav"},
        {"sox 8-bit mono odd length", "sox -n -r 8000 -c 1 -b 8 OUT synth 0.125125 sine 300", "wav"},
        {"sox 24-bit stereo", "sox -n -r 48000 -c 2 -b 24 -t wavpcm OUT synth 0.1 sine 1000", "wav"},
        {"sox 32-bit mono", "sox -n -r 96000 -c 1 -b 32 -t wavpcm OUT synth 777s sine 5000", "wav"},
        {"sox 16-bit 6 channels",
         "sox -n -r 48000 -c 6 -b 16 -t wavpcm OUT synth 0.05 sine 100 sine 200 sine 300 sine 400 sine 500 sine 600",
         "wav"},
        {"sox with a comment chunk", "sox -n -r 44100 -c 1 -b 16 --comment 'take one' OUT synth 0.1 sine 440", "wav"},
        {"python 8-bit mono", py("wave", 1, 1, 999, 22050), "wav"},
        {"python 16-bit stereo", py("wave", 2, 2, 1001, 22050), "wav"},
        {"python 24-bit stereo", py("wave", 3, 2, 513, 22050), "wav"},
        {"python 32-bit 6 channels", py("wave", 4, 6, 257, 22050), "wav"},
        // A LIST/INFO chunk in front of 'fmt ' and another behind 'data'.
        {"foreign chunks around the audio",
         py("wave", 2, 1, 100, 22050) + " && python3 -c \"import struct; d=open('OUT','rb').read(); "
                                        "info=b'LIST'+struct.pack('<I',16)+b'INFOISFT'+struct.pack('<I',4)+b'vfl\\0'; "
                                        "body=d[12:]+info; body=info+body; "
                                        "open('OUT','wb').write(b'RIFF'+struct.pack('<I',4+len(body))+b'WAVE'+body)\"",
         "wav"},
        {"sox AIFF 8-bit mono", sox("aiff", 8, 1, 8000), "aiff"},
        {"sox AIFF 16-bit stereo", sox("aiff", 16, 2, 44100), "aiff"},
        {"sox AIFF 24-bit 3 channels", sox("aiff", 24, 3, 48000), "aiff"},
        {"sox AIFF 32-bit 4 channels", sox("aiff", 32, 4, 96000), "aiff"},
        {"sox AIFF 16-bit 5 channels", sox("aiff", 16, 5, 22050), "aiff"},
        {"sox AIFF 24-bit 6 channels", sox("aiff", 24, 6, 88200), "aiff"},
        {"sox AIFF-C 8-bit mono", sox("aifc", 8, 1, 11025), "aifc"},
        {"sox AIFF-C 16-bit stereo", sox("aifc", 16, 2, 44100), "aifc"},
        {"sox AIFF-C 24-bit 6 channels", sox("aifc", 24, 6, 48000), "aifc"},
        {"sox AIFF-C 32-bit stereo", sox("aifc", 32, 2, 192000), "aifc"},
        {"ffmpeg AIFF 16-bit mono", ffmpeg("pcm_s16be", 1, 44100), "aiff"},
        {"ffmpeg AIFF 16-bit 6 channels", ffmpeg("pcm_s16be", 6, 48000), "aiff"},
        {"ffmpeg AIFF 24-bit stereo", ffmpeg("pcm_s24be", 2, 96000), "aiff"},
        {"ffmpeg AIFF 24-bit 5 channels", ffmpeg("pcm_s24be", 5, 32000), "aiff"},
        {"python AIFF 8-bit mono", py("aiff", 1, 1, 1000, 22050), "aiff"},
        {"python AIFF 16-bit stereo", py("aiff", 2, 2, 999, 44100), "aiff"},
        {"python AIFF 24-bit 3 channels", py("aiff", 3, 3, 502, 48000), "aiff"},
        {"python AIFF 32-bit 6 channels", py("aiff", 4, 6, 257, 96000), "aiff"},
        {"python AIFF-C 8-bit 4 channels", py("aifc", 1, 4, 333, 8000), "aifc"},
        {"python AIFF-C 16-bit mono", py("aifc", 2, 1, 1001, 16000), "aifc"},
        {"python AIFF-C 24-bit 6 channels", py("aifc", 3, 6, 100, 44100), "aifc"},
        {"python AIFF-C 32-bit stereo", py("aifc", 4, 2, 77, 48000), "aifc"},
    };
}

TEST_F(VflRead, InfoAgreesWithSoxiAndCatWithSox)
{
    int index = 0;
    for (auto const& f : Fixtures())
    {
        SCOPED_TRACE(f.name);
        std::string const path = F("f" + std::to_string(index++) + (f.type[0] == 'w' ? ".wav" : ".aif"));
        Make(f.make, path);

        // soxi's single fields, all at once in the order asked for, and
        // the same in JSON.
        std::string const json = Out(Vfl("info --json " + path));
        std::string soxi;
        for (auto const& [flag, key] : {std::pair{"-r", "sampleRate"},
                                        {"-c", "channels"},
                                        {"-b", "bits"},
                                        {"-s", "frames"},
                                        {"-D", ""},
                                        {"-t", ""}})
        {
            std::string const field = Out(std::string("soxi ") + flag + " " + path);
            soxi += field;
            if (*key)
            {
                EXPECT_EQ(JsonField(json, key), Trim(field)) << key;
            }
        }
        EXPECT_EQ(Out(Vfl("info -r -c -b -s -D -t " + path)), soxi);
        EXPECT_EQ(JsonField(json, "type"), f.type);
        EXPECT_EQ(JsonField(json, "byteOrder"), f.type[0] == 'w' ? "little" : "big");

        std::string const theirs = Raw(path);
        std::string const ours = Out(Vfl("cat " + path));
        EXPECT_GT(ours.size(), 0u);
        EXPECT_EQ(ours.size(), theirs.size());
        EXPECT_TRUE(ours == theirs) << "samples differ";
        // Past the page cache, from the start and from an odd frame; a range,
        // and one that runs past the end.
        std::size_t const frames = std::stoul(JsonField(json, "frames")), frame = ours.size() / frames;
        EXPECT_TRUE(Out(Vfl("cat --unbuffered " + path)) == theirs) << "unbuffered samples differ";
        EXPECT_TRUE(Out(Vfl("cat --unbuffered --start 7 " + path)) == ours.substr(7 * frame))
            << "unbuffered samples from frame 7 differ";
        EXPECT_EQ(Out(Vfl("cat " + path + " --start 10 --frames 5")), ours.substr(10 * frame, 5 * frame));
        EXPECT_EQ(Out(Vfl("cat " + path + " --start " + std::to_string(frames - 5) + " --frames 50")),
                  ours.substr((frames - 5) * frame));
    }
}

// Files vfl cannot read are "unknown", with the reason where one is known,
// and the files after them are still described.
TEST_F(VflRead, UnknownAndMissingFiles)
{
    std::string const good = F("good.aif");
    Out("sox -n -r 8000 -c 1 -b 16 -t aiff " + good + " synth 0.1 sine 440"); // 800 frames
    struct
    {
        char const* name;
        std::string make;
        char const* reason; // empty: any
    } const cases[] = {
        {"text", "printf 'not audio\\n' > OUT", "no RIFF or FORM header"},
        {"empty", ": > OUT", "empty file"},
        {"AIFF-C 'fl32'", "sox -n -r 8000 -c 1 -b 32 -e floating-point -t aifc OUT synth 0.01 sine 440", ""},
        {"AIFF-C 'alaw'", "ffmpeg -v error -y -f lavfi -i sine=d=0.01 -c:a pcm_alaw -f aiff OUT", ""},
        {"cut inside COMM", "head -c 60 " + good + " > OUT", ""},
    };
    int index = 0;
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.name);
        std::string const path = F("u" + std::to_string(index++) + ".aif");
        Make(c.make, path);
        std::string const out = Out(Vfl("info --json " + path + " " + good), 1);
        std::string const head = "{\"path\":\"" + path + "\",\"type\":\"unknown\",\"unknown\":\"" + c.reason;
        EXPECT_EQ(out.rfind(head, 0), 0u) << out;
        EXPECT_EQ(JsonField(out.substr(out.find('\n')), "frames"), "800") << out;
        Out(Vfl("cat " + path + " > /dev/null 2>&1"), 1);
    }
    std::string const both = Out(Vfl("info --json " + F("missing.wav") + " " + good + " 2>&1"), 1);
    EXPECT_NE(both.find(F("missing.wav") + ": Sys: OSErr: 2: No such file or directory"), std::string::npos) << both;
    EXPECT_EQ(JsonField(both, "frames"), "800") << both;
}

// vfl play: what the client received is the file, with a tick of silence
// for each underrun the summary counts, as raw PCM or as a WAVE file; a
// signal ends it at once.
TEST_F(VflRead, PlayWritesWhatTheClientReceivedAndCountsItsUnderruns)
{
    // 1.5 s of stereo 16 bits at 48 kHz that is not a whole number of ticks.
    std::string const in = F("in.wav");
    Out("python3 -c \"import wave,struct; w=wave.open('" + in +
        "','wb'); w.setnchannels(2); w.setsampwidth(2); w.setframerate(48000); "
        "w.writeframes(b''.join(struct.pack('<hh', (i*37)%30000-15000, (i*91)%20000-10000) for i in range(72001)))\"");
    std::string const cat = Out(Vfl("cat " + in));
    ASSERT_EQ(cat.size(), 72001u * 4);

    struct
    {
        char const* to;
        char const* ticks;
        long tickFrames;
    } const cases[] = {{"raw", "", 256}, {"wav", "--tick 100", 100}};
    for (auto const& k : cases)
    {
        SCOPED_TRACE(k.to);
        std::string const out = F(std::string("out.") + k.to);
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

class VflInfo : public vfltest::ToolTest
{
protected:
    VflInfo() : ToolTest({"sox", "soxi"}) {}
};

TEST_F(VflInfo, JsonCarriesTheNameAsTypedAndTheRevisionAsAString)
{
    Out("sox -n -r 44100 -c 2 -b 16 " + F("a.wav") + " synth 1.5 sine 440");
    Out(Vfl("adopt " + F("a.wav")));
    std::string const json = Out("cd " + mDir.Path().string() + " && " + Vfl("info --json ./a.wav"));
    EXPECT_NE(json.find("{\"path\":\"./a.wav\","), std::string::npos) << json;
    EXPECT_TRUE(std::regex_search(json, std::regex("\"revision\":\"[0-9]+\""))) << json;
    EXPECT_NE(json.find("\"durationText\":\"0:00:01.500\""), std::string::npos) << json;
    EXPECT_NE(json.find("\"bitRate\":1411200"), std::string::npos) << json;
    std::string const size = Trim(Out("stat -c %s " + F("a.wav")));
    EXPECT_NE(json.find("\"fileSize\":" + size + ","), std::string::npos) << json;
    std::string const text = Out(Vfl("info " + F("a.wav")));
    EXPECT_NE(text.find("duration: 0:00:01.500 (66150 frames)"), std::string::npos) << text;
}

// An AppleDouble "._NAME" file with only Finder info: what macOS writes
// beside a file on a volume that keeps none.
std::vector<std::uint8_t> SidecarWith(std::string const& typeAndCreator)
{
    std::string b("\x00\x05\x16\x07\x00\x02\x00\x00", 8);
    b.append(16, '\0');
    b += std::string("\x00\x01", 2) + std::string("\x00\x00\x00\x09\x00\x00\x00\x26\x00\x00\x00\x20", 12);
    b += typeAndCreator + std::string(24, '\0');
    return std::vector<std::uint8_t>(b.begin(), b.end());
}

TEST_F(VflInfo, FinderCodesAreShownWhereAFileHasThemAndNeverWritten)
{
    struct Case
    {
        char const* name;
        std::string codes; // the sidecar's type and creator; empty: no sidecar
        char const* text;  // the lines info prints, empty for none
        char const* json;
    };
    Case const cases[] = {
        {"take.wav", "WAVENuvo", "  Finder type: WAVE\n  Finder creator: Nuvo\n",
         "\"finderType\":\"WAVE\",\"finderCreator\":\"Nuvo\""},
        {"notes.txt", std::string("\x80TXT\x01R*t", 8), "  Finder type: \xC3\x84TXT\n  Finder creator: \\x01R*t\n",
         "\"finderType\":\"\xC3\x84TXT\",\"finderCreator\":\"\\\\x01R*t\""},
        {"plain.wav", "", "", ""},
    };
    Out("sox -n -r 8000 -c 1 -b 16 " + F("take.wav") + " synth 0.01 sine 440");
    Out("cp " + F("take.wav") + " " + F("plain.wav"));
    vfltest::WriteWholeFile(F("notes.txt"), {'h', 'i'});
    for (Case const& c : cases)
        if (!c.codes.empty())
            vfltest::WriteWholeFile(F(std::string("._") + c.name), SidecarWith(c.codes));
    std::string const before = Out("ls -lA --time-style=full-iso " + mDir.Path().string());
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        std::string const text = Out(Vfl("info ") + F(c.name) + " 2>/dev/null", c.name[0] == 'n' ? 1 : 0);
        std::string const json = Out(Vfl("info --json ") + F(c.name) + " 2>/dev/null", c.name[0] == 'n' ? 1 : 0);
        if (*c.text)
        {
            EXPECT_NE(text.find(c.text), std::string::npos) << text;
            EXPECT_NE(json.find(c.json), std::string::npos) << json;
        }
        else
        {
            EXPECT_EQ(text.find("Finder"), std::string::npos) << text;
            EXPECT_EQ(json.find("finder"), std::string::npos) << json;
        }
    }
    EXPECT_EQ(Out("ls -lA --time-style=full-iso " + mDir.Path().string()), before);
}
} // namespace
