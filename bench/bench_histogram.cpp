// The log histogram and the containers under it.
// BM_HistogramLog: the cost of recording one value, over values spread
// evenly on a log scale from 1 tick to 10^9 ticks (the budget is 3 ns).
// BM_HistogramLogFormula: the same through the logarithm, for comparison.
// BM_ConversionBlockTimes: copies a WAVE file on the RAM disk through a
// chain with a probe stage that records the time between consecutive blocks
// into a histogram, and prints the histogram after the last run: the
// distribution of per-block times of a conversion.
// BM_PolyVectorAppend / BM_StdVectorAppend: appending a few bytes at a time,
// as a memory out stream does; the poly vector should stay within twice
// std::vector's time.

#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "Cmn/Cmn_LogHistogram.h"
#include "Cmn/Cmn_PolyVector.h"
#include "Cmn/Cmn_PolyVectorOutStream.h"
#include "FF/FF_AudioFile.h"
#include "FF/FF_AudioProcess.h"
#include "FF/FF_AudioProcessBlock.h"
#include "FF/FF_AudioProcessChain.h"
#include "FF/FF_AudioProcessReadFiles.h"
#include "FF/FF_AudioProcessUtils.h"
#include "FF/FF_AudioProcessWriteFiles.h"
#include "Sys/Sys_CrossPlatformOutStream.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_FileType.h"
#include "Sys/Sys_Init.h"
#include "Sys/Sys_Utils.h"

namespace
{
std::vector<i64> LogSpreadValues()
{
    std::mt19937_64 rng(25);
    std::uniform_real_distribution<double> exponent(0.0, 9.0);
    std::vector<i64> values(1 << 16);
    for (i64& v : values)
        v = i64(std::pow(10.0, exponent(rng)));
    return values;
}

Cmn_LogHistogram NanosecondHistogram()
{
    // Raw ticks are nanoseconds, shown in microseconds and up.
    Cmn_LogHistogram h(1000, 1.0);
    h.AddExponentString("us");
    h.AddExponentString("ms");
    h.AddExponentString("s");
    return h;
}

void BM_HistogramLog(benchmark::State& state)
{
    std::vector<i64> const values = LogSpreadValues();
    Cmn_LogHistogram h(1, 1.0);
    std::size_t i = 0;
    for (auto _ : state)
    {
        h.Log(values[i]);
        i = (i + 1) & (values.size() - 1);
    }
    benchmark::DoNotOptimize(h.GetBins().Data());
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_HistogramLog);

void BM_HistogramLogFormula(benchmark::State& state)
{
    std::vector<i64> const values = LogSpreadValues();
    Cmn_LogHistogram const h(1, 1.0);
    std::vector<i32> bins(128);
    std::size_t i = 0;
    for (auto _ : state)
    {
        ++bins[std::size_t(h.FormulaBin(values[i]))];
        i = (i + 1) & (values.size() - 1);
    }
    benchmark::DoNotOptimize(bins.data());
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_HistogramLogFormula);

// Passes the samples on and records the time since the previous block.
class BlockTimeProbe : public FF_AudioProcess
{
public:
    explicit BlockTimeProbe(Cmn_LogHistogram* histogram) : mHistogram(histogram) {}
    void Process(FF_AudioProcessBlock* in, FF_AudioProcessBlock* out) override
    {
        auto const now = std::chrono::steady_clock::now();
        if (mStarted)
            mHistogram->Log(std::chrono::duration_cast<std::chrono::nanoseconds>(now - mLast).count());
        mStarted = true;
        mLast = now;
        std::size_t const bytes = std::size_t(in->GetNumSamples() * in->GetBytesPerSample());
        for (u32 c = 0; c < in->GetNumChannels(); ++c)
            std::memcpy(out->GetChannelData(c), in->GetChannelData(c), bytes);
    }

private:
    Cmn_LogHistogram* mHistogram;
    bool mStarted = false;
    std::chrono::steady_clock::time_point mLast;
};

std::string RamFile(i64 frames)
{
    std::string const path = "/dev/shm/vfl_bench_histogram_" + std::to_string(frames) + ".wav";
    if (std::filesystem::exists(path))
        return path;
    FF_AudioFile file((Sys_FileLoc(path)));
    file.Format(Sys_FileType(std::string("wav")), 2, 44100, 16, frames);
    FF_AudioFile::StOpen open(&file, FF_AudioFile::eOpenRead | FF_AudioFile::eOpenWrite);
    std::vector<i16> samples(std::size_t(frames * 2));
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = i16(i * 7919);
    file.SampleWrite(samples.data(), frames);
    return path;
}

bool CopyWithProbe(std::string const& in, std::string const& out, Cmn_LogHistogram* histogram)
{
    FF_AudioFileAttr attr;
    {
        FF_AudioFile file((Sys_FileLoc(in)));
        FF_AudioFile::StOpen open(&file, FF_AudioFile::eOpenRead);
        attr = file.GetAudioFileAttr();
    }
    {
        FF_AudioFile file((Sys_FileLoc(out)));
        file.Format(Sys_FileType(std::string("wav")), attr.GetNumChannels(), attr.GetSamplesPerSec(),
                    attr.GetBitsPerSample(), attr.GetNumSamples());
    }
    std::vector<std::unique_ptr<FF_AudioFile>> inFiles, outFiles;
    inFiles.push_back(std::make_unique<FF_AudioFile>(Sys_FileLoc(in)));
    outFiles.push_back(std::make_unique<FF_AudioFile>(Sys_FileLoc(out)));
    FF_AudioProcessChain::Handle chain(new FF_AudioProcessChain());
    chain->Append(FF_AudioProcess::Handle(new FF_AudioProcessReadFiles(
        std::move(inFiles), 0, attr.GetNumSamples(), FF_AudioProcessReadFiles::cDefaultProcessBlockSize,
        FF_AudioProcessReadFiles::cDefaultReadBlockSize)));
    chain->Append(FF_AudioProcess::Handle(new BlockTimeProbe(histogram)));
    chain->Append(FF_AudioProcess::Handle(new FF_AudioProcessWriteFiles(std::move(outFiles), 0)));
    chain->Allocate();
    Sys_Event::Handle const done =
        chain->GetNotificationEvent(Sys_Task::kStatusAborted | Sys_Task::kStatusFailed | Sys_Task::kStatusCompleted);
    FF_ScheduleChain(chain);
    done->Wait(Sys_SyncObject::kWaitForever);
    return chain->GetStatus() == Sys_Task::kStatusCompleted;
}

void BM_ConversionBlockTimes(benchmark::State& state)
{
    Sys_Init::Init();
    std::vector<Sys_FileType> types = {Sys_FileType(std::string("wav"))};
    std::vector<std::string> descriptions = {"WAVE audio"};
    Sys_Utils::RegisterKnownTypes(types, descriptions);
    std::string const in = RamFile(44100 * 60);
    std::string const out = "/dev/shm/vfl_bench_histogram_out.wav";
    Cmn_LogHistogram histogram = NanosecondHistogram();
    for (auto _ : state)
        if (!CopyWithProbe(in, out, &histogram))
            state.SkipWithError("the chain failed");
    state.counters["blocks"] = double(histogram.GetCount());
    std::cerr << "Time between blocks of a one-minute stereo copy:\n";
    histogram.Dump(std::cerr);
    std::filesystem::remove(out);
}
BENCHMARK(BM_ConversionBlockTimes)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

void BM_PolyVectorAppend(benchmark::State& state)
{
    std::size_t const chunk = std::size_t(state.range(0));
    std::vector<unsigned char> const data(chunk, 0x5A);
    for (auto _ : state)
    {
        Cmn_PolyVector<unsigned char> v;
        for (int i = 0; i < 4096; ++i)
            v.Insert(v.End(), data.data(), data.data() + chunk);
        benchmark::DoNotOptimize(v.Data());
    }
    state.SetBytesProcessed(state.iterations() * 4096 * i64(chunk));
}
BENCHMARK(BM_PolyVectorAppend)->Arg(1)->Arg(4)->Arg(64);

void BM_StdVectorAppend(benchmark::State& state)
{
    std::size_t const chunk = std::size_t(state.range(0));
    std::vector<unsigned char> const data(chunk, 0x5A);
    for (auto _ : state)
    {
        std::vector<unsigned char> v;
        for (int i = 0; i < 4096; ++i)
            v.insert(v.end(), data.begin(), data.end());
        benchmark::DoNotOptimize(v.data());
    }
    state.SetBytesProcessed(state.iterations() * 4096 * i64(chunk));
}
BENCHMARK(BM_StdVectorAppend)->Arg(1)->Arg(4)->Arg(64);

// int32 values big-endian into a memory stream, as a record body is written.
void BM_CrossPlatformWriteInt32(benchmark::State& state)
{
    for (auto _ : state)
    {
        Cmn_PolyVector<unsigned char> bytes;
        Cmn_PolyVectorOutStream sink(bytes);
        Sys_CrossPlatformOutStream out(&sink);
        for (i32 i = 0; i < 4096; ++i)
            out.Write(i);
        benchmark::DoNotOptimize(bytes.Data());
    }
    state.SetItemsProcessed(state.iterations() * 4096);
}
BENCHMARK(BM_CrossPlatformWriteInt32);
} // namespace
