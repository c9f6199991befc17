#include "tools/vfl/Processes.h"

#include "Sys/Sys_ThrowIfOSErr.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <pthread.h>
#include <sched.h>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace vfl
{
int StartSelf(std::vector<std::string> const& args, std::string const& errorFile)
{
    char self[4096];
    ssize_t const length = ::readlink("/proc/self/exe", self, sizeof self - 1);
    if (length <= 0)
        Sys_ThrowIfOSErr(errno);
    self[length] = '\0';
    std::vector<char*> argv;
    argv.push_back(self);
    for (auto const& a : args)
        argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, errorFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    pid_t pid = 0;
    int const err = ::posix_spawn(&pid, self, &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    Sys_ThrowIfOSErr(err);
    return pid;
}

bool WaitForChild(int ms, int* pid, int* status)
{
    auto const until = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
    for (;;)
    {
        int raw = 0;
        pid_t const done = ::waitpid(-1, &raw, WNOHANG);
        if (done > 0)
        {
            *pid = done;
            *status = WIFEXITED(raw) ? WEXITSTATUS(raw) : WIFSIGNALED(raw) ? 128 + WTERMSIG(raw) : 1;
            return true;
        }
        if (std::chrono::steady_clock::now() >= until)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

void SignalChild(int pid, int exitStatus)
{
    ::kill(pid, exitStatus > 128 ? exitStatus - 128 : SIGTERM);
}
} // namespace vfl

bool vfl::MakeThisThreadRealTime()
{
    sched_param param{};
    // Low among the real-time priorities: above every ordinary thread, below
    // what the system's own real-time work may use.
    param.sched_priority = sched_get_priority_min(SCHED_FIFO) + 9;
    return pthread_setschedparam(pthread_self(), SCHED_FIFO, &param) == 0;
}
