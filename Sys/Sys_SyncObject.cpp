#include "Sys/Sys_SyncObject.h"

#include "Cmn/Cmn_Assert.h"

#include <atomic>

namespace
{
// Atomic: start-up installs the method again while threads made earlier may
// already be waiting through it.
constinit std::atomic<Sys_SyncObject::WaitForMultipleObjectsMethod> sWaitForMultipleObjectsMethod{nullptr};
} // namespace

Sys_SyncObject::~Sys_SyncObject() = default;

Sys_SyncObject::EWaitResult Sys_SyncObject::WaitForMultipleObjects(HandleList const& objects,
                                                                   EWaitForMultipleObjects mode, int32 timeLimit)
{
    CMN_ASSERT(timeLimit >= kWaitForever);
    WaitForMultipleObjectsMethod const method = sWaitForMultipleObjectsMethod.load(std::memory_order_acquire);
    CMN_ASSERT(method != nullptr);
    if (!method)
        return kWaitTimedOut;
    return method(objects, mode, timeLimit < kWaitForever ? 0 : timeLimit);
}

void Sys_SyncObject::SetWaitForMultipleObjectsMethod(WaitForMultipleObjectsMethod method)
{
    sWaitForMultipleObjectsMethod.store(method, std::memory_order_release);
}
