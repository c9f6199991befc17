#include "Sys/Sys_Mutex.h"
#include "Sys/Sys_StAcquireMutex.h"
#include "Sys_ThreadingTestSupport.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>

namespace
{

using vfltest::StCountAsserts;

bool FreeForOtherThreads(Sys_Mutex& mutex)
{
    bool got = false;
    std::thread(
        [&]
        {
            Sys_StAcquireMutex guard(&mutex, true);
            got = guard.Acquired();
        })
        .join();
    return got;
}

TEST(Sys_Mutex, IsFreeOnlyOnceEveryAcquireIsReleased)
{
    std::unique_ptr<Sys_Mutex> mutex(Sys_Mutex::Create(Sys_Mutex::kMutexTryAcquire));
    mutex->Acquire();
    mutex->Acquire();
    EXPECT_TRUE(mutex->TryAcquire());
    mutex->Release();
    mutex->Release();
    EXPECT_FALSE(FreeForOtherThreads(*mutex));
    mutex->Release();
    EXPECT_TRUE(FreeForOtherThreads(*mutex));
}

TEST(Sys_Mutex, MisuseIsAnAssertionThatLeavesTheMutexAsItWas)
{
    StCountAsserts asserts;
    std::unique_ptr<Sys_Mutex> plain(Sys_Mutex::Create(Sys_Mutex::kMutexPlain));
    EXPECT_TRUE(plain->TryAcquire()); // TryAcquire is for type 1 only
    EXPECT_EQ(asserts.Failed(), 1);
    std::thread([&] { plain->Release(); }).join(); // not the holder
    EXPECT_EQ(asserts.Failed(), 2);
    plain->Release();
}

TEST(Sys_StAcquireMutex, TryReportsWhetherItGotTheMutexAndReleasesOnlyThen)
{
    std::unique_ptr<Sys_Mutex> mutex(Sys_Mutex::Create(Sys_Mutex::kMutexTryAcquire));
    {
        Sys_StAcquireMutex guard(mutex.get(), true);
        EXPECT_TRUE(guard.Acquired());
        EXPECT_FALSE(FreeForOtherThreads(*mutex)); // a failed try leaves it held
    }
    EXPECT_TRUE(FreeForOtherThreads(*mutex));
}

} // namespace
