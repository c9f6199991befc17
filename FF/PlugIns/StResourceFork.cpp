#include "FF/PlugIns/StResourceFork.h"
#include "Cmn/Cmn_Types.h"

#include "FF/PlugIns/IFile.h"
#include "Sys/Sys_FileImpl.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_MacCompatibility.h"
#include "Sys/Sys_ResourceFork.h"
#include "Sys/Sys_ResourceManager.h"

using RM = Sys_ResourceManager;

StResourceFork::StResourceFork(IFile* file, EAccess access) : mLock(GetResourceManagerMutex())
{
    Sys_FileImpl* impl = nullptr;
    if (!file || file->GetImpl(&impl) != 0 || !impl)
    {
        mError = RM::kErrParameter;
        return;
    }
    Sys_FileLoc const& loc = impl->GetFileLoc();
    mSaved = RM::CurrentFile();
    bool const write = access == kWrite;
    mRef = RM::OpenFork(loc, write ? RM::kPermissionReadWrite : RM::kPermissionRead);
    if (mRef == -1 && write && RM::GetError() == RM::kErrForkNotFound)
    {
        RM::CreateFork(loc, Sys_ResourceFork::Code("Nuvo"), Sys_ResourceFork::Code("Vn4f"));
        if (RM::GetError() == RM::kNoError)
            mRef = RM::OpenFork(loc, RM::kPermissionReadWrite);
    }
    if (mRef == -1)
    {
        mError = RM::GetError();
        if (mError == RM::kNoError)
            mError = RM::kErrForkNotFound;
        RM::UseFile(mSaved);
    }
}

i16 StResourceFork::Close()
{
    if (mRef == -1)
        return mError;
    RM::CloseFork(mRef);
    i16 const err = RM::GetError();
    mRef = -1;
    RM::UseFile(mSaved);
    return err;
}

StResourceFork::~StResourceFork()
{
    Close();
}
