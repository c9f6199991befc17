#pragma once

// Raises the calling thread's priority one step for the length of a scope.
class Sys_StBoostThreadPriority
{
public:
    Sys_StBoostThreadPriority();
    ~Sys_StBoostThreadPriority();

private:
    Sys_StBoostThreadPriority(Sys_StBoostThreadPriority const&) = delete;
    Sys_StBoostThreadPriority& operator=(Sys_StBoostThreadPriority const&) = delete;
};
