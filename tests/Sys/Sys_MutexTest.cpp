#include "Sys/Sys_Mutex.h"
#include "Sys/Sys_StAcquireMutex.h"
#include "Sys_ThreadingTestSupport.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>

namespace {

using vfltest::StCountAsserts;

std::unique_ptr<Sys_Mutex> MakeMutex(int32 type)
{
    return std::unique_ptr<Sys_Mutex>(Sys_Mutex::Create(type));
}

bool TryFromOtherThread(Sys_Mutex& mutex)
{
    bool got = false;
    std::thread([&] {
        got = mutex.TryAcquire();
        if (got)
            mutex.Release();
    }).join();
    return got;
}

TEST(Sys_Mutex, IsFreeOnlyOnceEveryAcquireIsReleased)
{
    auto mutex = MakeMutex(Sys_Mutex::kMutexTryAcquire);
    mutex->Acquire();
    mutex->Acquire();
    EXPECT_TRUE(mutex->TryAcquire());
    mutex->Release();
    mutex->Release();
    EXPECT_FALSE(TryFromOtherThread(*mutex));
    mutex->Release();
    EXPECT_TRUE(TryFromOtherThread(*mutex));
}

TEST(Sys_Mutex, TryAcquireOnAPlainMutexIsAnAssertion)
{
    StCountAsserts asserts;
    auto mutex = MakeMutex(Sys_Mutex::kMutexPlain);
    EXPECT_TRUE(mutex->TryAcquire());
    EXPECT_EQ(asserts.Failed(), 1);
    mutex->Release();
}

TEST(Sys_Mutex, ReleaseByAThreadThatDoesNotHoldItIsAnAssertionAndChangesNothing)
{
    StCountAsserts asserts;
    auto mutex = MakeMutex(Sys_Mutex::kMutexTryAcquire);
    mutex->Acquire();
    std::thread([&] { mutex->Release(); }).join();
    EXPECT_EQ(asserts.Failed(), 1);
    EXPECT_FALSE(TryFromOtherThread(*mutex));
    mutex->Release();
}

TEST(Sys_Mutex, KeepsThreadsOutOfEachOther)
{
    auto mutex = MakeMutex(Sys_Mutex::kMutexPlain);
    long counter = 0;
    auto work = [&] {
        for (int i = 0; i < 20000; ++i)
        {
            Sys_StAcquireMutex outer(mutex.get());
            Sys_StAcquireMutex inner(mutex.get());
            ++counter;
        }
    };
    std::thread a(work), b(work);
    a.join();
    b.join();
    EXPECT_EQ(counter, 40000);
}

TEST(Sys_StAcquireMutex, TryOnAFreeMutexAcquiresAndReleasesAtScopeEnd)
{
    auto mutex = MakeMutex(Sys_Mutex::kMutexTryAcquire);
    {
        Sys_StAcquireMutex guard(mutex.get(), true);
        EXPECT_TRUE(guard.Acquired());
        EXPECT_FALSE(TryFromOtherThread(*mutex));
    }
    EXPECT_TRUE(TryFromOtherThread(*mutex));
}

TEST(Sys_StAcquireMutex, TryOnAMutexHeldElsewhereNeitherWaitsNorReleases)
{
    auto mutex = MakeMutex(Sys_Mutex::kMutexTryAcquire);
    mutex->Acquire();
    std::thread([&] {
        Sys_StAcquireMutex guard(mutex.get(), true);
        EXPECT_FALSE(guard.Acquired());
    }).join();
    // Still ours: the guard above must not have released it.
    EXPECT_FALSE(TryFromOtherThread(*mutex));
    mutex->Release();
}

} // namespace
