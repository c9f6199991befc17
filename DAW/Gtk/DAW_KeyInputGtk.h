// GTK key events as the portable key events, and their delivery to the
// current input context.
#pragma once

#include "Cmn/Cmn_RefCountPtr.h"
#include "DAW/DAW_EventModifiers.h"
#include "DAW/DAW_KeyEvent.h"
#include "DAW/DAW_KeyboardState.h"

#include <gtk/gtk.h>

#include <set>

// The key comes from the hardware key code, which names a place on the
// keyboard whatever the layout, so that a shortcut stays under the same
// fingers on a US, German, French or Russian layout; the key symbol only
// gives the event's text. GDK reports auto-repeat as presses without
// releases between them: a press of a key already down is marked a repeat.
// One object per window (or per application): it remembers which keys are
// down.
class DAW_KeyInputGtk
{
public:
    struct Translation
    {
        Cmn_RefCountPtr<DAW_KeyEvent> mEvent;
        Cmn_RefCountPtr<DAW_EventModifiers> mModifiers;
        Cmn_RefCountPtr<DAW_KeyboardState> mState;
    };

    DAW_KeyInputGtk();
    ~DAW_KeyInputGtk();
    DAW_KeyInputGtk(DAW_KeyInputGtk const&) = delete;
    DAW_KeyInputGtk& operator=(DAW_KeyInputGtk const&) = delete;

    // False for a key that has no key code (a modifier key, Caps Lock, a
    // key beyond the table): GTK keeps it. Presses and releases update the
    // keys held either way.
    bool Translate(GdkEventKey const& key, Translation& out);
    // Translates and hands the event to the current input context; true
    // when it consumed it.
    bool HandleKeyEvent(GdkEventKey const& key);
    // Handles the widget's key presses and releases, and forgets the keys
    // held when it loses the focus (their releases go elsewhere). The
    // widget must not outlive this object.
    void Attach(GtkWidget* widget);
    // Forgets every key held.
    void Reset() { mKeysDown.clear(); }

    // The key at a hardware key code of the X server or compositor (the
    // kernel's key number + 8); kDAW_KeyInvalid for none.
    static DAW_EKeyCode KeyCodeFromHardwareKeycode(guint16 hardwareKeycode);
    // Ctrl the menu command key, Alt the alternate key, Super the meta key,
    // Shift shift; the first three buttons left, middle and right.
    static Cmn_RefCountPtr<DAW_EventModifiers> ModifiersFromState(guint state);

private:
    Cmn_RefCountPtr<DAW_KeyboardState> KeyboardState() const;

    std::set<guint16> mKeysDown; // hardware key codes
};
