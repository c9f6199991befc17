#include "DAW/DAW_MenuEntry.h"

#include "Cmn/Cmn_Assert.h"

#include <limits>

int16 DAW_MenuEntry::sNextCommandNumber = DAW_MenuEntry::kFirstCommandID;

std::stack<int16>* DAW_MenuEntry::sCommandNumberRecycleStack = nullptr;
DAW_MenuEntry::CommandMap* DAW_MenuEntry::sMenuCommandMap = nullptr;
DAW_MenuEntry::EntryMap* DAW_MenuEntry::sMenuEntryMap = nullptr;

void DAW_MenuEntry::MakeMaps()
{
    if (sMenuCommandMap)
        return;
    sCommandNumberRecycleStack = new std::stack<int16>;
    sMenuCommandMap = new CommandMap;
    sMenuEntryMap = new EntryMap;
}

int16 DAW_MenuEntry::GetIDForEntryAndIndex(DAW_MenuEntry* entry, int16 index)
{
    MakeMaps();
    DAW_MenuEntryAndIndex const item{entry, index};
    auto const found = sMenuEntryMap->find(item);
    if (found != sMenuEntryMap->end())
        return found->second;
    int16 id;
    auto& recycled = *sCommandNumberRecycleStack;
    if (!recycled.empty())
    {
        id = recycled.top();
        recycled.pop();
    }
    else
    {
        // Past the last 16-bit number the IDs would turn negative and meet
        // the separator's -1: a process that never gives IDs back is broken.
        CMN_ASSERT(sNextCommandNumber < std::numeric_limits<int16>::max());
        id = sNextCommandNumber;
        if (sNextCommandNumber < std::numeric_limits<int16>::max())
            ++sNextCommandNumber;
    }
    (*sMenuCommandMap)[id] = item;
    (*sMenuEntryMap)[item] = id;
    return id;
}

DAW_MenuEntryAndIndex DAW_MenuEntry::GetEntryAndIndexFromCommandID(int16 commandID)
{
    MakeMaps();
    auto const found = sMenuCommandMap->find(commandID);
    return found == sMenuCommandMap->end() ? DAW_MenuEntryAndIndex{} : found->second;
}

void DAW_MenuEntry::DeleteEntryAndIndexFromCommandID(int16 commandID)
{
    MakeMaps();
    auto const found = sMenuCommandMap->find(commandID);
    if (found == sMenuCommandMap->end())
        return;
    DAW_MenuEntryAndIndex const item = found->second;
    sMenuCommandMap->erase(found);
    sMenuEntryMap->erase(item);
    (*sCommandNumberRecycleStack).push(item.mEntry->GetCommandID(item.mIndex));
}

bool DAW_MenuEntry::DoCommand(int16 commandID)
{
    DAW_MenuEntryAndIndex const item = GetEntryAndIndexFromCommandID(commandID);
    if (!item.mEntry)
        return false;
    item.mEntry->DoIt(item.mIndex);
    return true;
}
