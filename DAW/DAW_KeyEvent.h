#pragma once

#include "Cmn/Cmn_RefCountObject.h"
#include "Cmn/Cmn_RefCountPtr.h"
#include "DAW/DAW_KeyTypes.h"

#include <string>

// One key going down or up, independent of the platform. On a binding it is
// the key the binding answers, and its auto key says whether it takes repeats.
class DAW_KeyEvent : public Cmn_RefCountObject
{
public:
    static Cmn_RefCountPtr<DAW_KeyEvent> New(DAW_EKeyCode code, DAW_EAutoKey autoKey = kDAW_AutoKeyNone,
                                             std::string text = std::string(), DAW_EKeyState keyState = kDAW_KeyDown);

    DAW_KeyEvent(DAW_KeyEvent const& other) = default;
    DAW_KeyEvent& operator=(DAW_KeyEvent const& other) = default;
    ~DAW_KeyEvent() override;

    virtual DAW_EKeyCode GetKeyCode() const { return mKeyCode; }
    virtual std::string const& GetText() const { return mText; }
    // True for an auto-repeat (the auto key is 0).
    virtual bool IsAutoKey() const { return mAutoKey == kDAW_AutoKeyRepeat; }
    virtual DAW_EKeyState GetKeyState() const { return mKeyState; }

    // Same key and same text; the state and the repeat mark take no part.
    bool operator==(DAW_KeyEvent const& other) const;
    bool operator!=(DAW_KeyEvent const& other) const { return !(*this == other); }
    // By key alone.
    bool operator<(DAW_KeyEvent const& other) const { return GetKeyCode() < other.GetKeyCode(); }
    bool operator>(DAW_KeyEvent const& other) const { return GetKeyCode() > other.GetKeyCode(); }

private:
    DAW_KeyEvent(DAW_EKeyCode code, DAW_EAutoKey autoKey, std::string text, DAW_EKeyState keyState);

    DAW_EKeyCode mKeyCode = kDAW_KeyInvalid;
    std::string mText;
    DAW_EKeyState mKeyState = kDAW_KeyDown;
    DAW_EAutoKey mAutoKey = kDAW_AutoKeyNone;
};
