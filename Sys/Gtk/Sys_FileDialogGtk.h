#pragma once

#include "Sys/Sys_FileDialog.h"

#include <gtk/gtk.h>

#include <string>
#include <vector>

// The simple file choosers of Sys_FileDialog on GtkFileChooserDialog, and
// the filters both kinds of chooser show. GTK must be initialised first.
class Sys_FileDialogGtk
{
public:
    // Installs the message boxes, the simple choosers and the custom
    // dialog's chooser of GTK.
    static void SetPlatformDependentMethods();

    static bool Choose(Sys_FileDialog::EChooser kind, std::string const& title, std::vector<Sys_FileType> const& types,
                       std::string const& prompt, std::string const& folder, std::string const& name, void* owner,
                       std::vector<std::string>* paths);

    // One filter a type, "Description (*.ext)", matching the extension in
    // any case, and "All Files (*.*)" matching every name where allFiles is
    // set; in that order, as the chooser holds them.
    static std::vector<GtkFileFilter*> AddFilters(GtkFileChooser* chooser, std::vector<Sys_FileType> const& types,
                                                  bool allFiles);

private:
    Sys_FileDialogGtk() = delete;
};
