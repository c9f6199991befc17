#include "DAW/DAW_KeyboardInputContext.h"

#include "Cmn/Cmn_Assert.h"
#include "DAW/DAW_Command.h"
#include "DAW/DAW_KeyBindingMap.h"

#include <utility>

DAW_KeyboardInputContext* DAW_KeyboardInputContext::sCurrentContext = nullptr;

DAW_KeyboardInputContext::DAW_KeyboardInputContext(int32 contextID, std::string contextName)
    : mContextID(contextID), mContextName(std::move(contextName))
{
}

DAW_KeyboardInputContext::~DAW_KeyboardInputContext() = default;

DAW_KeyboardInputContext* DAW_KeyboardInputContext::GetCurrentKeyboardInputContext()
{
    return sCurrentContext;
}

void DAW_KeyboardInputContext::SetCurrentKeyboardInputContext(DAW_KeyboardInputContext* context)
{
    sCurrentContext = context;
}

bool DAW_KeyboardInputContext::HandleKeyEvent(Cmn_RefCountPtr<DAW_KeyEvent>& event,
                                              Cmn_RefCountPtr<DAW_EventModifiers>& modifiers,
                                              Cmn_RefCountPtr<DAW_KeyboardState>& state)
{
    if (!sCurrentContext)
        return false;
    return sCurrentContext->DoKeyEvent(event, modifiers, state);
}

bool DAW_KeyboardInputContext::DoKeyEvent(Cmn_RefCountPtr<DAW_KeyEvent>& event,
                                          Cmn_RefCountPtr<DAW_EventModifiers>& modifiers,
                                          Cmn_RefCountPtr<DAW_KeyboardState>& state)
{
    if (!mKeyBindingMap || !event)
        return false;
    Cmn_RefCountPtr<DAW_KeyBinding> const binding = mKeyBindingMap->FindMatchingKeyBinding(event, modifiers);
    if (!binding)
        return false;
    DAW_Command* const command = binding->GetCommand();
    if (!command)
        return false;
    // A disabled command leaves the key to the host.
    if (!command->CanDoCommand(0))
        return false;
    if (event->IsAutoKey() && !binding->GetKeyEvent()->IsAutoKey())
        return true;
    bool const down = event->GetKeyState() == kDAW_KeyDown;
    switch (command->GetCommandType())
    {
    case kDAW_CommandOneShot:
        if (down)
            command->DoCommand(modifiers, state);
        break;
    case kDAW_CommandStartAndEnd:
        if (down)
            command->DoCommandStart(modifiers, state);
        else
            command->DoCommandEnd(modifiers, state);
        break;
    default: CMN_ASSERT(false); break;
    }
    return true;
}
