// vfl-gtk on the X server of the test (xvfb-run): its window in this
// process, where xdotool opens File > Open and types a WAVE file's path
// into the chooser, and Ctrl+O from the bindings file does the same; what
// the window then shows is what vfl info and vfl overview --png give. And
// the program itself starts on a file and quits by its key. Skipped
// without a display or without xdotool.
#include "DAW/Gtk/DAW_MenuMgrGtk.h"
#include "Sys/Gtk/Sys_CustomFileDialogGtk.h"
#include "Sys/Gtk/Sys_FileDialogGtk.h"
#include "Sys/Sys_RecentItems.h"
#include "support/GtkScreenshot.h"
#include "tools/vfl-gtk/Browser.h"
#include "tools/vfl/ToolSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

// Last: the X11 headers define macros such as None.
#include <gdk/gdkx.h>

namespace
{
bool HaveXdotool()
{
    return std::system("command -v xdotool >/dev/null 2>&1") == 0;
}

gboolean StopWaiting(gpointer flag)
{
    *static_cast<bool*>(flag) = true;
    // A chooser left open would keep its own loop, and the test, running.
    if (Sys_CustomFileDialogGtk* const running = Sys_CustomFileDialogGtk::GetRunning())
    {
        vfltest::SaveScreenshot(gdk_get_default_root_window(), "VflGtk_TimedOut");
        gtk_dialog_response(GTK_DIALOG(running->GetChooser()), GTK_RESPONSE_CANCEL);
    }
    return G_SOURCE_REMOVE;
}

// Runs the main loop until done() holds; the limit only keeps a broken run
// from hanging.
bool WaitFor(std::function<bool()> const& done)
{
    bool timedOut = false;
    guint const timer = g_timeout_add_seconds(30, &StopWaiting, &timedOut);
    while (!timedOut && !done())
        g_main_context_iteration(nullptr, TRUE);
    if (!timedOut)
        g_source_remove(timer);
    return !timedOut;
}

void Xdotool(std::string const& arguments)
{
    std::string const command = "xdotool " + arguments;
    gchar* argv[] = {g_strdup("/bin/sh"), g_strdup("-c"), g_strdup(command.c_str()), nullptr};
    GError* error = nullptr;
    EXPECT_TRUE(g_spawn_async(nullptr, argv, nullptr, G_SPAWN_DEFAULT, nullptr, nullptr, nullptr, &error))
        << (error ? error->message : "");
    for (gchar* a : argv)
        g_free(a);
}

std::string Shell(std::string const& command)
{
    gchar* out = nullptr;
    gint status = 0;
    std::string const line = "/bin/sh -c '" + command + "'";
    EXPECT_TRUE(g_spawn_command_line_sync(line.c_str(), &out, nullptr, &status, nullptr)) << command;
    EXPECT_EQ(status, 0) << command;
    std::string const text = out ? out : "";
    g_free(out);
    return text;
}

std::string Xid(GtkWidget* window)
{
    return std::to_string(gdk_x11_window_get_xid(gtk_widget_get_window(window)));
}

// A 16-bit WAVE file of a sine per channel.
void WriteWave(std::string const& path, int channels, int rate, int frames)
{
    std::vector<std::int16_t> samples;
    for (int i = 0; i < frames; ++i)
        for (int c = 0; c < channels; ++c)
            samples.push_back(static_cast<std::int16_t>(
                std::lround(9000.0 * i / frames * std::sin(2 * M_PI * (220.0 * (c + 1)) * i / rate))));
    std::uint32_t const data = static_cast<std::uint32_t>(samples.size() * 2);
    std::ofstream out(path, std::ios::binary);
    auto u32 = [&](std::uint32_t v) { out.write(reinterpret_cast<char const*>(&v), 4); };
    auto u16 = [&](std::uint16_t v) { out.write(reinterpret_cast<char const*>(&v), 2); };
    out.write("RIFF", 4);
    u32(36 + data);
    out.write("WAVEfmt ", 8);
    u32(16);
    u16(1);
    u16(static_cast<std::uint16_t>(channels));
    u32(static_cast<std::uint32_t>(rate));
    u32(static_cast<std::uint32_t>(rate * channels * 2));
    u16(static_cast<std::uint16_t>(channels * 2));
    u16(16);
    out.write("data", 4);
    u32(data);
    out.write(reinterpret_cast<char const*>(samples.data()), data);
}

void WriteList(std::string const& path, std::vector<std::string> const& entries)
{
    std::ofstream out(path, std::ios::binary);
    for (std::string const& e : entries)
        out.write(e.c_str(), static_cast<std::streamsize>(e.size() + 1));
}

// The items of a menu shell as their texts, a sub menu's in brackets.
std::string Draw(GtkWidget* shell)
{
    std::string text;
    GList* const children = gtk_container_get_children(GTK_CONTAINER(shell));
    for (GList* c = children; c; c = c->next)
    {
        auto* const item = static_cast<GtkWidget*>(c->data);
        text += (text.empty() ? "" : ", ") + std::string(gtk_menu_item_get_label(GTK_MENU_ITEM(item)));
        if (GtkWidget* const sub = gtk_menu_item_get_submenu(GTK_MENU_ITEM(item)))
            text += " [" + Draw(sub) + "]";
    }
    g_list_free(children);
    return text;
}

// Pixel for pixel; pictures of other sizes are unequal.
bool SamePixels(GdkPixbuf* a, GdkPixbuf* b)
{
    int const w = gdk_pixbuf_get_width(a), h = gdk_pixbuf_get_height(a);
    if (w != gdk_pixbuf_get_width(b) || h != gdk_pixbuf_get_height(b))
        return false;
    int const na = gdk_pixbuf_get_n_channels(a), nb = gdk_pixbuf_get_n_channels(b);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
        {
            guchar const* pa = gdk_pixbuf_get_pixels(a) + y * gdk_pixbuf_get_rowstride(a) + x * na;
            guchar const* pb = gdk_pixbuf_get_pixels(b) + y * gdk_pixbuf_get_rowstride(b) + x * nb;
            if (pa[0] != pb[0] || pa[1] != pb[1] || pa[2] != pb[2])
                return false;
        }
    return true;
}

// Answers each chooser that shows: the first time it pictures the chooser
// and its recent files menu; then it types the next path into it.
struct Chooser
{
    std::vector<std::string> paths; // one a dialog
    std::size_t answered = 0;
    GtkWidget* seen = nullptr;
    int step = 0;
    GtkWidget* files = nullptr; // the recent files menu
    std::string recentMenu;
};

gboolean Answer(gpointer data)
{
    auto* const c = static_cast<Chooser*>(data);
    Sys_CustomFileDialogGtk* const running = Sys_CustomFileDialogGtk::GetRunning();
    if (!running || !running->GetChooser() || !gtk_widget_get_mapped(running->GetChooser()) ||
        running->GetChooser() == c->seen || c->answered >= c->paths.size())
        return G_SOURCE_CONTINUE;
    GtkWidget* const bar = running->GetMenuBar();
    if (c->answered == 0 && bar && c->step == 0)
    {
        // Fi&les, the second of the bar, opened by its mnemonic.
        GList* const items = gtk_container_get_children(GTK_CONTAINER(bar));
        c->files = gtk_menu_item_get_submenu(GTK_MENU_ITEM(g_list_nth_data(items, 1)));
        g_list_free(items);
        Xdotool("windowfocus --sync " + Xid(running->GetChooser()) + " key alt+l");
        c->step = 1;
        return G_SOURCE_CONTINUE;
    }
    if (c->step == 1)
    {
        if (!gtk_widget_get_mapped(c->files))
            return G_SOURCE_CONTINUE;
        c->recentMenu = Draw(bar);
        vfltest::SaveScreenshot(gdk_get_default_root_window(), "VflGtk_OpenDialogRecentFiles");
        gtk_menu_shell_deactivate(GTK_MENU_SHELL(bar));
        c->step = 2;
        return G_SOURCE_CONTINUE;
    }
    c->seen = running->GetChooser();
    Xdotool("windowfocus --sync " + Xid(c->seen) + " key ctrl+l type --delay 20 '" + c->paths[c->answered] +
            "'; xdotool key Return");
    ++c->answered;
    return G_SOURCE_CONTINUE;
}

std::string SourceFile(std::string const& path)
{
    std::ifstream in(std::string(VFL_SOURCE_DIR) + "/" + path);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}
} // namespace

TEST(VflGtkGui, FileOpenAndItsKeyShowTheFilesInformationAndOverview)
{
    if (!std::getenv("DISPLAY") || !HaveXdotool())
        GTEST_SKIP() << "needs an X display and xdotool (run under xvfb-run)";
    ASSERT_TRUE(gtk_init_check(nullptr, nullptr));
    gchar* const made = g_dir_make_tmp("vflgtk-XXXXXX", nullptr);
    ASSERT_NE(made, nullptr);
    std::string const dir = std::string(made) + "/";
    g_free(made);
    std::string const tone = dir + "tone.wav", voice = dir + "voice.wav", older = dir + "older.wav";
    WriteWave(tone, 2, 44100, 44100);
    WriteWave(voice, 1, 8000, 12000);
    WriteWave(older, 1, 8000, 800);
    // Lists of their own: one recent file gone, one there.
    ASSERT_EQ(g_mkdir_with_parents((dir + "data/Zenthar").c_str(), 0700), 0);
    setenv("XDG_DATA_HOME", (dir + "data").c_str(), 1);
    WriteList(dir + "data/Zenthar/Recent Files", {older, dir + "gone.wav"});
    WriteList(dir + "data/Zenthar/Recent Folders", {dir});
    vfl::InitLibrary();
    Sys_FileDialogGtk::SetPlatformDependentMethods();
    Sys_RecentItems::InitializeRecentItemsLists();
    Sys_RecentItems::ReadRecentFoldersAndFiles();
    ASSERT_EQ(Sys_RecentItems::GetListsEvent()->Wait(60000), Sys_SyncObject::kWaitSignalled);

    Browser browser(SourceFile("tools/vfl-gtk/vfl-gtk.keys"), "vfl-gtk.keys");
    GtkWidget* const window = browser.GetWindow();
    ASSERT_TRUE(WaitFor([&] { return gtk_widget_get_mapped(window); }));
    Chooser chooser;
    chooser.paths = {tone, voice};
    guint const answering = g_timeout_add(50, &Answer, &chooser);

    // File > Open... by the menu's mnemonics.
    Xdotool("windowfocus --sync " + Xid(window) + " key alt+f key o");
    ASSERT_TRUE(WaitFor([&] { return browser.GetPath() == tone && browser.GetOverview(); })) << browser.GetStatusText();
    EXPECT_EQ(chooser.recentMenu, "_Folders [" + dir + "], Fi_les [" + older + "]");
    // What vfl info says, and vfl overview's picture, pixel for pixel.
    EXPECT_EQ(browser.GetInformationText(), Shell(std::string(VFL_TOOL_PATH) + " info " + tone));
    Shell(std::string(VFL_TOOL_PATH) + " overview " + tone + " --width 960 --png " + dir + "tone.png -q");
    GdkPixbuf* const expected = gdk_pixbuf_new_from_file((dir + "tone.png").c_str(), nullptr);
    ASSERT_NE(expected, nullptr);
    EXPECT_TRUE(SamePixels(browser.GetOverview(), expected));
    g_object_unref(expected);
    std::cout << "screenshot: " << vfltest::SaveScreenshot(gdk_get_default_root_window(), "VflGtk_Window") << "\n";

    // Ctrl+O, as the bindings file has it, opens the chooser again.
    Xdotool("windowfocus --sync " + Xid(window) + " key ctrl+o");
    ASSERT_TRUE(WaitFor([&] { return browser.GetPath() == voice && browser.GetOverview(); }))
        << browser.GetStatusText();
    EXPECT_NE(browser.GetInformationText().find("  channels: 1\n  sample rate: 8000\n"), std::string::npos);
    EXPECT_EQ(gdk_pixbuf_get_height(browser.GetOverview()), 50 + 130);
    std::vector<Sys_RecentItem> const recent = Sys_RecentItems::GetRecentFiles();
    ASSERT_GE(recent.size(), 3u);
    EXPECT_EQ(recent[0].mPath, voice);
    EXPECT_EQ(recent[1].mPath, tone);
    g_source_remove(answering);
    std::cout << "screenshot: " << vfltest::SaveScreenshot(gdk_get_default_root_window(), "VflGtk_WindowMono") << "\n";
}

TEST(VflGtkGui, TheProgramStartsOnAFileAndQuitsByItsKey)
{
    if (!std::getenv("DISPLAY") || !HaveXdotool())
        GTEST_SKIP() << "needs an X display and xdotool (run under xvfb-run)";
    ASSERT_TRUE(gtk_init_check(nullptr, nullptr));
    gchar* const made = g_dir_make_tmp("vflgtk-XXXXXX", nullptr);
    std::string const file = std::string(made) + "/started.wav";
    g_free(made);
    WriteWave(file, 2, 48000, 4800);
    gchar* argv[] = {g_strdup(VFL_GTK_TOOL_PATH), g_strdup(file.c_str()), nullptr};
    GPid child = 0;
    ASSERT_TRUE(g_spawn_async(nullptr, argv, nullptr, G_SPAWN_DO_NOT_REAP_CHILD, nullptr, nullptr, &child, nullptr));
    for (gchar* a : argv)
        g_free(a);
    int status = -1;
    bool ended = false;
    struct Exit
    {
        int* status;
        bool* ended;
    } exit{&status, &ended};
    g_child_watch_add(
        child,
        [](GPid, gint s, gpointer data)
        {
            *static_cast<Exit*>(data)->status = s;
            *static_cast<Exit*>(data)->ended = true;
        },
        &exit);
    // Its window, named after the file, once it is there.
    std::string const id = Shell("timeout 60 xdotool search --sync --name started.wav | head -n 1");
    ASSERT_FALSE(id.empty());
    std::cout << "screenshot: " << vfltest::SaveScreenshot(gdk_get_default_root_window(), "VflGtk_Started") << "\n";
    Xdotool("windowfocus --sync " + id.substr(0, id.find('\n')) + " key ctrl+q");
    ASSERT_TRUE(WaitFor([&] { return ended; }));
    EXPECT_TRUE(g_spawn_check_wait_status(status, nullptr));
}
