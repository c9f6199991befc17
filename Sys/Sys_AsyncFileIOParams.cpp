#include "Sys/Sys_AsyncFileIOParams.h"

#include <atomic>

#include "Cmn/Cmn_Assert.h"

namespace
{
std::atomic<Sys_AsyncFileIOParams::CreateMethod> sCreateMethod{nullptr};
}

Sys_AsyncFileIOParams::~Sys_AsyncFileIOParams() = default;

Sys_AsyncFileIOParams* Sys_AsyncFileIOParams::Create(int64 offset, int64 count, void* buffer, EventHandle event)
{
    CreateMethod const method = sCreateMethod.load(std::memory_order_acquire);
    CMN_ASSERT(method != nullptr);
    return method ? method(offset, count, buffer, std::move(event)) : nullptr;
}

void Sys_AsyncFileIOParams::SetCreateMethod(CreateMethod method)
{
    sCreateMethod.store(method, std::memory_order_release);
}
