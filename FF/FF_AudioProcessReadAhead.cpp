#include "FF/FF_AudioProcessReadAhead.h"

#include "FF/FF_AudioProcessUtils.h"
#include "Sys/Sys_Utils.h"

#include <utility>

FF_AudioProcessReadAhead::~FF_AudioProcessReadAhead()
{
    WaitQuietly();
    if (!mThread.joinable())
        return;
    {
        std::lock_guard<std::mutex> lock(mLock);
        mQuit.store(true);
    }
    mChanged.notify_all();
    mThread.join();
}

void FF_AudioProcessReadAhead::Start(std::function<void()> work)
{
    mWork = std::move(work);
    mDone.store(false);
    {
        std::lock_guard<std::mutex> lock(mLock);
        mHasWork.store(true);
    }
    mPending = true;
    if (!mThread.joinable())
        mThread = std::thread([this] { Run(); });
    else
        mChanged.notify_all();
}

void FF_AudioProcessReadAhead::Wait()
{
    if (!mPending)
        return;
    if (!FF_StayAwakeUntil([this] { return mDone.load(); }))
    {
        std::unique_lock<std::mutex> lock(mLock);
        mChanged.wait(lock, [this] { return mDone.load(); });
    }
    mPending = false;
    if (std::exception_ptr failure = std::exchange(mFailure, nullptr))
        std::rethrow_exception(failure);
}

void FF_AudioProcessReadAhead::WaitQuietly()
{
    try
    {
        Wait();
    }
    catch (...)
    {
    }
}

void FF_AudioProcessReadAhead::Run()
{
    // As on every thread of the engine: a fault turns into an exception,
    // and debuggers and crash logs tell this thread from the producer's.
    Sys_Utils::InstallSEHandler();
    Sys_Utils::NameThisThread("FFProc:Reader");
    for (;;)
    {
        auto const called = [this] { return mHasWork.load() || mQuit.load(); };
        if (!FF_StayAwakeUntil(called))
        {
            std::unique_lock<std::mutex> lock(mLock);
            mChanged.wait(lock, called);
        }
        if (!mHasWork.load())
            return;
        std::function<void()> work = std::exchange(mWork, nullptr);
        mHasWork.store(false);
        try
        {
            work();
        }
        catch (...)
        {
            mFailure = std::current_exception();
        }
        {
            std::lock_guard<std::mutex> lock(mLock);
            mDone.store(true);
        }
        mChanged.notify_all();
    }
}
