#pragma once

#include "Cmn/Cmn_PolymorphicHandle.h"
#include "Cmn/Cmn_Types.h"
#include "FF/FF_AudioProcess.h"

#include <chrono>
#include <thread>

class FF_AudioProcessChain;
class Sys_Task;

// All audio processing of the process runs on four shared threads, made on
// first use and kept until the process ends: one for filters, one for
// producers, one for consumers, and the driver, on which chains run one
// after the other.

// Makes the four threads if they do not exist yet. Any thread may call it.
void FF_InitProcessThreads();

// Queues one slice of a stage on the thread of its kind.
void FF_ScheduleProcess(FF_AudioProcess::Handle const& process, int32 priority);

// Queues a task on the thread that runs the stages of the given kind.
void FF_ScheduleOnThreadOf(FF_AudioProcess::EProcessType type, Sys_Task::Handle const& task, int32 priority);

// Queues a chain on the driver thread. The chain must have been allocated.
void FF_ScheduleChain(Cmn_PolymorphicHandle<FF_AudioProcessChain, Sys_Task> const& chain);

// Waking a sleeping thread takes tens of microseconds, longer than a stage
// takes for a few blocks, and the next blocks usually come within a few
// hundred: a thread of the engine whose work ran dry stays awake that long,
// giving way to any other thread that wants its processor, before it
// sleeps. Measured on overviews, where the work per block is smallest:
// 20 us was worse than none, 200 us best. True as soon as ready() is, false
// if the time ran out first.
template <class Ready> bool FF_StayAwakeUntil(Ready ready)
{
    constexpr auto cStayAwake = std::chrono::microseconds(200);
    auto const until = std::chrono::steady_clock::now() + cStayAwake;
    while (!ready())
    {
        if (std::chrono::steady_clock::now() >= until)
            return false;
        std::this_thread::yield();
    }
    return true;
}
