// The resource fork of the file a handler works on, open for the length of
// a scope, with the resource manager's lock held and its current file set
// to the fork; the previous current file comes back at the end.
//
// Probing never writes: opened for reading, a fork that does not exist is
// an error, and nothing is made on disk. Opened for writing, a missing fork
// is made first (creator 'Nuvo', type 'Vn4f'). Not to be nested for one file:
// the inner scope's close would close the outer one's fork.
#pragma once

#include "Cmn/Cmn_Types.h"
#include "Sys/Sys_StAcquireMutex.h"

#include <cstdint>

class IFile;

class StResourceFork
{
public:
    enum EAccess
    {
        kRead,
        kWrite
    };

    StResourceFork(IFile* file, EAccess access);
    ~StResourceFork();
    StResourceFork(StResourceFork const&) = delete;
    StResourceFork& operator=(StResourceFork const&) = delete;

    // The resource manager's error of the opening, 0 when the fork is open.
    i16 GetError() const { return mError; }
    // Closes now, writing what changed; the error of that, or 0.
    i16 Close();

private:
    Sys_StAcquireMutex mLock;
    i16 mSaved = 0;
    i16 mRef = -1;
    i16 mError = 0;
};
