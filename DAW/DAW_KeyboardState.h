#pragma once

#include "Cmn/Cmn_RefCountObject.h"
#include "Cmn/Cmn_RefCountPtr.h"
#include "DAW/DAW_KeyTypes.h"

// Which keys were down when an event arrived, as the platform reported them.
class DAW_KeyboardState : public Cmn_RefCountObject
{
public:
    static Cmn_RefCountPtr<DAW_KeyboardState> New(DAW_KeyStateArray const& keys, DAW_EKeyStateArrayFormat format);

    DAW_KeyboardState(DAW_KeyboardState const& other) = default;
    DAW_KeyboardState& operator=(DAW_KeyboardState const& other) = default;
    ~DAW_KeyboardState() override;

    // Format 0 through the key's Macintosh number, format 1 through its
    // Windows virtual key (which this port lacks: it asserts); any other
    // format answers false.
    virtual bool KeyIsDown(DAW_EKeyCode code) const;

    DAW_KeyStateArray const& GetKeyStateArray() const { return mKeys; }
    DAW_EKeyStateArrayFormat GetFormat() const { return mFormat; }

private:
    DAW_KeyboardState(DAW_KeyStateArray const& keys, DAW_EKeyStateArrayFormat format);

    DAW_KeyStateArray mKeys;
    DAW_EKeyStateArrayFormat mFormat;
};
