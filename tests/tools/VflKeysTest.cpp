// vfl keys: a bindings file as the workstation reads it, and its conflicts.
#include "support/TestSupport.h"
#include "support/ToolTest.h"

#include <gtest/gtest.h>

#include <string>

namespace
{
class VflKeys : public vfltest::ToolTest
{
};

TEST_F(VflKeys, PrintsTheBindingsAndTheirConflicts)
{
    std::string const text = "context 2 Edit\nshift?+space Play\nshift+Space Stop\ncommand+Z Undo\n";
    vfltest::WriteWholeFile(F("edit.keys"), std::vector<std::uint8_t>(text.begin(), text.end()));
    EXPECT_EQ(Out(Vfl("keys " + F("edit.keys")), 1),
              "context 2 Edit\n"
              "shift?+Space  Play\n"
              "shift+Space   Stop\n"
              "command+Z     Undo\n"
              "\n"
              "conflict in context 2: line 3 'shift+Space' (Stop) never runs: line 2 'shift?+Space' (Play) "
              "matches first\n");
    EXPECT_EQ(Out("printf 'F5 Play\\n' | " + Vfl("keys -")), "context 0 \"\"\nF5  Play\n");
    EXPECT_EQ(Out("printf 'F25 Play\\n' | " + Vfl("keys - 2>&1"), 1),
              "vfl: keys: Error reading file; standard input, line 1: no key 'F25' in 'F25'\n");
    std::string const err = Out(Vfl("keys " + F("none.keys") + " 2>&1"), 1);
    EXPECT_NE(err.find("none.keys: cannot be opened"), std::string::npos) << err;
    Out(Vfl("keys 2>/dev/null"), 2);
}
} // namespace
