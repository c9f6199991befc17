#pragma once

#include "DAW/DAW_MenuEntryAndIndex.h"

#include <functional>

// Orders items by entry, then by index.
struct DAW_MenuEntryAndIndexCompare
{
    bool operator()(DAW_MenuEntryAndIndex const& a, DAW_MenuEntryAndIndex const& b) const
    {
        if (a.mEntry != b.mEntry)
            return std::less<DAW_MenuEntry*>()(a.mEntry, b.mEntry);
        return a.mIndex < b.mIndex;
    }
};
