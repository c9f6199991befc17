#include "DAW/Gtk/DAW_MenuPlatformGtk.h"

#include "DAW/DAW_MenuEntry.h"
#include "DAW/DAW_MenuMgr.h"
#include "Sys/Gtk/Sys_TextGtk.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <vector>

namespace
{
char const kCommandIDKey[] = "daw-command-id";
char const kCheckedKey[] = "daw-checked";
char const kItemsKey[] = "daw-items";

// The items of a menu this side made, in order, kept by the menu's own
// signals whoever adds or takes away an item: counting and finding an item
// by place then takes no walk of GTK's list, which made filling a menu of
// n items take n squared steps.
using Items = std::vector<GtkWidget*>;

void OnInsert(GtkMenuShell*, GtkWidget* child, gint position, gpointer data)
{
    auto& items = *static_cast<Items*>(data);
    if (position < 0 || size_t(position) > items.size())
        items.push_back(child);
    else
        items.insert(items.begin() + position, child);
}

void OnRemove(GtkContainer*, GtkWidget* child, gpointer data)
{
    // Menus are emptied from the end.
    auto& items = *static_cast<Items*>(data);
    auto const found = std::find(items.rbegin(), items.rend(), child);
    if (found != items.rend())
        items.erase(std::next(found).base());
}

void DeleteItems(gpointer data)
{
    delete static_cast<Items*>(data);
}

Items* GetItems(DAW_MenuHandle menu)
{
    return static_cast<Items*>(g_object_get_data(G_OBJECT(menu), kItemsKey));
}

gboolean RunCommand(gpointer id)
{
    DAW_MenuEntry::DoCommand(int16(GPOINTER_TO_INT(id)));
    return G_SOURCE_REMOVE;
}

void OnActivate(GtkMenuItem* item, gpointer id)
{
    // A check item has just turned its own mark over; the tree decides.
    // Turning it back activates the item again: not this handler.
    if (GTK_IS_CHECK_MENU_ITEM(item))
    {
        g_signal_handlers_block_by_func(item, reinterpret_cast<gpointer>(&OnActivate), id);
        gtk_check_menu_item_set_active(GTK_CHECK_MENU_ITEM(item),
                                       g_object_get_data(G_OBJECT(item), kCheckedKey) != nullptr);
        g_signal_handlers_unblock_by_func(item, reinterpret_cast<gpointer>(&OnActivate), id);
    }
    g_idle_add(&RunCommand, id);
}

GtkWidget* NthChild(GtkWidget* shell, int32 position)
{
    if (Items* const items = GetItems(shell))
        return position >= 0 && size_t(position) < items->size() ? (*items)[size_t(position)] : nullptr;
    GList* const children = gtk_container_get_children(GTK_CONTAINER(shell));
    auto* const child = static_cast<GtkWidget*>(g_list_nth_data(children, guint(position)));
    g_list_free(children);
    return child;
}
} // namespace

void DAW_MenuPlatformGtk::Install()
{
    static DAW_MenuPlatformGtk* const sPlatform = new DAW_MenuPlatformGtk;
    DAW_MenuMgr::SetPlatform(sPlatform);
}

DAW_MenuHandle DAW_MenuPlatformGtk::CreateMenu()
{
    return Create(false);
}

DAW_MenuHandle DAW_MenuPlatformGtk::CreatePopupMenu()
{
    return Create(true);
}

DAW_MenuHandle DAW_MenuPlatformGtk::Create(bool popup)
{
    // Without a display GTK has nothing to make a widget on.
    if (!gdk_display_get_default())
    {
        mLastError = ENXIO;
        return nullptr;
    }
    GtkWidget* const menu = popup ? gtk_menu_new() : gtk_menu_bar_new();
    auto* const items = new Items;
    g_object_set_data_full(G_OBJECT(menu), kItemsKey, items, &DeleteItems);
    g_signal_connect(menu, "insert", G_CALLBACK(&OnInsert), items);
    g_signal_connect(menu, "remove", G_CALLBACK(&OnRemove), items);
    return menu;
}

int32 DAW_MenuPlatformGtk::GetMenuItemCount(DAW_MenuHandle menu)
{
    if (Items const* const items = GetItems(menu))
        return int32(items->size());
    GList* const children = gtk_container_get_children(GTK_CONTAINER(menu));
    int32 const count = int32(g_list_length(children));
    g_list_free(children);
    return count;
}

void DAW_MenuPlatformGtk::InsertMenuItem(DAW_MenuHandle menu, int32 position, ItemInfo const& info)
{
    std::string const text = MnemonicText(Sys_TextGtk::Displayable(info.mText));
    GtkWidget* const item = info.mChecked ? gtk_check_menu_item_new_with_mnemonic(text.c_str())
                                          : gtk_menu_item_new_with_mnemonic(text.c_str());
    if (info.mChecked)
    {
        gtk_check_menu_item_set_active(GTK_CHECK_MENU_ITEM(item), TRUE);
        g_object_set_data(G_OBJECT(item), kCheckedKey, GINT_TO_POINTER(1));
    }
    gtk_widget_set_sensitive(item, !info.mGrayed);
    if (info.mSubMenu)
        gtk_menu_item_set_submenu(GTK_MENU_ITEM(item), static_cast<GtkWidget*>(info.mSubMenu));
    else
    {
        g_object_set_data(G_OBJECT(item), kCommandIDKey, GINT_TO_POINTER(int(info.mCommandID)));
        g_signal_connect(item, "activate", G_CALLBACK(&OnActivate), GINT_TO_POINTER(int(info.mCommandID)));
    }
    gtk_widget_show(item);
    gtk_menu_shell_insert(GTK_MENU_SHELL(menu), item, position);
}

void DAW_MenuPlatformGtk::AppendSeparator(DAW_MenuHandle menu)
{
    GtkWidget* const item = gtk_separator_menu_item_new();
    gtk_widget_show(item);
    gtk_menu_shell_append(GTK_MENU_SHELL(menu), item);
}

void DAW_MenuPlatformGtk::DeleteMenuItem(DAW_MenuHandle menu, int32 position)
{
    if (GtkWidget* const item = NthChild(static_cast<GtkWidget*>(menu), position))
        gtk_widget_destroy(item);
}

std::string DAW_MenuPlatformGtk::MnemonicText(std::string const& text)
{
    std::string out;
    out.reserve(text.size() + 4);
    for (size_t i = 0; i < text.size(); ++i)
    {
        char const c = text[i];
        if (c == '_')
            out += "__";
        else if (c == '&' && i + 1 < text.size())
        {
            ++i;
            if (text[i] == '&')
                out += '&';
            else if (text[i] == '_')
                out += "___"; // the mnemonic is the underscore itself
            else
            {
                out += '_';
                out += text[i];
            }
        }
        else
            out += c;
    }
    return out;
}

int16 DAW_MenuPlatformGtk::GetItemCommandID(GtkWidget* item)
{
    gpointer const id = g_object_get_data(G_OBJECT(item), kCommandIDKey);
    return id ? int16(GPOINTER_TO_INT(id)) : int16(-1);
}
