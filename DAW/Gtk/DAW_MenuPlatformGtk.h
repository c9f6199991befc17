#pragma once

#include "DAW/DAW_MenuPlatform.h"

#include <gtk/gtk.h>

// Menus of the manager as GTK 3 menus: a menu bar is a GtkMenuBar, a
// pop-up a GtkMenu, a handle the GtkMenuShell. An item that is picked runs
// its command ID through the menu tree's dispatch once the menu has closed,
// so that a command may rebuild the menu it came from. A grayed item is
// insensitive; a checked one a check item, whose mark stays what the tree
// said until the menu is filled again.
class DAW_MenuPlatformGtk : public DAW_MenuPlatform
{
public:
    // Makes GTK menus the manager's (once; GTK must be initialised first).
    static void Install();

    DAW_MenuHandle CreateMenu() override;
    DAW_MenuHandle CreatePopupMenu() override;
    int32 GetLastError() override { return mLastError; }
    int32 GetMenuItemCount(DAW_MenuHandle menu) override;
    void InsertMenuItem(DAW_MenuHandle menu, int32 position, ItemInfo const& item) override;
    void AppendSeparator(DAW_MenuHandle menu) override;
    void DeleteMenuItem(DAW_MenuHandle menu, int32 position) override;

    // A menu text with '&' before the mnemonic as GTK writes it: '_' before
    // the mnemonic, "__" for an underscore that shows ("my_takes" stays as
    // it is written), "&&" an ampersand.
    static std::string MnemonicText(std::string const& text);
    // The command ID an item runs; -1 for a separator or a sub menu's item.
    static int16 GetItemCommandID(GtkWidget* item);

private:
    DAW_MenuHandle Create(bool popup);

    int32 mLastError = 0;
};
