#pragma once

#include "Cmn/Cmn_RefCountPtr.h"
#include "DAW/DAW_MenuData.h"

#include <gtk/gtk.h>

// The counted handle of a GTK menu built from a tree.
class DAW_MenuDataGtk : public DAW_MenuData
{
public:
    // Builds a pop-up GtkMenu, or else a GtkMenuBar.
    DAW_MenuDataGtk(DAW_MenuEntry* entry, bool popup);

    GtkWidget* GetMenuHandle() const { return mMenuHandle; }

    // A menu bar of the tree; a null tree is an assertion.
    static Cmn_RefCountConstPtr<DAW_MenuData> CreateDAW_Menu(DAW_MenuEntry* entry);

private:
    GtkWidget* mMenuHandle;
};
