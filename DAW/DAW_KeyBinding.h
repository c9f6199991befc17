#pragma once

#include "Cmn/Cmn_RefCountObject.h"
#include "Cmn/Cmn_RefCountPtr.h"
#include "DAW/DAW_EventModifiers.h"
#include "DAW/DAW_KeyEvent.h"

class DAW_Command;

// A key with modifiers, bound to a command (not owned). The key event's
// auto key says whether repeats run the command.
class DAW_KeyBinding : public Cmn_RefCountObject
{
public:
    static Cmn_RefCountPtr<DAW_KeyBinding> New(Cmn_RefCountPtr<DAW_KeyEvent> keyEvent,
                                               Cmn_RefCountPtr<DAW_EventModifiers> modifiers, DAW_Command* command);
    ~DAW_KeyBinding() override;

    Cmn_RefCountPtr<DAW_KeyEvent> const& GetKeyEvent() const { return mKeyEvent; }
    Cmn_RefCountPtr<DAW_EventModifiers> const& GetEventModifiers() const { return mModifiers; }
    DAW_Command* GetCommand() const { return mCommand; }

private:
    DAW_KeyBinding(Cmn_RefCountPtr<DAW_KeyEvent> keyEvent, Cmn_RefCountPtr<DAW_EventModifiers> modifiers,
                   DAW_Command* command);

    Cmn_RefCountPtr<DAW_KeyEvent> mKeyEvent;
    Cmn_RefCountPtr<DAW_EventModifiers> mModifiers;
    DAW_Command* mCommand;
};
