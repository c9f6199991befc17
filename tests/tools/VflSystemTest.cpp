// vfl volumes and vfl umid: the library's view of this machine.
#include "support/TestSupport.h"
#include "support/ToolTest.h"

#include <gtest/gtest.h>

#include <cmath>
#include <regex>
#include <set>

namespace
{
class VflSystem : public vfltest::ToolTest
{
};

TEST_F(VflSystem, VolumesIncludeTheRootWithItsFreeSpace)
{
    std::string const out = Out(Vfl("volumes --json"));
    std::smatch m;
    ASSERT_TRUE(std::regex_search(out, m, std::regex("\\{\"root\":\"/\"[^\n]*\"freeSpace\":([0-9]+)"))) << out;
    // Within a few MB of what df says, on the same call.
    double const ours = std::stod(m[1].str()), theirs = std::stod(Out("df -B1 --output=avail / | tail -1"));
    EXPECT_LT(std::abs(ours - theirs), 64.0 * 1024 * 1024);
    EXPECT_NE(out.find("\"bytesPerSector\":"), std::string::npos);
}

TEST_F(VflSystem, UmidsAreNewEachTime)
{
    std::set<std::string> seen;
    for (int i = 0; i < 5; ++i)
    {
        std::string const out = Out(Vfl("umid"));
        EXPECT_TRUE(std::regex_match(out, std::regex("[A-Za-z0-9#!]{14}\n"))) << out;
        seen.insert(out);
    }
    EXPECT_EQ(seen.size(), 5u);
}
} // namespace
