#include "DAW/Gtk/DAW_KeyInputGtk.h"

#include "DAW/DAW_KeyConversionUtils.h"
#include "DAW/DAW_KeyboardInputContext.h"

#include <iterator>
#include <string>

namespace
{
// The kernel's key numbers (input-event-codes) and the key at that place
// on a US keyboard. Modifier keys, Caps Lock and keys the workstation has
// no code for are absent.
struct EvdevKey
{
    guint16 evdev;
    DAW_EKeyCode code;
};

constexpr DAW_EKeyCode Letter(char c)
{
    return DAW_EKeyCode(kDAW_KeyA + (c - 'A'));
}
constexpr DAW_EKeyCode Digit(int d)
{
    return d == 0 ? kDAW_Key0 : DAW_EKeyCode(kDAW_Key1 + d - 1);
}
constexpr DAW_EKeyCode Function(int n)
{
    return DAW_EKeyCode(kDAW_KeyF1 + n - 1);
}
constexpr DAW_EKeyCode Numpad(int d)
{
    return DAW_EKeyCode(kDAW_KeyNumpad0 + d);
}

constexpr EvdevKey kEvdevKeys[] = {
    {1, kDAW_KeyEsc},
    {2, Digit(1)},
    {3, Digit(2)},
    {4, Digit(3)},
    {5, Digit(4)},
    {6, Digit(5)},
    {7, Digit(6)},
    {8, Digit(7)},
    {9, Digit(8)},
    {10, Digit(9)},
    {11, Digit(0)},
    {12, kDAW_KeyMinus},
    {13, kDAW_KeyEquals},
    {14, kDAW_KeyBackSpace},
    {15, kDAW_KeyTab},
    {16, Letter('Q')},
    {17, Letter('W')},
    {18, Letter('E')},
    {19, Letter('R')},
    {20, Letter('T')},
    {21, Letter('Y')},
    {22, Letter('U')},
    {23, Letter('I')},
    {24, Letter('O')},
    {25, Letter('P')},
    {26, kDAW_KeyLeftBracket},
    {27, kDAW_KeyRightBracket},
    {28, kDAW_KeyReturn},
    {30, Letter('A')},
    {31, Letter('S')},
    {32, Letter('D')},
    {33, Letter('F')},
    {34, Letter('G')},
    {35, Letter('H')},
    {36, Letter('J')},
    {37, Letter('K')},
    {38, Letter('L')},
    {39, kDAW_KeySemicolon},
    {40, kDAW_KeyQuote},
    {41, kDAW_KeyTilde},
    {43, kDAW_KeyBackslash},
    {44, Letter('Z')},
    {45, Letter('X')},
    {46, Letter('C')},
    {47, Letter('V')},
    {48, Letter('B')},
    {49, Letter('N')},
    {50, Letter('M')},
    {51, kDAW_KeyComma},
    {52, kDAW_KeyPeriod},
    {53, kDAW_KeySlash},
    {55, kDAW_KeyNumpadMultiply},
    {57, kDAW_KeySpace},
    {59, Function(1)},
    {60, Function(2)},
    {61, Function(3)},
    {62, Function(4)},
    {63, Function(5)},
    {64, Function(6)},
    {65, Function(7)},
    {66, Function(8)},
    {67, Function(9)},
    {68, Function(10)},
    {69, kDAW_KeyNumLock},
    {70, kDAW_KeyScrollLock},
    {71, Numpad(7)},
    {72, Numpad(8)},
    {73, Numpad(9)},
    {74, kDAW_KeyNumpadSubtract},
    {75, Numpad(4)},
    {76, Numpad(5)},
    {77, Numpad(6)},
    {78, kDAW_KeyNumpadAdd},
    {79, Numpad(1)},
    {80, Numpad(2)},
    {81, Numpad(3)},
    {82, Numpad(0)},
    {83, kDAW_KeyNumpadDecimal},
    {87, Function(11)},
    {88, Function(12)},
    {96, kDAW_KeyNumpadEnter},
    {98, kDAW_KeyNumpadDivide},
    {99, kDAW_KeySnapShot},
    {102, kDAW_KeyHome},
    {103, kDAW_KeyUpArrow},
    {104, kDAW_KeyPageUp},
    {105, kDAW_KeyLeftArrow},
    {106, kDAW_KeyRightArrow},
    {107, kDAW_KeyEnd},
    {108, kDAW_KeyDownArrow},
    {109, kDAW_KeyPageDown},
    {110, kDAW_KeyInsert},
    {111, kDAW_KeyDelete},
    {117, kDAW_KeyNumpadEquals},
    {138, kDAW_KeyHelp},
    {183, Function(13)},
    {184, Function(14)},
    {185, Function(15)},
    {186, Function(16)},
    {187, Function(17)},
    {188, Function(18)},
    {189, Function(19)},
    {190, Function(20)},
    {191, Function(21)},
    {192, Function(22)},
    {193, Function(23)},
    {194, Function(24)},
    {223, kDAW_KeyCancel},
};

// Hardware key codes are the kernel's numbers moved up by 8 (X11's first
// key code); they fit a byte.
constexpr guint16 kHardwareOffset = 8;

struct HardwareTable
{
    DAW_EKeyCode mCodes[256] = {};
    constexpr HardwareTable()
    {
        for (EvdevKey const& k : kEvdevKeys)
            mCodes[k.evdev + kHardwareOffset] = k.code;
    }
};
constexpr HardwareTable kHardwareTable;

std::string TextOfKeyval(guint keyval)
{
    gunichar const c = gdk_keyval_to_unicode(keyval);
    if (c == 0)
        return std::string();
    char utf8[8];
    int const n = g_unichar_to_utf8(c, utf8);
    return std::string(utf8, n);
}

gboolean OnKey(GtkWidget*, GdkEventKey* key, gpointer self)
{
    return static_cast<DAW_KeyInputGtk*>(self)->HandleKeyEvent(*key) ? TRUE : FALSE;
}

gboolean OnFocusOut(GtkWidget*, GdkEventFocus*, gpointer self)
{
    static_cast<DAW_KeyInputGtk*>(self)->Reset();
    return FALSE;
}
} // namespace

DAW_KeyInputGtk::DAW_KeyInputGtk() = default;

DAW_KeyInputGtk::~DAW_KeyInputGtk() = default;

DAW_EKeyCode DAW_KeyInputGtk::KeyCodeFromHardwareKeycode(guint16 hardwareKeycode)
{
    return hardwareKeycode < std::size(kHardwareTable.mCodes) ? kHardwareTable.mCodes[hardwareKeycode]
                                                              : kDAW_KeyInvalid;
}

Cmn_RefCountPtr<DAW_EventModifiers> DAW_KeyInputGtk::ModifiersFromState(guint state)
{
    auto const down = [state](guint mask) { return (state & mask) != 0; };
    return DAW_EventModifiers::New(down(GDK_CONTROL_MASK) ? kDAW_MenuCommandKeyDown : kDAW_MenuCommandKeyUp,
                                   down(GDK_MOD1_MASK) ? kDAW_AlternateKeyDown : kDAW_AlternateKeyUp,
                                   down(GDK_SUPER_MASK | GDK_MOD4_MASK) ? kDAW_MetaKeyDown : kDAW_MetaKeyUp,
                                   down(GDK_SHIFT_MASK) ? kDAW_ShiftKeyDown : kDAW_ShiftKeyUp,
                                   down(GDK_BUTTON1_MASK) ? kDAW_LeftButtonDown : kDAW_LeftButtonUp,
                                   down(GDK_BUTTON2_MASK) ? kDAW_MiddleButtonDown : kDAW_MiddleButtonUp,
                                   down(GDK_BUTTON3_MASK) ? kDAW_RightButtonDown : kDAW_RightButtonUp);
}

Cmn_RefCountPtr<DAW_KeyboardState> DAW_KeyInputGtk::KeyboardState() const
{
    DAW_KeyStateArray keys{};
    for (guint16 hardware : mKeysDown)
    {
        DAW_EKeyCode const code = KeyCodeFromHardwareKeycode(hardware);
        int16 const mac = DAW_KeyConversionUtils::DAW_EKeyCodeToMacKeyCode(code);
        // A key without a Macintosh number would answer 0, the 'A' key.
        if (code == kDAW_KeyInvalid || DAW_KeyConversionUtils::MacKeyCodeToDAW_EKeyCode(mac) != code)
            continue;
        keys.mBytes[mac >> 3] |= u8(1u << (mac & 7));
    }
    return DAW_KeyboardState::New(keys, kDAW_KeyStateMacBitMap);
}

bool DAW_KeyInputGtk::Translate(GdkEventKey const& key, Translation& out)
{
    bool const press = key.type == GDK_KEY_PRESS;
    bool repeat = false;
    if (press)
        repeat = !mKeysDown.insert(key.hardware_keycode).second;
    else
        mKeysDown.erase(key.hardware_keycode);

    DAW_EKeyCode const code = KeyCodeFromHardwareKeycode(key.hardware_keycode);
    if (code == kDAW_KeyInvalid)
        return false;
    out.mEvent = DAW_KeyEvent::New(code, repeat ? kDAW_AutoKeyRepeat : kDAW_AutoKeyNone, TextOfKeyval(key.keyval),
                                   press ? kDAW_KeyDown : kDAW_KeyUp);
    out.mModifiers = ModifiersFromState(key.state);
    out.mState = KeyboardState();
    return true;
}

bool DAW_KeyInputGtk::HandleKeyEvent(GdkEventKey const& key)
{
    Translation t;
    if (!Translate(key, t))
        return false;
    return DAW_KeyboardInputContext::HandleKeyEvent(t.mEvent, t.mModifiers, t.mState);
}

void DAW_KeyInputGtk::Attach(GtkWidget* widget)
{
    gtk_widget_add_events(widget, GDK_KEY_PRESS_MASK | GDK_KEY_RELEASE_MASK | GDK_FOCUS_CHANGE_MASK);
    g_signal_connect(widget, "key-press-event", G_CALLBACK(OnKey), this);
    g_signal_connect(widget, "key-release-event", G_CALLBACK(OnKey), this);
    g_signal_connect(widget, "focus-out-event", G_CALLBACK(OnFocusOut), this);
}
