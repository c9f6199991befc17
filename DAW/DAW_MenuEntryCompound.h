#pragma once

#include "DAW/DAW_MenuEntry.h"

// An entry that shows items of its own (one or several), as opposed to a
// sub menu or a separator.
class DAW_MenuEntryCompound : public DAW_MenuEntry
{
public:
    DAW_MenuEntryType GetMenuEntryType() override { return kDAW_MenuEntryCompound; }
    DAW_MenuEntryCompound* GetMenuEntryCompound() override { return this; }

protected:
    DAW_MenuEntryCompound() = default;
};
