#pragma once

#include "DAW/Sys_FileChooserBackend.h"

#include <gtk/gtk.h>

#include <exception>
#include <string>
#include <vector>

// The chooser of a custom file dialog on GtkFileChooserDialog: the filters
// of the dialog's types, the recent items menu as a menu bar in the
// chooser's extra widget, and the dialog's rules on each accept (a refused
// selection keeps the chooser open). GTK must be initialised first.
class Sys_CustomFileDialogGtk : public Sys_FileChooserBackend
{
public:
    static Sys_FileChooserBackend* Create();

    bool Run(Sys_CustomFileDialog& dialog, Setup const& setup) override;
    std::string GetFolderPath() override;
    std::vector<std::string> GetSpec() override;
    int32 GetFilterIndex() override;
    void SetName(std::string const& text, bool accept) override;
    void SetFolder(std::string const& path) override;
    void SetMenu(DAW_MenuEntry* root) override;
    void UpdateMenu() override;
    void* GetWindow() override { return mChooser; }
    std::string GetApplicationName() override;

    // The chooser while it runs; null otherwise.
    GtkWidget* GetChooser() const { return mChooser; }
    // The recent items menu bar, or null.
    GtkWidget* GetMenuBar() const { return mMenuBar; }
    // The chooser of the dialog being posed now, for a host (or a test)
    // that wants to reach it; null when none runs.
    static Sys_CustomFileDialogGtk* GetRunning();

private:
    static void OnResponse(GtkDialog* chooser, gint response, gpointer self);
    static void OnMap(GtkWidget* chooser, gpointer);
    static void OnFilterChanged(GObject* chooser, GParamSpec*, gpointer self);
    static gboolean OnIdle(gpointer self);

    // Runs a call into the dialog from a GTK signal, which no exception
    // may cross: a failure closes the chooser and is thrown again from Run.
    template <class F> void Guarded(F const& call);

    Sys_CustomFileDialog* mDialog = nullptr;
    Setup mSetup;
    GtkWidget* mChooser = nullptr;
    GtkWidget* mMenuBar = nullptr;
    std::vector<GtkFileFilter*> mFilters;
    // What a recent file's press selects, while it goes through the dialog.
    std::vector<std::string> mPressed;
    std::exception_ptr mFailure;
};
