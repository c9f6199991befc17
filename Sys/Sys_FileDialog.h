#pragma once

#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_FileType.h"

#include <string>
#include <vector>

// The portable front of the simple file choosers: three operations with no
// behaviour of the workstation's own, which go straight to the platform's
// chooser (installed with SetChooseMethod; libvfl-gtk installs GTK's). Each
// answers true if the user chose, false if the user cancelled; every
// pointer may be null.
class Sys_FileDialog
{
public:
    enum EChooser
    {
        kChooseFile = 0,
        kChooseFiles = 1,
        kChooseNewFile = 2
    };

    // Accepted for the callers' sake and not used here.
    using Validator = void (*)(Sys_FileLoc* loc, bool* valid, std::string* reason);
    // The platform's chooser: filters of the types (and one of all files
    // for the opening kinds), starting in folder (empty: where it likes)
    // with the name box holding name (new files only); the chosen full
    // paths into paths. False on a cancel.
    using ChooseMethod = bool (*)(EChooser kind, std::string const& title, std::vector<Sys_FileType> const& types,
                                  std::string const& prompt, std::string const& folder, std::string const& name,
                                  void* owner, std::vector<std::string>* paths);

    // On a cancel, result becomes an empty location.
    static bool GetFileFromUser(Sys_FileLoc* result, std::string* title, std::vector<Sys_FileType>* types,
                                std::string* prompt, Sys_FileLoc* folder, Validator validator, void* owner);
    static bool GetMultipleFilesFromUser(std::vector<Sys_FileLoc>* results, std::string title,
                                         std::vector<Sys_FileType>* types, std::string prompt, Sys_FileLoc folder,
                                         Validator validator, void* owner);
    // The name box starts with defaultName, or "untitled" without one.
    static bool GetNewFileFromUser(Sys_FileLoc* result, std::string title, std::string* defaultName,
                                   std::vector<Sys_FileType>* types, std::string* prompt, Sys_FileLoc* folder,
                                   Validator validator, void* owner);

    static void SetChooseMethod(ChooseMethod method);

private:
    Sys_FileDialog() = delete;

    static bool Choose(EChooser kind, std::string const* title, std::vector<Sys_FileType> const* types,
                       std::string const* prompt, Sys_FileLoc const* folder, std::string const& name, void* owner,
                       std::vector<std::string>* paths);
};
