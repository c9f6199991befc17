// What vfl says when something is wrong, and with which exit status: a usage
// error in one line that points to the command's help (2), a failure that
// names the file and whether it is an input or an output, then the system's
// own text (1).
#include "support/ToolTest.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

using vfltest::RunCommand;

namespace
{
class VflMessages : public vfltest::ToolTest
{
protected:
    void SetUp() override
    {
        if (!vfltest::HaveProgram("sox"))
            GTEST_SKIP() << "sox is needed";
        Run("sox -n -r 44100 -c 2 -b 16 in.wav synth 0.1 sine 300");
        Run("sox -n -r 44100 -c 1 -b 16 silent.wav trim 0 0");
        Run(": > empty.wav");
        Run("cp in.wav ro.wav && chmod 444 ro.wav");
        Run("sox -n -r 8000 -c 65 -b 16 wide.wav synth 0.01 sine 300");
        // 16-bit mono AIFF of 2^31 frames with its sizes wrapped to 32 bits,
        // as a writer without 64-bit sizes leaves it; sparse.
        Run("python3 -c \"import struct; open('big.aif', 'wb').write(b'FORM' + struct.pack('>I', 46) + "
            "b'AIFFCOMM' + struct.pack('>IhIhHQ', 18, 1, 1 << 31, 16, 0x400B, 0xFA << 56) + b'SSND' + "
            "struct.pack('>III', 8, 0, 0))\" && truncate -s 4294967350 big.aif");
    }
    // Runs in the test's folder; answers the exit status and stderr.
    int Run(std::string const& command, std::string* err = nullptr)
    {
        return RunCommand("cd " + mDir.Path().string() + " && " + command + " 2>&1 >/dev/null", err);
    }
    // vfl as a user sees it: root's licence to write any file is dropped.
    // Empty where root cannot drop it.
    static std::string AsUser()
    {
        static std::string const drop = "setpriv --bounding-set=-dac_override,-dac_read_search "
                                        "--inh-caps=-dac_override,-dac_read_search ";
        if (::geteuid() != 0)
            return vfltest::ToolPath();
        static bool const canDrop = RunCommand(drop + "true") == 0;
        return canDrop ? drop + vfltest::ToolPath() : "";
    }
};

TEST_F(VflMessages, ExitStatusAndOneLineThatSaysWhatIsWrong)
{
    struct
    {
        char const* args;
        int status;
        char const* message;
    } const cases[] = {
        // Usage errors.
        {"", 2, "Usage: vfl"},
        {"frobnicate", 2, "vfl: no command 'frobnicate' (see 'vfl --help')"},
        {"convert in.wav --start", 2, "vfl: convert: --start needs a TIME (see 'vfl convert --help')"},
        {"convert in.wav --start=abc -o x.wav", 2, "--start needs a time: frames (4410), seconds (90s)"},
        {"convert in.wav", 2, "vfl: convert: no output given"},
        {"convert in.wav -o", 2, "vfl: convert: -o needs at least one OUT"},
        {"convert in.wav -o x.xyz", 2, "output x.xyz: vfl does not write '.xyz' files"},
        {"convert in.wav -o x", 2, "output x has no extension"},
        {"convert in.wav --bits 12 -o x.wav", 2, "--bits needs 8, 16, 24 or 32, not 12"},
        {"convert in.wav --quality 5 -o x.wav", 2, "--quality needs a whole number from 0 to 4, not '5'"},
        {"convert in.wav --rate 4.41k1 -o x.wav", 2, "--rate needs a sample rate in Hz"},
        {"convert in.wav --frobnicate -o x.wav", 2, "vfl: convert: unknown option '--frobnicate'"},
        {"convert in.wav --squeeze=yes -o x.wav", 2, "--squeeze takes no value"},
        {"convert in.wav --start 1s --length 1s -o x.wav", 2, "reach past the end of the input (4410 frames)"},
        {"overview in.wav --spi 0", 2, "vfl: overview: --spi needs a whole number from 1 to 2147483647, not '0'"},
        {"overview in.wav in.wav", 2, "one file at a time, not also 'in.wav'"},
        {"regions in.wav --add '' 0 10", 2, "vfl: regions: --add needs a NAME, not an empty one"},
        {"regions in.wav --add x 10", 2, "--add needs NAME START STOP"},
        {"regions in.wav --add x 10 5", 2, "a region needs START < STOP <= 4410"},
        {"cat in.wav --start 5000", 2, "--start 5000 is past the end of in.wav (4410 frames)"},
        {"new out.wav --rate 44100 --bits 16", 2, "--channels is required"},
        {"info", 2, "vfl: info: no file given (see 'vfl info --help')"},
        {"info --json -r in.wav", 2, "leave out the single-field options"},
        {"umid extra", 2, "unexpected argument 'extra'"},
        // Failures name the file.
        {"convert missing.wav -o x.wav", 1,
         "vfl: convert: input missing.wav: Sys: OSErr: 2: No such file or directory"},
        {"convert in.wav -o nodir/x.wav", 1,
         "vfl: convert: output nodir/x.wav: Sys: OSErr: 2: No such file or directory"},
        {"convert in.wav -t wav -o .", 1, "vfl: convert: output .: Sys: OSErr: 21: Is a directory"},
        {"convert empty.wav -o x.wav", 1, "vfl: convert: input empty.wav: not an audio file in a known format"},
        {"convert in.wav in.wav -o x.wav", 1, "several inputs must be mono files"},
        {"info missing.wav", 1, "vfl: info: missing.wav: Sys: OSErr: 2: No such file or directory"},
        {"cat missing.wav", 1, "vfl: cat: missing.wav: Sys: OSErr: 2"},
        {"overview empty.wav", 1, "vfl: overview: empty.wav: not an audio file in a known format"},
        {"overview silent.wav", 1, "vfl: overview: silent.wav: no audio to draw: the file has 0 frames"},
        {"overview wide.wav", 1, "vfl: overview: wide.wav: FF: file type not supported; While drawing the overview"},
        {"convert wide.wav -o x.wav", 1, "65 channels (1 to 64 are taken)"},
        {"regions in.wav --remove nothing", 1, "vfl: regions: in.wav: no region named 'nothing'"},
        {"adopt missing.wav", 1, "vfl: adopt: missing.wav: Sys: OSErr: 2"},
        {"adopt big.aif", 1,
         "vfl: adopt: big.aif: AIFF audio has 32-bit sizes and this file is 4294967350 bytes long: it cannot be "
         "rewritten ('vfl convert' makes a WAVE file of it)"},
        {"regions big.aif --add r 0 10", 1, "vfl: regions: big.aif: AIFF audio has 32-bit sizes"},
        {"compact big.aif --keep 0-10,20-2147483648", 1,
         "vfl: compact: big.aif: AIFF audio records 2146959359 frames at most and 2147483638 are kept: keep fewer"},
        {"print missing.wav", 1, "vfl: print: missing.wav: Sys: OSErr: 2"},
        {"regions ro.wav --add r 0 10", 1, "vfl: regions: ro.wav: Sys: OSErr: 13: Permission denied"},
        {"adopt ro.wav", 1, "vfl: adopt: ro.wav: Sys: OSErr: 13: Permission denied"},
        {"compact ro.wav --keep 0-10", 1, "vfl: compact: ro.wav: Sys: OSErr: 13: Permission denied"},
        {"regions - --add r 0 10", 1, "vfl: regions: -: standard input cannot be changed in place; name the file"},
        {"adopt -", 1, "vfl: adopt: -: standard input cannot be changed in place"},
        {"compact - --keep 0-10", 1, "vfl: compact: -: standard input cannot be changed in place"},
        // Success, in every form of writing an option.
        {"convert in.wav --rate=48k -o a.wav", 0, ""},
        {"convert in.wav -r48000 -b 24 -o b.wav", 0, ""},
        {"convert in.wav --start 0:00.05 --length 100 -o c.wav", 0, ""},
        {"help cat", 0, ""},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.args);
        std::string const vfl = AsUser();
        if (vfl.empty() && std::string(c.args).find("ro.wav") != std::string::npos)
            continue;
        std::string err;
        EXPECT_EQ(Run((vfl.empty() ? vfltest::ToolPath() : vfl) + " " + c.args, &err), c.status);
        EXPECT_NE(err.find(c.message), std::string::npos) << err;
        EXPECT_EQ(err.find("Assertion"), std::string::npos) << err;
        // One line, except for the overview of commands.
        if (c.status != 0 && std::string(c.args) != "")
        {
            EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 1) << err;
        }
    }
}

// Every command the tool lists, and its options, are accepted as its help
// says and named in the README.
TEST_F(VflMessages, HelpAgreesWithWhatIsAcceptedAndTheReadme)
{
    std::string const readme = Contents(VFL_SOURCE_DIR "/README.md");
    ASSERT_FALSE(readme.empty());
    std::string const usage = Out(Vfl("--help"));
    std::vector<std::string> commands;
    std::regex const listed("\n  ([a-z]+) ");
    for (std::sregex_iterator it(usage.begin(), usage.end(), listed), end; it != end; ++it)
        commands.push_back((*it)[1].str());
    EXPECT_GE(commands.size(), 16u) << usage;
    for (char const* command : {"info", "cat", "convert", "overview", "new", "regions", "adopt", "print", "volumes",
                                "umid", "compact", "unique", "find", "keys", "crashlog"})
        EXPECT_NE(std::find(commands.begin(), commands.end(), command), commands.end()) << command << "\n" << usage;
    for (std::string const& command : commands)
    {
        SCOPED_TRACE(command);
        std::string const viaOption = Out(Vfl(command + " --help"));
        EXPECT_EQ(viaOption, Out(Vfl("help " + command)));
        EXPECT_EQ(viaOption.rfind("Usage: vfl " + command, 0), 0u) << viaOption;
        EXPECT_NE(readme.find("`vfl " + command), std::string::npos);
        std::istringstream lines(viaOption);
        for (std::string line; std::getline(lines, line);)
            EXPECT_LE(line.size(), 80u) << line;
        // Every long option the help lists is known to the command: given
        // without its value it is never "unknown". The README names each.
        std::regex const row("\n +(-[a-zA-Z], )?(--[a-z-]+)");
        int options = 0;
        for (std::sregex_iterator it(viaOption.begin(), viaOption.end(), row), end; it != end; ++it, ++options)
        {
            std::string const option = (*it)[2].str();
            std::string err;
            RunCommand(Vfl(command + " " + option + " 2>&1 >/dev/null </dev/null"), &err);
            EXPECT_EQ(err.find("unknown option"), std::string::npos) << option << ": " << err;
            if (option != "--help")
            {
                EXPECT_NE(readme.find(option), std::string::npos) << option;
            }
        }
        EXPECT_GE(options, 1); // --help at least
    }
    EXPECT_EQ(Out(Vfl("--version")).rfind("vfl ", 0), 0u);
    for (char const* status : {"| 0 |", "| 1 |", "| 2 |", "| 128 + N |"})
        EXPECT_NE(readme.find(status), std::string::npos) << status;
}
} // namespace
