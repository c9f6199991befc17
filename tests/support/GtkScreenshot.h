// Pictures of what a GUI test shows, for a person to look at: a PNG of a
// window (the root window for the whole screen, menus that pop up
// included), written where VFL_SCREENSHOT_DIR says, else into the current
// folder. Needs GTK and a display.
#pragma once

#include <gtk/gtk.h>

#include <cstdlib>
#include <string>

namespace vfltest
{
// The path written, or an empty string when there was nothing to take.
inline std::string SaveScreenshot(GdkWindow* window, std::string const& name)
{
    if (!window)
        return std::string();
    // Everything drawn so far reaches the server before the picture is taken.
    while (g_main_context_pending(nullptr))
        g_main_context_iteration(nullptr, FALSE);
    gdk_display_sync(gdk_window_get_display(window));
    GdkPixbuf* const picture =
        gdk_pixbuf_get_from_window(window, 0, 0, gdk_window_get_width(window), gdk_window_get_height(window));
    if (!picture)
        return std::string();
    char const* const folder = std::getenv("VFL_SCREENSHOT_DIR");
    std::string const path = (folder && *folder ? std::string(folder) + "/" : std::string()) + name + ".png";
    bool const saved = gdk_pixbuf_save(picture, path.c_str(), "png", nullptr, nullptr);
    g_object_unref(picture);
    return saved ? path : std::string();
}
} // namespace vfltest
