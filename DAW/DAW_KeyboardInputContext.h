#pragma once

#include "Cmn/Cmn_RefCountPtr.h"
#include "DAW/DAW_EventModifiers.h"
#include "DAW/DAW_KeyEvent.h"
#include "DAW/DAW_KeyboardState.h"

#include <string>

class DAW_KeyBindingMap;

// A place where keys mean something of their own (a mixer window, an edit
// window, a text field), with its bindings. One context is current at a
// time; a key it doesn't bind is tried nowhere else.
class DAW_KeyboardInputContext
{
public:
    DAW_KeyboardInputContext(int32 contextID, std::string contextName);
    virtual ~DAW_KeyboardInputContext();

    int32 GetContextID() const { return mContextID; }
    std::string const& GetContextName() const { return mContextName; }
    DAW_KeyBindingMap* GetKeyBindingMap() const { return mKeyBindingMap; }
    // Not owned.
    void SetKeyBindingMap(DAW_KeyBindingMap* map) { mKeyBindingMap = map; }
    // A value of the host's own, 0 at first, that nothing here reads.
    int32 GetHostValue() const { return mHostValue; }
    void SetHostValue(int32 value) { mHostValue = value; }

    static DAW_KeyboardInputContext* GetCurrentKeyboardInputContext();
    static void SetCurrentKeyboardInputContext(DAW_KeyboardInputContext* context);

    // The window layer's entry: true when the current context consumed the
    // event; false sends it on to the platform.
    static bool HandleKeyEvent(Cmn_RefCountPtr<DAW_KeyEvent>& event, Cmn_RefCountPtr<DAW_EventModifiers>& modifiers,
                               Cmn_RefCountPtr<DAW_KeyboardState>& state);

    // Runs the bound command. A key without a binding, or whose command
    // can't run now, is not consumed; a repeat the binding doesn't take and
    // a one-shot command's key up are consumed without a call.
    virtual bool DoKeyEvent(Cmn_RefCountPtr<DAW_KeyEvent>& event, Cmn_RefCountPtr<DAW_EventModifiers>& modifiers,
                            Cmn_RefCountPtr<DAW_KeyboardState>& state);

private:
    int32 mContextID;
    std::string mContextName;
    DAW_KeyBindingMap* mKeyBindingMap = nullptr;
    int32 mHostValue = 0;

    static DAW_KeyboardInputContext* sCurrentContext;
};
