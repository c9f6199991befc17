// GTK menus without a display: their texts, and the failure to make one.
#include "DAW/DAW_MenuEntrySubMenu.h"
#include "DAW/Gtk/DAW_MenuMgrGtk.h"
#include "DAW/Gtk/DAW_MenuPlatformGtk.h"

#include "Cmn/Cmn_Exception.h"

#include <gtest/gtest.h>

#include <string>

TEST(DAW_MenuGtkTest, AmpersandMarksTheMnemonicAndUnderscoresShowAsWritten)
{
    struct Case
    {
        char const* text;
        char const* gtk;
    } const cases[] = {
        {"&File", "_File"},
        {"Save &As...", "Save _As..."},
        {"/home/me/my_takes/Take_1.wav", "/home/me/my__takes/Take__1.wav"},
        {"Rock && Roll", "Rock & Roll"},
        {"&my_take", "_my__take"},
        {"&_x", "___x"},
        {"trailing &", "trailing &"},
        {"__", "____"},
        {"", ""},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(DAW_MenuPlatformGtk::MnemonicText(c.text), c.gtk);
    }
}

TEST(DAW_MenuGtkTest, NoDisplayIsASystemError)
{
    // This binary never opens a display.
    ASSERT_EQ(gdk_display_get_default(), nullptr);
    DAW_MenuEntrySubMenu root("root");
    try
    {
        DAW_MenuMgrGtk::BuildAndMapMenu(&root);
        ADD_FAILURE() << "no exception";
    }
    catch (Cmn_Exception const& e)
    {
        EXPECT_TRUE(e.GetCode() == XC_DAW_SystemError);
        EXPECT_NE(std::string(e.what()).find("No such device or address"), std::string::npos) << e.what();
    }
}
