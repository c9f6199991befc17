#include "DAW/DAW_MenuMgr.h"

#include "Cmn/Cmn_Assert.h"
#include "Cmn/Cmn_Exception.h"
#include "DAW/DAW_MenuEntryCompound.h"
#include "DAW/DAW_MenuEntrySubMenu.h"

DAW_MenuPlatform* DAW_MenuMgr::sPlatform = nullptr;
// Never destroyed: menus stay known for the life of the process.
std::map<DAW_MenuHandle, DAW_MenuEntry*>* DAW_MenuMgr::sDAWOwnedMenuHandles = nullptr;

DAW_MenuPlatform* DAW_MenuMgr::SetPlatform(DAW_MenuPlatform* platform)
{
    DAW_MenuPlatform* const previous = sPlatform;
    sPlatform = platform;
    return previous;
}

DAW_MenuPlatform& DAW_MenuMgr::Platform()
{
    // No window system installed is a host's programming error.
    CMN_ASSERT(sPlatform);
    return *sPlatform;
}

void DAW_MenuMgr::ThrowCreateFailure()
{
    // With the system's text; a window system that gives no reason still
    // failed.
    throw Cmn_TypedException<DAW_OSErrData>::New(XC_DAW_SystemError, DAW_OSErrData(Platform().GetLastError()));
}

DAW_MenuHandle DAW_MenuMgr::BuildAndMapMenu(DAW_MenuEntry* entry)
{
    return BuildAndMap(entry, false);
}

DAW_MenuHandle DAW_MenuMgr::BuildAndMapPopupMenu(DAW_MenuEntry* entry)
{
    return BuildAndMap(entry, true);
}

DAW_MenuHandle DAW_MenuMgr::BuildAndMap(DAW_MenuEntry* entry, bool popup)
{
    CMN_ASSERT(entry);
    DAW_MenuPlatform& platform = Platform();
    DAW_MenuHandle const menu = popup ? platform.CreatePopupMenu() : platform.CreateMenu();
    if (!menu)
        ThrowCreateFailure();
    if (entry)
        AppendEntry(menu, entry);
    if (!sDAWOwnedMenuHandles)
        sDAWOwnedMenuHandles = new std::map<DAW_MenuHandle, DAW_MenuEntry*>;
    (*sDAWOwnedMenuHandles)[menu] = entry;
    return menu;
}

void DAW_MenuMgr::AppendEntry(DAW_MenuHandle menu, DAW_MenuEntry* entry)
{
    switch (entry->GetMenuEntryType())
    {
    case kDAW_MenuEntryCompound: AppendItemsFromCoumpoundEntry(menu, entry->GetMenuEntryCompound()); break;
    case kDAW_MenuEntrySeparator: AppendSeparator(menu); break;
    case kDAW_MenuEntrySubMenu:
    {
        DAW_MenuEntrySubMenu* const sub = entry->GetMenuEntrySubMenu();
        for (int32 i = 0; i < sub->GetNumberOfEntries(); ++i)
            AppendChild(menu, sub->GetEntry(i));
        break;
    }
    }
}

void DAW_MenuMgr::AppendChild(DAW_MenuHandle menu, DAW_MenuEntry* entry)
{
    switch (entry->GetMenuEntryType())
    {
    case kDAW_MenuEntryCompound: AppendItemsFromCoumpoundEntry(menu, entry->GetMenuEntryCompound()); break;
    case kDAW_MenuEntrySubMenu: AppendSubMenuEntry(menu, entry->GetMenuEntrySubMenu()); break;
    case kDAW_MenuEntrySeparator: AppendSeparator(menu); break;
    }
}

void DAW_MenuMgr::AppendItemsFromCoumpoundEntry(DAW_MenuHandle menu, DAW_MenuEntryCompound* entry)
{
    CMN_ASSERT(menu && entry);
    if (!menu || !entry)
        return;
    DAW_MenuPlatform& platform = Platform();
    int32 position = platform.GetMenuItemCount(menu);
    for (int32 i = 0; i < entry->GetNumberOfItems(); ++i)
    {
        DAW_MenuPlatform::ItemInfo item;
        item.mText = entry->GetMenuText(i);
        item.mCommandID = entry->GetCommandID(i);
        item.mGrayed = !entry->MenuEntryIsEnabled(i);
        item.mChecked = entry->MenuEntryIsChecked(i);
        platform.InsertMenuItem(menu, position++, item);
    }
}

void DAW_MenuMgr::AppendSeparator(DAW_MenuHandle menu)
{
    Platform().AppendSeparator(menu);
}

void DAW_MenuMgr::AppendSubMenuEntry(DAW_MenuHandle menu, DAW_MenuEntrySubMenu* entry)
{
    CMN_ASSERT(menu && entry);
    if (!menu || !entry)
        return;
    DAW_MenuPlatform& platform = Platform();
    int32 const position = platform.GetMenuItemCount(menu);
    DAW_MenuHandle const popup = platform.CreatePopupMenu();
    if (!popup)
        ThrowCreateFailure();
    DAW_MenuPlatform::ItemInfo item;
    item.mText = entry->GetMenuText(0);
    item.mCommandID = entry->GetCommandID(0);
    item.mSubMenu = popup;
    platform.InsertMenuItem(menu, position, item);
    for (int32 i = 0; i < entry->GetNumberOfEntries(); ++i)
        AppendChild(popup, entry->GetEntry(i));
}

DAW_MenuEntry* DAW_MenuMgr::GetEntryFromMenuHandle(DAW_MenuHandle menu)
{
    if (!sDAWOwnedMenuHandles)
        return nullptr;
    auto const found = sDAWOwnedMenuHandles->find(menu);
    return found == sDAWOwnedMenuHandles->end() ? nullptr : found->second;
}

void DAW_MenuMgr::UpdateMenu(DAW_MenuHandle menu)
{
    DAW_MenuEntry* const entry = GetEntryFromMenuHandle(menu);
    if (!entry)
        return;
    DeleteAllItems(menu);
    AppendEntry(menu, entry);
}

void DAW_MenuMgr::DeleteAllItems(DAW_MenuHandle menu)
{
    DAW_MenuPlatform& platform = Platform();
    for (int32 position = platform.GetMenuItemCount(menu) - 1; position >= 0; --position)
        platform.DeleteMenuItem(menu, position);
}
