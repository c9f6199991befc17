// AIFF and AIFF-C: rates both ways against Python's aifc, loops as other
// readers see them, and the type and creator a new file is stamped with.
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

Sys_FileType MacType(std::string const& code)
{
    std::uint32_t v = 0;
    for (char ch : code)
        v = (v << 8) | static_cast<unsigned char>(ch);
    return Sys_FileType(static_cast<std::int32_t>(v));
}

class VflAiff : public vfltest::ToolTest
{
protected:
    VflAiff() : ToolTest({"python3", "sndfile-info"}) {}
};

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
} // namespace
