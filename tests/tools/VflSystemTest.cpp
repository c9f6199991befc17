// vfl volumes and vfl umid: the library's view of this machine.
#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <regex>
#include <set>
#include <sstream>

TEST(VflSystem, VolumesIncludeTheRootWithItsFreeSpace)
{
    std::string out;
    ASSERT_EQ(vfltest::RunCommand(vfltest::ToolPath() + " volumes --json", &out), 0);
    std::smatch m;
    ASSERT_TRUE(std::regex_search(out, m, std::regex("\\{\"root\":\"/\"[^\n]*\"freeSpace\":([0-9]+)"))) << out;
    // Within a few MB of what df says, on the same call.
    std::string df;
    ASSERT_EQ(vfltest::RunCommand("df -B1 --output=avail / | tail -1", &df), 0);
    double const ours = std::stod(m[1].str()), theirs = std::stod(df);
    EXPECT_LT(std::abs(ours - theirs), 64.0 * 1024 * 1024);
    EXPECT_NE(out.find("\"bytesPerSector\":"), std::string::npos);
}

TEST(VflSystem, UmidsAreNewEachTime)
{
    std::set<std::string> seen;
    for (int i = 0; i < 5; ++i)
    {
        std::string out;
        ASSERT_EQ(vfltest::RunCommand(vfltest::ToolPath() + " umid", &out), 0);
        EXPECT_TRUE(std::regex_match(out, std::regex("[A-Za-z0-9#!]{14}\n"))) << out;
        seen.insert(out);
    }
    EXPECT_EQ(seen.size(), 5u);
}
