#pragma once

class Sys_Mutex;

// Holds a mutex for the length of a scope. With tryOnly set it does not
// wait: Acquired() tells whether the mutex was free, and only then is it
// released at the end of the scope.
class Sys_StAcquireMutex
{
public:
    explicit Sys_StAcquireMutex(Sys_Mutex* mutex, bool tryOnly = false);
    ~Sys_StAcquireMutex();

    bool Acquired() const { return mAcquired; }

private:
    Sys_StAcquireMutex(Sys_StAcquireMutex const&) = delete;
    Sys_StAcquireMutex& operator=(Sys_StAcquireMutex const&) = delete;

    Sys_Mutex* mMutex;
    bool mAcquired;
};
