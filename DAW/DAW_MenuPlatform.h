#pragma once

#include "Cmn/Cmn_Types.h"

#include <string>

// A menu of the window system, opaque to the portable code.
using DAW_MenuHandle = void*;

// What the menu manager needs of a window system's menus: make a menu bar
// or a pop-up, put an item at a place, count the items and take one away.
// A window system's library installs its own with DAW_MenuMgr::SetPlatform;
// tests install one that records.
class DAW_MenuPlatform
{
public:
    struct ItemInfo
    {
        std::string mText; // '&' before the mnemonic, "&&" for '&'
        int16 mCommandID = -1;
        bool mGrayed = false;
        bool mChecked = false;
        // The pop-up the item opens, or null for an item that is picked.
        DAW_MenuHandle mSubMenu = nullptr;
    };

    virtual ~DAW_MenuPlatform() = default;

    // Null on failure, with the reason in GetLastError.
    virtual DAW_MenuHandle CreateMenu() = 0;
    virtual DAW_MenuHandle CreatePopupMenu() = 0;
    // The system's error number of the last failure.
    virtual int32 GetLastError() = 0;
    virtual int32 GetMenuItemCount(DAW_MenuHandle menu) = 0;
    virtual void InsertMenuItem(DAW_MenuHandle menu, int32 position, ItemInfo const& item) = 0;
    virtual void AppendSeparator(DAW_MenuHandle menu) = 0;
    virtual void DeleteMenuItem(DAW_MenuHandle menu, int32 position) = 0;

protected:
    DAW_MenuPlatform() = default;
};
