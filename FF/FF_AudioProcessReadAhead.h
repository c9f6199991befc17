#pragma once

#include <atomic>
#include <condition_variable>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>

// Runs one piece of work at a time on a thread of its own, so that a
// producer's next disk read is under way while it hands out the blocks of
// the read before. The thread starts with the first piece and ends with
// this object, which first waits for a piece still under way.
//
// A read and the hand-out of its blocks each take some tens of
// microseconds, less than waking a sleeping thread: either side that finds
// nothing to do stays awake a while, giving way to other threads, before it
// sleeps.
class FF_AudioProcessReadAhead
{
public:
    FF_AudioProcessReadAhead() = default;
    ~FF_AudioProcessReadAhead();

    FF_AudioProcessReadAhead(FF_AudioProcessReadAhead const&) = delete;
    FF_AudioProcessReadAhead& operator=(FF_AudioProcessReadAhead const&) = delete;

    // Starts work; the piece before must have been waited for.
    void Start(std::function<void()> work);
    bool IsPending() const { return mPending; }
    // Waits for the piece under way, if any, and throws what it threw.
    void Wait();
    // Waits for the piece under way, if any, and forgets what it threw.
    void WaitQuietly();

private:
    void Run();

    std::mutex mLock;
    std::condition_variable mChanged;
    // Written by the owner before mHasWork is set, read by the thread after.
    std::function<void()> mWork;
    // Written by the thread before mDone is set, read by the owner after.
    std::exception_ptr mFailure;
    std::atomic<bool> mHasWork{false};
    std::atomic<bool> mDone{false};
    std::atomic<bool> mQuit{false};
    // Only ever touched by the owner's thread.
    bool mPending = false;
    std::thread mThread;
};
