// What the window tests share: GTK started on the test's display, xdotool
// aimed at a window, a menu item's sub menu, and the screen saved for a
// person to look at. Included last: the X11 headers define macros such as
// None.
#pragma once

#include "support/GtkScreenshot.h"
#include "support/GtkTestLoop.h"

#include <cstdlib>
#include <iostream>
#include <string>

#include <gdk/gdkx.h>

// Skips the test without a display, or without xdotool when it sends keys
// or clicks; then starts GTK.
#define VFL_START_GTK(withXdotool)                                                                                     \
    if (!std::getenv("DISPLAY") || ((withXdotool) && !vfltest::HaveXdotool()))                                         \
        GTEST_SKIP() << "needs an X display" << ((withXdotool) ? " and xdotool" : "") << " (run under xvfb-run)";      \
    ASSERT_TRUE(gtk_init_check(nullptr, nullptr))

namespace vfltest
{
// xdotool's arguments that focus the window, then do the rest ("key alt+f").
inline std::string InWindow(GtkWidget* window, std::string const& rest)
{
    return "windowfocus --sync " + std::to_string(gdk_x11_window_get_xid(gtk_widget_get_window(window))) + " " + rest;
}

// The sub menu of the shell's item at `index`.
inline GtkWidget* SubMenuAt(GtkWidget* shell, guint index)
{
    GList* const items = gtk_container_get_children(GTK_CONTAINER(shell));
    GtkWidget* const sub = gtk_menu_item_get_submenu(GTK_MENU_ITEM(g_list_nth_data(items, index)));
    g_list_free(items);
    return sub;
}

// The whole screen, menus that pop up included; the path written, or "".
inline std::string Shot(std::string const& name)
{
    std::string const path = SaveScreenshot(gdk_get_default_root_window(), name);
    std::cout << "screenshot: " << path << "\n";
    return path;
}
} // namespace vfltest
