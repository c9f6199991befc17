#pragma once

#include "Cmn/Cmn_Types.h"
#include "Sys/Sys_Event.h"
#include "Sys/Sys_Task.h"
#include "Sys/Sys_TaskQueueItem.h"

#include <memory>
#include <vector>

class Sys_Mutex;

// Pending tasks, by priority and then by age. Any thread may add; one
// thread, the owner, takes tasks out and runs them (ExecTop). A task that
// ends a slice ready to run again leaves the queue: whoever has more work for
// it adds it again. A task may so stand in the queue several times at once.
class Sys_TaskQueue
{
public:
    Sys_TaskQueue();
    ~Sys_TaskQueue();

    // Set (automatic reset) whenever a task is added.
    void AddTask(Sys_Task::Handle const& task, int32 priority);
    // Runs one slice of the top task. A task that wants to repeat is reset
    // and put back in its old place; a blocked one is put back in its old
    // place as it is. An empty queue is an assertion.
    Sys_Task::EStatus ExecTop();
    // An empty queue is an assertion.
    int32 PeekAtTopPriority() const;
    bool IsEmpty() const;
    Sys_Event::Handle GetQueueEvent() const { return mQueueEvent; }

private:
    Sys_TaskQueue(Sys_TaskQueue const&) = delete;
    Sys_TaskQueue& operator=(Sys_TaskQueue const&) = delete;

    void Push(Sys_TaskQueueItem item);

    std::vector<Sys_TaskQueueItem> mHeap;
    uint64 mNextSequence;
    std::unique_ptr<Sys_Mutex> mMutex;
    Sys_Event::Handle mQueueEvent;
};
