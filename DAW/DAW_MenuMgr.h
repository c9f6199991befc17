#pragma once

#include "DAW/DAW_MenuPlatform.h"

#include <map>

class DAW_MenuEntry;
class DAW_MenuEntryCompound;
class DAW_MenuEntrySubMenu;

// Turns a menu tree into a menu of the window system and remembers which
// tree each menu it built came from, so that the menu can be filled again
// when the tree has changed. The root of a tree is no item of its own: a
// root sub menu's entries are the menu's top level; a sub menu inside it
// is an item that opens a pop-up of its entries. Enabled and checked states
// are read while a menu is filled, and only then: a host calls UpdateMenu
// whenever they may have changed. Menus belong to the user interface
// thread; nothing here is locked.
class DAW_MenuMgr
{
public:
    // Installs the window system's menus and answers the ones before.
    static DAW_MenuPlatform* SetPlatform(DAW_MenuPlatform* platform);
    static DAW_MenuPlatform* GetPlatform() { return sPlatform; }

    // A menu bar, or a pop-up menu, of the tree. A menu the window system
    // cannot make throws XC_DAW_SystemError.
    static DAW_MenuHandle BuildAndMapMenu(DAW_MenuEntry* entry);
    static DAW_MenuHandle BuildAndMapPopupMenu(DAW_MenuEntry* entry);
    // Fills a menu built here again from its tree, under the same handle.
    // A menu built elsewhere, or a nested pop-up, is left alone.
    static void UpdateMenu(DAW_MenuHandle menu);
    // A menu stays known for the life of the process: this does nothing.
    static void DeleteMenuHandle(DAW_MenuHandle) {}

protected:
    static void AppendItemsFromCoumpoundEntry(DAW_MenuHandle menu, DAW_MenuEntryCompound* entry);
    static void AppendSeparator(DAW_MenuHandle menu);
    static void AppendSubMenuEntry(DAW_MenuHandle menu, DAW_MenuEntrySubMenu* entry);
    static DAW_MenuEntry* GetEntryFromMenuHandle(DAW_MenuHandle menu);
    static void DeleteAllItems(DAW_MenuHandle menu);

private:
    DAW_MenuMgr() = delete;

    static DAW_MenuHandle BuildAndMap(DAW_MenuEntry* entry, bool popup);
    // The top level of a menu from a root entry.
    static void AppendEntry(DAW_MenuHandle menu, DAW_MenuEntry* entry);
    // One entry inside a sub menu.
    static void AppendChild(DAW_MenuHandle menu, DAW_MenuEntry* entry);
    static DAW_MenuPlatform& Platform();
    [[noreturn]] static void ThrowCreateFailure();

    static DAW_MenuPlatform* sPlatform;
    static std::map<DAW_MenuHandle, DAW_MenuEntry*>* sDAWOwnedMenuHandles;
};
