// Starts the library and lets a worker thread of it fault where nothing but
// the thread's entry catches: the process must end with a log.
#include "Sys/Sys_Init.h"
#include "Sys/Sys_Task.h"
#include "Sys/Sys_Thread.h"
#include "Sys/Sys_Utils.h"

int volatile* volatile gNowhere = nullptr;

extern "C" __attribute__((noinline)) void VflCrashHostFault()
{
    *gNowhere = 1;
}

namespace
{

class FaultingTask : public Sys_Task
{
protected:
    EResult ExecImpl() override { return kResultCompleted; }
    void AbortImpl() override { VflCrashHostFault(); }
};

// Aborts its task from the thread's own loop, outside any slice.
class AbortingThread : public Sys_Thread
{
public:
    explicit AbortingThread(Sys_Task::Handle const& task) : Sys_Thread(nullptr), mVictim(task) {}

protected:
    EStatus Exec() override
    {
        mVictim->Abort();
        return kThreadFinished;
    }

private:
    Sys_Task::Handle mVictim;
};

} // namespace

int main()
{
    Sys_Init::Init();
    Sys_Thread::Handle thread(new AbortingThread(Sys_Task::Handle(new FaultingTask())));
    thread->Resume();
    for (int i = 0; i < 100; ++i)
        Sys_Utils::Sleep(100);
    return 3; // the fault did not end the process
}
