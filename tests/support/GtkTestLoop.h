// The main loop and xdotool for GUI tests on an X server of their own
// (xvfb-run): run the loop until something holds, send key presses and
// clicks from another process, which X delivers as a user's, and read a
// menu back as text.
#pragma once

#include <gtest/gtest.h>
#include <gtk/gtk.h>

#include <cstdlib>
#include <functional>
#include <string>

namespace vfltest
{
inline bool HaveXdotool()
{
    return std::system("command -v xdotool >/dev/null 2>&1") == 0;
}

// Runs what the loop has pending, without waiting.
inline void Iterate()
{
    while (g_main_context_pending(nullptr))
        g_main_context_iteration(nullptr, FALSE);
}

// Runs the main loop until done() holds; false when the limit ran out
// first (the limit only keeps a broken run from hanging). onTimeout, when
// given, runs as the limit runs out: to close what would keep its own loop.
inline bool WaitFor(std::function<bool()> const& done, guint seconds = 60, void (*onTimeout)() = nullptr)
{
    struct Limit
    {
        bool timedOut = false;
        void (*onTimeout)() = nullptr;
    } limit{false, onTimeout};
    auto const stop = [](gpointer data) -> gboolean
    {
        auto* l = static_cast<Limit*>(data);
        l->timedOut = true;
        if (l->onTimeout)
            l->onTimeout();
        return G_SOURCE_REMOVE;
    };
    guint const timer = g_timeout_add_seconds(seconds, stop, &limit);
    while (!limit.timedOut && !done())
        g_main_context_iteration(nullptr, TRUE);
    if (!limit.timedOut)
        g_source_remove(timer);
    return !limit.timedOut;
}

// Starts `xdotool arguments` and returns at once: what it sends arrives
// while the test runs the loop.
inline void Xdotool(std::string const& arguments)
{
    std::string const command = "xdotool " + arguments;
    gchar* argv[] = {g_strdup("/bin/sh"), g_strdup("-c"), g_strdup(command.c_str()), nullptr};
    GError* error = nullptr;
    EXPECT_TRUE(g_spawn_async(nullptr, argv, nullptr, G_SPAWN_DEFAULT, nullptr, nullptr, nullptr, &error))
        << (error ? error->message : "");
    for (gchar* a : argv)
        g_free(a);
}

// The items of a menu shell as "text" with "(off)" and "(on)" marks and
// "> [...]" for a sub menu.
inline std::string DrawMenu(GtkWidget* shell)
{
    std::string text;
    GList* const children = gtk_container_get_children(GTK_CONTAINER(shell));
    for (GList* c = children; c; c = c->next)
    {
        auto* const item = static_cast<GtkWidget*>(c->data);
        if (!text.empty())
            text += ", ";
        if (GTK_IS_SEPARATOR_MENU_ITEM(item))
        {
            text += "-";
            continue;
        }
        text += gtk_menu_item_get_label(GTK_MENU_ITEM(item));
        if (!gtk_widget_get_sensitive(item))
            text += " (off)";
        if (GTK_IS_CHECK_MENU_ITEM(item) && gtk_check_menu_item_get_active(GTK_CHECK_MENU_ITEM(item)))
            text += " (on)";
        if (GtkWidget* const sub = gtk_menu_item_get_submenu(GTK_MENU_ITEM(item)))
            text += " > [" + DrawMenu(sub) + "]";
    }
    g_list_free(children);
    return text;
}
} // namespace vfltest
