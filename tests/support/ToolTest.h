// The base of the tests of vfl as a program: its command line, commands run
// with their output, a folder of the test's own, and the reference tools a
// test needs.
#pragma once

#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

namespace vfltest
{
class ToolTest : public ::testing::Test
{
protected:
    // The first of the programs that is not installed; empty if all are.
    static std::string Missing(std::initializer_list<char const*> programs)
    {
        for (char const* program : programs)
            if (!HaveProgram(program))
                return program;
        return "";
    }
    static std::string Vfl(std::string const& args) { return ToolPath() + " " + args; }
    // The standard output of a shell command that must end with `status`.
    static std::string Out(std::string const& command, int status = 0)
    {
        std::string out;
        EXPECT_EQ(RunCommand(command, &out), status) << command;
        return out;
    }
    // The samples of a file as sox decodes them: signed, little-endian.
    static std::string Raw(std::string const& file) { return Out("sox " + file + " -t raw -e signed -L -"); }
    std::string F(std::string const& name) const { return mDir.File(name); }

    TempDir mDir;
};
} // namespace vfltest
