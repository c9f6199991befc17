// Menu items that stand for a location: their text, and what picking one
// hands to the callback.
#include "DAW/Sys_FileLocMenuItem.h"
#include "Sys/Sys_FileTestSupport.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{
void Remember(void* paths, Sys_FileLoc location)
{
    static_cast<std::vector<std::string>*>(paths)->push_back(location.GetFullPath());
}

using Sys_FileLocMenuItemTest = vfltest::SysLayerTest;
} // namespace

TEST_F(Sys_FileLocMenuItemTest, TextIsThePathAsWrittenAndPickingHandsTheLocationOn)
{
    struct Case
    {
        char const* path;
        char const* text;
    } const cases[] = {
        {"/home/me/my_takes/Take_1.wav", "/home/me/my_takes/Take_1.wav"},
        {"/home/me/Rock & Roll/", "/home/me/Rock && Roll/"},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.path);
        std::vector<std::string> picked;
        Sys_FileLocMenuItem item(&Remember, &picked, Sys_FileLoc(std::string(c.path)));
        EXPECT_EQ(item.GetMenuText(0), c.text);
        EXPECT_TRUE(item.MenuEntryIsEnabled(0));
        EXPECT_TRUE(DAW_MenuEntry::DoCommand(item.GetCommandID()));
        EXPECT_EQ(picked, std::vector<std::string>{c.path});
    }
    Sys_FileLocMenuItem silent(nullptr, nullptr, Sys_FileLoc(std::string("/tmp/a.wav")));
    EXPECT_TRUE(DAW_MenuEntry::DoCommand(silent.GetCommandID()));
}
