// What vfl does alike for WAVE, AIFF and AIFF-C, one table of formats: new
// files put their first audio byte on a sector boundary, and foreign files
// are adopted once and take regions (that their samples stay as they were
// is VflForeignChunks's).
#include "support/TestSupport.h"
#include "support/ToolTest.h"

#include <gtest/gtest.h>

#include <regex>

using vfltest::RunCommand;

namespace
{
class VflFormats : public vfltest::ToolTest
{
protected:
    VflFormats() : ToolTest({"sox", "sndfile-info"}) {}
};

TEST_F(VflFormats, NewFilesPutTheFirstAudioByteOnASectorBoundary)
{
    struct Case
    {
        char const* type;
        std::vector<std::string> printed; // in the printout of the chunks
        std::string at1024;               // the four bytes written, as stored
    } const cases[] = {
        {"wav",
         {"Chunk ID: Elmo\nChunk size (nominal): 350\n", "Chunk Position: 1016\nChunk ID: data"},
         "\001\002\003\004"},
        {"aif",
         {"Chunk ID: COMM\nChunk size (nominal): 18\n", "Chunk ID: Elmo\nChunk size (nominal): 340\n",
          "Chunk Position: 1008\nChunk ID: SSND",
          "\t0 byte offset to audio data\n\tBlock size: 0\n\t4 bytes of audio data"},
         "\002\001\004\003"},
        {"aifc",
         {"Chunk ID: COMM\nChunk size (nominal): 38\n", "Chunk ID: Elmo\nChunk size (nominal): 308\n",
          "Chunk Position: 1008\nChunk ID: SSND",
          "\t0 byte offset to audio data\n\tBlock size: 0\n\t4 bytes of audio data"},
         "\002\001\004\003"},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.type);
        std::string const path = mDir.File(std::string("s.") + c.type);
        Out("printf '\\001\\002\\003\\004' | " +
            Vfl("new " + path + " --rate 44100 --bits 16 --channels 2 --type " + c.type));
        std::string const print = Out(Vfl("print " + path));
        for (auto const& text : c.printed)
            EXPECT_NE(print.find(text), std::string::npos) << text << "\n" << print;
        // Without a name, the printout goes by what the file holds.
        EXPECT_EQ(Out(Vfl("print -") + " < " + path), print);
        auto const bytes = vfltest::ReadWholeFile(path);
        ASSERT_GE(bytes.size(), 1028u);
        EXPECT_EQ(std::string(bytes.begin() + 1024, bytes.begin() + 1028), c.at1024);
    }
}

TEST_F(VflFormats, ForeignFilesAreAdoptedOnceAndTakeRegions)
{
    struct Case
    {
        char const* soxType;
        char const* infoType; // as vfl info names it
        char const* extension;
    } const cases[] = {{"wav", "wav", ".wav"}, {"aiff", "aiff", ".aif"}, {"aifc", "aifc", ".aif"}};
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.soxType);
        std::string const path = mDir.File(std::string("foreign-") + c.soxType + c.extension);
        // 8000 frames of two sines, made by another program.
        Out(std::string("sox -n -r 8000 -c 2 -b 16 -t ") + c.soxType + " " + path + " synth 1 sine 440 sine 550");
        EXPECT_EQ(Out(Vfl("info --json " + path)).find("\"umid\""), std::string::npos);
        auto const sizeBefore = vfltest::ReadWholeFile(path).size();

        EXPECT_NE(Out(Vfl("adopt " + path)).find("adopted"), std::string::npos);
        EXPECT_GT(vfltest::ReadWholeFile(path).size(), sizeBefore); // the identity stands behind the audio
        std::string const json = Out(Vfl("info --json " + path));
        std::smatch umid;
        ASSERT_TRUE(std::regex_search(json, umid, std::regex("\"umid\":\"([A-Za-z0-9#!]{14})\""))) << json;
        EXPECT_NE(json.find("\"type\":\"" + std::string(c.infoType) + "\""), std::string::npos) << json;
        // A second adoption changes nothing.
        EXPECT_NE(Out(Vfl("adopt " + path)).find("already"), std::string::npos);
        EXPECT_NE(Out(Vfl("info --json " + path)).find(umid[1].str()), std::string::npos);

        Out(Vfl("regions " + path + " --add intro 0 1000 --sync 10"));
        Out(Vfl("regions " + path + " --add outro 7000 8000"));
        std::string list = Out(Vfl("regions --json " + path));
        EXPECT_NE(list.find("{\"name\":\"intro\",\"start\":0,\"stop\":1000,\"sync\":10"), std::string::npos) << list;
        Out(Vfl("regions " + path + " --remove intro"));
        list = Out(Vfl("regions --json " + path));
        EXPECT_EQ(list.find("intro"), std::string::npos) << list;
        EXPECT_NE(list.find("{\"name\":\"outro\",\"start\":7000,\"stop\":8000"), std::string::npos) << list;
        // Past the end, a name over 31 characters, a region that is not there.
        EXPECT_NE(RunCommand(Vfl("regions " + path + " --add late 7000 8001 2>/dev/null")), 0);
        EXPECT_NE(RunCommand(Vfl("regions " + path + " --add " + std::string(32, 'n') + " 0 10 2>/dev/null")), 0);
        EXPECT_NE(RunCommand(Vfl("regions " + path + " --remove nothing 2>/dev/null")), 0);

        std::string const walk = Out("sndfile-info " + path);
        EXPECT_EQ(walk.find("rror"), std::string::npos) << walk;
        EXPECT_NE(walk.find("regn : 92"), std::string::npos) << walk;
    }
}
} // namespace
