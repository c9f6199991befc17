#include "Sys/Gtk/Sys_CustomFileDialogGtk.h"

#include "DAW/Gtk/DAW_MenuMgrGtk.h"
#include "DAW/Sys_CustomFileDialog.h"
#include "Sys/Gtk/Sys_FileDialogGtk.h"
#include "Sys/Gtk/Sys_TextGtk.h"

#include <algorithm>

namespace
{
Sys_CustomFileDialogGtk* sRunning = nullptr;

std::string Take(gchar* text)
{
    std::string const s = text ? text : "";
    g_free(text);
    return s;
}
} // namespace

Sys_FileChooserBackend* Sys_CustomFileDialogGtk::Create()
{
    return new Sys_CustomFileDialogGtk();
}

Sys_CustomFileDialogGtk* Sys_CustomFileDialogGtk::GetRunning()
{
    return sRunning;
}

template <class F> void Sys_CustomFileDialogGtk::Guarded(F const& call)
{
    try
    {
        call();
    }
    catch (...)
    {
        if (!mFailure)
            mFailure = std::current_exception();
        gtk_dialog_response(GTK_DIALOG(mChooser), GTK_RESPONSE_CANCEL);
    }
}

bool Sys_CustomFileDialogGtk::Run(Sys_CustomFileDialog& dialog, Setup const& setup)
{
    mDialog = &dialog;
    mSetup = setup;
    bool const save = setup.mode == kSys_FileDialogSave;
    mChooser =
        gtk_file_chooser_dialog_new(setup.title.empty() ? (save ? "Save" : "Open") : setup.title.c_str(),
                                    setup.parent && GTK_IS_WINDOW(setup.parent) ? GTK_WINDOW(setup.parent) : nullptr,
                                    save ? GTK_FILE_CHOOSER_ACTION_SAVE : GTK_FILE_CHOOSER_ACTION_OPEN, "_Cancel",
                                    GTK_RESPONSE_CANCEL, save ? "_Save" : "_Open", GTK_RESPONSE_ACCEPT, nullptr);
    GtkFileChooser* const fc = GTK_FILE_CHOOSER(mChooser);
    gtk_file_chooser_set_select_multiple(fc, setup.multiple);
    // The dialog asks its own question about an existing file.
    gtk_file_chooser_set_do_overwrite_confirmation(fc, FALSE);
    gtk_window_set_position(GTK_WINDOW(mChooser), GTK_WIN_POS_CENTER_ON_PARENT);
    mFilters = Sys_FileDialogGtk::AddFilters(fc, setup.filters, setup.allFiles);
    if (setup.filterIndex >= 0 && setup.filterIndex < static_cast<int32>(mFilters.size()))
        gtk_file_chooser_set_filter(fc, mFilters[static_cast<std::size_t>(setup.filterIndex)]);
    if (!setup.folder.empty())
        gtk_file_chooser_set_current_folder(fc, setup.folder.c_str());
    if (save)
        gtk_file_chooser_set_current_name(fc, Sys_TextGtk::Displayable(setup.name).c_str());
    // Before gtk_dialog_run's own handler, so that a refusal can keep the
    // chooser open.
    g_signal_connect(mChooser, "response", G_CALLBACK(&OnResponse), this);
    g_signal_connect(mChooser, "notify::filter", G_CALLBACK(&OnFilterChanged), this);
    // The chooser takes the size it had last when it maps, whatever it was
    // given before; the workstation's dialogs are 640 by 480.
    g_signal_connect(mChooser, "map", G_CALLBACK(&OnMap), nullptr);

    Sys_CustomFileDialogGtk* const outer = sRunning;
    sRunning = this;
    Guarded([&] { dialog.DoInitDone(); });

    guint const timer = g_timeout_add(static_cast<guint>(std::max<int32>(setup.idlePeriod, 1)), &OnIdle, this);
    gint const response = mFailure ? GTK_RESPONSE_CANCEL : gtk_dialog_run(GTK_DIALOG(mChooser));
    g_source_remove(timer);
    sRunning = outer;
    gtk_widget_destroy(mChooser);
    mChooser = nullptr;
    mMenuBar = nullptr;
    if (mFailure)
        std::rethrow_exception(mFailure);
    return response == GTK_RESPONSE_ACCEPT;
}

void Sys_CustomFileDialogGtk::OnResponse(GtkDialog* chooser, gint response, gpointer data)
{
    auto* const self = static_cast<Sys_CustomFileDialogGtk*>(data);
    if (response != GTK_RESPONSE_ACCEPT || self->mFailure)
        return;
    bool taken = false;
    self->Guarded([&] { taken = self->mDialog->DoFileOK(); });
    if (!taken && !self->mFailure)
        g_signal_stop_emission_by_name(chooser, "response");
}

void Sys_CustomFileDialogGtk::OnMap(GtkWidget* chooser, gpointer)
{
    constexpr int kWidth = 640, kHeight = 480;
    gtk_window_resize(GTK_WINDOW(chooser), kWidth, kHeight);
    // Centred on its parent, or on the screen, with its top left corner on
    // the screen.
    GtkWindow* const parent = gtk_window_get_transient_for(GTK_WINDOW(chooser));
    GdkRectangle area = {0, 0, 0, 0};
    if (parent && gtk_widget_get_mapped(GTK_WIDGET(parent)))
    {
        gtk_window_get_position(parent, &area.x, &area.y);
        gtk_window_get_size(parent, &area.width, &area.height);
    }
    else if (GdkMonitor* const monitor = gdk_display_get_primary_monitor(gtk_widget_get_display(chooser)))
        gdk_monitor_get_geometry(monitor, &area);
    gtk_window_move(GTK_WINDOW(chooser), std::max(0, area.x + (area.width - kWidth) / 2),
                    std::max(0, area.y + (area.height - kHeight) / 2));
}

void Sys_CustomFileDialogGtk::OnFilterChanged(GObject*, GParamSpec*, gpointer data)
{
    auto* const self = static_cast<Sys_CustomFileDialogGtk*>(data);
    self->Guarded([&] { self->mDialog->DoTypeChange(); });
}

gboolean Sys_CustomFileDialogGtk::OnIdle(gpointer data)
{
    auto* const self = static_cast<Sys_CustomFileDialogGtk*>(data);
    self->Guarded([&] { self->mDialog->DoIdle(); });
    return G_SOURCE_CONTINUE;
}

std::string Sys_CustomFileDialogGtk::GetFolderPath()
{
    return mChooser ? Take(gtk_file_chooser_get_current_folder(GTK_FILE_CHOOSER(mChooser))) : std::string();
}

std::vector<std::string> Sys_CustomFileDialogGtk::GetSpec()
{
    if (!mPressed.empty() || !mChooser)
        return mPressed;
    GtkFileChooser* const fc = GTK_FILE_CHOOSER(mChooser);
    std::vector<std::string> names;
    if (mSetup.mode == kSys_FileDialogSave)
    {
        // The name box as typed: a name in the folder shown, or a path.
        std::string const name = Take(gtk_file_chooser_get_current_name(fc));
        if (!name.empty())
            names.push_back(name);
        return names;
    }
    GSList* const files = gtk_file_chooser_get_filenames(fc);
    for (GSList* f = files; f; f = f->next)
        names.push_back(static_cast<char const*>(f->data));
    g_slist_free_full(files, g_free);
    return names;
}

int32 Sys_CustomFileDialogGtk::GetFilterIndex()
{
    if (!mChooser)
        return mSetup.filterIndex;
    GtkFileFilter* const filter = gtk_file_chooser_get_filter(GTK_FILE_CHOOSER(mChooser));
    auto const at = std::find(mFilters.begin(), mFilters.end(), filter);
    return at == mFilters.end() ? static_cast<int32>(mSetup.filters.size()) : static_cast<int32>(at - mFilters.begin());
}

void Sys_CustomFileDialogGtk::SetName(std::string const& text, bool accept)
{
    if (!mChooser)
        return;
    GtkFileChooser* const fc = GTK_FILE_CHOOSER(mChooser);
    if (mSetup.mode == kSys_FileDialogSave)
        gtk_file_chooser_set_current_name(fc, Sys_TextGtk::Displayable(text).c_str());
    else
        gtk_file_chooser_set_filename(fc, text.c_str());
    if (!accept)
        return;
    // The chooser loads a folder in the background, so what it selects
    // shows later; the press goes through the dialog with the text itself.
    mPressed = {text};
    gtk_dialog_response(GTK_DIALOG(mChooser), GTK_RESPONSE_ACCEPT);
    mPressed.clear();
}

void Sys_CustomFileDialogGtk::SetFolder(std::string const& path)
{
    if (mChooser)
        gtk_file_chooser_set_current_folder(GTK_FILE_CHOOSER(mChooser), path.c_str());
}

void Sys_CustomFileDialogGtk::SetMenu(DAW_MenuEntry* root)
{
    if (!mChooser || !root)
        return;
    mMenuBar = DAW_MenuMgrGtk::BuildAndMapMenu(root);
    gtk_widget_show_all(mMenuBar);
    gtk_file_chooser_set_extra_widget(GTK_FILE_CHOOSER(mChooser), mMenuBar);
}

void Sys_CustomFileDialogGtk::UpdateMenu()
{
    if (mMenuBar)
    {
        DAW_MenuMgrGtk::UpdateMenu(mMenuBar);
        gtk_widget_show_all(mMenuBar);
    }
}

std::string Sys_CustomFileDialogGtk::GetApplicationName()
{
    if (char const* name = g_get_application_name())
        return name;
    if (char const* name = g_get_prgname())
        return name;
    return "Velmora";
}
