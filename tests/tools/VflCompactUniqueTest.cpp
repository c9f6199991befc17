// vfl compact and vfl unique end to end: a file made by sox compacted in
// place and read back by sox as the kept stretches, refusals that leave the
// file as it was, and free names in a folder.
#include "support/TestSupport.h"
#include "support/ToolTest.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <regex>

using vfltest::RunCommand;

namespace
{
class VflCompactUnique : public vfltest::ToolTest
{
protected:
    VflCompactUnique() : ToolTest({"sox", "soxi", "getconf"}) {}
};

TEST_F(VflCompactUnique, CompactKeepsTheStretchesAsSoxCutsThem)
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

TEST_F(VflCompactUnique, CompactRefusesAndLeavesTheFileAlone)
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

TEST_F(VflCompactUnique, UniqueNamesInAFolder)
{
    std::string const dir = F("takes");
    std::filesystem::create_directory(dir);
    for (char const* name : {"Vox.wav", "Vox-1.wav", "Gtr.R.wav"})
        vfltest::WriteWholeFile(dir + "/" + name, {});
    std::string limit;
    ASSERT_EQ(RunCommand("getconf NAME_MAX " + dir, &limit), 0);
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
