#include "tools/vfl/Terminal.h"

#include <csignal>
#include <unistd.h>

namespace
{
volatile std::sig_atomic_t sInterrupted = 0;

extern "C" void OnInterrupt(int)
{
    sInterrupted = 1;
}
} // namespace

namespace vfl
{
bool StderrIsTerminal()
{
    return ::isatty(2) == 1;
}

void CatchInterrupt()
{
    struct sigaction action = {};
    action.sa_handler = &OnInterrupt;
    sigemptyset(&action.sa_mask);
    ::sigaction(SIGINT, &action, nullptr);
    ::sigaction(SIGTERM, &action, nullptr);
}

bool Interrupted()
{
    return sInterrupted != 0;
}
} // namespace vfl
