#pragma once

#include <optional>

#include "Sys/Sys_StAcquireMutex.h"

class FF_AudioFile;
class MMgr_FileReference;

// The file of a reference, held for the length of one statement: made, it
// takes the file's mutex and puts the file at the reference's position;
// gone, it keeps the position the file has reached for the reference and
// lets the mutex go. What operator-> of MMgr_FileReference returns.
class MMgr_LockingReference
{
public:
    explicit MMgr_LockingReference(MMgr_FileReference& ref);
    explicit MMgr_LockingReference(MMgr_FileReference const& ref);
    // Takes the mutex once more (it is recursive) and moves nothing.
    MMgr_LockingReference(MMgr_LockingReference const& other);
    ~MMgr_LockingReference();

    FF_AudioFile* operator->() const;

private:
    MMgr_LockingReference& operator=(MMgr_LockingReference const&) = delete;

    FF_AudioFile* File() const;

    MMgr_FileReference const* mRef;
    std::optional<Sys_StAcquireMutex> mLock;
};
