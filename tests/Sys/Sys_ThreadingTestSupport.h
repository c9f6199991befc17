// Helpers for the tests of threads, tasks and sync objects.
#pragma once

#include "Sys/Posix/Sys_SyncObjectPosix.h"
#include "Sys/Sys_Task.h"
#include "Sys/Sys_Thread.h"
#include "Sys_FileTestSupport.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>

namespace vfltest
{

// Polls until pred holds; false if it still does not after a generous limit.
template <class Pred> bool Eventually(Pred pred)
{
    auto const end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!pred())
    {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

// Threads waiting on a sync object right now.
inline std::size_t WaitersOn(Sys_SyncObject const& object)
{
    return dynamic_cast<Sys_SyncObjectPosix const&>(object).GetWaiterCount();
}

// The kernel's id of the calling thread; whether a thread of that id still exists.
inline std::string IdOfThisThread()
{
    return std::filesystem::read_symlink("/proc/thread-self").filename().string();
}

inline bool ThreadExists(std::string const& id)
{
    return std::filesystem::exists("/proc/self/task/" + id);
}

constexpr int32 kFinalStates = Sys_Task::kStatusAborted | Sys_Task::kStatusFailed | Sys_Task::kStatusCompleted;

// A task whose slices run a function of the test; counts slices and AbortImpl calls.
class ScriptedTask : public Sys_Task
{
public:
    using Step = std::function<EResult(ScriptedTask&)>;
    using Handle = Cmn_PolymorphicHandle<ScriptedTask, Sys_Task>;

    static Handle Make(Step step) { return Handle(new ScriptedTask(std::move(step))); }

    int Slices() const { return mSlices.load(); }
    int AbortImpls() const { return mAbortImpls.load(); }
    using Sys_Task::IsAbortRequested;

protected:
    EResult ExecImpl() override
    {
        ++mSlices;
        return mStep(*this);
    }
    void AbortImpl() override { ++mAbortImpls; }

private:
    explicit ScriptedTask(Step step) : mStep(std::move(step)) {}

    Step mStep;
    std::atomic<int> mSlices{0};
    std::atomic<int> mAbortImpls{0};
};

// A slice that blocks on object on the current thread.
inline Sys_Task::EResult BlockOn(Sys_SyncObject::Handle const& object)
{
    Sys_Thread::GetCurrentThread()->Block(object);
    return Sys_Task::kResultBlocked;
}

} // namespace vfltest
