#include "DAW/DAW_EventModifiers.h"

namespace
{
constexpr int32 kDontCare = 2;

bool KeysMeet(int32 a, int32 b)
{
    return a == b || a == kDontCare || b == kDontCare;
}
} // namespace

Cmn_RefCountPtr<DAW_EventModifiers> DAW_EventModifiers::New(DAW_EMenuCommandKeyState menuCommand,
                                                            DAW_EAlternateKeyState alternate, DAW_EMetaKeyState meta,
                                                            DAW_EShiftKeyState shift, DAW_ELeftMouseButtonState left,
                                                            DAW_EMiddleMouseButtonState middle,
                                                            DAW_ERightMouseButtonState right)
{
    return Cmn_RefCountPtr<DAW_EventModifiers>(
        new DAW_EventModifiers(menuCommand, alternate, meta, shift, left, middle, right));
}

DAW_EventModifiers::DAW_EventModifiers(DAW_EMenuCommandKeyState menuCommand, DAW_EAlternateKeyState alternate,
                                       DAW_EMetaKeyState meta, DAW_EShiftKeyState shift, DAW_ELeftMouseButtonState left,
                                       DAW_EMiddleMouseButtonState middle, DAW_ERightMouseButtonState right)
    : mMenuCommandKey(menuCommand), mAlternateKey(alternate), mMetaKey(meta), mShiftKey(shift), mLeftButton(left),
      mMiddleButton(middle), mRightButton(right)
{
}

DAW_EventModifiers::~DAW_EventModifiers() = default;

bool DAW_EventModifiers::operator==(DAW_EventModifiers const& other) const
{
    return KeysMeet(mMenuCommandKey, other.mMenuCommandKey) && KeysMeet(mAlternateKey, other.mAlternateKey) &&
           KeysMeet(mMetaKey, other.mMetaKey) && KeysMeet(mShiftKey, other.mShiftKey) &&
           mLeftButton == other.mLeftButton && mMiddleButton == other.mMiddleButton &&
           mRightButton == other.mRightButton;
}

bool DAW_EventModifiers::operator!=(DAW_EventModifiers const& other) const
{
    return !KeysMeet(mMenuCommandKey, other.mMenuCommandKey) || !KeysMeet(mAlternateKey, other.mAlternateKey) ||
           !KeysMeet(mMetaKey, other.mMetaKey) || !KeysMeet(mShiftKey, other.mShiftKey) ||
           mLeftButton != other.mLeftButton || mMiddleButton != other.mMiddleButton ||
           mRightButton != other.mRightButton;
}

std::string DAW_EventModifiers::GetKeyModifiersDescriptiveString() const
{
    std::string text;
    if (mMenuCommandKey == 1)
        text += "+command";
    if (mAlternateKey == 1)
        text += "+option";
    if (mMetaKey == 1)
        text += "+control";
    if (mShiftKey == 1)
        text += "+shift";
    return text;
}

std::string DAW_EventModifiers::GetMouseModifiersDescriptiveString() const
{
    return std::string();
}
