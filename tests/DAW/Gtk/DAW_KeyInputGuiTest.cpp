// Real key presses, sent by xdotool to a GTK window on the X server of the
// test (xvfb-run), through the adapter to the current input context and its
// commands. Skipped without a display or without xdotool.
#include "DAW/DAW_Command.h"
#include "DAW/DAW_KeyBindingMap.h"
#include "DAW/DAW_KeyBindingText.h"
#include "DAW/DAW_KeyboardInputContext.h"
#include "DAW/DAW_LoggingCommand.h"
#include "DAW/Gtk/DAW_KeyInputGtk.h"
#include "support/GtkTestLoop.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

// Last: the X11 headers define macros such as None.
#include <gdk/gdkx.h>

namespace
{
std::vector<std::string> sCalls;
std::vector<std::string> sEvents;

// Writes down every event that reaches it, then resolves it as usual.
class LoggingContext : public DAW_KeyboardInputContext
{
public:
    using DAW_KeyboardInputContext::DAW_KeyboardInputContext;
    bool DoKeyEvent(Cmn_RefCountPtr<DAW_KeyEvent>& event, Cmn_RefCountPtr<DAW_EventModifiers>& modifiers,
                    Cmn_RefCountPtr<DAW_KeyboardState>& state) override
    {
        sEvents.push_back(DAW_KeyBindingText::FormatKey(*event, *modifiers) +
                          (event->GetKeyState() == kDAW_KeyDown ? " down" : " up") +
                          (event->IsAutoKey() ? " repeat" : ""));
        return DAW_KeyboardInputContext::DoKeyEvent(event, modifiers, state);
    }
};

using vfltest::HaveXdotool;
using vfltest::Iterate;
} // namespace

TEST(DAW_KeyInputGui, XdotoolKeysRunTheBoundCommands)
{
    if (!std::getenv("DISPLAY") || !HaveXdotool())
        GTEST_SKIP() << "needs an X display and xdotool (run under xvfb-run)";
    ASSERT_TRUE(gtk_init_check(nullptr, nullptr));

    using vfltest::LoggingCommand;
    LoggingCommand selectAll("SelectAll", 1, 0, kDAW_CommandOneShot, &sCalls),
        one("One", 2, 0, kDAW_CommandOneShot, &sCalls), enter("Enter", 3, 0, kDAW_CommandOneShot, &sCalls),
        refresh("Refresh", 4, 0, kDAW_CommandOneShot, &sCalls), backTab("BackTab", 5, 0, kDAW_CommandOneShot, &sCalls),
        step("Step", 6, 0, kDAW_CommandOneShot, &sCalls), scrub("Scrub", 7, 0, kDAW_CommandStartAndEnd, &sCalls);
    DAW_KeyBindingMap map;
    auto const bind = [&map](char const* key, DAW_Command* command, bool repeat = false)
    {
        DAW_KeyBindingText::Binding b;
        DAW_KeyBindingText::ParseKey(key, "binding", b);
        auto const event = DAW_KeyEvent::New(b.mKeyEvent->GetKeyCode(), repeat ? kDAW_AutoKeyRepeat : kDAW_AutoKeyNone);
        map.AddKeyBinding(DAW_KeyBinding::New(event, b.mModifiers, command));
    };
    bind("command+shift+A", &selectAll);
    bind("shift+1", &one);
    bind("Enter", &enter);
    bind("F5", &refresh);
    bind("shift+Tab", &backTab);
    bind("Space", &step, true);
    bind("B", &scrub);
    LoggingContext context(1, "window");
    context.SetKeyBindingMap(&map);
    DAW_KeyboardInputContext::SetCurrentKeyboardInputContext(&context);

    GtkWidget* const window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    gtk_window_set_default_size(GTK_WINDOW(window), 200, 100);
    DAW_KeyInputGtk input;
    input.Attach(window);
    gtk_widget_show_all(window);
    while (!gtk_widget_get_mapped(window))
        g_main_context_iteration(nullptr, TRUE);
    Iterate();

    // Space and B are held past the server's auto-repeat delay (660 ms by
    // default): how many repeats come depends on the machine, that some do
    // does not.
    std::ostringstream command;
    command << "windowfocus --sync " << gdk_x11_window_get_xid(gtk_widget_get_window(window))
            << " key ctrl+shift+a shift+1 KP_Enter F5 shift+Tab"
            << " keydown space sleep 1.5 keyup space keydown b sleep 1.5 keyup b";
    vfltest::Xdotool(command.str());

    // Until the last release arrives; the limit only keeps a broken run
    // from hanging.
    vfltest::WaitFor([] { return !sEvents.empty() && sEvents.back() == "B up"; });
    DAW_KeyboardInputContext::SetCurrentKeyboardInputContext(nullptr);
    gtk_widget_destroy(window);

    // xdotool lets the modifiers go before the key.
    std::vector<std::string> const expected = {"command+shift+A down",
                                               "A up",
                                               "shift+1 down",
                                               "1 up",
                                               "Enter down",
                                               "Enter up",
                                               "F5 down",
                                               "F5 up",
                                               "shift+Tab down",
                                               "Tab up",
                                               "Space down",
                                               "Space down repeat",
                                               "Space up",
                                               "B down",
                                               "B down repeat",
                                               "B up"};
    // Each run of repeats as one.
    std::vector<std::string> events;
    int spaceRepeats = 0;
    for (std::string const& e : sEvents)
    {
        spaceRepeats += e == "Space down repeat";
        if (events.empty() || e != events.back() || e.find(" repeat") == std::string::npos)
            events.push_back(e);
    }
    EXPECT_EQ(events, expected);
    // Space takes repeats: a step for the press and one for each repeat. B
    // doesn't: one start, one end.
    std::vector<std::string> calls = {"SelectAll.do", "One.do", "Enter.do", "Refresh.do", "BackTab.do"};
    calls.insert(calls.end(), 1 + spaceRepeats, "Step.do");
    calls.push_back("Scrub.start");
    calls.push_back("Scrub.end");
    std::erase_if(sCalls, [](std::string const& call) { return call.find(".can") != std::string::npos; });
    EXPECT_EQ(sCalls, calls);
}

// GTK, GLib and D-Bus keep some of what they make at start for the life of
// the process.
extern "C" char const* __lsan_default_suppressions()
{
    return "leak:libdbus-1.so\nleak:libglib-2.0.so\nleak:libgobject-2.0.so\nleak:libgtk-3.so\nleak:libgdk-3.so\n"
           "leak:libfontconfig.so\n";
}
