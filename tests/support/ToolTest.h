// The base of the tests of vfl as a program: its command line, commands run
// with their output, a folder of the test's own, and the reference tools a
// test needs.
#pragma once

#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <regex>
#include <string>
#include <vector>

namespace vfltest
{
class ToolTest : public ::testing::Test
{
protected:
    // The reference programs every test of the fixture needs: it is skipped
    // on a machine without one of them.
    explicit ToolTest(std::initializer_list<char const*> needs = {}) : mNeeds(needs) {}
    void SetUp() override
    {
        if (auto const missing = Missing(mNeeds); !missing.empty())
            GTEST_SKIP() << missing << " is needed";
    }

    // The first of the programs that is not installed; empty if all are.
    static std::string Missing(std::vector<char const*> const& programs)
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
    static std::string Contents(std::string const& path)
    {
        auto const b = ReadWholeFile(path);
        return std::string(b.begin(), b.end());
    }
    // The text without its closing newlines and spaces: soxi's answers.
    static std::string Trim(std::string s)
    {
        while (!s.empty() && (s.back() == '\n' || s.back() == ' '))
            s.pop_back();
        return s;
    }
    // The value of a numeric or string field of a one-line JSON object.
    static std::string JsonField(std::string const& json, std::string const& key)
    {
        std::smatch m;
        std::regex const re("\"" + key + "\":(\"([^\"]*)\"|(-?[0-9.]+))");
        if (!std::regex_search(json, m, re))
            return "";
        return m[2].matched ? m[2].str() : m[3].str();
    }
    // Runs `make`, a shell command whose OUT stands for the file, to make `path`.
    static void Make(std::string const& make, std::string const& path)
    {
        std::string const command = std::regex_replace(make, std::regex("OUT"), path);
        ASSERT_EQ(RunCommand(command + " 2>&1"), 0) << command;
    }

    TempDir mDir;

private:
    std::vector<char const*> mNeeds;
};
} // namespace vfltest
