#include "Sys/Posix/Sys_AsyncFileIOParamsPosix.h"

#include "Cmn/Cmn_ExceptionCodes.h"
#include "Cmn/Cmn_TypedException.h"
#include "Sys/Sys_Int32ErrData.h"

namespace
{
struct InstallAtLoad
{
    InstallAtLoad() { Sys_AsyncFileIOParamsPosix::SetPlatformDependentMethods(); }
} sInstallAtLoad;
} // namespace

Sys_AsyncFileIOParamsPosix::Sys_AsyncFileIOParamsPosix(int64 offset, int64 count, void* buffer, EventHandle event)
    : mEvent(event ? std::move(event) : Sys_Event::Create(0)), mCount(count), mOffset(offset), mBuffer(buffer)
{
}

Sys_AsyncFileIOParamsPosix::~Sys_AsyncFileIOParamsPosix() = default;

void Sys_AsyncFileIOParamsPosix::SetPlatformDependentMethods()
{
    SetCreateMethod(&Sys_AsyncFileIOParamsPosix::Create);
}

Sys_AsyncFileIOParams* Sys_AsyncFileIOParamsPosix::Create(int64 offset, int64 count, void* buffer, EventHandle event)
{
    return new Sys_AsyncFileIOParamsPosix(offset, count, buffer, std::move(event));
}

void Sys_AsyncFileIOParamsPosix::SetCompletion(CompletionFunction function, void* data)
{
    mCompletion = function;
    mCompletionData = data;
}

void Sys_AsyncFileIOParamsPosix::CallCompletion()
{
    if (mCompletion)
        mCompletion(this, mCompletionData);
}

void Sys_AsyncFileIOParamsPosix::ThrowException() const
{
    if (mException)
        mException->Throw();
}

void Sys_AsyncFileIOParamsPosix::Queue()
{
    mException.reset();
    mQueuingThread = Sys_SyncObjectPosix::ThisThreadCompletionTarget();
}

void Sys_AsyncFileIOParamsPosix::Finish(int64 result)
{
    mResult = result;
    // Taken out first: once posted, the object may be gone as soon as the
    // queuing thread has run its completion.
    Sys_SyncObjectPosix::CompletionTarget const target = std::move(mQueuingThread);
    Sys_SyncObjectPosix::PostCompletion(target, &Complete, this);
}

void Sys_AsyncFileIOParamsPosix::Complete(void* self)
{
    auto* params = static_cast<Sys_AsyncFileIOParamsPosix*>(self);
    if (params->mResult < 0)
    {
        // The stack dump is of the queuing thread at delivery: the engine's
        // would say nothing about who asked.
        params->mException.reset(Cmn_TypedException<Sys_Int32ErrData>::New(
                                     XC_Sys_Error, Sys_Int32ErrData(static_cast<int32>(-params->mResult)))
                                     .Clone());
    }
    else
    {
        params->SetCount(params->mResult);
        try
        {
            params->CallCompletion();
        }
        catch (Cmn_Exception const& e)
        {
            // It runs inside somebody's wait, which cannot take a failure:
            // the failure stays with the transfer.
            params->mException.reset(e.Clone());
        }
    }
    params->mEvent->Set();
}
