// Running this program again in child processes, for work that the process
// threads of one process cannot do side by side.
#pragma once

#include <string>
#include <vector>

namespace vfl
{
// Starts this program with the given arguments (not counting the program's
// own name); the child's standard error goes to `errorFile`, its standard
// input is empty. Answers the child's process id. Throws the system's error.
int StartSelf(std::vector<std::string> const& args, std::string const& errorFile);

// Waits up to `ms` for a child to end. True with its id and exit status
// (128 + N for a child ended by signal N) if one did.
bool WaitForChild(int ms, int* pid, int* status);

// Sends a child the signal that the exit status stands for (status - 128).
void SignalChild(int pid, int exitStatus);
} // namespace vfl

namespace vfl
{
// Runs the calling thread from now on at a real-time priority (first in,
// first out), as a workstation runs its audio callback. False, and nothing
// changed, where the system does not allow it.
bool MakeThisThreadRealTime();
} // namespace vfl
