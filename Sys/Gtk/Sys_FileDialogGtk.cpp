#include "Sys/Gtk/Sys_FileDialogGtk.h"

#include "DAW/Sys_CustomFileDialog.h"
#include "Sys/Gtk/Sys_CustomFileDialogGtk.h"
#include "Sys/Gtk/Sys_MessageBoxGtk.h"
#include "Sys/Gtk/Sys_TextGtk.h"
#include "Sys/Sys_MessageBox.h"
#include "Sys/Sys_Utils.h"

#include <cctype>

namespace
{
// GTK's patterns tell case apart; a name's extension on these disks does not.
std::string AnyCase(std::string const& extension)
{
    std::string pattern = "*.";
    for (char c : extension)
    {
        unsigned char const u = static_cast<unsigned char>(c);
        if (std::isalpha(u))
            pattern += std::string("[") + static_cast<char>(std::tolower(u)) + static_cast<char>(std::toupper(u)) + "]";
        else if (c == '*' || c == '?' || c == '[' || c == ']')
            pattern += std::string("[") + c + "]";
        else
            pattern += c;
    }
    return pattern;
}
} // namespace

void Sys_FileDialogGtk::SetPlatformDependentMethods()
{
    Sys_MessageBox::SetShowMethod(&Sys_MessageBoxGtk::Show);
    Sys_FileDialog::SetChooseMethod(&Choose);
    Sys_CustomFileDialog::SetBackendCreateMethod(&Sys_CustomFileDialogGtk::Create);
}

std::vector<GtkFileFilter*> Sys_FileDialogGtk::AddFilters(GtkFileChooser* chooser,
                                                          std::vector<Sys_FileType> const& types, bool allFiles)
{
    std::vector<GtkFileFilter*> filters;
    for (Sys_FileType const& type : types)
    {
        std::string const extension = Sys_Utils::GetAssociatedExtension(type);
        GtkFileFilter* const filter = gtk_file_filter_new();
        std::string const label =
            Sys_Utils::GetDescriptiveString(type) + " (*." + (extension.empty() ? std::string("*") : extension) + ")";
        gtk_file_filter_set_name(filter, label.c_str());
        gtk_file_filter_add_pattern(filter, extension.empty() ? "*" : AnyCase(extension).c_str());
        gtk_file_chooser_add_filter(chooser, filter);
        filters.push_back(filter);
    }
    if (allFiles)
    {
        GtkFileFilter* const filter = gtk_file_filter_new();
        gtk_file_filter_set_name(filter, "All Files (*.*)");
        // "*.*" would leave out names without a dot.
        gtk_file_filter_add_pattern(filter, "*");
        gtk_file_chooser_add_filter(chooser, filter);
        filters.push_back(filter);
    }
    return filters;
}

bool Sys_FileDialogGtk::Choose(Sys_FileDialog::EChooser kind, std::string const& title,
                               std::vector<Sys_FileType> const& types, std::string const&, std::string const& folder,
                               std::string const& name, void* owner, std::vector<std::string>* paths)
{
    bool const save = kind == Sys_FileDialog::kChooseNewFile;
    GtkWidget* const chooser = gtk_file_chooser_dialog_new(
        title.empty() ? (save ? "Save" : "Open") : title.c_str(), owner ? GTK_WINDOW(owner) : nullptr,
        save ? GTK_FILE_CHOOSER_ACTION_SAVE : GTK_FILE_CHOOSER_ACTION_OPEN, "_Cancel", GTK_RESPONSE_CANCEL,
        save ? "_Save" : "_Open", GTK_RESPONSE_ACCEPT, nullptr);
    GtkFileChooser* const fc = GTK_FILE_CHOOSER(chooser);
    gtk_file_chooser_set_select_multiple(fc, kind == Sys_FileDialog::kChooseFiles);
    AddFilters(fc, types, !save);
    if (!folder.empty())
        gtk_file_chooser_set_current_folder(fc, folder.c_str());
    if (save)
        gtk_file_chooser_set_current_name(fc, Sys_TextGtk::Displayable(name).c_str());
    bool const chosen = gtk_dialog_run(GTK_DIALOG(chooser)) == GTK_RESPONSE_ACCEPT;
    if (chosen && paths)
    {
        GSList* const names = gtk_file_chooser_get_filenames(fc);
        for (GSList* n = names; n; n = n->next)
            paths->push_back(static_cast<char const*>(n->data));
        g_slist_free_full(names, g_free);
    }
    gtk_widget_destroy(chooser);
    return chosen;
}
