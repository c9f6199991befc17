#pragma once

#include "Cmn/Cmn_Types.h"

class DAW_MenuEntry;

// One item of a menu: the entry that shows it and the item's place among
// the entry's items.
struct DAW_MenuEntryAndIndex
{
    DAW_MenuEntry* mEntry = nullptr;
    int16 mIndex = 0;
};
