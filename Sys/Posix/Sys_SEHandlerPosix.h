#pragma once

#include "Cmn/Cmn_NullExceptionData.h"
#include "Cmn/XC_TypedExceptionCode.h"

// Turns hardware faults (SIGSEGV, SIGBUS, SIGFPE, SIGILL) into exceptions
// on the threads that ask for it: the handler, on the thread's alternate
// stack, captures the stack from the signal's context and throws the
// exception of the fault from the faulting instruction. So a fault inside a
// task's slice fails that task, and one that escapes the thread's entry
// reaches the fatal path with a log that says where it happened.
//
// Throwing from the faulting instruction needs code built with
// -fnon-call-exceptions; a fault in code built without it cannot be caught
// there, and ends in std::terminate, whose handler (installed here too)
// hands the exception to the fatal path.
//
// The handler allocates: a fault inside the allocator can hang the
// process instead. That is accepted on this path of last resort.
//
// Threads that did not ask, and signals that are no fault of the thread
// (sent by kill or raise), go to the handler that was there before, or to
// the system's default action.
class Sys_SEHandlerPosix
{
public:
    using Code = XC_TypedExceptionCode<Cmn_NullExceptionData>;

    // Once per process: the signal actions and the terminate handler.
    // Threads translate only after this.
    static void SetPlatformDependentMethods();
    // For the calling thread: an alternate signal stack (so that a stack
    // overflow can be handled too) and translation from now on, unless
    // fatal exceptions are not to be handled (the debugging marker) or the
    // process-wide part is not installed.
    static void InstallSEHandler();
    // True once SetPlatformDependentMethods has run.
    static bool IsInstalled();
    // True if faults of the calling thread are translated.
    static bool IsTranslating();

    // The exception that a signal with its si_code stands for, or null for
    // one that is not translated. overflow tells that the faulting address
    // lies in the guard area below the thread's stack.
    static Code const* MapSignal(int signal, int code, bool overflow);
};
