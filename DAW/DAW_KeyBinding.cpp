#include "DAW/DAW_KeyBinding.h"

#include <utility>

Cmn_RefCountPtr<DAW_KeyBinding> DAW_KeyBinding::New(Cmn_RefCountPtr<DAW_KeyEvent> keyEvent,
                                                    Cmn_RefCountPtr<DAW_EventModifiers> modifiers, DAW_Command* command)
{
    return Cmn_RefCountPtr<DAW_KeyBinding>(new DAW_KeyBinding(std::move(keyEvent), std::move(modifiers), command));
}

DAW_KeyBinding::DAW_KeyBinding(Cmn_RefCountPtr<DAW_KeyEvent> keyEvent, Cmn_RefCountPtr<DAW_EventModifiers> modifiers,
                               DAW_Command* command)
    : mKeyEvent(std::move(keyEvent)), mModifiers(std::move(modifiers)), mCommand(command)
{
}

DAW_KeyBinding::~DAW_KeyBinding() = default;
