#pragma once

#include "Cmn/Cmn_RefCountObject.h"
#include "Cmn/Cmn_RefCountPtr.h"
#include "DAW/DAW_KeyTypes.h"

#include <string>

// The modifier keys and mouse buttons held with a key. On a binding the
// four keys may be "don't care" (2); the buttons are always exact.
class DAW_EventModifiers : public Cmn_RefCountObject
{
public:
    static Cmn_RefCountPtr<DAW_EventModifiers> New(DAW_EMenuCommandKeyState menuCommand = kDAW_MenuCommandKeyUp,
                                                   DAW_EAlternateKeyState alternate = kDAW_AlternateKeyUp,
                                                   DAW_EMetaKeyState meta = kDAW_MetaKeyUp,
                                                   DAW_EShiftKeyState shift = kDAW_ShiftKeyUp,
                                                   DAW_ELeftMouseButtonState left = kDAW_LeftButtonUp,
                                                   DAW_EMiddleMouseButtonState middle = kDAW_MiddleButtonUp,
                                                   DAW_ERightMouseButtonState right = kDAW_RightButtonUp);

    DAW_EventModifiers(DAW_EventModifiers const& other) = default;
    DAW_EventModifiers& operator=(DAW_EventModifiers const& other) = default;
    ~DAW_EventModifiers() override;

    void SetMenuCommandKeyState(DAW_EMenuCommandKeyState s) { mMenuCommandKey = s; }
    // Spelled so by every caller.
    void SetAlernateKeyState(DAW_EAlternateKeyState s) { mAlternateKey = s; }
    void SetMetaKeyState(DAW_EMetaKeyState s) { mMetaKey = s; }
    void SetShiftKeyState(DAW_EShiftKeyState s) { mShiftKey = s; }
    void SetLeftButtonState(DAW_ELeftMouseButtonState s) { mLeftButton = s; }
    void SetMiddleButtonState(DAW_EMiddleMouseButtonState s) { mMiddleButton = s; }
    void SetRightButtonState(DAW_ERightMouseButtonState s) { mRightButton = s; }

    DAW_EMenuCommandKeyState GetMenuCommandKeyState() const { return mMenuCommandKey; }
    DAW_EAlternateKeyState GetAlternateKeyState() const { return mAlternateKey; }
    DAW_EMetaKeyState GetMetaKeyState() const { return mMetaKey; }
    DAW_EShiftKeyState GetShiftKeyState() const { return mShiftKey; }
    DAW_ELeftMouseButtonState GetLeftButtonState() const { return mLeftButton; }
    DAW_EMiddleMouseButtonState GetMiddleButtonState() const { return mMiddleButton; }
    DAW_ERightMouseButtonState GetRightButtonState() const { return mRightButton; }

    // Each answers whether the field is 1: a don't-care key is not down.
    bool MenuCommandKeyIsDown() const { return mMenuCommandKey == 1; }
    bool AlternateKeyIsDown() const { return mAlternateKey == 1; }
    bool MetaKeyIsDown() const { return mMetaKey == 1; }
    bool ShiftKeyIsDown() const { return mShiftKey == 1; }
    bool LeftButtonIsDown() const { return mLeftButton == 1; }
    bool MiddleButtonIsDown() const { return mMiddleButton == 1; }
    bool RightButtonIsDown() const { return mRightButton == 1; }

    // Whether an event's modifiers meet a binding's, either on either side:
    // each key equal or don't care on one side, each button equal. Not
    // transitive, so not an equivalence.
    bool operator==(DAW_EventModifiers const& other) const;
    bool operator!=(DAW_EventModifiers const& other) const;

    // "+command", "+option", "+control", "+shift" for each key that is down.
    std::string GetKeyModifiersDescriptiveString() const;
    // Buttons are not described: always empty.
    std::string GetMouseModifiersDescriptiveString() const;

private:
    DAW_EventModifiers(DAW_EMenuCommandKeyState menuCommand, DAW_EAlternateKeyState alternate, DAW_EMetaKeyState meta,
                       DAW_EShiftKeyState shift, DAW_ELeftMouseButtonState left, DAW_EMiddleMouseButtonState middle,
                       DAW_ERightMouseButtonState right);

    DAW_EMenuCommandKeyState mMenuCommandKey = kDAW_MenuCommandKeyUp;
    DAW_EAlternateKeyState mAlternateKey = kDAW_AlternateKeyUp;
    DAW_EMetaKeyState mMetaKey = kDAW_MetaKeyUp;
    DAW_EShiftKeyState mShiftKey = kDAW_ShiftKeyUp;
    DAW_ELeftMouseButtonState mLeftButton = kDAW_LeftButtonUp;
    DAW_EMiddleMouseButtonState mMiddleButton = kDAW_MiddleButtonUp;
    DAW_ERightMouseButtonState mRightButton = kDAW_RightButtonUp;
};
