#pragma once

#include "DAW/DAW_MenuEntry.h"

// A line between items: one item that cannot be picked, and no command ID.
class DAW_MenuEntrySeparator : public DAW_MenuEntry
{
public:
    DAW_MenuEntrySeparator() = default;

    DAW_MenuEntryType GetMenuEntryType() override { return kDAW_MenuEntrySeparator; }
    DAW_MenuEntrySeparator* GetMenuEntrySeparator() override { return this; }
    int32 GetNumberOfItems() override { return 1; }
    std::string GetMenuText(int32) override { return std::string(); }
    bool MenuEntryIsEnabled(int32) override { return true; }
    bool MenuEntryIsChecked(int32) override { return false; }
    void DoIt(int32) override {}
    void DoMenuHighlite(int32) override {}
    int16 GetCommandID(int32) override { return -1; }
};
