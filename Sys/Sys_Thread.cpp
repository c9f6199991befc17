#include "Sys/Sys_Thread.h"

#include "Cmn/Cmn_Assert.h"
#include "Sys/Sys_ThreadImpl.h"
#include "Sys/Sys_ThrowIfOSErr.h"

#include <atomic>
#include <cerrno>

namespace
{
constinit Sys_Thread::CreateImplMethod sCreateImplMethod = nullptr;
constinit std::atomic<Sys_Thread::FatalExceptionMethod> sFatalExceptionMethod{nullptr};
constinit thread_local Sys_Thread* tCurrentThread = nullptr;
} // namespace

Sys_Thread::Handle Sys_Thread::Create(Sys_Task::Handle const& task, bool startSuspended)
{
    Handle thread(new Sys_Thread(task));
    if (!startSuspended)
        thread->Resume();
    return thread;
}

Sys_Thread::Handle Sys_Thread::GetCurrentThread()
{
    // The implementation's own reference keeps the object alive while its
    // thread runs, so a new handle on it is safe.
    return Handle(tCurrentThread);
}

void Sys_Thread::SetCurrentThread(Sys_Thread* thread)
{
    tCurrentThread = thread;
}

Sys_Thread::Sys_Thread(Sys_Task::Handle const& task) : mTask(task)
{
    CMN_ASSERT(sCreateImplMethod != nullptr);
    if (sCreateImplMethod)
        mImpl.reset(sCreateImplMethod(this));
    if (!mImpl)
        Sys_ThrowIfOSErr(ENOSYS);
}

Sys_Thread::~Sys_Thread() = default;

void Sys_Thread::Suspend()
{
    if (GetStatus() == kThreadRunning)
        mImpl->Suspend();
}

void Sys_Thread::Resume()
{
    mImpl->Resume();
}

void Sys_Thread::SetPriority(EPriority priority)
{
    if (priority < kPriorityIdle || priority > kPriorityTimeCritical)
    {
        CMN_ASSERT(false);
        return;
    }
    mImpl->SetPriority(priority);
}

void Sys_Thread::StayWithCaller(bool stay)
{
    mImpl->StayWithCaller(stay);
}

Sys_Thread::EStatus Sys_Thread::GetStatus() const
{
    return mImpl->GetStatus();
}

void Sys_Thread::Block(Sys_SyncObject::Handle const& object)
{
    mImpl->Block(object);
}

void Sys_Thread::Block(Sys_SyncObject::HandleList const& objects, Sys_SyncObject::EWaitForMultipleObjects mode)
{
    mImpl->Block(objects, mode);
}

void Sys_Thread::SetName(std::string const& name)
{
    {
        std::lock_guard<std::mutex> lock(mNameLock);
        mName = name;
    }
    mImpl->SetName(name);
}

void Sys_Thread::SetName(std::string const& name, std::string const& systemName)
{
    {
        std::lock_guard<std::mutex> lock(mNameLock);
        mName = name;
    }
    mImpl->SetName(systemName);
}

std::string Sys_Thread::GetName() const
{
    std::lock_guard<std::mutex> lock(mNameLock);
    return mName;
}

void Sys_Thread::SetCreateImplMethod(CreateImplMethod method)
{
    sCreateImplMethod = method;
}

void Sys_Thread::SetFatalExceptionMethod(FatalExceptionMethod method)
{
    sFatalExceptionMethod.store(method);
}

Sys_Thread::FatalExceptionMethod Sys_Thread::GetFatalExceptionMethod()
{
    return sFatalExceptionMethod.load();
}

Sys_Thread::EStatus Sys_Thread::Exec()
{
    if (!mTask)
        return kThreadFinished;
    switch (mTask->Exec())
    {
    case Sys_Task::kStatusAborted:
    case Sys_Task::kStatusFailed:
    case Sys_Task::kStatusCompleted: return kThreadFinished;
    case Sys_Task::kStatusBlocked: return kThreadBlocked;
    default: return kThreadNoWait;
    }
}

bool Sys_Thread::IsHeldByClient() const
{
    return GetRefCount() > 1;
}
