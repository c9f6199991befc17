// The regulator: what a client gets at the start, the end and between, an
// abort while the chain waits for the client, and a file chain feeding a
// client on another thread.
#include "FF_AudioProcessFileTestSupport.h"

#include "FF/FF_AudioProcessReadBuffer.h"
#include "FF/FF_AudioProcessRegulator.h"
#include "support/AllocationCounter.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

namespace
{
using namespace fffiles;

constexpr i32 kBufferFrames = 256;
constexpr i32 kBufferBytes = kBufferFrames * 2; // 16-bit samples

struct Client
{
    std::vector<char> left = std::vector<char>(kBufferBytes), right = std::vector<char>(kBufferBytes);
    std::vector<char> gotLeft, gotRight;
    char* destinations[2] = {left.data(), right.data()};
    u64 allocations = 0; // in FillBuffers

    bool Tick(FF_AudioProcessRegulator& regulator)
    {
        std::memset(left.data(), 0x77, left.size());
        std::memset(right.data(), 0x77, right.size());
        vfltest::AllocationCounter counter;
        bool const real = regulator.FillBuffers(destinations);
        allocations += counter.Count();
        if (real)
        {
            gotLeft.insert(gotLeft.end(), left.begin(), left.end());
            gotRight.insert(gotRight.end(), right.begin(), right.end());
        }
        else
        {
            EXPECT_EQ(std::count(left.begin(), left.end(), 0) + std::count(right.begin(), right.end(), 0),
                      2 * kBufferBytes)
                << "silence is zeros";
        }
        return real;
    }

    // What it got is the stereo 16-bit stream, then zeros up to the end of
    // its last buffer.
    void ExpectReceived(Samples const& samples) const
    {
        Bytes left = Interleave(samples, 16, 0, 1), right = Interleave(samples, 16, 1, 1);
        left.resize(std::max(left.size(), gotLeft.size()), 0);
        right.resize(std::max(right.size(), gotRight.size()), 0);
        EXPECT_EQ(gotLeft, left);
        EXPECT_EQ(gotRight, right);
    }
};

struct RegulatedChain
{
    Samples samples;
    Bytes bytes;
    H<FF_AudioProcessRegulator> regulator{new FF_AudioProcessRegulator(2, kBufferBytes)};
    FF_AudioProcessChain::Handle chain;

    explicit RegulatedChain(i64 frames)
        : samples(Ramp(2, frames, 16)), bytes(Interleave(samples, 16, 0, 2)),
          chain(Allocated({FF_AudioProcess::Handle(
                               new FF_AudioProcessReadBuffer(bytes.data(), frames, 48000, 16, true, false, 0, false)),
                           regulator}))
    {
    }
};

TEST(FF_AudioProcessRegulator, AClientGetsEveryBufferOnceAndThenSilenceThatIsNoUnderrun)
{
    struct Case
    {
        char const* name;
        i64 frames;
        int buffers;
    };
    Case const cases[] = {
        {"no frames", 0, 0},
        {"shorter than a buffer", 100, 1},
        {"one frame over a buffer", kBufferFrames + 1, 2},
        {"exactly all buffers", 8 * kBufferFrames, 8},
    };
    for (auto const& k : cases)
    {
        SCOPED_TRACE(k.name);
        RegulatedChain c(k.frames);
        Client client;
        // Before anything is ready: silence, and the client ran dry.
        EXPECT_FALSE(client.Tick(*c.regulator));
        EXPECT_EQ(c.regulator->GetUnderrunCount(), 1u);
        ASSERT_EQ(RunChain(c.chain), Sys_Task::kStatusCompleted) << ExceptionText(*c.chain);
        EXPECT_EQ(c.regulator->GetIsPrimedEvent()->Wait(0), Sys_SyncObject::kWaitSignalled);
        for (int b = 0; b < k.buffers; ++b)
            EXPECT_TRUE(client.Tick(*c.regulator)) << "buffer " << b;
        for (int b = 0; b < 3; ++b)
            EXPECT_FALSE(client.Tick(*c.regulator));
        EXPECT_EQ(c.regulator->GetUnderrunCount(), 1u);
        client.ExpectReceived(c.samples);
    }
}

TEST(FF_AudioProcessRegulator, AChainWaitingForItsClientIsPrimedAndEndsAtAnAbort)
{
    RegulatedChain c(20 * kBufferFrames);
    FF_ScheduleChain(c.chain);
    ASSERT_EQ(c.regulator->GetIsPrimedEvent()->Wait(30000), Sys_SyncObject::kWaitSignalled);
    EXPECT_EQ(c.chain->GetStatus(), Sys_Task::kStatusRunning); // held back: no client takes buffers
    c.chain->Abort();
    EXPECT_EQ(WaitForChain(*c.chain), Sys_Task::kStatusAborted);
}

// A file read through a chain on the process threads, and a client on a
// thread of its own ticking while another thread keeps a processor busy:
// every real buffer the client gets is the file's next stretch, whatever
// the underruns, and no tick allocates.
TEST(FF_AudioProcessRegulator, AClientGetsAFileAsItIsWithoutAllocating)
{
    InitFileTypes();
    vfltest::TempDir dir;
    i64 const frames = 3 * 48000 + 77;
    Samples const samples = Ramp(2, frames, 16, 26);
    Paths const paths = MakeFiles(dir, "play", 2, 16, frames, false, &samples);
    H<FF_AudioProcessRegulator> regulator(new FF_AudioProcessRegulator(2, kBufferBytes));
    auto const chain =
        Allocated({FF_AudioProcess::Handle(new FF_AudioProcessReadFiles(Open(paths), 0, frames)), regulator});

    std::atomic<bool> done{false};
    std::thread load(
        [&]
        {
            u64 spin = 0;
            while (!done.load(std::memory_order_relaxed))
                spin = spin * 6364136223846793005u + 1;
            EXPECT_NE(spin, 1u);
        });
    FF_ScheduleChain(chain);
    ASSERT_EQ(regulator->GetIsPrimedEvent()->Wait(30000), Sys_SyncObject::kWaitSignalled);
    Client client;
    u64 silences = 0;
    int const buffers = static_cast<int>((frames + kBufferFrames - 1) / kBufferFrames);
    std::thread clientThread(
        [&]
        {
            for (int got = 0; got < buffers;)
            {
                if (client.Tick(*regulator))
                    ++got;
                else
                    ++silences;
                std::this_thread::sleep_for(std::chrono::microseconds(500));
            }
        });
    clientThread.join();
    done = true;
    load.join();
    EXPECT_EQ(WaitForChain(*chain), Sys_Task::kStatusCompleted) << ExceptionText(*chain);
    EXPECT_EQ(client.allocations, 0u);
    EXPECT_EQ(regulator->GetUnderrunCount(), silences);
    client.ExpectReceived(samples);
}

} // namespace
