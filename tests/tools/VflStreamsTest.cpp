// Where vfl's outputs go and its inputs come from: each output's own type,
// standard input and output as "-", named pipes, folders of files converted
// side by side with -d and -j, and free names in a folder. Also vfl compact:
// a file made by sox compacted in place and read back by sox as the kept
// stretches, and refusals that leave the file as it was.
#include "support/ToolTest.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <regex>

namespace
{
class VflStreams : public vfltest::ToolTest
{
protected:
    VflStreams() : ToolTest({"sox", "soxi", "getconf"}) {}
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
    Out(Vfl("convert " + F("st.wav") + " -o " + F("l.wav") + " " + F("r.flac") + " 2>/dev/null"), 2);
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
    std::string const refused = Out(Vfl("adopt " + F("pipe.wav")) + " 2>&1", 1);
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
    std::string const err = Out(Vfl("convert " + F("st.wav") + " -o - 2>&1 >/dev/null"), 2);
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
    std::string const err = Out(
        Vfl("convert -d " + F("out") + " -j 2 -r 48k -b 24" + files + " " + F("src/bad.wav") + " 2>&1 >/dev/null"), 1);
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
    Out(Vfl("convert -d " + F("out") + " " + F("src/f0.wav") + " " + F("out/../src/f0.wav") + " 2>/dev/null"), 2);
}

TEST_F(VflStreams, CompactKeepsTheStretchesAsSoxCutsThem)
{
    // AIFF, big-endian 24-bit stereo, made by another tool.
    std::string const path = F("take.aif");
    std::string const original = F("original.aif");
    Out("sox -r 48000 -c 2 -n -b 24 " + path + " synth 300000s whitenoise");
    Out(Vfl("regions " + path + " --add kept 20000 30000 --sync 25000"));
    Out(Vfl("regions " + path + " --add across 29000 41000"));
    std::filesystem::copy_file(path, original);

    std::string const out = Out(Vfl("compact " + path + " --keep 40000-50000,10000-35000 --keep 299999-300000"));
    // The new length, the whole-file region over it and the region that lay
    // inside a kept stretch; the one across a gap is gone.
    EXPECT_EQ(out.rfind(path + ": 35001 frames kept of 300000\n", 0), 0u) << out;
    EXPECT_TRUE(std::regex_search(out, std::regex("\ntake +0 +35001 sync 0  \\(whole file\\)\n"))) << out;
    EXPECT_TRUE(std::regex_search(out, std::regex("\nkept +10000 +20000 sync 15000\n"))) << out;
    EXPECT_EQ(out.find("across"), std::string::npos) << out;
    EXPECT_EQ(Out("soxi -s " + path), "35001\n");
    std::string expected;
    for (char const* stretch : {"10000s =35000s", "40000s =50000s", "299999s =300000s"})
        expected += Out("sox " + original + " -t raw - trim " + stretch);
    EXPECT_TRUE(Out("sox " + path + " -t raw -") == expected) << "the audio is not the kept stretches";
}

TEST_F(VflStreams, CompactRefusesAndLeavesTheFileAlone)
{
    std::string const path = F("take.wav");
    Out("sox -r 44100 -c 1 -n -b 16 " + path + " synth 1000s sine 440");
    std::string const notes = F("notes.wav");
    vfltest::WriteWholeFile(notes, std::vector<std::uint8_t>(64, 'n'));
    struct Case
    {
        std::string args;
        int status;
        char const* message;
    } const cases[] = {
        {path + " --keep 0-1001", 2, "reach past the 1000 frames"},
        {path + " --keep 10-5", 2, "START < END"},
        {path, 2, "--keep is needed"},
        {notes + " --keep 0-10", 1, "not an audio file"},
        {F("gone.wav") + " --keep 0-10", 1, "gone.wav"},
    };
    auto const bytes = vfltest::ReadWholeFile(path);
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.args);
        std::string const err = Out(Vfl("compact " + c.args) + " 2>&1 >/dev/null", c.status);
        EXPECT_NE(err.find(c.message), std::string::npos) << err;
        EXPECT_TRUE(vfltest::ReadWholeFile(path) == bytes);
    }
}

TEST_F(VflStreams, UniqueNamesInAFolder)
{
    std::string const dir = F("takes");
    std::filesystem::create_directory(dir);
    for (char const* name : {"Vox.wav", "Vox-1.wav", "Gtr.R.wav"})
        vfltest::WriteWholeFile(dir + "/" + name, {});
    std::string const limit = Out("getconf NAME_MAX " + dir);
    struct Case
    {
        std::string args;
        std::string expected;
    } const cases[] = {
        {"Vox --ext .wav --max 7", "V-1.wav\n"},
        {"Gtr --ext wav --stereo", "Gtr-1.L.wav\nGtr-1.R.wav\n"},
        // By default as long as the file system allows.
        {std::string(400, 'x') + " --ext wav", std::string(std::stoul(limit) - 4, 'x') + ".wav\n"},
    };
    std::string const folder = std::filesystem::canonical(dir).string() + "/";
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.args.substr(0, 40));
        // Full paths in the folder, one a line.
        std::string out = Out(Vfl("unique " + dir + " " + c.args));
        for (std::size_t at = 0; (at = out.find(folder, at)) != std::string::npos;)
            out.erase(at, folder.size());
        EXPECT_EQ(out, c.expected);
    }
    Out(Vfl("unique '" + F("nothing here") + "' x 2>/dev/null"), 1);
    Out(Vfl("unique " + dir + " a/b 2>/dev/null"), 2);

    // new and convert take the output's name as a wish, print the free name
    // they write under, and leave what is there alone.
    auto const vox = vfltest::ReadWholeFile(dir + "/Vox.wav");
    EXPECT_EQ(Out("head -c 400 /dev/zero | " + Vfl("new " + dir + "/Vox.wav -r 8000 -b 16 -c 1 --unique")),
              folder + "Vox-2.wav\n");
    EXPECT_EQ(Out(Vfl("convert " + dir + "/Vox-2.wav -o " + dir + "/Vox.aif " + dir + "/Vox.aif --unique -q"), 2), "");
    EXPECT_EQ(Out(Vfl("convert " + dir + "/Vox-2.wav -o " + dir + "/Vox.wav --unique -q")), folder + "Vox-3.wav\n");
    EXPECT_EQ(vfltest::ReadWholeFile(dir + "/Vox.wav"), vox);
    EXPECT_EQ(Out("soxi -s " + dir + "/Vox-3.wav"), "200\n");
}
} // namespace
