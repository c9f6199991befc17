#include "Cmn/Cmn_Exception.h"
#include "FF/FF_AudioFile.h"
#include "FF/FF_AudioProcessChain.h"
#include "FF/FF_AudioProcessReadFiles.h"
#include "FF/FF_AudioProcessRegulator.h"
#include "FF/FF_AudioProcessUtils.h"
#include "Sys/Sys_FileLoc.h"
#include "tools/vfl/Commands.h"
#include "tools/vfl/OptionParser.h"
#include "tools/vfl/Processes.h"
#include "tools/vfl/SpooledInput.h"
#include "tools/vfl/StagedOutput.h"
#include "tools/vfl/Terminal.h"
#include "tools/vfl/ToolSupport.h"
#include "tools/vfl/UsageError.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace
{
vfl::CommandSpec const kSpec = {
    "play",
    "FILE [--to raw|wav] [-o OUT] [--tick FRAMES] [--speed N] [--realtime]",
    "Plays a file as a workstation's audio callback would take it: a chain\n"
    "reads the file into a regulator, and a client takes one buffer of the\n"
    "tick's frames per tick, at the file's rate, without ever waiting. What\n"
    "the client received is written to OUT (default: standard output), with\n"
    "silence where the chain was late. A summary on stderr counts the\n"
    "underruns and times the client's calls.",
    {{0, "to", "TYPE", "raw (interleaved signed little-endian PCM, the default) or wav"},
     {'o', "output", "OUT", "where to write what the client received (default -)"},
     {0, "tick", "FRAMES", "frames per tick, 16 to 65536 (default 256)"},
     {0, "speed", "N", "ticks N times faster than real time (default 1)"},
     {0, "realtime", nullptr,
      "run the client at a real-time priority, as an audio callback runs,\nwhere the system allows it"},
     {'q', "quiet", nullptr, "no summary"}},
    1,
    1};

using Clock = std::chrono::steady_clock;

// Sleeps until `when`, in steps short enough that an interrupt is taken
// at once even at a rate whose tick lasts minutes (a damaged header of
// 1 Hz), where a single sleep would hold it back to the tick's end.
void SleepUntil(Clock::time_point when)
{
    for (Clock::time_point now = Clock::now(); now < when && !vfl::Interrupted(); now = Clock::now())
        std::this_thread::sleep_for(std::min<Clock::duration>(when - now, std::chrono::milliseconds(50)));
}

// The client's side of a run, and what it saw.
struct Run
{
    i64 ticks = 0;
    i64 lateTicks = 0;
    std::vector<u32> callNanoseconds;
};

u32 Percentile(std::vector<u32> sorted, double fraction)
{
    if (sorted.empty())
        return 0;
    std::sort(sorted.begin(), sorted.end());
    std::size_t const at = std::min(sorted.size() - 1, static_cast<std::size_t>(fraction * sorted.size()));
    return sorted[at];
}

// Writes the client's frames as raw PCM or into an audio file.
class Sink
{
public:
    Sink(std::string const& path, bool wav, FF_AudioFileAttr const& attr) : mWav(wav)
    {
        if (mWav)
        {
            mFile = std::make_unique<FF_AudioFile>(vfl::LocationFromArgument(path));
            mFile->Format(vfl::TypeFromName("wav"), attr.GetNumChannels(), attr.GetSamplesPerSec(),
                          attr.GetBitsPerSample(), 0);
            mFile->Open(FF_AudioFile::eOpenRead | FF_AudioFile::eOpenWrite);
            mFile->SampleSetPosition(Sys_File::kFromStart, 0);
        }
        else
        {
            mRaw = std::fopen(path.c_str(), "wb");
            if (!mRaw)
                throw std::runtime_error("cannot open " + path + " for writing");
            std::setvbuf(mRaw, nullptr, _IOFBF, 1 << 20);
        }
        mFrameBytes = static_cast<i64>(attr.GetBytesPerSample()) * attr.GetNumChannels();
    }
    ~Sink()
    {
        if (mRaw)
            std::fclose(mRaw);
        if (mFile && mFile->IsOpen())
        {
            try
            {
                mFile->Close(false);
            }
            catch (...)
            {
            }
        }
    }

    void Write(char const* frames, i64 count)
    {
        if (count <= 0)
            return;
        if (mWav)
            mFile->SampleWrite(const_cast<char*>(frames), count);
        else if (std::fwrite(frames, 1, static_cast<std::size_t>(count * mFrameBytes), mRaw) !=
                 static_cast<std::size_t>(count * mFrameBytes))
            throw std::runtime_error("cannot write the output");
        mWritten += count;
    }

    void Finish()
    {
        if (mWav)
        {
            mFile->SetNumSamples(mWritten);
            mFile->Close();
        }
        else if (std::fclose(std::exchange(mRaw, nullptr)) != 0)
            throw std::runtime_error("cannot write the output");
    }

private:
    bool mWav;
    std::unique_ptr<FF_AudioFile> mFile;
    std::FILE* mRaw = nullptr;
    i64 mFrameBytes = 0;
    i64 mWritten = 0;
};

constexpr i32 kFinalStates = Sys_Task::kStatusAborted | Sys_Task::kStatusFailed | Sys_Task::kStatusCompleted;

} // namespace

int CmdPlay(int argc, char** argv)
{
    vfl::OptionParser args(kSpec);
    args.Parse(argc, argv);
    if (args.HelpAsked())
        return std::fputs(args.Help().c_str(), stdout), 0;
    std::string const& path = args.Operands().front();
    std::string const to = args.Text("to", "raw");
    if (to != "raw" && to != "wav")
        throw vfl::UsageError("--to needs raw or wav, not '" + to + "'");
    std::string const out = args.Text("output", "-");
    i64 const tick = args.Count("tick", 256, 16, 65536);
    i64 const speed = args.Count("speed", 1, 1, 1000);
    bool const quiet = args.Has("quiet");
    bool const realTime = args.Has("realtime");

    vfl::CatchInterrupt();
    std::unique_ptr<vfl::SpooledInput> spool;
    try
    {
        spool = std::make_unique<vfl::SpooledInput>(path);
    }
    catch (std::exception const& e)
    {
        vfl::ReportFileError("play", "", path, vfl::ExceptionText(e));
        return 1;
    }
    if (vfl::Interrupted())
        return vfl::InterruptExitStatus();

    FF_AudioFileAttr attr;
    auto file = std::make_unique<FF_AudioFile>(vfl::LocationFromArgument(spool->Path()));
    try
    {
        if (!file->Implements(FF_AudioFile::eImportExportInterface))
        {
            vfl::ReportFileError("play", "", path, "not an audio file in a known format");
            return 1;
        }
        FF_AudioFile::StOpen open(file.get(), FF_AudioFile::eOpenRead);
        attr = file->GetAudioFileAttr();
    }
    catch (std::exception const& e)
    {
        vfl::ReportFileError("play", "", path, vfl::ExceptionText(e));
        return 1;
    }
    i32 const channels = attr.GetNumChannels();
    i32 const bytesPerSample = attr.GetBytesPerSample();
    i64 const frames = attr.GetNumSamples();
    i32 const rate = attr.GetSamplesPerSec();
    if (channels < 1 || channels > FF_AudioProcessReadFiles::cMaxInterleavedChannels || bytesPerSample < 1 ||
        bytesPerSample > 4 || rate < 1)
    {
        vfl::ReportFileError("play", "", path, "not a stream vfl can play");
        return 1;
    }

    std::unique_ptr<vfl::StagedOutput> staged;
    try
    {
        staged = std::make_unique<vfl::StagedOutput>(out);
    }
    catch (std::exception const& e)
    {
        vfl::ReportFileError("play", "output", out, vfl::ExceptionText(e));
        return 1;
    }

    i32 const bufferBytes = static_cast<i32>(tick * bytesPerSample);
    Cmn_PolymorphicHandle<FF_AudioProcessRegulator, Sys_Task> regulator(
        new FF_AudioProcessRegulator(static_cast<i16>(channels), bufferBytes));
    FF_AudioProcessChain::Handle chain(new FF_AudioProcessChain());
    Run run;
    bool gotRealTime = false;
    i64 const buffers = (frames + tick - 1) / tick;
    try
    {
        std::vector<std::unique_ptr<FF_AudioFile>> files;
        files.push_back(std::move(file));
        chain->Append(FF_AudioProcess::Handle(new FF_AudioProcessReadFiles(std::move(files), 0, frames)));
        chain->Append(regulator);
        chain->Allocate();
        Sink sink(staged->TemporaryPath(), to == "wav", attr);
        Sys_Event::Handle const ended = chain->GetNotificationEvent(kFinalStates);
        FF_ScheduleChain(chain);
        // Only now: the process threads, made by now, keep their own priority.
        if (realTime)
            gotRealTime = vfl::MakeThisThreadRealTime();

        // The client starts once the regulator is primed.
        while (regulator->GetIsPrimedEvent()->Wait(100) != Sys_SyncObject::kWaitSignalled && !ended->IsSet() &&
               !vfl::Interrupted())
        {
        }

        std::vector<std::vector<char>> channelBuffers(static_cast<std::size_t>(channels),
                                                      std::vector<char>(static_cast<std::size_t>(bufferBytes)));
        std::vector<char*> destinations;
        for (auto& b : channelBuffers)
            destinations.push_back(b.data());
        std::vector<char> interleaved(static_cast<std::size_t>(bufferBytes) * static_cast<std::size_t>(channels));
        // The calls of a long file at a short tick would take gigabytes to
        // time one by one: the first 4 Mi of them stand for the rest.
        run.callNanoseconds.reserve(static_cast<std::size_t>(std::min<i64>(buffers + 100000, i64{1} << 22)));

        auto const period = std::chrono::nanoseconds(tick * 1000000000 / rate / speed);
        Clock::time_point next = Clock::now();
        for (i64 got = 0; got < buffers && !vfl::Interrupted();)
        {
            next += period;
            SleepUntil(next);
            Clock::time_point const start = Clock::now();
            bool const real = regulator->FillBuffers(destinations.data());
            Clock::time_point const done = Clock::now();
            if (start - next > period)
                ++run.lateTicks;
            ++run.ticks;
            if (run.callNanoseconds.size() < run.callNanoseconds.capacity())
                run.callNanoseconds.push_back(static_cast<u32>(std::min<i64>(
                    std::chrono::duration_cast<std::chrono::nanoseconds>(done - start).count(), UINT32_MAX)));
            // The last buffer is padded: only the stream's frames of it.
            i64 count = tick;
            if (real && ++got == buffers)
                count = frames - (buffers - 1) * tick;
            else if (!real && ended->IsSet() && chain->GetStatus() != Sys_Task::kStatusCompleted)
                break; // the chain failed: nothing more comes
            for (i32 c = 0; c < channels; ++c)
                for (i64 i = 0; i < count; ++i)
                    std::memcpy(interleaved.data() + (i * channels + c) * bytesPerSample,
                                channelBuffers[static_cast<std::size_t>(c)].data() + i * bytesPerSample,
                                static_cast<std::size_t>(bytesPerSample));
            sink.Write(interleaved.data(), count);
        }
        if (vfl::Interrupted())
            chain->Abort();
        ended->Wait();
        if (chain->GetStatus() == Sys_Task::kStatusFailed && chain->GetException())
            chain->GetException()->Throw();
        if (vfl::Interrupted())
            return vfl::InterruptExitStatus();
        sink.Finish();
        staged->Commit();
    }
    catch (std::exception const& e)
    {
        chain->Abort();
        vfl::ReportFileError("play", "", path, vfl::ExceptionText(e));
        return 1;
    }

    if (!quiet)
        std::fprintf(stderr,
                     "vfl: play: %s: %lld frames in %lld ticks of %lld frames at %d Hz (speed %lld): %llu underruns, "
                     "%lld late ticks%s; FillBuffers median %.2f us, 99.9%% %.2f us, max %.2f us\n",
                     path.c_str(), static_cast<long long>(frames), static_cast<long long>(run.ticks),
                     static_cast<long long>(tick), rate, static_cast<long long>(speed),
                     static_cast<unsigned long long>(regulator->GetUnderrunCount()),
                     static_cast<long long>(run.lateTicks),
                     realTime ? (gotRealTime ? ", client at real-time priority" : ", real-time priority refused") : "",
                     Percentile(run.callNanoseconds, 0.5) / 1000.0, Percentile(run.callNanoseconds, 0.999) / 1000.0,
                     Percentile(run.callNanoseconds, 1.0) / 1000.0);
    return 0;
}
