// GDK key events fed straight to the adapter, as four keyboard layouts
// report them: switching layouts in a test X server is not reliable.
#include "DAW/Gtk/DAW_KeyInputGtk.h"
#include "DAW/DAW_KeyConversionUtils.h"

#include <gtest/gtest.h>

#include <string>

namespace
{
GdkEventKey KeyEvent(GdkEventType type, guint16 evdev, guint keyval, guint state = 0)
{
    GdkEventKey key{};
    key.type = type;
    key.hardware_keycode = guint16(evdev + 8);
    key.keyval = keyval;
    key.state = state;
    return key;
}

std::string Name(DAW_EKeyCode code)
{
    return DAW_KeyConversionUtils::DAW_EKeyCodeToDescriptiveString(code);
}
} // namespace

TEST(DAW_KeyInputGtkTest, SamePlaceSameKeyOnEveryLayout)
{
    struct Row
    {
        guint16 evdev;
        char const* key;
        guint us, de, fr, ru;
    } const rows[] = {
        {16, "Q", GDK_KEY_q, GDK_KEY_q, GDK_KEY_a, GDK_KEY_Cyrillic_shorti},
        {17, "W", GDK_KEY_w, GDK_KEY_w, GDK_KEY_z, GDK_KEY_Cyrillic_tse},
        {21, "Y", GDK_KEY_y, GDK_KEY_z, GDK_KEY_y, GDK_KEY_Cyrillic_en},
        {30, "A", GDK_KEY_a, GDK_KEY_a, GDK_KEY_q, GDK_KEY_Cyrillic_ef},
        {44, "Z", GDK_KEY_z, GDK_KEY_y, GDK_KEY_w, GDK_KEY_Cyrillic_ya},
        {50, "M", GDK_KEY_m, GDK_KEY_m, GDK_KEY_comma, GDK_KEY_Cyrillic_softsign},
        {39, ";", GDK_KEY_semicolon, GDK_KEY_odiaeresis, GDK_KEY_m, GDK_KEY_Cyrillic_zhe},
        {2, "1", GDK_KEY_1, GDK_KEY_1, GDK_KEY_ampersand, GDK_KEY_1},
        {11, "0", GDK_KEY_0, GDK_KEY_0, GDK_KEY_agrave, GDK_KEY_0},
        {12, "-", GDK_KEY_minus, GDK_KEY_ssharp, GDK_KEY_parenright, GDK_KEY_minus},
        {26, "[", GDK_KEY_bracketleft, GDK_KEY_udiaeresis, GDK_KEY_dead_circumflex, GDK_KEY_Cyrillic_ha},
        {41, "Tilde", GDK_KEY_grave, GDK_KEY_dead_circumflex, GDK_KEY_twosuperior, GDK_KEY_Cyrillic_io},
        {52, ".", GDK_KEY_period, GDK_KEY_period, GDK_KEY_colon, GDK_KEY_Cyrillic_yu},
        {53, "/", GDK_KEY_slash, GDK_KEY_minus, GDK_KEY_exclam, GDK_KEY_period},
        {83, "Numpad .", GDK_KEY_KP_Decimal, GDK_KEY_KP_Separator, GDK_KEY_KP_Decimal, GDK_KEY_KP_Separator},
        {96, "unknown", GDK_KEY_KP_Enter, GDK_KEY_KP_Enter, GDK_KEY_KP_Enter,
         GDK_KEY_KP_Enter}, // the keypad's Enter, 85
        {63, "F5", GDK_KEY_F5, GDK_KEY_F5, GDK_KEY_F5, GDK_KEY_F5},
        {15, "Tab", GDK_KEY_ISO_Left_Tab, GDK_KEY_ISO_Left_Tab, GDK_KEY_ISO_Left_Tab, GDK_KEY_ISO_Left_Tab},
        {111, "Delete", GDK_KEY_Delete, GDK_KEY_Delete, GDK_KEY_Delete, GDK_KEY_Delete},
        {79, "Numpad 1", GDK_KEY_KP_End, GDK_KEY_KP_End, GDK_KEY_KP_1, GDK_KEY_KP_1}, // Num Lock off and on
    };
    DAW_KeyInputGtk input;
    for (Row const& r : rows)
    {
        SCOPED_TRACE(r.key);
        for (guint keyval : {r.us, r.de, r.fr, r.ru})
        {
            SCOPED_TRACE(gdk_keyval_name(keyval));
            DAW_KeyInputGtk::Translation t;
            ASSERT_TRUE(input.Translate(KeyEvent(GDK_KEY_PRESS, r.evdev, keyval, GDK_SHIFT_MASK), t));
            EXPECT_EQ(Name(t.mEvent->GetKeyCode()), r.key);
            EXPECT_FALSE(t.mEvent->IsAutoKey());
            if (keyval == GDK_KEY_Cyrillic_shorti)
            {
                EXPECT_EQ(t.mEvent->GetText(), "\xD0\xB9"); // the symbol gives the text
            }
            ASSERT_TRUE(input.Translate(KeyEvent(GDK_KEY_RELEASE, r.evdev, keyval), t));
            EXPECT_EQ(Name(t.mEvent->GetKeyCode()), r.key);
        }
    }
}

TEST(DAW_KeyInputGtkTest, ModifiersFromTheState)
{
    struct Case
    {
        guint state;
        char const* keys;
        bool left, middle, right;
    } const cases[] = {
        {0, "", false, false, false},
        {GDK_CONTROL_MASK | GDK_SHIFT_MASK, "+command+shift", false, false, false},
        {GDK_MOD1_MASK, "+option", false, false, false},
        {GDK_MOD4_MASK, "+control", false, false, false},
        {GDK_SUPER_MASK, "+control", false, false, false},
        {GDK_LOCK_MASK | GDK_MOD2_MASK, "", false, false, false}, // Caps Lock and Num Lock are no modifiers
        {GDK_BUTTON1_MASK, "", true, false, false},
        {GDK_BUTTON2_MASK | GDK_BUTTON3_MASK | GDK_CONTROL_MASK, "+command", false, true, true},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.state);
        auto const m = DAW_KeyInputGtk::ModifiersFromState(c.state);
        EXPECT_EQ(m->GetKeyModifiersDescriptiveString(), c.keys);
        EXPECT_EQ(m->LeftButtonIsDown(), c.left);
        EXPECT_EQ(m->MiddleButtonIsDown(), c.middle);
        EXPECT_EQ(m->RightButtonIsDown(), c.right);
    }
}

TEST(DAW_KeyInputGtkTest, PressOfAKeyDownIsARepeatAndKeysHeldAreInTheState)
{
    DAW_KeyInputGtk input;
    DAW_KeyInputGtk::Translation t;
    struct Step
    {
        GdkEventType type;
        guint16 evdev;
        bool translated, repeat, aDown, sDown;
    } const steps[] = {
        {GDK_KEY_PRESS, 30, true, false, true, false},   // A
        {GDK_KEY_PRESS, 30, true, true, true, false},    // A repeats
        {GDK_KEY_PRESS, 31, true, false, true, true},    // S while A is held
        {GDK_KEY_PRESS, 30, true, true, true, true},     // A repeats again
        {GDK_KEY_RELEASE, 30, true, false, false, true}, // A up
        {GDK_KEY_PRESS, 42, false, false, false, true},  // Shift: no key code
        {GDK_KEY_PRESS, 30, true, false, true, true},    // A anew
        {GDK_KEY_RELEASE, 30, true, false, false, true}, // A up
        {GDK_KEY_PRESS, 110, true, false, false, true},  // Insert has no Macintosh number: not the 'A' bit
    };
    for (Step const& s : steps)
    {
        SCOPED_TRACE(testing::Message() << (s.type == GDK_KEY_PRESS ? "press " : "release ") << s.evdev);
        ASSERT_EQ(input.Translate(KeyEvent(s.type, s.evdev, GDK_KEY_a), t), s.translated);
        if (!s.translated)
            continue;
        EXPECT_EQ(t.mEvent->IsAutoKey(), s.repeat);
        EXPECT_EQ(t.mState->KeyIsDown(kDAW_KeyA), s.aDown);
        EXPECT_EQ(t.mState->KeyIsDown(DAW_EKeyCode(kDAW_KeyA + 18)), s.sDown);
    }
    input.Reset();
    ASSERT_TRUE(input.Translate(KeyEvent(GDK_KEY_PRESS, 30, GDK_KEY_a), t));
    EXPECT_FALSE(t.mEvent->IsAutoKey());
    EXPECT_FALSE(t.mState->KeyIsDown(DAW_EKeyCode(kDAW_KeyA + 18)));
}

TEST(DAW_KeyInputGtkTest, EveryHardwareKeyGivesAKnownCodeOrNone)
{
    int known = 0;
    for (int hardware = 0; hardware < 70000; hardware += (hardware < 300 ? 1 : 997))
    {
        DAW_EKeyCode const code = DAW_KeyInputGtk::KeyCodeFromHardwareKeycode(guint16(hardware));
        if (code == kDAW_KeyInvalid)
            continue;
        ++known;
        EXPECT_TRUE(code == kDAW_KeyNumpadEnter || Name(code) != "unknown") << hardware;
    }
    // Every key code but Invalid, Clear, Select and Execute has its place.
    EXPECT_EQ(known, 108);
}
