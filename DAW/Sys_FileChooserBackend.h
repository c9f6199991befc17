#pragma once

#include "Cmn/Cmn_Types.h"
#include "Sys/Sys_FileType.h"

#include <string>
#include <vector>

class DAW_MenuEntry;
class Sys_CustomFileDialog;

enum ESys_FileDialogSelectionMode
{
    kSys_FileDialogSingleSelection = 0,
    kSys_FileDialogMultipleSelection = 1
};

enum ESys_FileDialogMode
{
    kSys_FileDialogOpen = 0,
    kSys_FileDialogSave = 1
};

// The window system's side of a custom file dialog: the chooser that shows
// folders and files and takes what the user types and picks. The dialog
// (Sys_CustomFileDialog) keeps every rule; the chooser asks it at each
// step. libvfl-gtk has one on GtkFileChooserDialog; tests script one.
class Sys_FileChooserBackend
{
public:
    struct Setup
    {
        ESys_FileDialogMode mode = kSys_FileDialogOpen;
        bool multiple = false;
        std::string title;
        // One filter a type, in order, and one of all files behind them
        // where allFiles is set.
        std::vector<Sys_FileType> filters;
        bool allFiles = false;
        // The filter that starts selected: an index into filters, or
        // filters.size() for all files.
        int32 filterIndex = 0;
        std::string folder;     // empty: where the chooser likes
        std::string name;       // the first text of the name box
        int32 idlePeriod = 30;  // milliseconds between DoIdle calls
        void* parent = nullptr; // the window the chooser belongs to, or none
    };

    using CreateMethod = Sys_FileChooserBackend* (*)();

    virtual ~Sys_FileChooserBackend() = default;

    // Shows the chooser and runs it until a selection is taken (true) or
    // the user cancels (false). Calls dialog.DoInitDone once it shows,
    // dialog.DoFileOK when the user accepts (and stays open while that
    // answers false), dialog.DoTypeChange when the filter changes and
    // dialog.DoIdle every idle period while it is open.
    virtual bool Run(Sys_CustomFileDialog& dialog, Setup const& setup) = 0;
    // The folder shown, as a full path; empty where there is none.
    virtual std::string GetFolderPath() = 0;
    // What is selected or typed: full paths or names in the folder shown.
    virtual std::vector<std::string> GetSpec() = 0;
    // The filter selected, as Setup::filterIndex counts.
    virtual int32 GetFilterIndex() = 0;
    // Puts the text in the name box; with accept, then acts as if the user
    // pressed Return (the selection goes through DoFileOK).
    virtual void SetName(std::string const& text, bool accept) = 0;
    // Shows the folder; the name box keeps its text.
    virtual void SetFolder(std::string const& path) = 0;
    // Shows the menu tree (the recent items) in the chooser; the dialog
    // owns it. Called once, from DoInitDone.
    virtual void SetMenu(DAW_MenuEntry* root) = 0;
    // Fills the menu again from its tree.
    virtual void UpdateMenu() = 0;
    // The window that message boxes of the dialog belong to.
    virtual void* GetWindow() = 0;
    // What the program is called, the caption of those message boxes.
    virtual std::string GetApplicationName() = 0;
};
