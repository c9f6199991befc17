#pragma once

#include <atomic>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "Cmn/Cmn_Types.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_FileLocIterator.h"
#include "Sys/Sys_FileLocIteratorImpl.h"
#include "Sys/Sys_FileType.h"

class Sys_Mutex;

// The walk of Sys_FileLocIterator on Linux. Folders are handed out
// breadth-first: the start, then its subfolders, then theirs. Each folder
// is listed once per type of the filter (so a file of two types comes out
// twice), sorted without regard to case; it is read from the disk once.
// "." and ".." are never listed:
// they are not names of this path grammar, and handing out a folder's
// parent as one of its entries would invite a walk upwards.
class Sys_FileLocIteratorPosix : public Sys_FileLocIteratorImpl
{
public:
    Sys_FileLocIteratorPosix(Sys_FileLoc const& start, std::vector<Sys_FileType> const& types,
                             Sys_FileLocIterator::EIterType iterType);
    Sys_FileLocIteratorPosix(Sys_FileLoc const& start, std::string const& pattern,
                             Sys_FileLocIterator::EIterType iterType);
    ~Sys_FileLocIteratorPosix() override;

    void Advance() override;
    Sys_FileLoc const& GetCurrent() const override;
    bool HasCurrent() override;
    std::string GetCurrentSearchPath() const override;
    void Abort() override;
    void StayOnStartVolume() override;

    // '*' matches any run of characters, '?' any one; everything else
    // stands for itself, without regard to case. A pattern ending in ".*"
    // also matches names without that part ("*.*" matches every name).
    static bool MatchesPattern(std::string const& pattern, std::string const& name);

    static void SetPlatformDependentMethods();

private:
    struct Entry
    {
        std::string name;
        std::string key;           // the name in lower case: the order of a listing
        bool isDirectory = false;  // a folder, or a link to one
        bool isRealFolder = false; // a folder itself, not a link
    };

    static Sys_FileLocIteratorImpl* TypesCreate(Sys_FileLoc const& start, std::vector<Sys_FileType>& types,
                                                Sys_FileLocIterator::EIterType iterType);
    static Sys_FileLocIteratorImpl* PatternCreate(Sys_FileLoc const& start, std::string const& pattern,
                                                  Sys_FileLocIterator::EIterType iterType);

    void Start(Sys_FileLoc const& start, Sys_FileLocIterator::EIterType iterType);
    // Every entry of a folder, in order; empty if the folder cannot be read
    // or the walk was aborted meanwhile.
    void ListFolder(std::string const& folder, std::vector<Entry>* entries) const;
    // Sorts without regard to case, ties by bytes, in steps short enough
    // that an abort is seen within a few milliseconds; false if it was.
    bool SortListing(std::vector<Entry>* entries) const;
    // Makes the next folder of the walk the one searched: lists it once, and
    // queues its subfolders for later.
    bool NextFolder();
    // True if another volume is mounted on the folder.
    bool IsOtherVolume(std::string const& folder) const;
    void StepTypeIndex();
    bool Accept(Entry const& entry);

    std::unique_ptr<Sys_Mutex> mFolderMutex;
    std::unique_ptr<Sys_Mutex> mFileMutex;

    // The folder being searched: all of its entries, and those that pass
    // the filter of the current type.
    std::vector<Entry> mListing;
    bool mFileListValid = false;
    std::vector<Entry const*> mFileList;
    size_t mFileIndex = 0;

    Sys_FileLoc mCurrent;
    bool mHasCurrent = false;
    std::string mSearchPath;
    // The folders still to be searched, breadth-first.
    std::deque<std::string> mFolderQueue;
    bool mWalkSubfolders = false;
    std::vector<Sys_FileType> mTypes;
    uint32 mTypeIndex = 0;
    std::string mPattern;
    bool mUsePattern = false;
    std::atomic<bool> mAborted{false};
    bool mStarted = false;
    bool mStayOnVolume = false;
    uint64 mStartDevice = 0;
};
