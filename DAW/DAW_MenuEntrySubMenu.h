#pragma once

#include "DAW/DAW_MenuEntry.h"

#include <vector>

// A titled list of entries, which it owns. As an item of a menu it is one
// item, the title, that opens its entries; at the root of a tree its
// entries are the menu's top level. It holds a command ID of its own.
//
// Not copyable: a copy would share the entries and the ID, and both would
// delete them.
class DAW_MenuEntrySubMenu : public DAW_MenuEntry
{
public:
    explicit DAW_MenuEntrySubMenu(std::string title);
    // Deletes the entries, then gives the ID back.
    ~DAW_MenuEntrySubMenu() override;
    DAW_MenuEntrySubMenu(DAW_MenuEntrySubMenu const&) = delete;
    DAW_MenuEntrySubMenu& operator=(DAW_MenuEntrySubMenu const&) = delete;

    DAW_MenuEntryType GetMenuEntryType() override { return kDAW_MenuEntrySubMenu; }
    DAW_MenuEntrySubMenu* GetMenuEntrySubMenu() override { return this; }
    int32 GetNumberOfItems() override { return 1; }
    std::string GetMenuText(int32) override { return mTitle; }
    bool MenuEntryIsEnabled(int32) override { return true; }
    bool MenuEntryIsChecked(int32) override { return false; }
    void DoIt(int32) override {}
    void DoMenuHighlite(int32) override {}
    int16 GetCommandID(int32) override { return mCommandID; }

    virtual int32 GetNumberOfEntries() { return int32(mEntries.size()); }
    // Null for an index out of range (an assertion).
    virtual DAW_MenuEntry* GetEntry(int32 index);
    // Takes ownership; a null entry is an assertion.
    virtual void AppendEntry(DAW_MenuEntry* entry);
    // Deletes every entry; the sub menu keeps its own ID.
    virtual void DeleteAllEntries();

private:
    std::string mTitle;
    std::vector<DAW_MenuEntry*> mEntries;
    int16 mCommandID;
};
