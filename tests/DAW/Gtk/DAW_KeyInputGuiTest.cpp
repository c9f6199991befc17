// Real key presses, sent by xdotool to a GTK window on the X server of the
// test (xvfb-run), through the adapter to the current input context and its
// commands. Skipped without a display or without xdotool.
#include "DAW/DAW_Command.h"
#include "DAW/DAW_KeyBindingMap.h"
#include "DAW/DAW_KeyBindingText.h"
#include "DAW/DAW_KeyboardInputContext.h"
#include "DAW/DAW_TestSupport.h"
#include "DAW/Gtk/DAW_KeyInputGtk.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "DAW/Gtk/DAW_GuiTestSupport.h"

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

using vfltest::Iterate;
} // namespace

TEST(DAW_KeyInputGui, XdotoolKeysRunTheBoundCommands)
{
    VFL_START_GTK(true);

    using vfltest::LoggingCommand;
    LoggingCommand selectAll("SelectAll", 1, 0, kDAW_CommandOneShot, &sCalls),
        one("One", 2, 0, kDAW_CommandOneShot, &sCalls), enter("Enter", 3, 0, kDAW_CommandOneShot, &sCalls),
        refresh("Refresh", 4, 0, kDAW_CommandOneShot, &sCalls), backTab("BackTab", 5, 0, kDAW_CommandOneShot, &sCalls),
        step("Step", 6, 0, kDAW_CommandOneShot, &sCalls), scrub("Scrub", 7, 0, kDAW_CommandStartAndEnd, &sCalls);
    DAW_KeyBindingMap map;
    map.AddKeyBinding(vfltest::BindingOf("command+shift+A", &selectAll));
    map.AddKeyBinding(vfltest::BindingOf("shift+1", &one));
    map.AddKeyBinding(vfltest::BindingOf("Enter", &enter));
    map.AddKeyBinding(vfltest::BindingOf("F5", &refresh));
    map.AddKeyBinding(vfltest::BindingOf("shift+Tab", &backTab));
    map.AddKeyBinding(vfltest::BindingOf("Space repeat", &step));
    map.AddKeyBinding(vfltest::BindingOf("B", &scrub));
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
    vfltest::Xdotool(vfltest::InWindow(window, "key ctrl+shift+a shift+1 KP_Enter F5 shift+Tab keydown space sleep 1.5 "
                                               "keyup space keydown b sleep 1.5 keyup b"));

    // Until the last release arrives; the limit only keeps a broken run
    // from hanging.
    vfltest::WaitFor([] { return !sEvents.empty() && sEvents.back() == "B up"; });
    DAW_KeyboardInputContext::SetCurrentKeyboardInputContext(nullptr);
    gtk_widget_destroy(window);

    // Each run of repeats as one. xdotool lets the modifiers go before the key.
    std::string events;
    int spaceRepeats = 0;
    for (std::size_t i = 0; i < sEvents.size(); ++i)
    {
        spaceRepeats += sEvents[i] == "Space down repeat";
        if (i == 0 || sEvents[i] != sEvents[i - 1] || sEvents[i].find(" repeat") == std::string::npos)
            events += sEvents[i] + ", ";
    }
    EXPECT_EQ(events, "command+shift+A down, A up, shift+1 down, 1 up, Enter down, Enter up, F5 down, F5 up, "
                      "shift+Tab down, Tab up, Space down, Space down repeat, Space up, B down, B down repeat, B up, ");
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
