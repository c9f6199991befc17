#pragma once

#include "Cmn/Cmn_RefCountObject.h"
#include "Cmn/Cmn_RefCountPtr.h"
#include "DAW/DAW_EventModifiers.h"
#include "DAW/DAW_KeyTypes.h"
#include "DAW/DAW_KeyboardState.h"

#include <string>

// A named variation of a command, switched by a modifier or a key held
// while the command runs: holding it turns the default state over.
class DAW_CommandOption : public Cmn_RefCountObject
{
public:
    static Cmn_RefCountPtr<DAW_CommandOption> New(int32 ownerCommandID, std::string const& name,
                                                  DAW_EModifierKind modifierKind, bool defaultState,
                                                  DAW_EKeyCode keyCode = kDAW_KeyInvalid);
    ~DAW_CommandOption() override;

    int32 GetOwnerCommandID() const { return mOwnerCommandID; }
    std::string const& GetOptionName() const { return mOptionName; }
    DAW_EModifierKind GetModifierKey() const { return mModifierKind; }
    bool GetDefaultState() const { return mDefaultState; }

    bool GetOptionState(Cmn_RefCountPtr<DAW_EventModifiers> modifiers, Cmn_RefCountPtr<DAW_KeyboardState> state) const;

private:
    DAW_CommandOption(int32 ownerCommandID, std::string const& name, DAW_EModifierKind modifierKind, bool defaultState,
                      DAW_EKeyCode keyCode);

    int32 mOwnerCommandID;
    std::string mOptionName;
    DAW_EModifierKind mModifierKind;
    bool mDefaultState;
    DAW_EKeyCode mKeyCode; // for a plain key
};
