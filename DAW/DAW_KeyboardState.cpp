#include "DAW/DAW_KeyboardState.h"

#include "DAW/DAW_KeyConversionUtils.h"

Cmn_RefCountPtr<DAW_KeyboardState> DAW_KeyboardState::New(DAW_KeyStateArray const& keys,
                                                          DAW_EKeyStateArrayFormat format)
{
    return Cmn_RefCountPtr<DAW_KeyboardState>(new DAW_KeyboardState(keys, format));
}

DAW_KeyboardState::DAW_KeyboardState(DAW_KeyStateArray const& keys, DAW_EKeyStateArrayFormat format)
    : mKeys(keys), mFormat(format)
{
}

DAW_KeyboardState::~DAW_KeyboardState() = default;

bool DAW_KeyboardState::KeyIsDown(DAW_EKeyCode code) const
{
    switch (mFormat)
    {
    case kDAW_KeyStateMacBitMap:
    {
        int const n = DAW_KeyConversionUtils::DAW_EKeyCodeToMacKeyCode(code);
        return (mKeys.mBytes[n >> 3] >> (n & 7)) & 1;
    }
    case kDAW_KeyStateWindowsBytes:
        return mKeys.mBytes[DAW_KeyConversionUtils::DAW_EKeyCodeToWindowsKeyCode(code) & 0xFF] != 0;
    default: return false;
    }
}
