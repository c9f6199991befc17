#pragma once

#include "Cmn/Cmn_PolymorphicHandle.h"
#include "Cmn/Cmn_Types.h"
#include "FF/FF_AudioProcess.h"

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
