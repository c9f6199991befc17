// What vfl may never lose: a file converted onto itself, an old file of the
// output's name when a conversion or a recording is interrupted or fails,
// the frames a recording has received, the audio of a file whose rewrite
// is interrupted, and the changes of two rewrites at once.
#include "support/ChunkWalker.h"
#include "support/ToolTest.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

using vfltest::RunCommand;

namespace
{
class VflDataSafety : public vfltest::ToolTest
{
protected:
    VflDataSafety() : ToolTest({"sox", "soxi"}) {}
    void SetUp() override
    {
        ToolTest::SetUp();
        if (IsSkipped())
            return;
        Out("sox -n -r 44100 -c 2 -b 16 " + F("in.wav") + " synth 2 sine 300 sine 500");
        mInput = vfltest::ReadWholeFile(F("in.wav"));
    }
    // Names in the folder that vfl writes under before an output is complete.
    int Leftovers()
    {
        int n = 0;
        for (auto const& entry : std::filesystem::directory_iterator(mDir.Path()))
            n += entry.path().filename().string().find(".vfl") != std::string::npos;
        return n;
    }
    std::vector<std::uint8_t> mInput;
};

TEST_F(VflDataSafety, AFileNamedTwiceIsRefusedAndKept)
{
    std::filesystem::create_symlink(F("in.wav"), F("link.wav"));
    std::filesystem::create_directory(F("sub"));
    struct
    {
        std::string args, message;
    } const cases[] = {
        {"in.wav -o in.wav", "output in.wav is the same file as input in.wav"},
        {"in.wav -o ./in.wav", "output ./in.wav is the same file as input in.wav"},
        {"in.wav -o sub/../in.wav", "is the same file as input in.wav"},
        {"in.wav -o link.wav", "output link.wav is the same file as input in.wav"},
        {"in.wav -o d.wav d.wav", "output d.wav is the same file as output d.wav"},
        {"in.wav -o e.wav sub/../e.wav", "output sub/../e.wav is the same file as output e.wav"},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.args);
        std::string const err = Out("cd " + mDir.Path().string() + " && " + Vfl("convert " + c.args + " 2>&1"), 1);
        EXPECT_NE(err.find(c.message), std::string::npos) << err;
        EXPECT_TRUE(vfltest::ReadWholeFile(F("in.wav")) == mInput);
        EXPECT_FALSE(std::filesystem::exists(F("d.wav")));
        EXPECT_FALSE(std::filesystem::exists(F("e.wav")));
        EXPECT_EQ(Leftovers(), 0);
    }
}

TEST_F(VflDataSafety, AnInterruptedOrFailedConversionLeavesTheOldOutputAsItWas)
{
    Out("sox -n -r 44100 -c 2 -b 16 " + F("long.wav") + " synth 60 sine 300");
    std::vector<std::uint8_t> const old = {'o', 'l', 'd'};
    struct
    {
        char const* name;
        std::string signal; // none: the write fails instead
        std::string status;
        char const* output = "keep.wav";
    } const cases[] = {
        // Each signal once vfl has begun writing; its exit status is 128 + the signal.
        {"SIGINT", "INT", "130"},
        {"SIGINT to an MP3 encoding", "INT", "130", "keep.mp3"},
        {"SIGTERM", "TERM", "143"},
        {"SIGHUP", "HUP", "129"},
        // A write that fails: the file-size limit is reached, while the
        // audio is written or already while the outputs are formatted.
        {"file-size limit", "", "1"},
        {"file-size limit at the header", "", "1"},
    };
    for (auto const& c : cases)
    {
        SCOPED_TRACE(c.name);
        vfltest::WriteWholeFile(F(c.output), old);
        std::string const convert = Vfl("convert " + F("long.wav") + " --rate 48000 -o " + F(c.output));
        std::string status;
        if (c.signal.empty())
            status = Out("sh -c 'ulimit -f " + std::string(c.name == std::string("file-size limit") ? "2000" : "1") +
                         "; " + convert + " 2>/dev/null; echo $?'");
        else
        {
            // A fast build may finish a minute of sound before the signal
            // comes: that conversion is whole, and the case is tried again
            // on ten minutes, which no machine converts in the time the
            // signal takes.
            for (char const* input : {"long.wav", "longer.wav"})
            {
                if (input == std::string("longer.wav"))
                {
                    vfltest::WriteWholeFile(F(c.output), old);
                    Out("sox -n -r 44100 -c 2 -b 16 " + F(input) + " synth 600 sine 300");
                }
                std::string const run = Vfl("convert " + F(input) + " --rate 48000 -o " + F(c.output));
                status = Out("sh -c '" + run + " 2>/dev/null & p=$!; until ls -a " + mDir.Path().string() +
                             " | grep -q \"^\\.keep\\.vfl\"; do sleep 0.01; done; kill -" + c.signal +
                             " $p; wait $p; echo $?'");
                if (status != "0\n")
                    break;
                EXPECT_GT(std::filesystem::file_size(F(c.output)), old.size()) << "a finished conversion is whole";
                EXPECT_EQ(Leftovers(), 0);
            }
        }
        EXPECT_EQ(status, c.status + "\n");
        EXPECT_TRUE(vfltest::ReadWholeFile(F(c.output)) == old);
        EXPECT_EQ(Leftovers(), 0);
    }
    // Through to the end, the old file is replaced.
    Out(Vfl("convert " + F("in.wav") + " -o " + F("keep.wav")));
    EXPECT_EQ(Out("soxi -s " + F("keep.wav")), "88200\n");
}

TEST_F(VflDataSafety, AnInterruptedRecordingKeepsEveryFrameItReceived)
{
    Out("sox " + F("in.wav") + " -t raw " + F("take.raw") + " trim 0 1001s");
    std::string const raw = Contents(F("take.raw"));
    ASSERT_EQ(raw.size(), 4004u);
    for (auto const& [signal, status] : {std::pair{"INT", "130\n"}, {"TERM", "143\n"}, {"HUP", "129\n"}})
    {
        SCOPED_TRACE(signal);
        vfltest::WriteWholeFile(F("rec.wav"), {'o', 'l', 'd'});
        // The frames wait in a pipe that stays open: vfl has them, and the
        // recording ends only with the signal.
        std::string const fifo = F("fifo");
        std::filesystem::remove(fifo);
        EXPECT_EQ(Out("sh -c 'mkfifo " + fifo + "; " +
                      Vfl("new " + F("rec.wav") + " --rate 44100 --bits 16 --channels 2") + " < " + fifo +
                      " & p=$!; exec 3>" + fifo + "; cat " + F("take.raw") + " >&3; until ls -a " +
                      mDir.Path().string() + " | grep -q \"^\\.rec\\.vfl\"; do sleep 0.01; done; kill -" + signal +
                      " $p; wait $p; echo $?'"),
                  status);
        EXPECT_TRUE(Out("sox " + F("rec.wav") + " -t raw -") == raw);
        EXPECT_EQ(Leftovers(), 0);
    }
    // A disk that takes no more (here a limit on file sizes) ends the take
    // with what the disk holds, less a few frames' room for the metadata;
    // one that takes not even the header leaves the old file.
    Out("sox " + F("in.wav") + " -t raw " + F("long.raw"));
    std::string const input = Contents(F("long.raw"));
    struct
    {
        char const* name;
        int limit, bits; // in the shell's blocks of 512 bytes
    } const full[] = {{"rec.wav", 1, 16}, {"rec.wav", 400, 16}, {"rec.aif", 400, 24}};
    for (auto const& c : full)
    {
        SCOPED_TRACE(std::string(c.name) + " " + std::to_string(c.limit));
        vfltest::WriteWholeFile(F(c.name), {'o', 'l', 'd'});
        Out("sh -c 'ulimit -f " + std::to_string(c.limit) + "; " +
                Vfl("new " + F(c.name) + " --rate 44100 --bits " + std::to_string(c.bits) + " --channels 2 < " +
                    F("long.raw")) +
                " 2>/dev/null'",
            1);
        EXPECT_EQ(Leftovers(), 0);
        if (c.limit == 1)
        {
            EXPECT_EQ(Contents(F(c.name)), "old");
            continue;
        }
        std::string const kept = Raw(F(c.name));
        EXPECT_GT(kept.size(), c.limit * 512u - 2 * 16384 - 2048);
        EXPECT_TRUE(kept == input.substr(0, kept.size())) << "the take's first frames, as they came";
    }
}

TEST_F(VflDataSafety, RewritesOfOneFileAtOnceTakeTurns)
{
    // Each reads the regions, adds its own and writes them all back: side
    // by side, all but the last change were lost.
    for (char const* name : {"f.wav", "f.aif"})
    {
        SCOPED_TRACE(name);
        Out("sox " + F("in.wav") + " " + F(name));
        std::string const audio = Out(Vfl("cat " + F(name)));
        std::string batch;
        for (int i = 0; i < 8; ++i)
            batch += Vfl("regions " + F(name) + " --add r" + std::to_string(i) + " " + std::to_string(i * 100) + " " +
                         std::to_string(i * 100 + 50)) +
                     " 2>/dev/null & ";
        Out("sh -c '" + batch + Vfl("cat " + F(name)) + " >/dev/null 2>&1; wait'");
        EXPECT_EQ(Out(Vfl("regions " + F(name)) + " | wc -l"), "8\n");
        EXPECT_TRUE(Out(Vfl("cat " + F(name))) == audio);
    }
}

TEST_F(VflDataSafety, ASignalToABatchEndsEveryConversionAndLeavesNothing)
{
    std::filesystem::create_directory(F("out"));
    std::string files;
    for (int i = 0; i < 4; ++i)
    {
        Out("sox -n -r 44100 -c 2 -b 16 " + F("b" + std::to_string(i) + ".wav") + " synth 60 sine 300");
        files += " " + F("b" + std::to_string(i) + ".wav");
    }
    // The signal goes to vfl alone, not to its process group: vfl passes it on.
    std::string const status =
        Out("sh -c '" + Vfl("convert -d " + F("out") + " -j 2 -r 48k" + files) + " 2>/dev/null & p=$!; until ls -a " +
            F("out") + " | grep -q vfl; do sleep 0.01; done; kill -TERM $p; wait $p; echo $?'");
    EXPECT_EQ(status, "143\n");
    // Children end before the batch does, and leave nothing half made: a
    // conversion that finished before the signal came is whole (a fast
    // machine finishes some), the others left no file at all.
    for (auto const& e : std::filesystem::directory_iterator(F("out")))
    {
        SCOPED_TRACE(e.path().string());
        EXPECT_NE(e.path().filename().string()[0], '.');
        EXPECT_EQ(Out("soxi -s " + e.path().string()), "2880000\n");
    }
}
// Regions in front of the audio, as some tools order chunks: a region added
// grows them, and they go behind the audio rather than move it. A signal
// sent in the middle of the rewrite (by strace, at the second write) waits
// until the file is whole; a kill at any write leaves the audio as it was,
// the file readable and every region it had, once.
TEST_F(VflDataSafety, ARewriteInterruptedAnywhereKeepsTheAudio)
{
    if (RunCommand("strace -o /dev/null true 2>/dev/null") != 0)
        GTEST_SKIP() << "strace cannot trace here";
    Out("sox " + F("in.wav") + " -t raw - | " + Vfl("new " + F("own.wav") + " -r 44100 -b 16 -c 2"));
    std::vector<std::uint8_t> const front = ChunkWalker::AudioLast(vfltest::ReadWholeFile(F("own.wav")));
    std::string const samples = Out(Vfl("cat " + F("own.wav")));
    auto const addUnder = [&](std::string const& inject)
    {
        vfltest::WriteWholeFile(F("f.wav"), front);
        return RunCommand("ASAN_OPTIONS=$ASAN_OPTIONS:detect_leaks=0 strace -f -o /dev/null -e trace=pwrite64 "
                          "-e inject=pwrite64:" +
                          inject + " " + Vfl("regions " + F("f.wav") + " --add take 0 1000") + " 2>/dev/null");
    };
    for (auto const& [signal, status] : {std::pair{"INT", 130}, {"TERM", 143}, {"HUP", 129}})
    {
        SCOPED_TRACE(signal);
        EXPECT_EQ(addUnder("signal=" + std::string(signal) + ":when=2"), status);
        EXPECT_TRUE(Out(Vfl("cat " + F("f.wav"))) == samples);
        EXPECT_NE(Out(Vfl("regions " + F("f.wav"))).find("take "), std::string::npos);
    }
    int when = 1;
    for (; when < 100 && addUnder("signal=KILL:when=" + std::to_string(when)) != 0; ++when)
    {
        SCOPED_TRACE("killed at write " + std::to_string(when));
        EXPECT_TRUE(Out(Vfl("cat " + F("f.wav"))) == samples);
        std::string const regions = Out(Vfl("regions " + F("f.wav")));
        EXPECT_EQ(std::count(regions.begin(), regions.end(), '\n') - (regions.find("take ") != std::string::npos), 1)
            << regions;
        EXPECT_EQ(regions.rfind("own ", 0), 0u) << regions;
    }
    EXPECT_GT(when, 3) << "the rewrite was never killed";
    EXPECT_LT(when, 100) << "more than 100 writes";
}

// A conversion puts its output in place only once it is on the disk, and
// ends only once the new name is too: a power cut after the command finds
// the new file, not the one it replaced. The disk's error at that last wait
// fails the command.
TEST_F(VflDataSafety, AnOutputAndItsNameReachTheDiskBeforeTheCommandEnds)
{
    if (RunCommand("strace -o /dev/null true 2>/dev/null") != 0)
        GTEST_SKIP() << "strace cannot trace here";
    std::string const convert = Vfl("convert " + F("in.wav") + " -o " + F("out.aif"));
    std::string const strace = "ASAN_OPTIONS=$ASAN_OPTIONS:detect_leaks=0 strace -f -e trace=rename,fsync ";
    Out(strace + "-o " + F("calls") + " " + convert);
    std::string const calls = Contents(F("calls"));
    std::size_t const rename = calls.find("out.aif\") = 0");
    ASSERT_NE(rename, std::string::npos) << calls;
    EXPECT_NE(calls.rfind("fsync(", rename), std::string::npos) << "the output before its rename\n" << calls;
    EXPECT_NE(calls.find("fsync(", rename), std::string::npos) << "its folder after the rename\n" << calls;
    // strace counts each thread's calls apart: the folder's wait is the one
    // after those the renaming thread made before.
    std::size_t const start = calls.rfind('\n', rename) + 1; // of the rename's line
    std::string const thread = calls.substr(start, calls.find(' ', start) - start);
    std::istringstream lines(calls.substr(0, start));
    int waits = 0;
    for (std::string tid, call; lines >> tid && std::getline(lines >> std::ws, call);)
        waits += tid == thread && call.rfind("fsync(", 0) == 0;
    std::string const folder = std::to_string(waits + 1);
    EXPECT_NE(Out(strace + "-o /dev/null -e inject=fsync:error=EIO:when=" + folder + " " + convert + " 2>&1", 1)
                  .find("Input/output error"),
              std::string::npos);
    // A fork follows its file, its new name waited for too.
    Out(strace + "-o " + F("calls") + " " + Vfl("convert " + F("in.wav") + " -o " + F("out.vorn")));
    std::string const forkCalls = Contents(F("calls"));
    std::size_t const fork = forkCalls.find("Resource.FRK/out.vorn\") = 0");
    ASSERT_NE(fork, std::string::npos) << forkCalls;
    EXPECT_NE(forkCalls.find("fsync(", fork), std::string::npos) << "its folder after the rename\n" << forkCalls;
}

} // namespace
