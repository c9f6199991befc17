#pragma once

#include "Cmn/Cmn_RefCountObject.h"

class DAW_MenuEntry;

// The counted handle a host holds on a menu built from a tree; the window
// system's side derives from it and keeps the menu. The tree is not owned:
// it must live as long as the menu can send commands.
class DAW_MenuData : public Cmn_RefCountObject
{
public:
    explicit DAW_MenuData(DAW_MenuEntry* sourceMenuEntry) : mSourceMenuEntry(sourceMenuEntry) {}

    DAW_MenuEntry* GetSourceMenuEntry() const { return mSourceMenuEntry; }

private:
    DAW_MenuEntry* mSourceMenuEntry;
};
