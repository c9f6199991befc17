#include "DAW/DAW_MenuEntrySubMenu.h"

#include "Cmn/Cmn_Assert.h"

DAW_MenuEntrySubMenu::DAW_MenuEntrySubMenu(std::string title)
    : mTitle(std::move(title)), mCommandID(GetIDForEntryAndIndex(this, 0))
{
}

DAW_MenuEntrySubMenu::~DAW_MenuEntrySubMenu()
{
    for (DAW_MenuEntry* entry : mEntries)
        delete entry;
    DeleteEntryAndIndexFromCommandID(mCommandID);
}

DAW_MenuEntry* DAW_MenuEntrySubMenu::GetEntry(int32 index)
{
    CMN_ASSERT(index >= 0 && index < GetNumberOfEntries());
    if (index < 0 || index >= GetNumberOfEntries())
        return nullptr;
    return mEntries[size_t(index)];
}

void DAW_MenuEntrySubMenu::AppendEntry(DAW_MenuEntry* entry)
{
    CMN_ASSERT(entry);
    if (!entry)
        return;
    mEntries.push_back(entry);
}

void DAW_MenuEntrySubMenu::DeleteAllEntries()
{
    // Cleared first: an entry's destructor that looks at this menu finds it
    // empty rather than holding the entries being deleted.
    std::vector<DAW_MenuEntry*> entries;
    entries.swap(mEntries);
    for (DAW_MenuEntry* entry : entries)
        delete entry;
}
