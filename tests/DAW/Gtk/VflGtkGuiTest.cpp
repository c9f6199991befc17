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
#include "support/WaveBuilder.h"
#include "tools/vfl-gtk/Gtk/Browser.h"
#include "tools/vfl/ToolSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "DAW/Gtk/DAW_GuiTestSupport.h"

namespace
{
using vfltest::InWindow;
using vfltest::Shot;
using vfltest::Xdotool;

// A chooser left open would keep its own loop, and the test, running.
void CloseRunningChooser()
{
    if (Sys_CustomFileDialogGtk* const running = Sys_CustomFileDialogGtk::GetRunning())
    {
        Shot("VflGtk_TimedOut");
        gtk_dialog_response(GTK_DIALOG(running->GetChooser()), GTK_RESPONSE_CANCEL);
    }
}

bool WaitFor(std::function<bool()> const& done)
{
    return vfltest::WaitFor(done, 30, &CloseRunningChooser);
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

// A new folder of its own, with its trailing '/'.
std::string TempFolder()
{
    gchar* const made = g_dir_make_tmp("vflgtk-XXXXXX", nullptr);
    EXPECT_NE(made, nullptr);
    std::string const dir = std::string(made ? made : "") + "/";
    g_free(made);
    return dir;
}

// A 16-bit WAVE file of a sine per channel.
void WriteWave(std::string const& path, std::uint16_t channels, std::uint32_t rate, int frames)
{
    std::vector<std::uint8_t> audio;
    for (int i = 0; i < frames; ++i)
        for (int c = 0; c < channels; ++c)
        {
            auto const s =
                std::uint16_t(std::lround(9000.0 * i / frames * std::sin(2 * M_PI * (220.0 * (c + 1)) * i / rate)));
            audio.insert(audio.end(), {std::uint8_t(s), std::uint8_t(s >> 8)});
        }
    auto const bytes = WaveBuilder().RiffHeader().Fmt(channels, rate, 16).Data(audio).FixRiffSize().Bytes();
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<char const*>(bytes.data()), bytes.size());
}

void WriteList(std::string const& path, std::vector<std::string> const& entries)
{
    std::ofstream out(path, std::ios::binary);
    for (std::string const& e : entries)
        out.write(e.c_str(), static_cast<std::streamsize>(e.size() + 1));
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

// What a person does in the dialogs, a step at a time: each step waits
// until what it needs shows, then acts (in this process, then by xdotool
// on the dialog shown).
struct Step
{
    std::function<bool()> ready;
    std::function<void()> act;
    std::string keys; // xdotool's arguments
};

struct Script
{
    std::vector<Step> steps;
    std::size_t next = 0;
};

GtkWidget* ShownMessage()
{
    GtkWidget* shown = nullptr;
    GList* const windows = gtk_window_list_toplevels();
    for (GList* w = windows; w; w = w->next)
        if (GTK_IS_MESSAGE_DIALOG(w->data) && gtk_widget_get_mapped(GTK_WIDGET(w->data)))
            shown = GTK_WIDGET(w->data);
    g_list_free(windows);
    return shown;
}

GtkWidget* ShownChooser()
{
    Sys_CustomFileDialogGtk* const running = Sys_CustomFileDialogGtk::GetRunning();
    return running && running->GetChooser() && gtk_widget_get_mapped(running->GetChooser()) && !ShownMessage()
               ? running->GetChooser()
               : nullptr;
}

gboolean Perform(gpointer data)
{
    auto* const script = static_cast<Script*>(data);
    if (script->next >= script->steps.size() || !script->steps[script->next].ready())
        return G_SOURCE_CONTINUE;
    Step const& step = script->steps[script->next++];
    GtkWidget* const focus = ShownMessage() ? ShownMessage() : ShownChooser();
    if (step.act)
        step.act();
    if (!step.keys.empty() && focus)
        Xdotool(InWindow(focus, step.keys));
    return G_SOURCE_CONTINUE;
}

// A chooser that shows now, other than the one of the step before.
std::function<bool()> NewChooser(GtkWidget** last)
{
    return [last]
    {
        GtkWidget* const c = ShownChooser();
        if (!c || c == *last)
            return false;
        *last = c;
        return true;
    };
}

std::string TypePath(std::string const& path)
{
    return "key ctrl+l type --delay 20 '" + path + "'; xdotool key Return";
}

} // namespace

TEST(VflGtkGui, FileOpenAndItsKeyShowTheFilesInformationAndOverview)
{
    VFL_START_GTK(true);
    std::string const dir = TempFolder();
    // A name from an older system, not UTF-8 (Latin-1 "older é.wav").
    std::string const tone = dir + "tone.wav", voice = dir + "voice.wav", older = dir + "older \xE9.wav";
    std::string const olderShown = "older \uFFFD.wav";
    // GTK's warnings about text that is not UTF-8, which it shows broken or not at all.
    std::string invalid;
    for (char const* domain : {"Gtk", "Pango"})
        g_log_set_handler(
            domain, GLogLevelFlags(G_LOG_LEVEL_WARNING | G_LOG_LEVEL_CRITICAL),
            [](gchar const*, GLogLevelFlags, gchar const* message, gpointer seen)
            {
                if (std::string(message).find("nvalid") != std::string::npos)
                    *static_cast<std::string*>(seen) += std::string(message) + "\n";
            },
            &invalid);
    WriteWave(tone, 2, 44100, 44100);
    WriteWave(voice, 1, 8000, 12000);
    WriteWave(older, 1, 8000, 800);
    // Lists of their own: one recent file gone, one there.
    ASSERT_EQ(g_mkdir_with_parents((dir + "data/Zenthar").c_str(), 0700), 0);
    setenv("XDG_DATA_HOME", (dir + "data").c_str(), 1);
    WriteList(dir + "data/Zenthar/Recent Files", {older, dir + "gone.wav"});
    WriteList(dir + "data/Zenthar/Recent Folders", {dir});
    // As the program calls itself; the message boxes' caption.
    g_set_application_name("vfl-gtk");
    vfl::InitLibrary();
    Sys_FileDialogGtk::SetPlatformDependentMethods();
    Sys_RecentItems::InitializeRecentItemsLists();
    Sys_RecentItems::ReadRecentFoldersAndFiles();
    ASSERT_EQ(Sys_RecentItems::GetListsEvent()->Wait(60000), Sys_SyncObject::kWaitSignalled);

    std::ostringstream keys;
    keys << std::ifstream(std::string(VFL_SOURCE_DIR) + "/tools/vfl-gtk/vfl-gtk.keys").rdbuf();
    Browser browser(keys.str(), "vfl-gtk.keys");
    GtkWidget* const window = browser.GetWindow();
    ASSERT_TRUE(WaitFor([&] { return gtk_widget_get_mapped(window); }));
    GtkWidget* last = nullptr;
    GtkWidget* filesMenu = nullptr;
    std::string recentMenu, question;
    std::string const typeConverted = "key ctrl+a type --delay 20 '" + dir + "converted'; xdotool key Return";
    Script script;
    script.steps = {
        // The recent files menu, opened by its mnemonic and pictured.
        {NewChooser(&last),
         [&] { filesMenu = vfltest::SubMenuAt(Sys_CustomFileDialogGtk::GetRunning()->GetMenuBar(), 1); }, "key alt+l"},
        {[&] { return filesMenu && gtk_widget_get_mapped(filesMenu); },
         [&]
         {
             GtkWidget* const bar = Sys_CustomFileDialogGtk::GetRunning()->GetMenuBar();
             recentMenu = vfltest::DrawMenu(bar);
             Shot("VflGtk_OpenDialogRecentFiles");
             gtk_menu_shell_deactivate(GTK_MENU_SHELL(bar));
         },
         TypePath(tone)},
        {NewChooser(&last), {}, TypePath(voice)},
        // Convert: a new file, then the same name again, not replaced and
        // then replaced.
        {NewChooser(&last), [] { Shot("VflGtk_ConvertDialog"); }, typeConverted},
        {NewChooser(&last), {}, typeConverted},
        {[] { return ShownMessage() != nullptr; },
         [&]
         {
             question = gtk_window_get_title(GTK_WINDOW(ShownMessage())) + std::string(": ");
             gchar* text = nullptr;
             g_object_get(ShownMessage(), "text", &text, nullptr);
             question += text ? text : "";
             g_free(text);
             Shot("VflGtk_ReplaceQuestion");
         },
         "key Return"},
        {[&] { return ShownChooser() == last; }, {}, "key Return"},
        {[] { return ShownMessage() != nullptr; }, {}, "key alt+y"},
    };
    guint const performing = g_timeout_add(50, &Perform, &script);

    // File > Open... by the menu's mnemonics.
    Xdotool(InWindow(window, "key alt+f key o"));
    ASSERT_TRUE(WaitFor([&] { return browser.GetPath() == tone && browser.GetOverview(); })) << browser.GetStatusText();
    EXPECT_EQ(recentMenu, "_Folders > [" + dir + "], Fi_les > [" + dir + olderShown + "]");
    // What vfl info says, and vfl overview's picture, pixel for pixel.
    EXPECT_EQ(browser.GetInformationText(), Shell(std::string(VFL_TOOL_PATH) + " info " + tone));
    Shell(std::string(VFL_TOOL_PATH) + " overview " + tone + " --width 960 --png " + dir + "tone.png -q");
    GdkPixbuf* const expected = gdk_pixbuf_new_from_file((dir + "tone.png").c_str(), nullptr);
    ASSERT_NE(expected, nullptr);
    EXPECT_TRUE(SamePixels(browser.GetOverview(), expected));
    g_object_unref(expected);
    Shot("VflGtk_Window");

    // Ctrl+O, as the bindings file has it, opens the chooser again.
    Xdotool(InWindow(window, "key ctrl+o"));
    ASSERT_TRUE(WaitFor([&] { return browser.GetPath() == voice && browser.GetOverview(); }))
        << browser.GetStatusText();
    EXPECT_NE(browser.GetInformationText().find("  channels: 1\n  sample rate: 8000\n"), std::string::npos);
    EXPECT_EQ(gdk_pixbuf_get_height(browser.GetOverview()), 50 + 130);
    std::vector<Sys_RecentItem> const recent = Sys_RecentItems::GetRecentFiles();
    ASSERT_GE(recent.size(), 3u);
    EXPECT_EQ(recent[0].mPath, voice);
    EXPECT_EQ(recent[1].mPath, tone);
    Shot("VflGtk_WindowMono");

    // Ctrl+E writes it as a new file; again under that name, the question
    // is answered No (the default, by Return) and then Yes.
    for (char const* round : {"new", "replaced"})
    {
        Xdotool(InWindow(window, "key ctrl+e"));
        ASSERT_TRUE(WaitFor([&] { return browser.GetStatusText() == "Converted to " + dir + "converted.wav"; }))
            << round << ": " << browser.GetStatusText();
        browser.Do(kBrowserReload);
        ASSERT_TRUE(WaitFor([&] { return browser.GetStatusText().empty(); }));
    }
    EXPECT_EQ(script.next, script.steps.size());
    EXPECT_EQ(question, "vfl-gtk: converted.wav\nThis file already exists.\nReplace existing file?");
    EXPECT_EQ(Shell(std::string(VFL_TOOL_PATH) + " info -r -c -s " + dir + "converted.wav"), "8000\n1\n12000\n");
    g_source_remove(performing);

    // The older name opens, and shows with its stray byte marked.
    browser.Open(Sys_FileLoc(older));
    ASSERT_TRUE(WaitFor([&] { return browser.GetOverview(); })) << browser.GetStatusText();
    EXPECT_EQ(browser.GetInformationText().substr(0, dir.size() + olderShown.size()), dir + olderShown);
    EXPECT_EQ(gtk_window_get_title(GTK_WINDOW(window)), olderShown + " \u2014 vfl-gtk");
    EXPECT_EQ(invalid, "");
}

TEST(VflGtkGui, TheProgramStartsOnAFileAndQuitsByItsKey)
{
    VFL_START_GTK(true);
    std::string const file = TempFolder() + "started.wav";
    WriteWave(file, 2, 48000, 4800);
    gchar* argv[] = {const_cast<gchar*>(VFL_GTK_TOOL_PATH), const_cast<gchar*>(file.c_str()), nullptr};
    GPid child = 0;
    ASSERT_TRUE(g_spawn_async(nullptr, argv, nullptr, G_SPAWN_DO_NOT_REAP_CHILD, nullptr, nullptr, &child, nullptr));
    int status = -1; // a wait status once it has ended
    g_child_watch_add(
        child, [](GPid, gint s, gpointer data) { *static_cast<int*>(data) = s; }, &status);
    // Its window, named after the file, once it is there.
    std::string const id = Shell("timeout 60 xdotool search --sync --name started.wav | head -n 1");
    ASSERT_FALSE(id.empty());
    Shot("VflGtk_Started");
    Xdotool("windowfocus --sync " + id.substr(0, id.find('\n')) + " key ctrl+q");
    ASSERT_TRUE(WaitFor([&] { return status != -1; }));
    EXPECT_TRUE(g_spawn_check_wait_status(status, nullptr));
}
