#pragma once

#include "Cmn/Cmn_Types.h"
#include "DAW/Sys_FileChooserBackend.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_FileType.h"

#include <memory>
#include <string>
#include <vector>

class DAW_MenuEntrySubMenu;
class Sys_FunctionObject;
class Sys_SelectionValidator;

// The workstation's own file chooser: the platform's chooser (behind
// Sys_FileChooserBackend) with a menu of recent folders and recent files,
// and with the name rules of the Macintosh file system held on every
// platform. It gives the host the chosen locations and their types. Built,
// posed once and thrown away, on the user interface thread.
//
// The recent items never keep it waiting: their menus show the entries
// that the background pass (Sys_RecentItems) has found there, and are
// filled again while the dialog is open as the pass finds more.
class Sys_CustomFileDialog
{
public:
    // The longest name of a saved file, extension included.
    static constexpr std::size_t kMaxNameLength = 31;
    // The most entries each recent items menu shows.
    static constexpr int32 kMaxRecentMenuItems = 25;

    // selectedFiles, selectedTypes: filled with the choice, where given.
    // defaultType decides the filter that starts selected. Save dialogs
    // have no recent files menu, whatever hasRecentFiles says.
    Sys_CustomFileDialog(std::vector<Sys_FileLoc>* selectedFiles, std::vector<Sys_FileType>* selectedTypes,
                         Sys_FileType const* defaultType, std::string defaultName,
                         ESys_FileDialogSelectionMode selectionMode, ESys_FileDialogMode dialogMode,
                         std::vector<Sys_FileType> const* fileTypes, std::string title,
                         Sys_FileLoc const* initialFolder, Sys_SelectionValidator* validator, bool hasRecentFolders,
                         bool hasRecentFiles);
    virtual ~Sys_CustomFileDialog();
    Sys_CustomFileDialog(Sys_CustomFileDialog const&) = delete;
    Sys_CustomFileDialog& operator=(Sys_CustomFileDialog const&) = delete;

    // Shows the dialog until the user chooses (true) or cancels (false).
    virtual bool Pose();

    // ---- called by the chooser
    virtual void DoInitDone();
    // Takes the selection if it holds: false keeps the chooser open.
    virtual bool DoFileOK();
    virtual void DoTypeChange();
    virtual void DoIdle();

    // The locations selected now, checked as the mode asks (in a save
    // dialog with the messages of the name rules): only those that hold.
    virtual void GetSelection(std::vector<Sys_FileLoc>* files, std::vector<Sys_FileType>* types);
    // The type of the filter selected; the default type for all files.
    Sys_FileType GetCurrentFilterType();
    virtual void SetCurrentFile(Sys_FileLoc const& loc, bool press);
    virtual void SetCurrentFolder(Sys_FileLoc const& folder);
    virtual void InitializeRecentItemsMenu();
    virtual void UpdateRecentItemsMenu();

    // The tree of the recent items menus, "Main" with "&Folders" and
    // "Fi&les" as the dialog has them; null before DoInitDone.
    DAW_MenuEntrySubMenu* GetRecentItemsMenu() const { return mRecentMenu.get(); }
    ESys_FileDialogMode GetDialogMode() const { return mDialogMode; }

    int32 GetIdlePeriod() const { return mIdlePeriod; }
    void SetIdlePeriod(int32 milliseconds) { mIdlePeriod = milliseconds; }
    // Called from DoIdle; the caller keeps it.
    void SetDoIdleObject(Sys_FunctionObject* object) { mIdleObject = object; }

    // The folder dialogs start in when none is given; the last one given.
    static void SetDefaultInitialFolder(Sys_FileLoc const& folder);
    static Sys_FileLoc GetDefaultInitialFolder();
    // The window the dialogs belong to (the platform's), or null.
    static void SetCfdParentWindow(void* window);
    static void* GetCfdParentWindow();
    static void SetBackendCreateMethod(Sys_FileChooserBackend::CreateMethod method);

protected:
    Sys_FileChooserBackend& Backend() { return *mBackend; }

private:
    static void RecentFolderCallback(void* dialog, Sys_FileLoc location);
    static void RecentFileCallback(void* dialog, Sys_FileLoc location);

    // One name of the selection: its location, or an empty one if it is refused.
    Sys_FileLoc CheckSaveName(std::string const& path, Sys_FileType const& type);
    void Message(std::string const& text, int icon);

    std::vector<Sys_FileLoc>* mSelectedFiles;
    std::vector<Sys_FileType>* mSelectedTypes;
    Sys_FileType mDefaultType;
    bool mHasDefaultType;
    std::string mDefaultName;
    ESys_FileDialogSelectionMode mSelectionMode;
    ESys_FileDialogMode mDialogMode;
    std::vector<Sys_FileType> mFileTypes;
    std::string mTitle;
    Sys_FileLoc mInitialFolder;
    Sys_SelectionValidator* mValidator;
    bool mHasRecentFolders;
    bool mHasRecentFiles;
    Sys_FunctionObject* mIdleObject = nullptr;
    int32 mIdlePeriod = 30;
    bool mInIdle = false;
    uint32 mMenuGeneration = 0;
    bool mMenusFilled = false;
    std::vector<std::string> mShownFolders, mShownFiles;
    std::unique_ptr<Sys_FileChooserBackend> mBackend;
    std::unique_ptr<DAW_MenuEntrySubMenu> mRecentMenu;
    DAW_MenuEntrySubMenu* mFoldersMenu = nullptr;
    DAW_MenuEntrySubMenu* mFilesMenu = nullptr;
};
