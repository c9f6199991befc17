#include "Sys/Posix/Sys_SEHandlerPosix.h"

#include <pthread.h>
#include <signal.h>
#include <sys/mman.h>
#include <ucontext.h>
#include <unistd.h>

#include <atomic>
#include <exception>
#include <mutex>

#include "Cmn/Cmn_Exception.h"
#include "Sys/Posix/Sys_StackDumpPosix.h"
#include "Sys/Sys_Utils.h"

namespace
{

constexpr int kSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL};
constexpr int kSignalCount = sizeof(kSignals) / sizeof(kSignals[0]);
// SIGSTKSZ is too small for a stack walk and a throw.
constexpr size_t kAltStackSize = 128 * 1024;
// How far below the lowest usable byte of the stack a fault still counts as
// an overflow: the guard, and a frame that jumps over it.
constexpr uintptr_t kOverflowReach = 256 * 1024;

struct sigaction sPrevious[kSignalCount];
std::atomic<bool> sInstalled{false};
std::terminate_handler sPreviousTerminate = nullptr;

// Plain data, so that the handler can read it on any thread without
// making anything: a thread_local with a destructor is registered at its
// first use, which allocates.
struct ThreadState
{
    bool translating = false;
    uintptr_t stackLow = 0; // lowest usable byte of the thread's stack
};

thread_local ThreadState tState;

// Owns the alternate stack of a thread that installed one, and gives it
// back when the thread ends. Touched only by InstallSEHandler.
struct AltStack
{
    void* memory = nullptr;

    ~AltStack()
    {
        if (!memory)
            return;
        stack_t off{};
        off.ss_flags = SS_DISABLE;
        ::sigaltstack(&off, nullptr);
        ::munmap(memory, kAltStackSize);
    }
};

thread_local AltStack tAltStack;

int IndexOf(int signal)
{
    for (int i = 0; i < kSignalCount; ++i)
        if (kSignals[i] == signal)
            return i;
    return -1;
}

// To whoever had the signal before us; for the default action, the action
// is put back: a fault happens again when the handler returns, and a sent
// signal is sent again, and the system ends the process as it would have.
void PassOn(int signal, siginfo_t* info, void* context)
{
    int const index = IndexOf(signal);
    struct sigaction const& previous = sPrevious[index];
    if ((previous.sa_flags & SA_SIGINFO) && previous.sa_sigaction)
    {
        previous.sa_sigaction(signal, info, context);
        return;
    }
    if (!(previous.sa_flags & SA_SIGINFO) && previous.sa_handler != SIG_DFL && previous.sa_handler != SIG_IGN)
    {
        previous.sa_handler(signal);
        return;
    }
    struct sigaction fallback
    {
    };
    fallback.sa_handler = SIG_DFL;
    ::sigaction(signal, &fallback, nullptr);
    if (info->si_code <= 0)
        ::raise(signal);
}

void Translate(int signal, siginfo_t* info, void* context)
{
    ThreadState& state = tState;
    Sys_SEHandlerPosix::Code const* code = nullptr;
    if (state.translating && info->si_code > 0)
    {
        // An overflow faults in the guard below the stack, at or just below
        // the stack pointer; the stack's bounds are those of the thread.
        auto const address = reinterpret_cast<uintptr_t>(info->si_addr);
        auto const sp = static_cast<uintptr_t>(static_cast<ucontext_t*>(context)->uc_mcontext.gregs[REG_RSP]);
        bool const nearBottom =
            state.stackLow != 0 && address < state.stackLow + 4096 && address + kOverflowReach >= state.stackLow;
        bool const nearPointer = address <= sp + 256 && address + kOverflowReach >= sp;
        bool const overflow = signal == SIGSEGV && (nearBottom || nearPointer);
        code = Sys_SEHandlerPosix::MapSignal(signal, info->si_code, overflow);
    }
    if (!code)
    {
        PassOn(signal, info, context);
        return;
    }
    auto* dump = new Sys_StackDumpPosix(context);
    // The handler is left by the throw, not by a return that would put the
    // mask back: open it for the next fault of this thread.
    sigset_t set;
    ::sigemptyset(&set);
    ::sigaddset(&set, signal);
    ::pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
    throw Cmn_TypedException<Cmn_NullExceptionData>::New(*code, Cmn_NullExceptionData(), dump);
}

// An exception that nothing can catch (a fault in code built without
// -fnon-call-exceptions, a throw through noexcept) still gets its log.
[[noreturn]] void OnTerminate()
{
    if (std::exception_ptr failure = std::current_exception())
    {
        try
        {
            std::rethrow_exception(failure);
        }
        catch (std::exception& e)
        {
            Sys_Utils::HandleFatalException(e);
        }
        catch (...)
        {
            Sys_Utils::HandleFatalException();
        }
    }
    if (sPreviousTerminate)
        sPreviousTerminate();
    std::abort();
}

uintptr_t StackLowOfThisThread()
{
    pthread_attr_t attr;
    if (::pthread_getattr_np(::pthread_self(), &attr) != 0)
        return 0;
    void* address = nullptr;
    size_t size = 0;
    int const got = ::pthread_attr_getstack(&attr, &address, &size);
    ::pthread_attr_destroy(&attr);
    return got == 0 ? reinterpret_cast<uintptr_t>(address) : 0;
}

} // namespace

void Sys_SEHandlerPosix::SetPlatformDependentMethods()
{
    static std::once_flag once;
    std::call_once(once,
                   []
                   {
                       struct sigaction action
                       {
                       };
                       action.sa_sigaction = &Translate;
                       action.sa_flags = SA_SIGINFO | SA_ONSTACK;
                       ::sigemptyset(&action.sa_mask);
                       for (int i = 0; i < kSignalCount; ++i)
                           ::sigaction(kSignals[i], &action, &sPrevious[i]);
                       sPreviousTerminate = std::set_terminate(&OnTerminate);
                       sInstalled.store(true);
                   });
}

void Sys_SEHandlerPosix::InstallSEHandler()
{
    if (!sInstalled.load() || !Sys_Utils::HandleFatalExceptions())
        return;
    ThreadState& state = tState;
    AltStack& alt = tAltStack;
    if (!alt.memory)
    {
        void* stack = ::mmap(nullptr, kAltStackSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (stack == MAP_FAILED)
            return; // faults of this thread then take the default way
        stack_t on{};
        on.ss_sp = stack;
        on.ss_size = kAltStackSize;
        if (::sigaltstack(&on, nullptr) != 0)
        {
            ::munmap(stack, kAltStackSize);
            return;
        }
        alt.memory = stack;
        state.stackLow = StackLowOfThisThread();
    }
    state.translating = true;
}

bool Sys_SEHandlerPosix::IsInstalled()
{
    return sInstalled.load();
}

bool Sys_SEHandlerPosix::IsTranslating()
{
    return tState.translating;
}

Sys_SEHandlerPosix::Code const* Sys_SEHandlerPosix::MapSignal(int signal, int code, bool overflow)
{
    switch (signal)
    {
    case SIGSEGV:
        // SI_KERNEL: an address the processor refuses outright (not in
        // canonical form), as a wild pointer often is.
        if (code != SEGV_MAPERR && code != SEGV_ACCERR && code != SEGV_BNDERR && code != SEGV_PKUERR &&
            code != SI_KERNEL)
            return nullptr;
        return overflow ? &XC_SYS_SE_StackOverflow : &XC_SYS_SE_AccessViolation;
    case SIGBUS:
        switch (code)
        {
        case BUS_ADRALN: return &XC_SYS_SE_DataTypeMisalignment;
        case BUS_ADRERR:
        case BUS_OBJERR: return &XC_SYS_SE_InPageError;
        default: return nullptr;
        }
    case SIGILL:
        switch (code)
        {
        case ILL_PRVOPC:
        case ILL_PRVREG: return &XC_SYS_SE_PriviledgedInstruction;
        case ILL_ILLOPC:
        case ILL_ILLOPN:
        case ILL_ILLADR:
        case ILL_ILLTRP:
        case ILL_COPROC:
        case ILL_BADSTK: return &XC_SYS_SE_IllegalInstruction;
        default: return nullptr;
        }
    case SIGFPE:
        switch (code)
        {
        case FPE_INTDIV: return &XC_SYS_SE_IntegerDivideByZero;
        case FPE_INTOVF: return &XC_SYS_SE_IntegerOverflow;
        case FPE_FLTDIV: return &XC_SYS_SE_FloatDivideByZero;
        case FPE_FLTOVF: return &XC_SYS_SE_FloatOverflow;
        case FPE_FLTUND: return &XC_SYS_SE_FloatUnderflow;
        case FPE_FLTRES: return &XC_SYS_SE_FloatInexactResult;
        case FPE_FLTINV: return &XC_SYS_SE_FloatInvalidOperation;
        case FPE_FLTSUB: return &XC_SYS_SE_ArrayBoundsExceeded;
        default: return nullptr;
        }
    default: return nullptr;
    }
}
