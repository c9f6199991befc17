// Queued transfers of Sys_File, on each engine this machine has: they
// complete on the thread that queued them, inside its waits, and a failed
// one keeps its exception and calls no completion function.
#include <gtest/gtest.h>

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "Cmn/Cmn_ExceptionCodes.h"
#include "Cmn/Cmn_TypedException.h"
#include "Sys/Posix/Sys_AsyncFileEnginePosix.h"
#include "Sys/Sys_AsyncFileIOParams.h"
#include "Sys/Sys_File.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Init.h"
#include "Sys/Sys_Int32ErrData.h"
#include "Sys_FileTestSupport.h"

namespace
{

using Bytes = std::vector<std::uint8_t>;
using Engine = Sys_AsyncFileEnginePosix;
constexpr int64 kBlock = 4096;
constexpr int kDepth = 8;

using vfltest::Pattern;

struct Completed
{
    std::thread::id thread;
    int64 count = -1;
    int calls = 0;
};

void Record(Sys_AsyncFileIOParams* params, void* data)
{
    auto* completed = static_cast<Completed*>(data);
    completed->thread = std::this_thread::get_id();
    completed->count = params->GetCount();
    ++completed->calls;
}

class SysFileAsyncTest : public vfltest::SysFolderTest, public testing::WithParamInterface<Engine::EKind>
{
protected:
    void SetUp() override
    {
        vfltest::SysFolderTest::SetUp();
        if (!Engine::Choose(GetParam()))
            GTEST_SKIP() << "io_uring is refused here";
    }
    void TearDown() override { Engine::Choose(Engine::kEngineAny); }

    std::unique_ptr<Sys_File> OpenWith(Bytes const& content)
    {
        std::string const path = mDir.File("file.bin");
        vfltest::WriteWholeFile(path, content);
        auto file = std::make_unique<Sys_File>(Sys_FileLoc(path));
        file->Open(Sys_File::kOpenRead | Sys_File::kOpenWrite | Sys_File::kOpenExisting | Sys_File::kOpenAsync);
        return file;
    }

    struct Queued
    {
        std::unique_ptr<Sys_AsyncFileIOParams> params;
        Completed completed;
    };
    // Queues a transfer of a block at this offset, to be recorded in q.
    static void Queue(Sys_File& file, Queued& q, int64 offset, std::uint8_t* buffer, bool write = false)
    {
        q.params.reset(Sys_AsyncFileIOParams::Create(offset, kBlock, buffer));
        q.params->SetCompletion(&Record, &q.completed);
        write ? file.WriteAsync(q.params.get()) : file.ReadAsync(q.params.get());
    }
    // Waits for all of them, as their queuing thread.
    static void WaitForAll(std::vector<Queued>& queued)
    {
        Sys_SyncObject::HandleList events;
        for (Queued& q : queued)
            events.push_back(q.params->GetEvent());
        ASSERT_EQ(Sys_SyncObject::WaitForMultipleObjects(events, Sys_SyncObject::kWaitForAll),
                  Sys_SyncObject::kWaitSignalled);
    }
};

// Once with every read whole, once with block 1's failing: a failed one
// keeps its exception, calls no completion and still sets its event.
TEST_P(SysFileAsyncTest, QueuedReadsCompleteOnTheQueuingThreadInsideItsWait)
{
    Bytes const content = Pattern(kDepth * kBlock - 100); // the last read comes back short
    for (bool const failing : {false, true})
    {
        SCOPED_TRACE(failing ? "block 1 fails" : "all whole");
        vfltest::StFilePosixCalls calls;
        if (failing)
            calls.Calls().queued = [](int, int64 offset, int64 result)
            { return offset == kBlock ? -int64(EIO) : result; };
        auto file = OpenWith(content);
        file->SetPosition(Sys_File::kFromStart, 123);
        std::vector<Bytes> buffers(kDepth, Bytes(kBlock));
        std::vector<Queued> queued(kDepth);
        for (int i = 0; i < kDepth; ++i) // out of order on purpose
            Queue(*file, queued[i], (kDepth - 1 - i) * kBlock, buffers[kDepth - 1 - i].data());
        // However far the transfers are, nothing is delivered outside a wait.
        for (Queued const& q : queued)
            EXPECT_EQ(q.completed.calls, 0);

        WaitForAll(queued);
        for (int i = 0; i < kDepth; ++i)
        {
            SCOPED_TRACE(i);
            int const block = kDepth - 1 - i;
            bool const failed = failing && block == 1;
            EXPECT_EQ(queued[i].params->HasException(), failed);
            EXPECT_EQ(queued[i].completed.calls, failed ? 0 : 1);
            if (failed)
            {
                try
                {
                    queued[i].params->ThrowException();
                    ADD_FAILURE() << "no exception";
                }
                catch (Cmn_TypedException<Sys_Int32ErrData> const& e)
                {
                    EXPECT_TRUE(e.GetCode() == XC_Sys_Error);
                    EXPECT_EQ(e.GetData().GetValue(), EIO);
                }
                continue;
            }
            int64 const expected = std::min<int64>(kBlock, static_cast<int64>(content.size()) - block * kBlock);
            EXPECT_EQ(queued[i].completed.thread, std::this_thread::get_id());
            EXPECT_EQ(queued[i].completed.count, expected);
            EXPECT_EQ(queued[i].params->GetCount(), expected);
            EXPECT_NO_THROW(queued[i].params->ThrowException());
            EXPECT_TRUE(std::equal(buffers[block].begin(), buffers[block].begin() + expected,
                                   content.begin() + block * kBlock));
        }
        EXPECT_EQ(file->GetPosition(), 123); // queued transfers carry their own offset
    }
}

TEST_P(SysFileAsyncTest, QueuedWritesLandAtTheirOffsets)
{
    auto file = OpenWith({});
    Bytes const data = Pattern(3 * kBlock);
    std::vector<Queued> queued(3);
    for (int i = 0; i < 3; ++i)
        Queue(*file, queued[i], i * kBlock, const_cast<std::uint8_t*>(data.data()) + i * kBlock, true);
    WaitForAll(queued);
    for (Queued const& q : queued)
        EXPECT_EQ(q.params->GetCount(), kBlock);
    file->Close();
    EXPECT_EQ(vfltest::ReadWholeFile(mDir.File("file.bin")), data);
}

TEST_P(SysFileAsyncTest, AnotherThreadsWaitDeliversNothing)
{
    auto file = OpenWith(Pattern(kBlock));
    Bytes buffer(kBlock);
    Queued q;
    Queue(*file, q, 0, buffer.data());
    // The event is set only by the delivery, which belongs to this thread:
    // another thread waiting on it cannot see the transfer end.
    Sys_SyncObject::EWaitResult other = Sys_SyncObject::kWaitSignalled;
    std::thread([&] { other = q.params->GetEvent()->Wait(50); }).join();
    EXPECT_EQ(other, Sys_SyncObject::kWaitTimedOut);
    EXPECT_EQ(q.completed.calls, 0);
    EXPECT_EQ(q.params->GetEvent()->Wait(), Sys_SyncObject::kWaitSignalled);
    EXPECT_EQ(q.completed.calls, 1);
}

// Refuses io_uring_setup to this process from now on, as container
// profiles do.
bool RefuseIoUring()
{
    sock_filter filter[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, __NR_io_uring_setup, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    sock_fprog program = {static_cast<unsigned short>(sizeof filter / sizeof filter[0]), filter};
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

TEST(SysFileAsyncFallbackTest, WhereIoUringIsRefusedTheWorkersServeQueuedTransfers)
{
    // In a process of its own, which starts with no engine chosen.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    vfltest::TempDir dir;
    std::string const path = dir.File("file.bin");
    vfltest::WriteWholeFile(path, Pattern(kBlock));
    EXPECT_EXIT(
        {
            if (!RefuseIoUring())
                std::_Exit(3);
            Sys_Init::Init();
            if (Engine::Choose(Engine::kEngineRing) || Engine::Current().GetKind() != Engine::kEngineWorkers)
                std::_Exit(4);
            Sys_File file{Sys_FileLoc(path)};
            file.Open(Sys_File::kOpenRead | Sys_File::kOpenExisting | Sys_File::kOpenAsync);
            Bytes buffer(kBlock);
            std::unique_ptr<Sys_AsyncFileIOParams> params(Sys_AsyncFileIOParams::Create(0, kBlock, buffer.data()));
            file.ReadAsync(params.get());
            params->GetEvent()->Wait();
            std::_Exit(params->GetCount() == kBlock && buffer == Pattern(kBlock) ? 0 : 5);
        },
        testing::ExitedWithCode(0), "");
}

std::string EngineName(testing::TestParamInfo<Engine::EKind> const& info)
{
    return info.param == Engine::kEngineRing ? "Ring" : "Workers";
}

INSTANTIATE_TEST_SUITE_P(Engines, SysFileAsyncTest, testing::Values(Engine::kEngineWorkers, Engine::kEngineRing),
                         EngineName);

} // namespace
