#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "Cmn/Cmn_Types.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_FileType.h"
#include "Sys/Sys_Task.h"
#include "Sys/Sys_ThreadSafeQueue.h"

class Sys_FileLocIterator;
class Sys_Mutex;

// A search for a file in the background: walks a folder, a tree of folders or
// every mounted volume, and hands each location that passes the name or
// type filter to MatchFile, which the host supplies. The search ends at the
// first exact match, at an abort, or when it runs out of places; the
// candidates found on the way are kept in order of finding, and the host may
// take them while the search runs.
//
// Set up, in this order, before the task is queued: SetFindMethod,
// SetVolumeTypes, then SetFindFileName or SetFindFileType, and
// SetStartFolder. Run it on any thread, as one slice: ExecImpl walks to the
// end. Its result is kResultCompleted even when it was aborted: the host reads
// IsAbortRequested and FoundExactMatch afterwards.
class MMgr_FindFileTask : public Sys_Task
{
public:
    // Bits: where to search and by what.
    enum EFindMethod
    {
        eFindInFolder = 1,     // the start folder
        eFindInFolderTree = 2, // the start folder and everything below it
        eFindOnVolumes = 4,    // every mounted volume from its root, trees included
        eFindByName = 8,       // the filter is the name pattern ('*' and '?', without case)
        eFindByType = 16       // the filter is the file type (so is it without eFindByName)
    };

    // What MatchFile answers.
    enum EMatch
    {
        eNotTheFile = 0,
        eExactMatch = 1, // this is the file: stop
        eCandidate = 2   // this may be the file
    };

    using Handle = Cmn_PolymorphicHandle<MMgr_FindFileTask, Sys_Task>;

    ~MMgr_FindFileTask() override;

    void SetFindMethod(EFindMethod method);
    // The Sys_Volume::EVolumeType mask of the volumes that eFindOnVolumes
    // searches; 0xFF by default. Pseudo file systems are of no type, so
    // never searched.
    void SetVolumeTypes(int32 types);
    // For eFindByName only.
    void SetFindFileName(std::string const& pattern);
    // For a search by type only.
    void SetFindFileType(Sys_FileType const& type);
    // For eFindInFolder and eFindInFolderTree only. A start that is not a
    // folder ends the task in failure with XC_Sys_BadStartLoc.
    void SetStartFolder(Sys_FileLoc const& folder);

    // Any thread, while and after the task runs.
    EFindMethod GetFindMethod() const;
    bool FoundExactMatch() const;
    // Valid once FoundExactMatch says so.
    Sys_FileLoc GetExactMatch() const;
    Sys_ThreadSafeQueue<Sys_FileLoc>& GetCandidates();
    // The folder being searched, for a progress line; empty before and after
    // the walk of each place.
    std::string GetStatusString() const;
    using Sys_Task::IsAbortRequested;

protected:
    MMgr_FindFileTask();

    EResult ExecImpl() override;
    // Makes a folder listing under way end at once.
    void AbortImpl() override;
    // One EMatch for a location that passed the filter. Runs on the task's
    // thread with no lock held; it may take its time, since an abort is seen
    // as soon as it returns.
    virtual int32 MatchFile(Sys_FileLoc const& loc) = 0;

private:
    // The iterator of one place: the name or type filter, the tree or the
    // folder alone, and on a volume its own file system only.
    Sys_FileLocIterator* MakeIterator(Sys_FileLoc const& place) const;

    int32 mFindMethod = 0;
    int32 mVolumeTypes = 0xFF;
    std::atomic<bool> mFoundExactMatch{false};
    Sys_FileLoc mExactMatch;
    std::string mFindFileName;
    Sys_FileType mFindFileType;
    Sys_FileLoc mStartFolder;
    Sys_ThreadSafeQueue<Sys_FileLoc> mCandidates;
    // The walk of the place being searched. Made, deleted and reached from
    // other threads under mMutex; only ExecImpl steps it.
    std::unique_ptr<Sys_FileLocIterator> mIterator;
    std::unique_ptr<Sys_Mutex> mMutex;
};

constexpr MMgr_FindFileTask::EFindMethod operator|(MMgr_FindFileTask::EFindMethod a, MMgr_FindFileTask::EFindMethod b)
{
    return static_cast<MMgr_FindFileTask::EFindMethod>(static_cast<int>(a) | static_cast<int>(b));
}
