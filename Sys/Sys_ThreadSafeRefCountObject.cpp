#include "Sys/Sys_ThreadSafeRefCountObject.h"

Sys_ThreadSafeRefCountObject::~Sys_ThreadSafeRefCountObject() = default;

void Sys_ThreadSafeRefCountObject::RemoveReference() noexcept
{
    // Release so that this thread's writes to the object happen before the
    // deletion; the deleting thread acquires them all.
    if (mRefCount.fetch_sub(1, std::memory_order_acq_rel) == 1)
        delete this;
}
