// Helpers for the tests of threads, tasks and sync objects.
#pragma once

#include "Cmn/Cmn_Assert.h"
#include "Sys/Posix/Sys_SyncObjectPosix.h"
#include "Sys/Sys_Task.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>

namespace vfltest {

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

// Polls until pred holds; false if it still does not after the (generous) limit.
template <class Pred>
bool Eventually(Pred pred, std::chrono::milliseconds limit = std::chrono::seconds(20))
{
    auto const end = std::chrono::steady_clock::now() + limit;
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

// The kernel's id of the calling thread, and whether a thread of that id
// still exists in this process.
inline std::string IdOfThisThread()
{
    return std::filesystem::read_symlink("/proc/thread-self").filename().string();
}

inline bool ThreadExists(std::string const& id)
{
    return std::filesystem::exists("/proc/self/task/" + id);
}

// Threads of this process right now.
inline int ThreadsOfProcess()
{
    int count = 0;
    for ([[maybe_unused]] auto const& entry : std::filesystem::directory_iterator("/proc/self/task"))
        ++count;
    return count;
}

// A task whose slices run a function given by the test, and that counts
// its slices and its AbortImpl calls.
class ScriptedTask : public Sys_Task
{
public:
    using Step = std::function<EResult(ScriptedTask&)>;
    using Handle = Cmn_PolymorphicHandle<ScriptedTask, Sys_Task>;

    static Handle Make(Step step, std::function<void()> onAbort = {})
    {
        return Handle(new ScriptedTask(std::move(step), std::move(onAbort)));
    }

    int Slices() const { return mSlices.load(); }
    int AbortImpls() const { return mAbortImpls.load(); }
    using Sys_Task::IsAbortRequested;

protected:
    EResult ExecImpl() override
    {
        ++mSlices;
        return mStep(*this);
    }
    void AbortImpl() override
    {
        ++mAbortImpls;
        if (mOnAbort)
            mOnAbort();
    }

private:
    ScriptedTask(Step step, std::function<void()> onAbort) : mStep(std::move(step)), mOnAbort(std::move(onAbort)) {}

    Step mStep;
    std::function<void()> mOnAbort;
    std::atomic<int> mSlices{0};
    std::atomic<int> mAbortImpls{0};
};

} // namespace vfltest
