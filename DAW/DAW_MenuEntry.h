#pragma once

#include "Cmn/Cmn_Types.h"
#include "DAW/DAW_MenuEntryAndIndex.h"
#include "DAW/DAW_MenuEntryAndIndexCompare.h"

#include <map>
#include <stack>
#include <string>

enum DAW_MenuEntryType
{
    kDAW_MenuEntryCompound = 1,
    kDAW_MenuEntrySubMenu = 2,
    kDAW_MenuEntrySeparator = 3
};

class DAW_MenuEntryCompound;
class DAW_MenuEntrySubMenu;
class DAW_MenuEntrySeparator;

// A node of a menu tree, which knows nothing of the window system. An entry
// stands for one or more adjacent items of a menu, addressed by an index.
// Each item a user can pick has a command ID from one counter of the
// process; the window system's command comes back to the item through that
// ID alone (DoCommand). Menus belong to the user interface thread: nothing
// here is locked.
class DAW_MenuEntry
{
public:
    // The first ID handed out.
    static constexpr int16 kFirstCommandID = 25000;

    virtual ~DAW_MenuEntry() = default;

    virtual DAW_MenuEntryType GetMenuEntryType() = 0;
    // The entry as its kind, or null when it is of another.
    virtual DAW_MenuEntryCompound* GetMenuEntryCompound() { return nullptr; }
    virtual DAW_MenuEntrySubMenu* GetMenuEntrySubMenu() { return nullptr; }
    virtual DAW_MenuEntrySeparator* GetMenuEntrySeparator() { return nullptr; }
    virtual int32 GetNumberOfItems() = 0;
    virtual std::string GetMenuText(int32 index) = 0;
    virtual bool MenuEntryIsEnabled(int32 index) = 0;
    virtual bool MenuEntryIsChecked(int32 index) = 0;
    virtual void DoIt(int32 index) = 0;
    virtual void DoMenuHighlite(int32 index) = 0;
    virtual int16 GetCommandID(int32 index) = 0;

    // Runs the item of a command ID and answers true; false, calling
    // nothing, for an ID no item holds. A host hands every command number it
    // does not know itself to this.
    static bool DoCommand(int16 commandID);

protected:
    DAW_MenuEntry() = default;
    DAW_MenuEntry(DAW_MenuEntry const&) = default;
    DAW_MenuEntry& operator=(DAW_MenuEntry const&) = default;

    // The ID of an item: the one it holds already, else one given back
    // (the last given back first), else the next never handed out.
    static int16 GetIDForEntryAndIndex(DAW_MenuEntry* entry, int16 index);
    // The item of an ID; a null entry for an ID no item holds.
    static DAW_MenuEntryAndIndex GetEntryAndIndexFromCommandID(int16 commandID);
    // Forgets the item of an ID and gives the ID back for the next item.
    // Called from the destructor of the item's entry: the ID given back is
    // the one that entry's class answers for the index.
    static void DeleteEntryAndIndexFromCommandID(int16 commandID);

private:
    using CommandMap = std::map<int16, DAW_MenuEntryAndIndex>;
    using EntryMap = std::map<DAW_MenuEntryAndIndex, int16, DAW_MenuEntryAndIndexCompare>;

    // Makes the containers at first use; they are never destroyed, so that
    // entries of static trees can give their IDs back while the process ends.
    static void MakeMaps();

    static int16 sNextCommandNumber;
    static std::stack<int16>* sCommandNumberRecycleStack;
    static CommandMap* sMenuCommandMap;
    static EntryMap* sMenuEntryMap;
};
