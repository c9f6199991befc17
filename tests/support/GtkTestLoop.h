// The main loop and xdotool for GUI tests on an X server of their own
// (xvfb-run): run the loop until something holds, and send key presses and
// clicks from another process, which X delivers as a user's.
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
} // namespace vfltest
