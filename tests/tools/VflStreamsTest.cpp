// Where vfl's outputs go and its inputs come from: each output's own type,
// standard input and output as "-", named pipes, and folders of files converted side by
// side with -d and -j.
#include "support/TestSupport.h"
#include "support/ToolTest.h"

#include <gtest/gtest.h>

#include <filesystem>

using vfltest::RunCommand;

namespace
{
class VflStreams : public vfltest::ToolTest
{
protected:
    VflStreams() : ToolTest({"sox", "soxi"}) {}
    void SetUp() override
    {
        ToolTest::SetUp();
        if (IsSkipped())
            return;
        Out("sox -n -r 44100 -c 2 -b 16 " + F("st.wav") + " synth 0.5 sine 300 sine 500");
    }
    std::string Type(std::string const& file) { return Out(Vfl("info -t " + file)); }
};

TEST_F(VflStreams, EachOutputTakesTheTypeOfItsExtensionUnlessOneIsForced)
{
    struct
    {
        std::string args;
        std::vector<std::pair<std::string, std::string>> outputs; // file, type inside
    } const cases[] = {
        {"-o " + F("L.aif") + " " + F("R.wav"), {{"L.aif", "aiff\n"}, {"R.wav", "wav\n"}}},
        {"-o " + F("a.AIFF") + " " + F("b.aifc"), {{"a.AIFF", "aiff\n"}, {"b.aifc", "aifc\n"}}},
        {"-o " + F("st.aifc"), {{"st.aifc", "aifc\n"}}},
        {"-t aifc -o " + F("c.wav") + " " + F("d.aif"), {{"c.wav", "aifc\n"}, {"d.aif", "aifc\n"}}},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.args);
        Out(Vfl("convert " + F("st.wav") + " " + c.args));
        for (auto const& [file, type] : c.outputs)
        {
            EXPECT_EQ(Type(F(file)), type) << file;
            std::filesystem::remove(F(file));
        }
    }
    // A type vfl does not write is refused before any output is made.
    EXPECT_EQ(RunCommand(Vfl("convert " + F("st.wav") + " -o " + F("l.wav") + " " + F("r.flac") + " 2>/dev/null")), 2);
    EXPECT_FALSE(std::filesystem::exists(F("l.wav")));
}

TEST_F(VflStreams, DashIsStandardInputAndOutput)
{
    std::string const samples = Raw(F("st.wav"));
    // In.
    Out("cat " + F("st.wav") + " | " + Vfl("convert - -o " + F("in.aif")));
    EXPECT_TRUE(Raw(F("in.aif")) == samples);
    EXPECT_TRUE(Out("cat " + F("st.wav") + " | " + Vfl("cat -")) == Out(Vfl("cat " + F("st.wav"))));
    EXPECT_EQ(Out(Vfl("info -s -c -") + " < " + F("st.wav")), "22050\n2\n");
    // A pipe named on the command line (the shell's <(command)) likewise.
    Out("mkfifo " + F("pipe.wav"));
    std::string const feed = "cat " + F("st.wav") + " > " + F("pipe.wav") + " & ";
    EXPECT_EQ(Out(feed + Vfl("info -s -c " + F("pipe.wav"))), "22050\n2\n");
    EXPECT_NE(Out(feed + Vfl("print " + F("pipe.wav"))).find("fmt "), std::string::npos);
    EXPECT_EQ(Out(feed + Vfl("regions --json " + F("pipe.wav"))), Out(Vfl("regions --json " + F("st.wav"))));
    std::string refused;
    EXPECT_EQ(RunCommand(Vfl("adopt " + F("pipe.wav")) + " 2>&1", &refused), 1);
    EXPECT_NE(refused.find("a pipe cannot be changed in place"), std::string::npos) << refused;
    Out(feed + Vfl("convert " + F("pipe.wav") + " -o " + F("piped.aif")));
    EXPECT_TRUE(Raw(F("piped.aif")) == samples);
    // Out, with the type named; through a pipe that cannot seek.
    for (char const* type : {"wav", "aif", "aifc"})
    {
        SCOPED_TRACE(type);
        Out(Vfl("convert " + F("st.wav") + " -t " + type + " -o -") + " | cat > " + F("piped"));
        EXPECT_EQ(Type(F("piped")), std::string(type) == "aif" ? "aiff\n" : std::string(type) + "\n");
        EXPECT_TRUE(Out("sox -t " + std::string(type) + " " + F("piped") + " -t raw -e signed -L -") == samples);
    }
    Out(Vfl("cat " + F("st.wav")) + " | " + Vfl("new - -t wav -r 44100 -b 16 -c 2") + " > " + F("new.wav"));
    EXPECT_TRUE(Raw(F("new.wav")) == samples);
    // Without a type there is nothing to tell it.
    std::string err;
    EXPECT_EQ(RunCommand(Vfl("convert " + F("st.wav") + " -o - 2>&1 >/dev/null"), &err), 2);
    EXPECT_NE(err.find("give -t TYPE"), std::string::npos) << err;
}

TEST_F(VflStreams, OutputsTakeEveryNameTheFolderTakes)
{
    // 255 bytes, the most a name has here; the whole-file region holds 31.
    std::string const longest = std::string(251, 'x') + ".wav";
    std::string const utf8 = []
    {
        std::string s;
        for (int i = 0; i < 40; ++i)
            s += "\xC3\xBC";
        return s;
    }();
    Out(Vfl("convert " + F("st.wav") + " -r 48k -o " + F(longest)));
    EXPECT_EQ(Type(F(longest)), "wav\n");
    Out(Vfl("overview " + F("st.wav") + " --png " + F(std::string(251, 'p') + ".png")));
    EXPECT_TRUE(std::filesystem::exists(F(std::string(251, 'p') + ".png")));
    // A recording and a compaction end by naming that region after the file.
    Out(Vfl("cat " + F("st.wav")) + " | " + Vfl("new " + F(utf8 + ".wav") + " -r 44100 -b 16 -c 2"));
    EXPECT_EQ(Out(Vfl("regions --json " + F(utf8 + ".wav"))).substr(0, 40), "{\"name\":\"" + utf8.substr(0, 30) + "\"");
    Out(Vfl("compact " + F(longest) + " --keep 100-200"));
    EXPECT_EQ(Out(Vfl("info -s " + F(longest))), "100\n");
    EXPECT_EQ(Out(Vfl("regions --json " + F(longest))).substr(0, 41), "{\"name\":\"" + std::string(31, 'x') + "\"");
}

TEST_F(VflStreams, AFolderOfFilesSideBySideAsOneByOne)
{
    std::filesystem::create_directory(F("src"));
    std::filesystem::create_directory(F("out"));
    std::filesystem::create_directory(F("one"));
    std::vector<std::string> names;
    for (int i = 0; i < 6; ++i)
    {
        names.push_back("f" + std::to_string(i) + ".wav");
        Out("sox -n -r 44100 -c " + std::to_string(1 + i % 2) + " -b 16 " + F("src/" + names.back()) + " synth 0." +
            std::to_string(i + 1) + " sine " + std::to_string(200 + 50 * i));
    }
    vfltest::WriteWholeFile(F("src/bad.wav"), {'n', 'o'});
    std::string files;
    for (auto const& n : names)
        files += " " + F("src/" + n);
    std::string err;
    EXPECT_EQ(RunCommand(Vfl("convert -d " + F("out") + " -j 2 -r 48k -b 24" + files + " " + F("src/bad.wav") +
                             " 2>&1 >/dev/null"),
                         &err),
              1);
    EXPECT_NE(err.find("input " + F("src/bad.wav") + ": not an audio file"), std::string::npos) << err;
    EXPECT_NE(err.find("1 of 7 files failed: " + F("src/bad.wav")), std::string::npos) << err;
    for (auto const& n : names)
    {
        SCOPED_TRACE(n);
        // Each output is what a conversion of its own makes, layout kept.
        Out(Vfl("convert " + F("src/" + n) + " -r 48k -b 24 -o " + F("one/" + n)));
        EXPECT_TRUE(vfltest::ReadWholeFile(F("out/" + n)).size() > 0);
        EXPECT_TRUE(Raw(F("out/" + n)) == Raw(F("one/" + n)));
        EXPECT_EQ(Out("soxi -c " + F("out/" + n)), Out("soxi -c " + F("src/" + n)));
    }
    EXPECT_FALSE(std::filesystem::exists(F("out/bad.wav")));
    // A forced type renames the outputs; two inputs of one name are refused.
    Out(Vfl("convert -q -d " + F("out") + " -t aif " + F("src/f0.wav")));
    EXPECT_EQ(Type(F("out/f0.aif")), "aiff\n");
    EXPECT_EQ(RunCommand(Vfl("convert -d " + F("out") + " " + F("src/f0.wav") + " " + F("out/../src/f0.wav") +
                             " 2>/dev/null")),
              2);
}
} // namespace
