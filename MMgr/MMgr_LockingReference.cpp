#include "MMgr/MMgr_LockingReference.h"

#include "Cmn/Cmn_Assert.h"
#include "FF/FF_AudioFile.h"
#include "FF/FF_AudioFileState.h"
#include "MMgr/MMgr_FileReference.h"

MMgr_LockingReference::MMgr_LockingReference(MMgr_FileReference& ref)
    : MMgr_LockingReference(static_cast<MMgr_FileReference const&>(ref))
{
}

MMgr_LockingReference::MMgr_LockingReference(MMgr_FileReference const& ref) : mRef(&ref)
{
    FF_AudioFile* const file = File();
    CMN_ASSERT(file != nullptr);
    if (!file)
        return;
    mLock.emplace(file->GetMutex());
    // Should the restore fail, the mutex goes with the lock, and nothing
    // is saved: the reference keeps its position.
    file->RestoreState(ref.mState.get());
}

MMgr_LockingReference::MMgr_LockingReference(MMgr_LockingReference const& other) : mRef(other.mRef)
{
    if (FF_AudioFile* const file = other.mLock ? File() : nullptr)
        mLock.emplace(file->GetMutex());
}

MMgr_LockingReference::~MMgr_LockingReference()
{
    if (!mLock)
        return;
    try
    {
        File()->SaveState(mRef->mState.get());
    }
    catch (...)
    {
        // A destructor lets nothing out; the statement's own failure, if
        // any, is the one that counts, and the position stays as it was.
    }
}

FF_AudioFile* MMgr_LockingReference::operator->() const
{
    return File();
}

FF_AudioFile* MMgr_LockingReference::File() const
{
    return mRef->mSlot ? *mRef->mSlot : nullptr;
}
