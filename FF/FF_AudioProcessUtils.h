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

// With true, keeps the four threads on the processor that the caller runs
// on; with false, lets them run anywhere again. A chain moves one block at a
// time, so its stages never run at once: on one processor each hand-over of
// a block is a task switch rather than a wake-up across processors.
void FF_KeepProcessThreadsTogether(bool together);

// Queues one slice of a stage on the thread of its kind.
void FF_ScheduleProcess(FF_AudioProcess::Handle const& process, int32 priority);

// Queues a chain on the driver thread. The chain must have been allocated.
void FF_ScheduleChain(Cmn_PolymorphicHandle<FF_AudioProcessChain, Sys_Task> const& chain);
