#include "DAW/Gtk/DAW_MenuMgrGtk.h"

#include "DAW/DAW_MenuMgr.h"
#include "DAW/Gtk/DAW_MenuPlatformGtk.h"

GtkWidget* DAW_MenuMgrGtk::BuildAndMapMenu(DAW_MenuEntry* entry)
{
    DAW_MenuPlatformGtk::Install();
    return Hold(DAW_MenuMgr::BuildAndMapMenu(entry));
}

GtkWidget* DAW_MenuMgrGtk::BuildAndMapPopupMenu(DAW_MenuEntry* entry)
{
    DAW_MenuPlatformGtk::Install();
    return Hold(DAW_MenuMgr::BuildAndMapPopupMenu(entry));
}

void DAW_MenuMgrGtk::UpdateMenu(GtkWidget* menu)
{
    DAW_MenuPlatformGtk::Install();
    DAW_MenuMgr::UpdateMenu(menu);
}

GtkWidget* DAW_MenuMgrGtk::Hold(void* menu)
{
    // The manager's map keeps the address: the widget must never be freed
    // and its address given to another.
    auto* const widget = static_cast<GtkWidget*>(menu);
    g_object_ref_sink(widget);
    return widget;
}
