#include "tools/vfl/Terminal.h"

#include "Sys/Sys_ThrowIfOSErr.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <initializer_list>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
volatile std::sig_atomic_t sSignal = 0;

extern "C" void OnSignal(int signal)
{
    if (sSignal == 0)
        sSignal = signal;
}

// Waits up to `ms` for the input; true if a read would not block.
bool InputReady(int input, int ms)
{
    pollfd p = {input, POLLIN, 0};
    int const r = ::poll(&p, 1, ms);
    return r > 0;
}
} // namespace

namespace vfl
{
bool StderrIsTerminal()
{
    return ::isatty(2) == 1;
}

int TerminalWidth()
{
    winsize size = {};
    if (::ioctl(2, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return size.ws_col;
    return 80;
}

void CatchInterrupt()
{
    struct sigaction action = {};
    action.sa_handler = &OnSignal;
    sigemptyset(&action.sa_mask);
    for (int signal : {SIGINT, SIGTERM, SIGHUP})
        ::sigaction(signal, &action, nullptr);
}

void FailWritesPastTheSizeLimit()
{
    ::signal(SIGXFSZ, SIG_IGN);
}

bool Interrupted()
{
    return sSignal != 0;
}

int InterruptExitStatus()
{
    return sSignal != 0 ? 128 + sSignal : 0;
}

bool IsPipe(std::string const& path)
{
    struct stat s;
    return ::stat(path.c_str(), &s) == 0 && S_ISFIFO(s.st_mode);
}

int OpenIfPipe(std::string const& path)
{
    struct stat s;
    if (::stat(path.c_str(), &s) != 0 || !S_ISFIFO(s.st_mode))
        return -1;
    // Without blocking: a named pipe nobody writes to yet would hold the
    // open itself past an interrupt. ReadInput waits for its writer.
    int const input = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (input < 0)
        Sys_ThrowIfOSErr(errno);
    return input;
}

void CloseInput(int input)
{
    if (input != kStandardInput)
        ::close(input);
}

std::size_t ReadInput(char* buffer, std::size_t size, bool* ended, int input)
{
    // Waiting in short steps rather than in read() itself: a signal may be
    // taken by any thread of the process, and would then not wake a read.
    std::size_t got = 0;
    *ended = false;
    while (got < size)
    {
        if (Interrupted())
        {
            if (!InputReady(input, 0))
            {
                *ended = true;
                break;
            }
        }
        else if (!InputReady(input, 100))
            continue;
        ssize_t const n = ::read(input, buffer + got, size - got);
        if (n < 0)
        {
            if (errno == EINTR || errno == EAGAIN)
                continue;
            Sys_ThrowIfOSErr(errno);
        }
        if (n == 0)
        {
            *ended = true;
            break;
        }
        got += static_cast<std::size_t>(n);
    }
    return got;
}
} // namespace vfl
