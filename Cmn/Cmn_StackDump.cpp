#include "Cmn/Cmn_StackDump.h"

#include "Cmn/Cmn_StackDumpNull.h"

constinit std::atomic<Cmn_StackDump::CreateMethod> Cmn_StackDump::sCreateMethod{nullptr};

Cmn_StackDump::~Cmn_StackDump() = default;

Cmn_StackDump* Cmn_StackDump::Create()
{
    if (CreateMethod method = sCreateMethod.load(std::memory_order_acquire))
        return method();
    return new Cmn_StackDumpNull();
}

Cmn_StackDump::CreateMethod Cmn_StackDump::SetCreateMethod(CreateMethod method) noexcept
{
    return sCreateMethod.exchange(method, std::memory_order_acq_rel);
}
