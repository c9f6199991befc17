#pragma once

#include <atomic>

class Sys_QueueForInterruptBase;

// One element of a queue for interrupt level: a link, the flag that the
// consumer sets when it is done with the element, and the user's data.
class Sys_QueueForInterrupt_ElemBase
{
public:
    Sys_QueueForInterrupt_ElemBase() = default;
    virtual ~Sys_QueueForInterrupt_ElemBase() = default;
    Sys_QueueForInterrupt_ElemBase(Sys_QueueForInterrupt_ElemBase const&) = delete;
    Sys_QueueForInterrupt_ElemBase& operator=(Sys_QueueForInterrupt_ElemBase const&) = delete;

    bool WasProcessed() const noexcept { return mProcessed.load(std::memory_order_acquire); }

private:
    friend class Sys_QueueForInterruptBase;

    std::atomic<Sys_QueueForInterrupt_ElemBase*> mNext{nullptr};
    std::atomic<bool> mProcessed{false};
    void* mData = nullptr;
};
