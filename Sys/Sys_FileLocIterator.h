#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Sys/Sys_FileType.h"

class Sys_FileLoc;
class Sys_FileLocIteratorImpl;

// Walks a folder, or a tree of folders breadth-first, and yields locations:
// those that match a list of types, or a wildcard pattern ('*' and '?',
// without regard to case). Each folder is listed in a stable order, sorted
// without regard to case. Symbolic links to folders are not followed and
// unreadable folders are passed over in silence. A start that is not a
// folder throws XC_Sys_BadStartLoc.
//
//     for (Sys_FileLocIterator it(start, types, Sys_FileLocIterator::kIterateSubfolders); it; ++it)
//         use(*it);
//
// GetCurrentSearchPath and Abort may be called from another thread while a
// walk runs.
class Sys_FileLocIterator
{
public:
    enum EIterType
    {
        kIterateSubfolders = 0, // the folder and all folders below it
        kIterateFolderOnly = 1  // any other value: the folder alone
    };

    using TypesCreateMethod = Sys_FileLocIteratorImpl* (*)(Sys_FileLoc const& start, std::vector<Sys_FileType>& types,
                                                           EIterType iterType);
    using PatternCreateMethod = Sys_FileLocIteratorImpl* (*)(Sys_FileLoc const& start, std::string const& pattern,
                                                             EIterType iterType);

    // With types: a folder type matches folders, Sys_FileType(kTypeFile)
    // every file, any other type the files of an equivalent type. An empty
    // list matches everything.
    Sys_FileLocIterator(Sys_FileLoc const& start, std::vector<Sys_FileType>& types, EIterType iterType);
    Sys_FileLocIterator(Sys_FileLoc const& start, std::string pattern, EIterType iterType);
    // Takes ownership.
    explicit Sys_FileLocIterator(Sys_FileLocIteratorImpl* impl);
    virtual ~Sys_FileLocIterator();

    explicit operator bool() const;
    Sys_FileLoc const& operator*() const;
    Sys_FileLocIterator& operator++();
    std::string GetCurrentSearchPath() const;
    void Abort();
    // Keeps a walk of a tree on the volume it starts on: a folder on which
    // another volume is mounted is handed out but not entered. A search
    // over all volumes walks each from its own root, so it meets every file
    // once and never wanders into the system's pseudo file systems. Called
    // before the first step.
    void StayOnStartVolume();

    static void SetTypesCreateMethod(TypesCreateMethod method);
    static void SetPatternCreateMethod(PatternCreateMethod method);

protected:
    Sys_FileLocIterator();
    void SetImpl(std::unique_ptr<Sys_FileLocIteratorImpl> impl);

private:
    Sys_FileLocIterator(Sys_FileLocIterator const&) = delete;
    Sys_FileLocIterator& operator=(Sys_FileLocIterator const&) = delete;

    std::unique_ptr<Sys_FileLocIteratorImpl> mImpl;
};
