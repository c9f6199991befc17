// Process chains. BM_ChainOnRamFile copies a WAVE file on a RAM disk
// through reader, writer and, with filter:1, a pass-through filter between
// them, in blocks from one frame up to the default size: the time per block
// at one frame is what a block's trip through the shared threads costs
// (driver, producer, filter, consumer, and back to the driver).
// BM_CopyWaveFile copies the file named by VFL_CHAIN_BENCH_IN to
// VFL_CHAIN_BENCH_OUT with the default block size, and with blocks as large
// as the reads; bench/chain_vs_cp.sh runs it against cp and sox on the same
// file.

#include "FF/FF_AudioFile.h"
#include "FF/FF_AudioProcess.h"
#include "FF/FF_AudioProcessBlock.h"
#include "FF/FF_AudioProcessChain.h"
#include "FF/FF_AudioProcessReadFiles.h"
#include "FF/FF_AudioProcessUtils.h"
#include "FF/FF_AudioProcessWriteFiles.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_FileType.h"
#include "Sys/Sys_Init.h"
#include "Sys/Sys_Utils.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

namespace
{

// Costs nothing but its hop and a copy of the samples.
class PassThrough : public FF_AudioProcess
{
public:
    void Process(FF_AudioProcessBlock* in, FF_AudioProcessBlock* out) override
    {
        std::size_t const bytes = static_cast<std::size_t>(in->GetNumSamples() * in->GetBytesPerSample());
        for (u32 c = 0; c < in->GetNumChannels(); ++c)
            std::memcpy(out->GetChannelData(c), in->GetChannelData(c), bytes);
    }
};

void Init()
{
    Sys_Init::Init();
    std::vector<Sys_FileType> types = {Sys_FileType(std::string("wav"))};
    std::vector<std::string> descriptions = {"WAVE audio"};
    Sys_Utils::RegisterKnownTypes(types, descriptions);
}

FF_AudioFileAttr Attributes(std::string const& path)
{
    FF_AudioFile file((Sys_FileLoc(path)));
    FF_AudioFile::StOpen open(&file, FF_AudioFile::eOpenRead);
    return file.GetAudioFileAttr();
}

// Copies in to out (formatted anew) through a chain; false if it failed.
bool Copy(std::string const& in, std::string const& out, i32 processBlock, i32 readBlock, bool filter)
{
    FF_AudioFileAttr const attr = Attributes(in);
    {
        FF_AudioFile file((Sys_FileLoc(out)));
        file.Format(Sys_FileType(std::string("wav")), attr.GetNumChannels(), attr.GetSamplesPerSec(),
                    attr.GetBitsPerSample(), attr.GetNumSamples());
    }
    std::vector<std::unique_ptr<FF_AudioFile>> inFiles, outFiles;
    inFiles.push_back(std::make_unique<FF_AudioFile>(Sys_FileLoc(in)));
    outFiles.push_back(std::make_unique<FF_AudioFile>(Sys_FileLoc(out)));
    FF_AudioProcessChain::Handle chain(new FF_AudioProcessChain());
    chain->Append(FF_AudioProcess::Handle(
        new FF_AudioProcessReadFiles(std::move(inFiles), 0, attr.GetNumSamples(), processBlock, readBlock)));
    if (filter)
        chain->Append(FF_AudioProcess::Handle(new PassThrough()));
    chain->Append(FF_AudioProcess::Handle(new FF_AudioProcessWriteFiles(std::move(outFiles), 0)));
    chain->Allocate();
    Sys_Event::Handle const done =
        chain->GetNotificationEvent(Sys_Task::kStatusAborted | Sys_Task::kStatusFailed | Sys_Task::kStatusCompleted);
    FF_ScheduleChain(chain);
    done->Wait(Sys_SyncObject::kWaitForever);
    return chain->GetStatus() == Sys_Task::kStatusCompleted;
}

// A stereo 16-bit WAVE file of frames frames on the RAM disk.
std::string RamFile(i64 frames)
{
    std::string const path = "/dev/shm/vfl_bench_chain_" + std::to_string(frames) + ".wav";
    if (std::filesystem::exists(path))
        return path;
    FF_AudioFile file((Sys_FileLoc(path)));
    file.Format(Sys_FileType(std::string("wav")), 2, 44100, 16, frames);
    FF_AudioFile::StOpen open(&file, FF_AudioFile::eOpenRead | FF_AudioFile::eOpenWrite);
    std::vector<i16> samples(static_cast<std::size_t>(frames * 2));
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<i16>(i * 7919);
    file.SampleWrite(samples.data(), frames);
    return path;
}

// Arguments: bytes per block (4 is one stereo 16-bit frame), and 1 for a
// filter between reader and writer.
void BM_ChainOnRamFile(benchmark::State& state)
{
    Init();
    i32 const blockBytes = static_cast<i32>(state.range(0));
    bool const filter = state.range(1) != 0;
    i64 const blocks = 20000;
    i64 const frames = blocks * blockBytes / 4;
    std::string const in = RamFile(frames);
    std::string const out = "/dev/shm/vfl_bench_chain_out.wav";
    for (auto _ : state)
    {
        if (!Copy(in, out, blockBytes, blockBytes * 16, filter))
            state.SkipWithError("the chain failed");
    }
    state.SetBytesProcessed(state.iterations() * frames * 4);
    state.counters["blocks"] = static_cast<double>(blocks);
    state.counters["per_block"] = benchmark::Counter(
        static_cast<double>(blocks), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
    std::filesystem::remove(out);
}
BENCHMARK(BM_ChainOnRamFile)
    ->ArgsProduct({{4, 64, 1024, 15360}, {0, 1}})
    ->ArgNames({"block_bytes", "filter"})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

void BM_CopyWaveFile(benchmark::State& state)
{
    char const* in = std::getenv("VFL_CHAIN_BENCH_IN");
    char const* out = std::getenv("VFL_CHAIN_BENCH_OUT");
    if (!in || !out)
    {
        state.SkipWithError("set VFL_CHAIN_BENCH_IN and VFL_CHAIN_BENCH_OUT");
        return;
    }
    Init();
    // The reads stay 16 times the default block; the argument is the block.
    i32 const processBlock = static_cast<i32>(state.range(0));
    i32 const readBlock = std::max(processBlock, FF_AudioProcessReadFiles::cDefaultReadBlockSize);
    for (auto _ : state)
    {
        if (!Copy(in, out, processBlock, readBlock, false))
            state.SkipWithError("the chain failed");
    }
    state.SetBytesProcessed(state.iterations() * static_cast<i64>(std::filesystem::file_size(in)));
}
BENCHMARK(BM_CopyWaveFile)
    ->Arg(FF_AudioProcessReadFiles::cDefaultProcessBlockSize)
    ->Arg(FF_AudioProcessReadFiles::cDefaultReadBlockSize)
    ->ArgName("block_bytes")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(1);

} // namespace
