// A thread kept with its caller runs on one processor, and afterwards again
// on every processor it had before.
#include "Sys/Sys_Event.h"
#include "Sys/Sys_Init.h"
#include "Sys/Sys_Thread.h"
#include "Sys_ThreadingTestSupport.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

using namespace vfltest;

namespace
{
std::string AllowedProcessors(std::string const& threadId)
{
    std::ifstream status("/proc/self/task/" + threadId + "/status");
    for (std::string line; std::getline(status, line);)
        if (line.rfind("Cpus_allowed_list:", 0) == 0)
            return line.substr(line.find_first_not_of(" \t", 18));
    return "";
}

TEST(Sys_ThreadAffinity, KeptWithTheCallerOnOneProcessorThenGivenBackWhatItHad)
{
    Sys_Init::Init();
    std::string id;
    std::atomic<bool> started{false};
    Sys_Event::Handle release = Sys_Event::Create(Sys_Event::kEventManualReset);
    auto task = ScriptedTask::Make(
        [&](ScriptedTask& self)
        {
            if (self.Slices() == 1)
            {
                id = IdOfThisThread();
                started = true;
                return BlockOn(release);
            }
            return Sys_Task::kResultCompleted;
        });
    Sys_Thread::Handle thread = Sys_Thread::Create(task, false);
    ASSERT_TRUE(Eventually([&] { return started.load(); }));
    std::string const before = AllowedProcessors(id);
    ASSERT_FALSE(before.empty());

    thread->StayWithCaller(true);
    std::string const kept = AllowedProcessors(id);
    EXPECT_EQ(kept.find_first_of(",-"), std::string::npos) << kept; // one processor
    thread->StayWithCaller(false);
    EXPECT_EQ(AllowedProcessors(id), before);

    release->Set();
    EXPECT_TRUE(Eventually([&] { return thread->GetStatus() == Sys_Thread::kThreadFinished; }));
}
} // namespace
