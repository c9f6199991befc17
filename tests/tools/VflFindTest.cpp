// vfl find on a made-up tree of recordings, their moved and renamed copies
// and look-alikes: by name, by media identifier and by likeness; results as
// text and JSON, the volumes, Ctrl-C, and the progress line on a terminal.
#include "support/ToolTest.h"
#include "support/WaveBuilder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <regex>

namespace
{
namespace fs = std::filesystem;

// root/
//   backup/ take.wav (a copy)  old/ renamed.wav (a copy, renamed)
//   export/ notes.txt  take.aif  TAKE.WAV (no identifier, same name, length and format)
//   session/ other.wav  take.wav (the original)
class VflFind : public vfltest::ToolTest
{
protected:
    void SetUp() override
    {
        mRoot = fs::canonical(mDir.Path()).string() + "/root/";
        for (char const* folder : {"backup/old", "export", "session"})
            fs::create_directories(mRoot + folder);
        New("session/take.wav", 100, "wav");
        New("session/other.wav", 200, "wav");
        New("export/take.aif", 100, "aif");
        fs::copy_file(mRoot + "session/take.wav", mRoot + "backup/take.wav");
        fs::copy_file(mRoot + "session/take.wav", mRoot + "backup/old/renamed.wav");
        vfltest::WriteWholeFile(
            mRoot + "export/TAKE.WAV",
            WaveBuilder().RiffHeader().Fmt(1, 8000, 16).Data(std::vector<std::uint8_t>(200, 0)).FixRiffSize().Bytes());
        vfltest::WriteWholeFile(mRoot + "export/notes.txt", {'t', 'a', 'k', 'e'});
        mTake = Umid("session/take.wav");
        mOther = Umid("session/other.wav");
    }

    void New(std::string const& name, int frames, char const* type)
    {
        Out("head -c " + std::to_string(2 * frames) + " /dev/zero | " +
            Vfl("new " + mRoot + name + " --rate 8000 --bits 16 --channels 1 --type " + type));
    }

    std::string Umid(std::string const& name)
    {
        std::string const out = Out(Vfl("info " + mRoot + name));
        std::smatch m;
        EXPECT_TRUE(std::regex_search(out, m, std::regex("umid: (\\S+)"))) << out;
        return m[1].str();
    }

    // The output of `vfl find ARGS` run in the tree's root, with paths below
    // the root; it must end with `status`.
    std::string Find(std::string const& args, int status = 0)
    {
        return std::regex_replace(Out("cd " + mRoot + " && " + Vfl("find " + args) + " 2>/dev/null", status),
                                  std::regex(mRoot), "");
    }

    std::string mRoot;
    std::string mTake, mOther;
};

TEST_F(VflFind, ByNameByIdentifierAndByLikeness)
{
    std::string const both = Out(Vfl("umid --words")); // a new identifier, in its short form and in words
    std::string const shortForm = both.substr(0, both.find(' '));
    std::string const words = both.substr(both.find(' ') + 1, both.size() - both.find(' ') - 2);
    struct Case
    {
        std::string args;
        int status;
        std::string expected;
    };
    Case const cases[] = {
        // Names: the tree breadth-first, each folder in order; audio files only.
        {"'take*'", 0, "backup/take.wav\nexport/take.aif\nexport/TAKE.WAV\nsession/take.wav\n"},
        {"'*.wav' --in session", 0, "session/other.wav\nsession/take.wav\n"},
        {"--in backup --tree", 0, "backup/take.wav\nbackup/old/renamed.wav\n"},
        {"'*.txt'", 1, ""},
        {"'?AKE.wav' --in export --json", 0, "{\"path\":\"export/TAKE.WAV\",\"match\":\"name\"}\n"},
        // The identifier ends the search, under any name; the names seen before it are candidates.
        {"--umid " + mTake, 0, "exact     backup/take.wav\n"},
        {"--umid " + mTake + " --in backup/old", 0, "exact     backup/old/renamed.wav\n"},
        {"'*' --umid " + mOther, 0,
         "candidate backup/take.wav\ncandidate export/take.aif\ncandidate export/TAKE.WAV\n"
         "exact     session/other.wav\n"},
        {"'*' --umid " + mOther + " --json --in session", 0, "{\"path\":\"session/other.wav\",\"match\":\"exact\"}\n"},
        // Copies: the same identifier under any name, or the same name, length and format.
        {"--like session/take.wav", 0,
         "copy      backup/take.wav\nsimilar   export/TAKE.WAV\ncopy      backup/old/renamed.wav\n"},
        {"--like session/other.wav", 1, ""},
        // Identifiers in both forms that no file has, and bad arguments: nothing.
        {"--umid " + shortForm, 1, ""},
        {"--umid " + words, 1, ""},
        {"--umid 1.2.3", 2, ""},
        {"--umid a" + shortForm, 2, ""},
        {"--umid \\#\\#\\#\\#\\#\\#\\#\\#\\#\\#\\#\\#\\#\\#\\#\\#\\#\\#\\#\\#\\#\\#", 2, ""},
        {"--in nowhere", 1, ""},
        {"--in session --volumes", 2, ""},
        {"--volumes --types fixed,bogus", 2, ""},
        {"--like export/notes.txt", 1, ""},
        {"a b", 2, ""},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.args);
        EXPECT_EQ(Find(c.args, c.status), c.expected);
    }
}

TEST_F(VflFind, VolumesAreSearchedFromTheirRoots)
{
    std::string mounts;
    vfltest::RunCommand("findmnt -n -o FSTYPE /dev/shm 2>/dev/null", &mounts);
    if (mounts.rfind("tmpfs", 0) != 0)
        GTEST_SKIP() << "no RAM disk at /dev/shm";
    std::string const name = fs::path(mDir.Path()).filename().string() + ".wav"; // unique on this machine
    fs::copy_file(mRoot + "session/take.wav", "/dev/shm/" + name);
    std::string const out = Find("'" + name + "' --volumes --types ramdisk");
    fs::remove("/dev/shm/" + name);
    EXPECT_EQ(out, "/dev/shm/" + name + "\n");
}

TEST_F(VflFind, CtrlCStopsTheSearchAndKeepsWhatWasFound)
{
    // Enough copies that the search is still opening files when it is told to stop.
    for (int folder = 0; folder < 20; ++folder)
    {
        std::string const dir = mRoot + "many/" + std::to_string(folder) + "/";
        fs::create_directories(dir);
        for (int i = 0; i < 100; ++i)
            fs::copy_file(mRoot + "session/take.wav", dir + "c" + std::to_string(i) + ".wav");
    }
    std::string const whole = Find("--like session/take.wav");

    // Stopped once it has printed its first result (waited for 20 s at most):
    // what it printed is what it found so far, in the same order.
    std::string const out = Out("bash -c 'cd " + mRoot + " && { " + Vfl("find --like session/take.wav") +
                                " >out.txt 2>err.txt & p=$!; for i in $(seq 400); do grep -q copy out.txt 2>/dev/null "
                                "&& break; sleep 0.05; done; kill -INT $p; wait $p; echo $?; }'");
    std::string const partial = std::regex_replace(Contents(mRoot + "out.txt"), std::regex(mRoot), "");
    EXPECT_EQ(partial.rfind("copy      backup/take.wav\n", 0), 0u) << partial;
    EXPECT_EQ(whole.compare(0, partial.size(), partial), 0) << partial;
    // A fast machine may finish the search before the signal arrives; then
    // it printed everything. That the task stops at once is its own test.
    if (out == "0\n")
        EXPECT_EQ(partial, whole);
    else
    {
        EXPECT_EQ(out, "130\n");
        EXPECT_EQ(Contents(mRoot + "err.txt"), "vfl find: interrupted\n");
    }
}

TEST_F(VflFind, OnATerminalTheProgressLineShowsTheFolderBeingSearched)
{
    if (!vfltest::HaveProgram("script"))
        GTEST_SKIP() << "script is needed for a terminal";
    std::string const tty = Out("bash -c 'cd " + mRoot + " && script -qfec \"" + Vfl("find --like session/take.wav") +
                                "\" /dev/null </dev/null'");
    EXPECT_NE(tty.find("searching " + mRoot), std::string::npos) << tty;
    EXPECT_NE(tty.find("copy      " + mRoot + "backup/old/renamed.wav"), std::string::npos) << tty;
    // Results start on a line of their own: the progress line is wiped first.
    EXPECT_NE(tty.find("\r\033[Kcopy      " + mRoot + "backup/take.wav"), std::string::npos) << tty;
}

} // namespace
