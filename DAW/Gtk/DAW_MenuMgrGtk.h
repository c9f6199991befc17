#pragma once

#include <gtk/gtk.h>

class DAW_MenuEntry;

// The menu manager with GTK 3 menus (DAW_MenuPlatformGtk), for hosts that
// hold GTK widgets. A menu built here is held for the life of the process,
// as the manager remembers it: a window it was put in may go, the menu
// stays and can be filled again. GTK must be initialised first.
class DAW_MenuMgrGtk
{
public:
    // A GtkMenuBar of the tree.
    static GtkWidget* BuildAndMapMenu(DAW_MenuEntry* entry);
    // A GtkMenu of the tree, to pop up.
    static GtkWidget* BuildAndMapPopupMenu(DAW_MenuEntry* entry);
    // Fills a menu built here again from its tree; any other is left alone.
    static void UpdateMenu(GtkWidget* menu);
    static void DeleteMenuHandle(GtkWidget*) {}

private:
    DAW_MenuMgrGtk() = delete;

    static GtkWidget* Hold(void* menu);
};
