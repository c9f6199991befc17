#pragma once

#include "DAW/DAW_MenuEntrySimple.h"
#include "Sys/Sys_FileLoc.h"

// A menu item that stands for a file or a folder, as the recent-items menus
// show them: its text is the location's full path, shown as written (an
// ampersand of the path marks no mnemonic), and picking it hands a copy of
// the location to the callback. It lives beside the menu tree, above the
// system layer, since a menu entry is what it is.
class Sys_FileLocMenuItem : public DAW_MenuEntrySimple
{
public:
    using Callback = void (*)(void* clientData, Sys_FileLoc location);

    // A null callback makes an item that does nothing when picked.
    Sys_FileLocMenuItem(Callback callback, void* clientData, Sys_FileLoc location);

    // The indexed forms stay in sight beside the ones overridden here.
    using DAW_MenuEntrySimple::DoIt;
    using DAW_MenuEntrySimple::MenuEntryIsEnabled;
    bool MenuEntryIsEnabled() override { return true; }
    void DoIt() override;

    Sys_FileLoc const& GetFileLoc() const { return mLocation; }

private:
    Callback mCallback;
    void* mClientData;
    Sys_FileLoc mLocation;
};
