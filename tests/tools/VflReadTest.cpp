// vfl info and vfl cat against independent tools: files made by sox and by
// Python's wave module must be described as soxi describes them, and their
// samples must come out exactly as sox decodes them.
#include "support/TestSupport.h"
#include "support/ToolTest.h"

#include <gtest/gtest.h>

#include <map>
#include <regex>

using vfltest::RunCommand;

namespace
{
// The value of a numeric or string field of a one-line JSON object.
std::string JsonField(std::string const& json, std::string const& key)
{
    std::smatch m;
    std::regex const re("\"" + key + "\":(\"([^\"]*)\"|(-?[0-9.]+))");
    if (!std::regex_search(json, m, re))
        return "";
    return m[2].matched ? m[2].str() : m[3].str();
}

std::string Trim(std::string s)
{
    while (!s.empty() && (s.back() == '\n' || s.back() == ' '))
        s.pop_back();
    return s;
}

class VflRead : public vfltest::ToolTest
{
protected:
    void SetUp() override
    {
        if (!vfltest::HaveProgram("sox") || !vfltest::HaveProgram("soxi") || !vfltest::HaveProgram("python3"))
            GTEST_SKIP() << "sox, soxi and python3 are needed";
    }
};

struct Fixture
{
    std::string name;
    std::string make; // shell command; OUT stands for the file
};

std::vector<Fixture> Fixtures()
{
    // Python's wave module writes plain PCM at every width, 8-bit unsigned.
    auto py = [](int width, int channels, int frames)
    {
        return "python3 -c \"import wave,random; random.seed(" + std::to_string(width * 10 + channels) +
               "); w=wave.open('OUT','wb'); w.setnchannels(" + std::to_string(channels) + "); w.setsampwidth(" +
               std::to_string(width) +
               "); w.setframerate(22050); w.writeframes(bytes(random.getrandbits(8) for _ in range(" +
               std::to_string(width * channels * frames) + "))); w.close()\"";
    };
    return {
        {"sox 16-bit stereo", "sox -n -r 44100 -c 2 -b 16 OUT synth 0.25 sine 440 sine 660"},
        {"sox 8-bit mono odd length", "sox -n -r 8000 -c 1 -b 8 OUT synth 0.125125 sine 300"},
        {"sox 24-bit stereo", "sox -n -r 48000 -c 2 -b 24 -t wavpcm OUT synth 0.1 sine 1000"},
        {"sox 32-bit mono", "sox -n -r 96000 -c 1 -b 32 -t wavpcm OUT synth 777s sine 5000"},
        {"sox 16-bit 6 channels",
         "sox -n -r 48000 -c 6 -b 16 -t wavpcm OUT synth 0.05 sine 100 sine 200 sine 300 sine 400 sine 500 sine 600"},
        {"sox with a comment chunk", "sox -n -r 44100 -c 1 -b 16 --comment 'take one' OUT synth 0.1 sine 440"},
        {"python 8-bit mono", py(1, 1, 999)},
        {"python 16-bit stereo", py(2, 2, 1001)},
        {"python 24-bit stereo", py(3, 2, 513)},
        {"python 32-bit 6 channels", py(4, 6, 257)},
        // A LIST/INFO chunk in front of 'fmt ' and another behind 'data'.
        {"foreign chunks around the audio",
         py(2, 1, 100) + " && python3 -c \"import struct; d=open('OUT','rb').read(); "
                         "info=b'LIST'+struct.pack('<I',16)+b'INFOISFT'+struct.pack('<I',4)+b'vfl\\0'; "
                         "body=d[12:]+info; body=info+body; "
                         "open('OUT','wb').write(b'RIFF'+struct.pack('<I',4+len(body))+b'WAVE'+body)\""},
    };
}

TEST_F(VflRead, InfoAgreesWithSoxiAndCatWithSox)
{
    int index = 0;
    for (auto const& f : Fixtures())
    {
        SCOPED_TRACE(f.name);
        std::string const path = mDir.File("f" + std::to_string(index++) + ".wav");
        std::string make = std::regex_replace(f.make, std::regex("OUT"), path);
        ASSERT_EQ(RunCommand(make + " 2>&1"), 0) << make;

        std::string json;
        ASSERT_EQ(RunCommand(Vfl("info --json " + path), &json), 0);
        std::string rate, channels, bits, frames;
        RunCommand("soxi -r " + path, &rate);
        RunCommand("soxi -c " + path, &channels);
        RunCommand("soxi -b " + path, &bits);
        RunCommand("soxi -s " + path, &frames);
        EXPECT_EQ(JsonField(json, "type"), "wav");
        EXPECT_EQ(JsonField(json, "byteOrder"), "little");
        EXPECT_EQ(JsonField(json, "sampleRate"), Trim(rate));
        EXPECT_EQ(JsonField(json, "channels"), Trim(channels));
        EXPECT_EQ(JsonField(json, "bits"), Trim(bits));
        EXPECT_EQ(JsonField(json, "frames"), Trim(frames));

        std::string ours, theirs;
        ASSERT_EQ(RunCommand(Vfl("cat " + path), &ours), 0);
        ASSERT_EQ(RunCommand("sox " + path + " -t raw -e signed -L -", &theirs), 0);
        EXPECT_EQ(ours.size(), theirs.size());
        EXPECT_TRUE(ours == theirs) << "samples differ";

        // Past the page cache, from the start and from an odd frame.
        std::string direct;
        ASSERT_EQ(RunCommand(Vfl("cat --unbuffered " + path), &direct), 0);
        EXPECT_TRUE(direct == theirs) << "unbuffered samples differ";
        std::string part;
        ASSERT_EQ(RunCommand(Vfl("cat --unbuffered --start 7 " + path), &part), 0);
        std::string const plainPart = Out(Vfl("cat --start 7 " + path));
        EXPECT_TRUE(part == plainPart) << "unbuffered samples from frame 7 differ";
    }
}

TEST_F(VflRead, CatTakesARange)
{
    std::string const path = mDir.File("r.wav");
    ASSERT_EQ(RunCommand("sox -n -r 8000 -c 2 -b 16 " + path + " synth 0.0125 sine 440"), 0); // 100 frames
    std::string all, part;
    ASSERT_EQ(RunCommand(Vfl("cat " + path), &all), 0);
    ASSERT_EQ(RunCommand(Vfl("cat " + path + " --start 10 --frames 5"), &part), 0);
    EXPECT_EQ(part, all.substr(10 * 4, 5 * 4));
    ASSERT_EQ(RunCommand(Vfl("cat " + path + " --start 95 --frames 50"), &part), 0);
    EXPECT_EQ(part, all.substr(95 * 4));
    EXPECT_NE(RunCommand(Vfl("cat " + path + " --start 101 2>/dev/null")), 0);
}

TEST_F(VflRead, UnknownAndMissingFiles)
{
    std::string const good = mDir.File("good.wav");
    std::string const text = mDir.File("notes.txt");
    std::string const empty = mDir.File("empty.wav");
    std::string const missing = mDir.File("missing.wav");
    ASSERT_EQ(RunCommand("sox -n -r 8000 -c 1 -b 16 " + good + " synth 0.00125 sine 440"), 0); // 10 frames
    vfltest::WriteWholeFile(text, {'n', 'o', 't', ' ', 'a', 'u', 'd', 'i', 'o', '\n'});
    vfltest::WriteWholeFile(empty, {});

    std::string out;
    EXPECT_EQ(RunCommand(Vfl("info --json " + text + " " + empty), &out), 1);
    EXPECT_EQ(out, "{\"path\":\"" + text +
                       "\",\"type\":\"unknown\",\"unknown\":\"no RIFF or FORM header\"}\n{\"path\":\"" + empty +
                       "\",\"type\":\"unknown\",\"unknown\":\"empty file\"}\n");

    std::string err;
    EXPECT_EQ(RunCommand(Vfl("info --json " + missing + " " + good + " 2>" + mDir.File("err.txt")), &out), 1);
    EXPECT_EQ(JsonField(out, "frames"), "10");
    auto const errBytes = vfltest::ReadWholeFile(mDir.File("err.txt"));
    err.assign(errBytes.begin(), errBytes.end());
    EXPECT_NE(err.find(missing), std::string::npos) << err;
    EXPECT_NE(err.find("No such file or directory"), std::string::npos) << err;

    EXPECT_EQ(RunCommand(Vfl("cat " + text + " 2>/dev/null")), 1);
}

TEST_F(VflRead, HelpAndVersion)
{
    std::string out;
    EXPECT_EQ(RunCommand(Vfl("--help"), &out), 0);
    EXPECT_NE(out.find("info"), std::string::npos);
    EXPECT_NE(out.find("cat"), std::string::npos);
    EXPECT_EQ(RunCommand(Vfl("cat --help"), &out), 0);
    EXPECT_NE(out.find("--start"), std::string::npos);
    EXPECT_EQ(RunCommand(Vfl("--version"), &out), 0);
    EXPECT_EQ(out.rfind("vfl ", 0), 0u);
    EXPECT_EQ(RunCommand(Vfl("frobnicate 2>/dev/null")), 2);
}
} // namespace
