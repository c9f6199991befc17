// AIFF and AIFF-C end to end: files made by sox, ffmpeg and Python's aifc
// read by vfl exactly as sox decodes them; files written by vfl read back by
// those tools and walked by sndfile-info; loops as other readers see them;
// type and creator; and files that must stay unknown.
#include "FF/FF_AudioFile.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Init.h"
#include "support/TestSupport.h"
#include "support/ToolTest.h"

#include <gtest/gtest.h>

#include <numeric>
#include <regex>

using vfltest::RunCommand;

namespace
{
// Python's aifc module is deprecated; its warning is not wanted on stderr.
std::string const kPython = "python3 -W ignore::DeprecationWarning -c ";

std::string JsonField(std::string const& json, std::string const& key)
{
    std::smatch m;
    std::regex const re("\"" + key + "\":(\"([^\"]*)\"|(-?[0-9.]+))");
    if (!std::regex_search(json, m, re))
        return "";
    return m[2].matched ? m[2].str() : m[3].str();
}

Sys_FileType MacType(std::string const& code)
{
    std::uint32_t v = 0;
    for (char ch : code)
        v = (v << 8) | static_cast<unsigned char>(ch);
    return Sys_FileType(static_cast<std::int32_t>(v));
}

std::string Trim(std::string s)
{
    while (!s.empty() && (s.back() == '\n' || s.back() == ' '))
        s.pop_back();
    return s;
}

class VflAiff : public vfltest::ToolTest
{
protected:
    void SetUp() override
    {
        if (auto const missing = Missing({"sox", "soxi", "ffmpeg", "python3", "sndfile-info"}); !missing.empty())
            GTEST_SKIP() << missing << " is needed";
    }
    std::string Bytes(std::string const& path)
    {
        auto const b = vfltest::ReadWholeFile(path);
        return std::string(b.begin(), b.end());
    }
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
    // An even number of audio bytes: for an odd one this writer counts the
    // pad byte in the SSND size, and sox then decodes it as a sample.
    auto py = [](bool aifc, int width, int channels, int frames, int rate)
    {
        return kPython + "\"import aifc,random; random.seed(" + std::to_string(width * 10 + channels) +
               "); w=aifc.open('OUT','wb'); " + (aifc ? "" : "w.aiff(); ") + "w.setnchannels(" +
               std::to_string(channels) + "); w.setsampwidth(" + std::to_string(width) + "); w.setframerate(" +
               std::to_string(rate) + "); w.writeframes(bytes(random.getrandbits(8) for _ in range(" +
               std::to_string(width * channels * frames) + "))); w.close()\"";
    };
    return {
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
        {"ffmpeg 16-bit mono", ffmpeg("pcm_s16be", 1, 44100), "aiff"},
        {"ffmpeg 16-bit 6 channels", ffmpeg("pcm_s16be", 6, 48000), "aiff"},
        {"ffmpeg 24-bit stereo", ffmpeg("pcm_s24be", 2, 96000), "aiff"},
        {"ffmpeg 24-bit 5 channels", ffmpeg("pcm_s24be", 5, 32000), "aiff"},
        {"python AIFF 8-bit mono", py(false, 1, 1, 1000, 22050), "aiff"},
        {"python AIFF 16-bit stereo", py(false, 2, 2, 999, 44100), "aiff"},
        {"python AIFF 24-bit 3 channels", py(false, 3, 3, 502, 48000), "aiff"},
        {"python AIFF 32-bit 6 channels", py(false, 4, 6, 257, 96000), "aiff"},
        {"python AIFF-C 8-bit 4 channels", py(true, 1, 4, 333, 8000), "aifc"},
        {"python AIFF-C 16-bit mono", py(true, 2, 1, 1001, 16000), "aifc"},
        {"python AIFF-C 24-bit 6 channels", py(true, 3, 6, 100, 44100), "aifc"},
        {"python AIFF-C 32-bit stereo", py(true, 4, 2, 77, 48000), "aifc"},
    };
}

TEST_F(VflAiff, ForeignFilesReadAsSoxDecodesThem)
{
    int index = 0;
    for (auto const& f : Fixtures())
    {
        SCOPED_TRACE(f.name);
        std::string const path = mDir.File("f" + std::to_string(index++) + ".aif");
        std::string const make = std::regex_replace(f.make, std::regex("OUT"), path);
        ASSERT_EQ(RunCommand(make + " 2>&1"), 0) << make;

        std::string const json = Out(Vfl("info --json " + path));
        EXPECT_EQ(JsonField(json, "type"), f.type);
        EXPECT_EQ(JsonField(json, "byteOrder"), "big");
        EXPECT_EQ(JsonField(json, "sampleRate"), Trim(Out("soxi -r " + path)));
        EXPECT_EQ(JsonField(json, "channels"), Trim(Out("soxi -c " + path)));
        EXPECT_EQ(JsonField(json, "bits"), Trim(Out("soxi -b " + path)));
        EXPECT_EQ(JsonField(json, "frames"), Trim(Out("soxi -s " + path)));

        std::string const ours = Out(Vfl("cat " + path));
        std::string const theirs = Out("sox " + path + " -t raw -e signed -L -");
        EXPECT_GT(ours.size(), 0u);
        EXPECT_EQ(ours.size(), theirs.size());
        EXPECT_TRUE(ours == theirs) << "samples differ";
    }
}

TEST_F(VflAiff, RatesBothWaysAgainstPython)
{
    int const rates[] = {8000,  11025, 16000, 22050, 32000, 44056,  44100,
                         47952, 48000, 64000, 88200, 96000, 176400, 192000};
    std::string list;
    for (int rate : rates)
    {
        std::string const r = std::to_string(rate);
        Out("head -c 40 /dev/zero | " +
            Vfl("new " + mDir.File("v" + r + ".aif") + " --rate " + r + " --bits 16 --channels 1 --type aif"));
        list += r + ",";
    }
    // Python reads ours, and writes its own at the same rates.
    std::string const dir = mDir.Path().string();
    std::string const py = Out(kPython + "\"import aifc\nfor r in [" + list + "]:\n a=aifc.open('" + dir +
                               "/v%d.aif'%r); print(a.getframerate()==r, end=' ')\n"
                               " w=aifc.open('" +
                               dir +
                               "/p%d.aif'%r,'wb'); w.aiff(); w.setnchannels(1); "
                               "w.setsampwidth(2); w.setframerate(r); w.writeframes(bytes(8)); w.close()\n"
                               "w=aifc.open('" +
                               dir +
                               "/odd.aif','wb'); w.aiff(); w.setnchannels(1); "
                               "w.setsampwidth(2); w.setframerate(44100.9); w.writeframes(bytes(8)); w.close()\"");
    EXPECT_EQ(py.find("False"), std::string::npos) << py;
    EXPECT_EQ(py.find("True"), 0u) << py;
    for (int rate : rates)
    {
        SCOPED_TRACE(rate);
        std::string const json = Out(Vfl("info --json " + mDir.File("p" + std::to_string(rate) + ".aif")));
        EXPECT_EQ(JsonField(json, "sampleRate"), std::to_string(rate));
    }
    // A rate with a fraction is truncated, not rounded.
    EXPECT_EQ(JsonField(Out(Vfl("info --json " + mDir.File("odd.aif"))), "sampleRate"), "44100");
}

TEST_F(VflAiff, WrittenFilesReadBackByOtherTools)
{
    struct
    {
        char const* type;
        int bits, channels, rate;
    } const cases[] = {{"aif", 8, 1, 8000},   {"aif", 16, 2, 44100},  {"aif", 24, 3, 48000},  {"aif", 32, 6, 96000},
                       {"aifc", 8, 2, 22050}, {"aifc", 16, 1, 44100}, {"aifc", 24, 6, 48000}, {"aifc", 32, 4, 192000}};
    for (auto const& c : cases)
    {
        std::string const tag = std::string(c.type) + std::to_string(c.bits) + "b" + std::to_string(c.channels) + "c";
        SCOPED_TRACE(tag);
        std::string const raw = mDir.File(tag + ".raw");
        std::string const out = mDir.File(tag + "." + c.type);
        // 1001 frames of noise, so that odd sizes are exercised too.
        Out("sox -n -r " + std::to_string(c.rate) + " -c " + std::to_string(c.channels) + " -b " +
            std::to_string(c.bits) + " -e signed -t raw " + raw + " synth 1001s whitenoise 2>/dev/null");
        std::string const input = Bytes(raw);
        std::int64_t const frames = static_cast<std::int64_t>(input.size()) / (c.bits / 8 * c.channels);
        ASSERT_GT(frames, 0);
        Out(Vfl("new " + out + " --rate " + std::to_string(c.rate) + " --bits " + std::to_string(c.bits) +
                " --channels " + std::to_string(c.channels) + " --type " + c.type + " < " + raw));
        bool const aifc = std::string(c.type) == "aifc";
        EXPECT_EQ(Bytes(out).substr(8, 4), aifc ? "AIFC" : "AIFF");
        EXPECT_EQ(JsonField(Out(Vfl("info --json " + out)), "type"), aifc ? "aifc" : "aiff");

        // sox and ffmpeg decode exactly the samples written.
        EXPECT_TRUE(Out("sox " + out + " -t raw -e signed -L -") == input) << "sox samples differ";
        std::string const pcm = c.bits == 8 ? "s8" : "s" + std::to_string(c.bits) + "le";
        EXPECT_TRUE(Out("ffmpeg -v error -i " + out + " -f " + pcm + " -") == input) << "ffmpeg samples differ";
        // Python's aifc: parameters, and the bytes as big-endian samples.
        std::string const py =
            Out(kPython + "\"import aifc; a=aifc.open('" + out +
                "'); d=a.readframes(a.getnframes()); w=a.getsampwidth(); "
                "r=open('" +
                raw +
                "','rb').read(); "
                "le=b''.join(d[i:i+w][::-1] for i in range(0,len(d),w)); "
                "print(a.getnchannels(), w, a.getframerate(), a.getnframes(), a.getcomptype(), le==r)\"");
        EXPECT_EQ(py, std::to_string(c.channels) + " " + std::to_string(c.bits / 8) + " " + std::to_string(c.rate) +
                          " " + std::to_string(frames) + " b'NONE' True\n");
        // sndfile-info walks every chunk to the last one. It asks AIFF-C
        // files for a version chunk, which is not written.
        std::string walk = Out("sndfile-info " + out);
        walk = std::regex_replace(walk, std::regex("\\*\\*\\* Valid AIFC files should have an FVER chunk.\n"), "");
        EXPECT_NE(walk.find("INST : 20"), std::string::npos) << walk;
        EXPECT_NE(walk.find("Frames      : " + std::to_string(frames)), std::string::npos) << walk;
        EXPECT_EQ(walk.find("rror"), std::string::npos) << walk;
        EXPECT_EQ(walk.find("***"), std::string::npos) << walk;
    }
}

// Loops written through the library, as sndfile-info and Python see them.
TEST_F(VflAiff, LoopsAgreeWithOtherReaders)
{
    Sys_Init::Init();
    using A = FF_AudioInstrumentAttr;
    struct
    {
        char const* name;
        char const* mac;
        A attr;
        char const* inst;                        // the 'INST' play modes and marker ids: sustain, release
        int loops;                               // as sndfile-info --instrument counts them
        std::vector<std::pair<int, int>> ranges; // and the loops it shows
        char const* markers;                     // aifc.getmarkers()
        std::vector<std::string> vfl;            // the loops as vfl info shows them
    } const cases[] = {
        {"AIFF, both loops",
         "AIFF",
         A(62, -3, A::kLoopForward, 100, 1000, A::kLoopForwardBackward, 2000, 3000),
         "1 0 1 2 2 3",
         2,
         {{100, 1000}, {2000, 3000}},
         "[(0, 100, b'beg loop'), (1, 1000, b'end loop'), (2, 2000, b'beg loop'), (3, 3000, b'end loop')]",
         {"loop 1: forward 100..1000", "loop 2: forward-backward 2000..3000"}},
        // That reader counts the release loop but takes its points from the
        // sustain loop's ids: no range to compare.
        {"AIFF, release loop only",
         "AIFF",
         A(60, 0, A::kLoopNone, 0, 0, A::kLoopForward, 10, 20),
         "0 0 0 1 2 3",
         1,
         {},
         "[(2, 10, b'beg loop'), (3, 20, b'end loop')]",
         {"loop 2: forward 10..20"}},
        {"AIFF-C, backward sustain loop",
         "AIFC",
         A(48, 7, A::kLoopBackward, 5, 4000),
         "1 0 1 0 0 0",
         1,
         {{5, 4000}},
         "[(0, 5, b'beg loop'), (1, 4000, b'end loop')]",
         {"loop 1: forward 5..4000"}},
        {"AIFF, no loops", "AIFF", A(61, 0), "0 0 0 0 0 0", 0, {}, "None", {}},
    };
    int index = 0;
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.name);
        std::string const path = mDir.File("loop" + std::to_string(index++) + ".aif");
        {
            FF_AudioFile file((Sys_FileLoc(path)));
            file.Format(MacType(c.mac), 1, 44100, 16, 0);
            FF_AudioFile::StOpen open(&file, FF_AudioFile::eOpenRead | FF_AudioFile::eOpenWrite);
            std::vector<std::int16_t> samples(5000);
            std::iota(samples.begin(), samples.end(), std::int16_t{0});
            file.SampleWrite(samples.data(), 5000);
            file.SetNumSamples(5000);
            file.SetInstrumentAttr(c.attr);
        }
        // The chunk dump: play modes carry a flag of that reader's in the high bits.
        std::string const dump = Out("sndfile-info " + path);
        std::smatch m;
        ASSERT_TRUE(std::regex_search(dump, m,
                                      std::regex("Sustain\n +mode +: 80+([0-9]+).*\n +begin : ([0-9]+)\n +end +: "
                                                 "([0-9]+)\n +Release\n +mode +: 80+([0-9]+).*\n +begin : "
                                                 "([0-9]+)\n +end +: ([0-9]+)")))
            << dump;
        EXPECT_EQ(m[1].str() + " " + m[2].str() + " " + m[3].str() + " " + m[4].str() + " " + m[5].str() + " " +
                      m[6].str(),
                  c.inst);
        EXPECT_NE(dump.find("Base Note : " + std::to_string(c.attr.GetRootMIDINote())), std::string::npos) << dump;
        std::string const info = Out("sndfile-info --instrument " + path);
        EXPECT_NE(info.find("Loop points : " + std::to_string(c.loops)), std::string::npos) << info;
        for (auto const& [start, end] : c.ranges)
            EXPECT_TRUE(std::regex_search(
                info, std::regex("Start : +" + std::to_string(start) + " +End : +" + std::to_string(end) + " ")))
                << info;
        std::string const py = Out(kPython + "\"import aifc; print(aifc.open('" + path + "').getmarkers())\"");
        EXPECT_EQ(Trim(py), c.markers);
        // The same loops come back through vfl.
        std::string const text = Out(Vfl("info " + path));
        EXPECT_NE(text.find("instrument: root note " + std::to_string(c.attr.GetRootMIDINote())), std::string::npos)
            << text;
        for (auto const& line : c.vfl)
            EXPECT_NE(text.find(line), std::string::npos) << text;
        EXPECT_EQ(text.find("  loop "), c.vfl.empty() ? std::string::npos : text.find(c.vfl.front()) - 2) << text;
    }
}

TEST_F(VflAiff, FormatStampsTypeAndCreator)
{
    Sys_Init::Init();
    static std::vector<std::pair<std::uint32_t, std::uint32_t>> stamps;
    stamps.clear();
    FF_AudioFile::SetSetFileAndCreatorTypeMethod([](Sys_FileLoc const&, std::uint32_t type, std::uint32_t creator)
                                                 { stamps.emplace_back(type, creator); });
    for (char const* mac : {"AIFF", "AIFC"})
    {
        FF_AudioFile file((Sys_FileLoc(mDir.File(std::string("t.") + mac))));
        file.Format(MacType(mac), 2, 48000, 24, 0);
        EXPECT_EQ(file.GetDescription(FF_AudioFile::eShortDescription), mac);
    }
    FF_AudioFile::SetSetFileAndCreatorTypeMethod(nullptr);
    ASSERT_EQ(stamps.size(), 2u);
    EXPECT_EQ(stamps[0], std::make_pair(0x41494646u, 0x4E75766Fu)); // "AIFF", "Nuvo"
    EXPECT_EQ(stamps[1], std::make_pair(0x41494643u, 0x4E75766Fu)); // "AIFC", "Nuvo"
}

TEST_F(VflAiff, CompressedAndDamagedFilesAreUnknown)
{
    std::string const good = mDir.File("good.aif");
    Out("sox -n -r 8000 -c 1 -b 16 -t aiff " + good + " synth 0.1 sine 440");
    struct
    {
        char const* name;
        std::string make;
    } const cases[] = {
        {"AIFF-C 'fl32'", "sox -n -r 8000 -c 1 -b 32 -e floating-point -t aifc OUT synth 0.01 sine 440"},
        {"AIFF-C 'alaw'", "ffmpeg -v error -y -f lavfi -i sine=d=0.01 -c:a pcm_alaw -f aiff OUT"},
        {"cut inside COMM", "head -c 60 " + good + " > OUT"},
    };
    int index = 0;
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.name);
        std::string const path = mDir.File("u" + std::to_string(index++) + ".aif");
        std::string const make = std::regex_replace(c.make, std::regex("OUT"), path);
        ASSERT_EQ(RunCommand(make), 0) << make;
        std::string out;
        EXPECT_EQ(RunCommand(Vfl("info --json " + path), &out), 1);
        EXPECT_EQ(out.rfind("{\"path\":\"" + path + "\",\"type\":\"unknown\",\"unknown\":\"", 0), 0u) << out;
        EXPECT_EQ(RunCommand(Vfl("cat " + path + " > /dev/null 2>&1")), 1);
    }
}
} // namespace
