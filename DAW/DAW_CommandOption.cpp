#include "DAW/DAW_CommandOption.h"

#include "Cmn/Cmn_Assert.h"

Cmn_RefCountPtr<DAW_CommandOption> DAW_CommandOption::New(int32 ownerCommandID, std::string const& name,
                                                          DAW_EModifierKind modifierKind, bool defaultState,
                                                          DAW_EKeyCode keyCode)
{
    return Cmn_RefCountPtr<DAW_CommandOption>(
        new DAW_CommandOption(ownerCommandID, name, modifierKind, defaultState, keyCode));
}

DAW_CommandOption::DAW_CommandOption(int32 ownerCommandID, std::string const& name, DAW_EModifierKind modifierKind,
                                     bool defaultState, DAW_EKeyCode keyCode)
    : mOwnerCommandID(ownerCommandID), mOptionName(name), mModifierKind(modifierKind), mDefaultState(defaultState),
      mKeyCode(keyCode)
{
}

DAW_CommandOption::~DAW_CommandOption() = default;

bool DAW_CommandOption::GetOptionState(Cmn_RefCountPtr<DAW_EventModifiers> modifiers,
                                       Cmn_RefCountPtr<DAW_KeyboardState> state) const
{
    bool held = false;
    switch (mModifierKind)
    {
    case kDAW_ModifierPlainKey: held = state && state->KeyIsDown(mKeyCode); break;
    case kDAW_ModifierMenuCommandKey: held = modifiers && modifiers->MenuCommandKeyIsDown(); break;
    case kDAW_ModifierAlternateKey: held = modifiers && modifiers->AlternateKeyIsDown(); break;
    case kDAW_ModifierMetaKey: held = modifiers && modifiers->MetaKeyIsDown(); break;
    case kDAW_ModifierShiftKey: held = modifiers && modifiers->ShiftKeyIsDown(); break;
    default: CMN_ASSERT(false); break;
    }
    return held ? !mDefaultState : mDefaultState;
}
