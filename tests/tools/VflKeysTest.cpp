// vfl keys: a bindings file as the workstation reads it, and its conflicts.
#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <string>

TEST(VflKeys, PrintsTheBindingsAndTheirConflicts)
{
    vfltest::TempDir dir;
    std::string const path = dir.File("edit.keys");
    std::string const text = "context 2 Edit\nshift?+space Play\nshift+Space Stop\ncommand+Z Undo\n";
    vfltest::WriteWholeFile(path, std::vector<std::uint8_t>(text.begin(), text.end()));
    std::string out;
    EXPECT_EQ(vfltest::RunCommand(vfltest::ToolPath() + " keys " + path, &out), 1);
    EXPECT_EQ(out, "context 2 Edit\n"
                   "shift?+Space  Play\n"
                   "shift+Space   Stop\n"
                   "command+Z     Undo\n"
                   "\n"
                   "conflict in context 2: line 3 'shift+Space' (Stop) never runs: line 2 'shift?+Space' (Play) "
                   "matches first\n");

    EXPECT_EQ(vfltest::RunCommand("printf 'F5 Play\\n' | " + vfltest::ToolPath() + " keys -", &out), 0);
    EXPECT_EQ(out, "context 0 \"\"\nF5  Play\n");

    std::string err;
    EXPECT_EQ(vfltest::RunCommand("printf 'F25 Play\\n' | " + vfltest::ToolPath() + " keys - 2>&1", &err), 1);
    EXPECT_EQ(err, "vfl: keys: Error reading file; standard input, line 1: no key 'F25' in 'F25'\n");
    EXPECT_EQ(vfltest::RunCommand(vfltest::ToolPath() + " keys " + dir.File("none.keys") + " 2>&1", &err), 1);
    EXPECT_NE(err.find("none.keys: cannot be opened"), std::string::npos) << err;
    EXPECT_EQ(vfltest::RunCommand(vfltest::ToolPath() + " keys 2>/dev/null"), 2);
}
