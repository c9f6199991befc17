#include "DAW/DAW_KeyEvent.h"

#include <utility>

Cmn_RefCountPtr<DAW_KeyEvent> DAW_KeyEvent::New(DAW_EKeyCode code, DAW_EAutoKey autoKey, std::string text,
                                                DAW_EKeyState keyState)
{
    return Cmn_RefCountPtr<DAW_KeyEvent>(new DAW_KeyEvent(code, autoKey, std::move(text), keyState));
}

DAW_KeyEvent::DAW_KeyEvent(DAW_EKeyCode code, DAW_EAutoKey autoKey, std::string text, DAW_EKeyState keyState)
    : mKeyCode(code), mText(std::move(text)), mKeyState(keyState), mAutoKey(autoKey)
{
}

DAW_KeyEvent::~DAW_KeyEvent() = default;

bool DAW_KeyEvent::operator==(DAW_KeyEvent const& other) const
{
    return GetKeyCode() == other.GetKeyCode() && GetText() == other.GetText();
}
