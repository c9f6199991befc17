#include "Sys/Sys_TimerEvent.h"
#include "Sys_ThreadingTestSupport.h"

#include <gtest/gtest.h>

#include <functional>
#include <thread>

namespace
{

using vfltest::Eventually;
using vfltest::WaitersOn;

TEST(Sys_TimerEvent, SignalStateAfterStart)
{
    struct Case
    {
        char const* name;
        bool manualReset;
        std::function<void(Sys_TimerEvent&)> operation;
        bool first, second; // Wait(0) twice afterwards
    };
    Case const cases[] = {
        {"never started", false, [](Sys_TimerEvent&) {}, false, false},
        {"not yet due", false, [](Sys_TimerEvent& t) { t.Start(60000); }, false, false},
        {"due, automatic: one waiter passes", false, [](Sys_TimerEvent& t) { t.Start(0); }, true, false},
        {"due, manual: stays signalled", true, [](Sys_TimerEvent& t) { t.Start(0); }, true, true},
        {"negative time is due at once", false, [](Sys_TimerEvent& t) { t.Start(-5); }, true, false},
        {"Start clears an old signal", true,
         [](Sys_TimerEvent& t)
         {
             t.Start(0);
             t.Start(60000);
         },
         false, false},
        {"Start replaces a later due time", false,
         [](Sys_TimerEvent& t)
         {
             t.Start(60000);
             t.Start(0);
         },
         true, false},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        Sys_TimerEvent::Handle timer = Sys_TimerEvent::Create(c.manualReset);
        c.operation(*timer);
        EXPECT_EQ(timer->Wait(0) == Sys_SyncObject::kWaitSignalled, c.first);
        EXPECT_EQ(timer->Wait(0) == Sys_SyncObject::kWaitSignalled, c.second);
    }
}

TEST(Sys_TimerEvent, AnEarlierStartWakesAWaiterThatSleepsForTheLaterOne)
{
    Sys_TimerEvent::Handle timer = Sys_TimerEvent::Create(false);
    timer->Start(600000);
    std::thread starter(
        [&]
        {
            EXPECT_TRUE(Eventually([&] { return WaitersOn(*timer) == 1; }));
            timer->Start(1);
        });
    EXPECT_EQ(timer->Wait(), Sys_SyncObject::kWaitSignalled);
    starter.join();
}

} // namespace
