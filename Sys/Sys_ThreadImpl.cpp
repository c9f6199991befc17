#include "Sys/Sys_ThreadImpl.h"

Sys_ThreadImpl::Sys_ThreadImpl(Sys_Thread* thread) : mThread(thread)
{
    mThread->AddReference();
}

// The reference is not dropped here: the implementation is deleted by its
// thread, which is then going away already.
Sys_ThreadImpl::~Sys_ThreadImpl() = default;

void Sys_ThreadImpl::RoundHook() {}

Sys_Thread::EStatus Sys_ThreadImpl::RunRound()
{
    RoundHook();
    Sys_Thread::EStatus const status = mThread->Exec();
    RoundHook();
    return status;
}

void Sys_ThreadImpl::SetCurrentThread(Sys_Thread* thread)
{
    Sys_Thread::SetCurrentThread(thread);
}

void Sys_ThreadImpl::ReleaseThread()
{
    mThread->RemoveReference();
}
