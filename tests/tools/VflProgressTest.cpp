// The progress line on a terminal: redrawn in place within the terminal's
// width and wiped at the end; nothing with -q or off a terminal.
#include "support/TestSupport.h"

#include <gtest/gtest.h>

using vfltest::RunCommand;

TEST(VflProgress, RedrawnInPlaceWithinTheWidthAndWipedAtTheEnd)
{
    for (char const* tool : {"sox", "script", "stty"})
        if (!vfltest::HaveProgram(tool))
            GTEST_SKIP() << tool << " is needed";
    vfltest::TempDir dir;
    ASSERT_EQ(RunCommand("sox -n -r 44100 -c 2 -b 16 " + dir.File("in.wav") + " synth 20 sine 300"), 0);
    struct
    {
        char const* options;
        int columns;
        bool drawn;
    } const cases[] = {{"", 80, true}, {"", 24, true}, {"-q", 80, false}};
    for (auto const& c : cases)
    {
        SCOPED_TRACE(std::string(c.options) + " in " + std::to_string(c.columns) + " columns");
        // script gives vfl a terminal; only what vfl writes comes back.
        std::string out;
        ASSERT_EQ(RunCommand("script -qfec 'stty cols " + std::to_string(c.columns) + "; " + vfltest::ToolPath() +
                                 " convert " + c.options + " " + dir.File("in.wav") + " -r 48k -o " +
                                 dir.File("take_with_a_long_name.wav") + "' /dev/null",
                             &out),
                  0);
        if (!c.drawn)
        {
            EXPECT_EQ(out, "");
            continue;
        }
        ASSERT_GE(out.size(), 4u);
        EXPECT_EQ(out.substr(out.size() - 4), "\r\033[K") << "wiped at the end";
        EXPECT_EQ(out.find('\n'), std::string::npos) << "never a new line";
        // Every drawing fits the terminal and says how far it is.
        for (std::size_t at = out.find('\r'); at + 4 < out.size(); at = out.find('\r', at + 1))
        {
            std::string const line = out.substr(at + 1, out.find("\033[K", at) - at - 1);
            EXPECT_LT(line.size(), static_cast<std::size_t>(c.columns)) << line;
            EXPECT_NE(line.find('%'), std::string::npos) << line;
        }
    }
    // Off a terminal, stderr stays clean.
    std::string err;
    ASSERT_EQ(RunCommand(vfltest::ToolPath() + " convert " + dir.File("in.wav") + " -o " + dir.File("b.wav") +
                             " 2>&1 >/dev/null",
                         &err),
              0);
    EXPECT_EQ(err, "");
}
