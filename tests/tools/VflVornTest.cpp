// VORN files through vfl: written by new and convert with their audio as
// sox writes raw big-endian signed samples, read back by info, cat and
// convert; and no command that only reads makes a file or folder, for any
// file of the test corpus.
#include "support/TestSupport.h"
#include "support/ToolTest.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>

namespace
{
namespace fs = std::filesystem;

class VflVorn : public vfltest::ToolTest
{
protected:
    VflVorn() : ToolTest({"sox"}) {}
};

TEST_F(VflVorn, NewAndConvertWriteTheAudioBigEndianAndReadItBack)
{
    struct Case
    {
        int bits, channels;
    } const cases[] = {{8, 1}, {8, 2}, {16, 1}, {16, 2}, {24, 1}, {24, 2}};
    for (auto const& c : cases)
    {
        std::string const tag = std::to_string(c.bits) + "b" + std::to_string(c.channels) + "c";
        SCOPED_TRACE(tag);
        std::string const format =
            "-r 22050 -c " + std::to_string(c.channels) + " -b " + std::to_string(c.bits) + " -e signed";
        std::string const raw = F(tag + ".raw"), wav = F(tag + ".wav");
        Out("sox -r 22050 -n " + format + " -t raw " + raw + " synth 501s whitenoise");
        Out("sox " + format + " -t raw " + raw + " " + wav);
        std::string const bigEndian = Out("sox " + wav + " -t raw -e signed -B -");
        std::string const littleEndian = Contents(raw);
        std::size_t const frames = littleEndian.size() / (c.bits / 8 * c.channels);
        ASSERT_GT(frames, 100u);

        std::string const made = F(tag + "-new.vorn"), converted = F(tag + "-conv");
        Out(Vfl("new " + made + " -r 22050 -b " + std::to_string(c.bits) + " -c " + std::to_string(c.channels) + " < " +
                raw));
        Out(Vfl("convert " + wav + " --type vorn -o " + converted));
        for (auto const& vorn : {made, converted})
        {
            SCOPED_TRACE(vorn);
            EXPECT_TRUE(Contents(vorn) == bigEndian) << "data fork differs from sox's big-endian samples";
            EXPECT_TRUE(fs::is_regular_file(fs::path(vorn).parent_path() / "Resource.FRK" / fs::path(vorn).filename()));
            EXPECT_EQ(Out(Vfl("info -t -b -c -s " + vorn)), "vorn\n" + std::to_string(c.bits) + "\n" +
                                                                std::to_string(c.channels) + "\n" +
                                                                std::to_string(frames) + "\n");
            EXPECT_TRUE(Out(Vfl("cat " + vorn)) == littleEndian) << "vfl cat differs from the source";
            std::string const back = F(tag + "-back.wav");
            Out(Vfl("convert " + vorn + " -o " + back));
            EXPECT_TRUE(Out("sox " + back + " -t raw -e signed -L -") == littleEndian) << "round trip differs";
        }
    }
    // No temporary fork is left behind, and standard output takes no fork.
    for (auto const& entry : fs::directory_iterator(mDir.Path() / "Resource.FRK"))
        EXPECT_NE(entry.path().filename().string().front(), '.') << entry.path();
    Out(Vfl("convert " + F("8b1c.wav") + " -t vorn -o -"), 2);
}

TEST_F(VflVorn, ReplacingAFileReplacesOrRemovesItsFork)
{
    Out("sox -r 8000 -n -c 1 -b 16 " + F("a.wav") + " synth 100s sine 300");
    Out("sox -r 8000 -n -c 2 -b 16 " + F("b.wav") + " synth 50s sine 300");
    std::string const fork = F("Resource.FRK/x.vorn");
    Out(Vfl("convert " + F("a.wav") + " -o " + F("x.vorn")));
    Out(Vfl("convert " + F("b.wav") + " -o " + F("x.vorn")));
    EXPECT_EQ(Out(Vfl("info -c -s " + F("x.vorn"))), "2\n50\n");
    // A WAVE file in the place of a VORN file leaves no fork of the old one.
    Out(Vfl("convert " + F("a.wav") + " -t wav -o " + F("x.vorn")));
    EXPECT_FALSE(fs::exists(fork));
    EXPECT_EQ(Out(Vfl("info -t " + F("x.vorn"))), "wav\n");
}

// Every entry below a folder, with its size and modification time.
std::map<std::string, std::string> Listing(fs::path const& root)
{
    std::map<std::string, std::string> list;
    for (auto const& e : fs::recursive_directory_iterator(root))
        list[e.path().string()] = std::to_string(e.is_regular_file() ? e.file_size() : 0) + " " +
                                  std::to_string(e.last_write_time().time_since_epoch().count());
    return list;
}

TEST_F(VflVorn, ReadingCommandsCreateNothing)
{
    // The seed files of the format tests, and files of other kinds.
    fs::path const corpus = fs::path(VFL_SOURCE_DIR) / "fuzz" / "corpus";
    for (char const* kind : {"wave", "aiff", "aifc"})
        for (auto const& e : fs::directory_iterator(corpus / kind))
            fs::copy_file(e.path(), mDir.Path() / e.path().filename());
    vfltest::WriteWholeFile(F("notes.txt"), {'h', 'i', '\n'});
    vfltest::WriteWholeFile(F("empty"), {});
    Out("sox -n -r 8000 -c 2 -b 16 -t raw - synth 10s sine 300 | " +
        Vfl("new " + F("take.vorn") + " -r 8k -b 16 -c 2"));
    fs::copy_file(F("take.vorn"), F("take copy"));
    fs::copy_file(F("Resource.FRK/take.vorn"), F("Resource.FRK/take copy"));
    vfltest::WriteWholeFile(F("damaged"), {1, 2, 3, 4});
    vfltest::WriteWholeFile(F("Resource.FRK/damaged"), std::vector<std::uint8_t>(300, 0xEE));

    std::vector<fs::path> files;
    for (auto const& e : fs::directory_iterator(mDir.Path()))
        if (e.is_regular_file())
            files.push_back(e.path());
    ASSERT_GT(files.size(), 30u);
    auto const before = Listing(mDir.Path());
    for (auto const& file : files)
        for (char const* command : {"info", "cat", "print"})
            vfltest::RunCommand(Vfl(std::string(command) + " '" + file.string() + "' > /dev/null 2>&1"));
    // A search by name finds the file, not its fork of the same name.
    std::string const folder = fs::canonical(mDir.Path()).string();
    EXPECT_EQ(Out(Vfl("find '*.vorn' --in " + folder + " --tree")), folder + "/take.vorn\n");
    EXPECT_EQ(Listing(mDir.Path()), before);
    EXPECT_EQ(Out(Vfl("info -t '" + F("take copy") + "'")), "vorn\n");
    EXPECT_NE(Out(Vfl("print '" + F("take copy") + "'")).find("resource fork in "), std::string::npos);
}

} // namespace
