#pragma once

#include "Cmn/Cmn_Types.h"
#include "Sys/Sys_Event.h"
#include "Sys/Sys_RecentItem.h"

#include <string>
#include <vector>

class Sys_FileLoc;
class Sys_Mutex;

// The recent files and recent folders of the file choosers, shared by every
// dialog of the process: newest first, kept in "Recent Files" and "Recent
// Folders" of the user's application data folder.
//
// The lists are read from disk the first time a dialog is built. What each
// entry is, and whether its place answers, is found by a background pass
// (Sys_DetermineRecentItemTypesTask), since a disk that went away or a
// network share that does not answer can keep a look at it waiting for
// long: nothing on the dialog's side ever asks the disk about an entry.
// Each finished look raises the generation, by which a dialog knows to fill
// its menus again.
class Sys_RecentItems
{
public:
    static constexpr int32 kMaxRecentFiles = 500;
    static constexpr int32 kMaxRecentFolders = 50;
    static constexpr char kRecentFilesName[] = "Recent Files";
    static constexpr char kRecentFoldersName[] = "Recent Folders";

    // Finds the type of the place of a path and whether it is there; false,
    // leaving the type alone, for a path that names no place.
    using ProbeMethod = bool (*)(std::string const& path, Sys_FileType* type, bool* online);

    // Once: makes the list mutex and event, reads the lists and starts the
    // background pass. Later calls do nothing.
    static void InitializeRecentItemsLists();
    static bool IsInitialized();
    // Both lists again from their files, replacing what is in memory, and a
    // new background pass over them (before the initialisation: that).
    static void ReadRecentFoldersAndFiles();
    // Both lists to their files, whole. Throws the file errors.
    static void WriteRecentFoldersAndFiles();
    // Nothing before the lists are initialised. A location that is not a
    // folder is an assertion.
    static void AddToRecentFoldersList(Sys_FileLoc const& folder);
    static void AddToRecentFilesList(Sys_FileLoc const& file);

    // Copies, taken under the list mutex.
    static std::vector<Sys_RecentItem> GetRecentFiles();
    static std::vector<Sys_RecentItem> GetRecentFolders();
    // Set when the first background pass is through, and from then on;
    // initialises the lists first if need be.
    static Sys_Event::Handle GetListsEvent();
    static uint32 GetGeneration();
    // Starts a background pass unless one is under way.
    static void DetermineTypes();

    // Where the lists are kept; empty locations where the user has no
    // application data folder.
    static Sys_FileLoc GetRecentFilesLoc();
    static Sys_FileLoc GetRecentFoldersLoc();

    static void SetProbeMethod(ProbeMethod method);
    static bool Probe(std::string const& path, Sys_FileType* type, bool* online);

private:
    friend class Sys_DetermineRecentItemTypesTask;

    Sys_RecentItems() = delete;

    static void StartPass();
    // From a pass: a finding for one entry, and the end of the pass.
    static void Found(bool file, std::string const& path, Sys_FileType const& type, bool online);
    static void PassEnded();
    static Sys_Mutex& GetListMutex();
};
