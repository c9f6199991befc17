#include "DAW/Gtk/DAW_MenuDataGtk.h"

#include "Cmn/Cmn_Assert.h"
#include "DAW/Gtk/DAW_MenuMgrGtk.h"

DAW_MenuDataGtk::DAW_MenuDataGtk(DAW_MenuEntry* entry, bool popup)
    : DAW_MenuData(entry),
      mMenuHandle(popup ? DAW_MenuMgrGtk::BuildAndMapPopupMenu(entry) : DAW_MenuMgrGtk::BuildAndMapMenu(entry))
{
}

Cmn_RefCountConstPtr<DAW_MenuData> DAW_MenuDataGtk::CreateDAW_Menu(DAW_MenuEntry* entry)
{
    CMN_ASSERT(entry);
    return Cmn_RefCountConstPtr<DAW_MenuData>(new DAW_MenuDataGtk(entry, false));
}
