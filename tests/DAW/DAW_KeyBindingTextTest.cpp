// The bindings text: what it reads, what it refuses, and the conflicts.
#include "DAW/DAW_KeyBindingText.h"
#include "Cmn/Cmn_Exception.h"
#include "DAW/DAW_Command.h"
#include "DAW/DAW_CommandRegistry.h"
#include "DAW/DAW_KeyBindingMap.h"
#include "DAW/DAW_TestSupport.h"

#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <string>

namespace
{
using Text = DAW_KeyBindingText;
using vfltest::ModifiersOf;

std::vector<Text::Context> ReadText(std::string const& text)
{
    std::istringstream in(text);
    return Text::Read(in, "test.keys");
}

std::string WriteText(std::vector<Text::Context> const& contexts)
{
    std::ostringstream out;
    Text::Write(out, contexts);
    return out.str();
}

// The full description of what fn throws; "(read)" if it throws nothing.
std::string FailureOf(std::function<void()> const& fn)
{
    try
    {
        fn();
    }
    catch (Cmn_Exception const& e)
    {
        return e.GetFullDescription();
    }
    return "(read)";
}
std::string FailureOf(std::string const& text)
{
    return FailureOf([&] { ReadText(text); });
}

constexpr char kSample[] = "# edit window\n"
                           "context 2 \"Edit window\"\n"
                           "command+shift+a   \"Select All\"\n"
                           "shift?+Space      Play    repeat  # comment\n"
                           "\"command+Numpad +\" \"Zoom \\\"In\\\"\"\n"
                           "left+right+Delete Erase\n"
                           "control+option+enter Go\n"
                           "\n"
                           "context -7 Mixer\n"
                           "command?+option?+control?+shift?+F24 All\n";
} // namespace

TEST(DAW_KeyBindingTextTest, ReadsWhatItWritesAndWritesWhatItReads)
{
    auto const contexts = ReadText(kSample);
    ASSERT_EQ(contexts.size(), 2u);
    EXPECT_EQ(contexts[0].mContextName, "Edit window");
    EXPECT_EQ(contexts[1].mContextID, -7);
    ASSERT_EQ(contexts[0].mBindings.size(), 5u);
    Text::Binding const& play = contexts[0].mBindings[1];
    EXPECT_EQ(play.mLine, 4);
    EXPECT_EQ(play.mKeyEvent->GetKeyCode(), kDAW_KeySpace);
    EXPECT_TRUE(play.mKeyEvent->IsAutoKey());
    EXPECT_EQ(play.mModifiers->GetShiftKeyState(), kDAW_ShiftKeyDontCare);
    EXPECT_EQ(contexts[0].mBindings[2].mCommandName, "Zoom \"In\"");
    EXPECT_EQ(contexts[0].mBindings[2].mKeyEvent->GetKeyCode(), kDAW_KeyNumpadAdd);
    EXPECT_TRUE(contexts[0].mBindings[3].mModifiers->RightButtonIsDown());
    EXPECT_EQ(contexts[0].mBindings[4].mKeyEvent->GetKeyCode(), kDAW_KeyNumpadEnter);

    std::string const written = WriteText(contexts);
    EXPECT_EQ(written, "context 2 \"Edit window\"\n"
                       "command+shift+A       \"Select All\"\n"
                       "shift?+Space          Play repeat\n"
                       "\"command+Numpad +\"    \"Zoom \\\"In\\\"\"\n"
                       "left+right+Delete     Erase\n"
                       "option+control+Enter  Go\n"
                       "\n"
                       "context -7 Mixer\n"
                       "command?+option?+control?+shift?+F24  All\n");
    EXPECT_EQ(WriteText(ReadText(written)), written);
}

TEST(DAW_KeyBindingTextTest, RefusesWithTheLineAndTheReason)
{
    struct Case
    {
        char const* text;
        char const* message;
    } const cases[] = {
        {"A\n", "test.keys, line 1: a binding is 'KEY COMMAND [repeat]'"},
        {"\n\nfoo+A x\n", "line 3: no modifier 'foo'"},
        {"Banana x\n", "no key 'Banana'"},
        {"shift+shift+A x\n", "'shift' twice"},
        {"left?+A x\n", "a mouse button is held or not"},
        {"A x often\n", "no option 'often'"},
        {"\"A x\n", "a quote is not closed"},
        {"context 1\n", "a context is 'context ID NAME'"},
        {"context 99999999999 x\n", "a 32-bit number"},
        {"context 1x y\n", "a 32-bit number"},
        {"context 1 a\ncontext 1 b\n", "line 2: context 1 again (line 1)"},
        {"A x\ncontext 0 b\n", "line 2: context 0 again (the bindings before the first context)"},
        {"shift+ x\n", "no key 'shift+'"},
        {"unknown x\n", "no key 'unknown'"},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.text);
        std::string const failure = FailureOf(c.text);
        EXPECT_NE(failure.find("Error reading file"), std::string::npos) << failure;
        EXPECT_NE(failure.find(c.message), std::string::npos) << failure;
    }
    EXPECT_NE(FailureOf(std::string(5000, 'A')).find("longer than 4096"), std::string::npos);
    EXPECT_NE(FailureOf("A " + std::string(256, 'x')).find("a name longer than 255"), std::string::npos);
    std::string many;
    for (int i = 0; i < 100001; ++i)
        many += "A x\n";
    EXPECT_NE(FailureOf(many).find("more than 100000 bindings"), std::string::npos);
}

TEST(DAW_KeyBindingTextTest, ConflictsAreBindingsOneEventWouldBothMatch)
{
    struct Case
    {
        char const* first;
        char const* second;
        bool conflict, secondNeverRuns;
    } const cases[] = {
        {"shift?+A", "shift+A", true, true},
        {"shift+A", "shift?+A", true, false},
        {"shift+A", "shift+A", true, true},
        {"shift+A", "A", false, false},
        {"shift+A", "shift+B", false, false},
        {"command+shift+A", "command?+shift+A", true, false},
        {"shift?+A", "command?+shift+A", true, false},
        {"command?+option?+control?+shift?+A", "option+control+A", true, true},
        {"left+A", "A", false, false},
        {"shift?+left+A", "shift+left+A", true, true},
        {"shift?+left+A", "shift+right+A", false, false},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(testing::Message() << c.first << " then " << c.second);
        auto const conflicts = Text::FindConflicts(
            ReadText(std::string("context 1 x\n") + c.first + " one\nF1 other\n" + c.second + " two\n"));
        ASSERT_EQ(conflicts.size(), c.conflict ? 1u : 0u);
        if (!c.conflict)
            continue;
        EXPECT_EQ(conflicts[0].mFirst.mLine, 2);
        EXPECT_EQ(conflicts[0].mSecond.mLine, 4);
        EXPECT_EQ(conflicts[0].mSecondNeverRuns, c.secondNeverRuns);
    }
    // Contexts don't conflict with each other.
    EXPECT_TRUE(Text::FindConflicts(ReadText("context 1 a\nA x\ncontext 2 b\nA y\n")).empty());
}

TEST(DAW_KeyBindingTextTest, LoadsIntoAMapAndSavesFromIt)
{
    static vfltest::LoggingCommand play("Text Play", 7001, 0), stop("Text Stop", 7002, 0);
    DAW_CommandRegistry::RegisterCommand(&play);
    DAW_CommandRegistry::RegisterCommand(&stop);
    auto const contexts = ReadText("shift+Space \"Text Stop\"\nshift?+Space \"Text Play\" repeat\n");
    DAW_KeyBindingMap map;
    Text::AddToMap(contexts[0], map, "test.keys");
    EXPECT_EQ(map.FindMatchingKeyBinding(DAW_KeyEvent::New(kDAW_KeySpace), ModifiersOf("shift+"))->GetCommand(), &stop);
    EXPECT_EQ(map.FindMatchingKeyBinding(DAW_KeyEvent::New(kDAW_KeySpace), ModifiersOf(""))->GetCommand(), &play);
    EXPECT_EQ(WriteText({Text::FromMap(map, 4, "Transport")}), "context 4 Transport\n"
                                                               "shift+Space   \"Text Stop\"\n"
                                                               "shift?+Space  \"Text Play\" repeat\n");

    DAW_KeyBindingMap other;
    std::string const failure =
        FailureOf([&] { Text::AddToMap(ReadText("A \"Text Play\"\nB Nothing\n")[0], other, "mine.keys"); });
    EXPECT_NE(failure.find("mine.keys, line 2: no command 'Nothing'"), std::string::npos) << failure;
}
