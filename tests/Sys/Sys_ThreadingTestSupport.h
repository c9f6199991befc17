// Helpers for the tests of threads, tasks and sync objects.
#pragma once

#include "Cmn/Cmn_Assert.h"
#include "Cmn/Cmn_Exception.h"
#include "Sys/Posix/Sys_SyncObjectPosix.h"
#include "Sys/Sys_Task.h"
#include "Sys/Sys_Thread.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>

namespace vfltest
{

// While alive, failed assertions are counted instead of thrown.
class StCountAsserts
{
public:
    StCountAsserts() : mPrevious(Cmn_Assert::SetHandler(&Count)) { sCount = 0; }
    ~StCountAsserts() { Cmn_Assert::SetHandler(mPrevious); }
    int Failed() const { return sCount.load(); }

private:
    static void Count(bool, char const*, int) { ++sCount; }
    static inline std::atomic<int> sCount{0};
    Cmn_Assert::Handler mPrevious;
};

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

// The error number of the system error that operation throws; 0 if it
// throws nothing, -1 if it throws something else.
inline int32 SystemErrorOf(std::function<void()> const& operation)
{
    try
    {
        operation();
    }
    catch (Cmn_TypedException<Sys_OSErrData> const& e)
    {
        return e.GetCode() == XC_Sys_SystemError ? e.GetData().GetErr() : -1;
    }
    catch (...)
    {
        return -1;
    }
    return 0;
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
