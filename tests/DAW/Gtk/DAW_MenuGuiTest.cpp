// A menu bar in a real window on the X server of the test (xvfb-run):
// xdotool opens it by its mnemonic and picks an entry of a sub menu.
// Skipped without a display or without xdotool.
#include "DAW/DAW_MenuEntrySeparator.h"
#include "DAW/DAW_MenuEntrySubMenu.h"
#include "DAW/DAW_TestSupport.h"
#include "DAW/Gtk/DAW_MenuDataGtk.h"
#include "DAW/Gtk/DAW_MenuMgrGtk.h"
#include "DAW/Gtk/DAW_MenuPlatformGtk.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "DAW/Gtk/DAW_GuiTestSupport.h"

namespace
{
using Item = vfltest::MenuItem;
using vfltest::DrawMenu;
using vfltest::Iterate;
using vfltest::sMenuLog;
using vfltest::WaitFor;
using vfltest::Xdotool;
} // namespace

TEST(DAW_MenuGui, MnemonicOpensTheBarAndASubMenuEntryRunsOnce)
{
    VFL_START_GTK(true);

    // Lives as long as the menu can send commands: to the end of the process.
    static auto* const root = new DAW_MenuEntrySubMenu("Main");
    auto* const file = new DAW_MenuEntrySubMenu("&File");
    auto* const recent = new DAW_MenuEntrySubMenu("&Recent");
    root->AppendEntry(file);
    root->AppendEntry(new Item("&Help", true, false));
    file->AppendEntry(new Item("&Open...", true, false));
    file->AppendEntry(new DAW_MenuEntrySeparator);
    file->AppendEntry(new Item("&Loop", false, true));
    file->AppendEntry(recent);
    recent->AppendEntry(new Item("/home/me/my_takes/&Take_1.wav", true, false));
    recent->AppendEntry(new Item("/home/me/my_takes/Take_2.wav", true, false));

    Cmn_RefCountConstPtr<DAW_MenuData> const data = DAW_MenuDataGtk::CreateDAW_Menu(root);
    GtkWidget* const bar = static_cast<DAW_MenuDataGtk const&>(*data).GetMenuHandle();
    ASSERT_TRUE(GTK_IS_MENU_BAR(bar));
    EXPECT_EQ(DrawMenu(bar), "_File > [_Open..., -, _Loop (off) (on), _Recent > [/home/me/my__takes/_Take__1.wav, "
                             "/home/me/my__takes/Take__2.wav]], _Help");

    GtkWidget* const window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    gtk_window_set_default_size(GTK_WINDOW(window), 320, 200);
    GtkWidget* const box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
    gtk_box_pack_start(GTK_BOX(box), bar, FALSE, FALSE, 0);
    gtk_container_add(GTK_CONTAINER(window), box);
    gtk_widget_show_all(window);
    ASSERT_TRUE(WaitFor([&] { return gtk_widget_get_mapped(window); }));
    Iterate();

    GtkWidget* const fileMenu = vfltest::SubMenuAt(bar, 0);
    Xdotool(vfltest::InWindow(window, "key alt+f"));
    ASSERT_TRUE(WaitFor([&] { return gtk_widget_get_mapped(fileMenu); }));
    // The menu's own drawing, after it has been mapped.
    g_usleep(200000);
    Iterate();
    EXPECT_FALSE(vfltest::Shot("DAW_MenuGui_File").empty());

    // R opens Recent, whose paths show their underscores; T picks its first
    // entry.
    GtkWidget* const recentMenu = vfltest::SubMenuAt(fileMenu, 3);
    Xdotool("key r");
    ASSERT_TRUE(WaitFor([&] { return gtk_widget_get_mapped(recentMenu); }));
    g_usleep(200000);
    Iterate();
    vfltest::Shot("DAW_MenuGui_Recent");
    Xdotool("key t");
    ASSERT_TRUE(WaitFor([] { return !sMenuLog.empty(); }));
    Iterate();
    EXPECT_EQ(sMenuLog, std::vector<std::string>{"/home/me/my_takes/&Take_1.wav"});
    EXPECT_FALSE(gtk_widget_get_mapped(fileMenu));

    // Filled again under the same handle, an item a host put in by hand
    // gone with the rest.
    recent->DeleteAllEntries();
    recent->AppendEntry(new Item("/tmp/new_take.wav", false, false));
    gtk_menu_shell_append(GTK_MENU_SHELL(bar), gtk_menu_item_new_with_label("by hand"));
    DAW_MenuMgrGtk::UpdateMenu(bar);
    EXPECT_EQ(DrawMenu(bar), "_File > [_Open..., -, _Loop (off) (on), _Recent > [/tmp/new__take.wav (off)]], _Help");
    gtk_widget_destroy(window);
}

TEST(DAW_MenuGui, PickingACheckedItemLeavesItsMarkToTheTree)
{
    VFL_START_GTK(false);
    static auto* const root = new DAW_MenuEntrySubMenu("Popup");
    root->AppendEntry(new Item("&Metronome", true, true));
    root->AppendEntry(new Item("&Count in", true, false));
    GtkWidget* const popup = DAW_MenuMgrGtk::BuildAndMapPopupMenu(root);
    ASSERT_TRUE(GTK_IS_MENU(popup));
    GList* const items = gtk_container_get_children(GTK_CONTAINER(popup));
    ASSERT_EQ(g_list_length(items), 2u);
    auto* const metronome = static_cast<GtkWidget*>(items->data);
    auto* const countIn = static_cast<GtkWidget*>(items->next->data);
    g_list_free(items);
    EXPECT_EQ(DAW_MenuPlatformGtk::GetItemCommandID(metronome), root->GetEntry(0)->GetCommandID(0));
    EXPECT_FALSE(GTK_IS_CHECK_MENU_ITEM(countIn));

    sMenuLog.clear();
    gtk_menu_item_activate(GTK_MENU_ITEM(metronome));
    gtk_menu_item_activate(GTK_MENU_ITEM(metronome));
    // The command runs from the main loop, not inside the activation.
    EXPECT_TRUE(sMenuLog.empty());
    Iterate();
    EXPECT_EQ(sMenuLog, (std::vector<std::string>{"&Metronome", "&Metronome"}));
    EXPECT_TRUE(gtk_check_menu_item_get_active(GTK_CHECK_MENU_ITEM(metronome)));
}
