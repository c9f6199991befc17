#include "FF/FF_AudioProcessUtils.h"

#include "Cmn/Cmn_Assert.h"
#include "Cmn/Cmn_Exception.h"
#include "FF/FF_AudioProcessChain.h"
#include "Sys/Sys_MultiTaskThread.h"

#include <mutex>

namespace
{

// Priority of all four threads; above the threads of the host, so that a
// conversion keeps its pace under a busy user interface.
constexpr Sys_Thread::EPriority kProcessThreadPriority = Sys_Thread::kPriorityHighest;
constexpr int32 kChainPriority = 0;

// The objects keep the full names; the system shows only 15 characters, in
// which all four full names would read alike.
struct ThreadName
{
    char const* full;
    char const* system;
};
constexpr ThreadName kFilterName = {"FF_AudioProcess: Filter thread", "FFProc:Filter"};
constexpr ThreadName kProducerName = {"FF_AudioProcess: Producer Thread", "FFProc:Producer"};
constexpr ThreadName kConsumerName = {"FF_AudioProcess: Consumer Thread", "FFProc:Consumer"};
constexpr ThreadName kDriverName = {"FF_AudioProcess: Driver Thread", "FFProc:Driver"};

// The handles are made on the heap and never freed: the threads run until
// the process ends, and at exit they may still be waiting on their queue
// events and timers, which they own. Destroying any of that while static
// objects are torn down would pull it from under a waiting thread.
std::once_flag sInitOnce;
Sys_MultiTaskThread::Handle* sFilterThread = nullptr;
Sys_MultiTaskThread::Handle* sProducerThread = nullptr;
Sys_MultiTaskThread::Handle* sConsumerThread = nullptr;
Sys_MultiTaskThread::Handle* sDriverThread = nullptr;

Sys_MultiTaskThread::Handle* MakeThread(ThreadName const& name)
{
    auto* thread = new Sys_MultiTaskThread::Handle(Sys_MultiTaskThread::Create());
    (*thread)->SetPriority(kProcessThreadPriority);
    (*thread)->SetName(name.full, name.system);
    return thread;
}

void MakeThreads()
{
    sFilterThread = MakeThread(kFilterName);
    sProducerThread = MakeThread(kProducerName);
    sConsumerThread = MakeThread(kConsumerName);
    sDriverThread = MakeThread(kDriverName);
}

} // namespace

void FF_InitProcessThreads()
{
    // call_once publishes the four handles to every later caller.
    std::call_once(sInitOnce, &MakeThreads);
}

void FF_ScheduleProcess(FF_AudioProcess::Handle const& process, int32 priority)
{
    FF_ScheduleOnThreadOf(process->GetProcessType(), process, priority);
}

void FF_ScheduleOnThreadOf(FF_AudioProcess::EProcessType type, Sys_Task::Handle const& task, int32 priority)
{
    FF_InitProcessThreads();
    switch (type)
    {
    case FF_AudioProcess::kProcessFilter: (*sFilterThread)->AddTask(task, priority); break;
    case FF_AudioProcess::kProcessProducer: (*sProducerThread)->AddTask(task, priority); break;
    case FF_AudioProcess::kProcessConsumer: (*sConsumerThread)->AddTask(task, priority); break;
    default:
        // Not queued anywhere, the stage would never run and its chain
        // would wait for it for ever.
        CMN_ASSERT(false);
        throw Cmn_TypedException<Cmn_TStringXData>::New(XC_Cmn_TextAssert,
                                                        Cmn_TStringXData("a stage of an unknown kind is scheduled"));
    }
}

void FF_ScheduleChain(Cmn_PolymorphicHandle<FF_AudioProcessChain, Sys_Task> const& chain)
{
    FF_InitProcessThreads();
    (*sDriverThread)->AddTask(chain, kChainPriority);
}
