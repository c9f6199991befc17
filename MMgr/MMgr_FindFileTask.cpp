#include "MMgr/MMgr_FindFileTask.h"

#include <list>
#include <vector>

#include "Cmn/Cmn_Assert.h"
#include "Cmn/Cmn_Exception.h"
#include "Sys/Sys_FileLocIterator.h"
#include "Sys/Sys_Mutex.h"
#include "Sys/Sys_StAcquireMutex.h"
#include "Sys/Sys_Utils.h"
#include "Sys/Sys_Volume.h"

MMgr_FindFileTask::MMgr_FindFileTask() : mMutex(Sys_Mutex::Create(Sys_Mutex::kMutexPlain)) {}

MMgr_FindFileTask::~MMgr_FindFileTask()
{
    mIterator.reset();
    mMutex.reset();
}

void MMgr_FindFileTask::SetFindMethod(EFindMethod method)
{
    mFindMethod = method;
}

void MMgr_FindFileTask::SetVolumeTypes(int32 types)
{
    mVolumeTypes = types;
}

void MMgr_FindFileTask::SetFindFileName(std::string const& pattern)
{
    CMN_ASSERT((mFindMethod & eFindByName) != 0);
    mFindFileName = pattern;
}

void MMgr_FindFileTask::SetFindFileType(Sys_FileType const& type)
{
    CMN_ASSERT((mFindMethod & eFindByType) != 0);
    mFindFileType = type;
}

void MMgr_FindFileTask::SetStartFolder(Sys_FileLoc const& folder)
{
    CMN_ASSERT((mFindMethod & (eFindInFolder | eFindInFolderTree)) != 0);
    mStartFolder = folder;
}

MMgr_FindFileTask::EFindMethod MMgr_FindFileTask::GetFindMethod() const
{
    return static_cast<EFindMethod>(mFindMethod);
}

bool MMgr_FindFileTask::FoundExactMatch() const
{
    return mFoundExactMatch.load();
}

Sys_FileLoc MMgr_FindFileTask::GetExactMatch() const
{
    Sys_StAcquireMutex lock(mMutex.get());
    return mExactMatch;
}

Sys_ThreadSafeQueue<Sys_FileLoc>& MMgr_FindFileTask::GetCandidates()
{
    return mCandidates;
}

std::string MMgr_FindFileTask::GetStatusString() const
{
    Sys_StAcquireMutex lock(mMutex.get());
    return mIterator ? mIterator->GetCurrentSearchPath() : std::string();
}

Sys_FileLocIterator* MMgr_FindFileTask::MakeIterator(Sys_FileLoc const& place) const
{
    auto const iterType = (mFindMethod & (eFindInFolderTree | eFindOnVolumes)) != 0
                              ? Sys_FileLocIterator::kIterateSubfolders
                              : Sys_FileLocIterator::kIterateFolderOnly;
    Sys_FileLocIterator* iterator = nullptr;
    if (mFindMethod & eFindByName)
        iterator = new Sys_FileLocIterator(place, mFindFileName, iterType);
    else
    {
        std::vector<Sys_FileType> types = {mFindFileType};
        iterator = new Sys_FileLocIterator(place, types, iterType);
    }
    if (mFindMethod & eFindOnVolumes)
        iterator->StayOnStartVolume(); // every volume has a walk of its own
    return iterator;
}

Sys_Task::EResult MMgr_FindFileTask::ExecImpl()
{
    std::vector<Sys_FileLoc> places;
    bool const onVolumes = (mFindMethod & eFindOnVolumes) != 0;
    if (onVolumes)
    {
        std::list<Sys_Volume> volumes;
        Sys_Volume::GetMountedVolumes(mVolumeTypes, &volumes);
        for (Sys_Volume const& volume : volumes)
            places.push_back(Sys_Utils::GetVolumeRootFolderLoc(volume));
    }
    else
        places.push_back(mStartFolder);

    for (Sys_FileLoc const& place : places)
    {
        if (IsAbortRequested() || FoundExactMatch())
            break;
        Sys_FileLocIterator* iterator = nullptr;
        {
            Sys_StAcquireMutex lock(mMutex.get());
            try
            {
                mIterator.reset(MakeIterator(place));
            }
            catch (Cmn_Exception const& e)
            {
                // A mount table also lists single files mounted over others:
                // no folder to walk. A start folder that isn't one is the
                // caller's mistake, and ends the search.
                if (!onVolumes || e.GetCode() != XC_Sys_BadStartLoc)
                    throw;
                continue;
            }
            iterator = mIterator.get();
        }
        // Only this thread steps the iterator or lets it go, so the walk runs
        // without the lock; others reach it under the lock alone.
        for (Sys_FileLocIterator& it = *iterator; !IsAbortRequested() && !FoundExactMatch() && it; ++it)
        {
            Sys_FileLoc const& loc = *it;
            int32 const answer = MatchFile(loc);
            if (answer == eExactMatch)
            {
                {
                    Sys_StAcquireMutex lock(mMutex.get());
                    mExactMatch = loc;
                }
                mFoundExactMatch.store(true);
            }
            else if (answer == eCandidate)
                mCandidates.Push(loc);
        }
        Sys_StAcquireMutex lock(mMutex.get());
        mIterator.reset();
    }
    return kResultCompleted;
}

void MMgr_FindFileTask::AbortImpl()
{
    Sys_StAcquireMutex lock(mMutex.get());
    if (mIterator)
        mIterator->Abort();
}
