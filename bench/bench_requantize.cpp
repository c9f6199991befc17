// Single-threaded speed of the requantizer: blocks of 7680 samples, stereo.
// Items are samples (per channel).
#include "FF/FF_AudioProcessBlock.h"
#include "FF/FF_AudioProcessRequantize.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <numbers>

namespace
{
void Requantize(benchmark::State& state)
{
    int const inBits = static_cast<int>(state.range(0));
    int const outBits = static_cast<int>(state.range(1));
    i64 const blockSize = 7680;
    FF_AudioProcessRequantize stage(static_cast<u16>(inBits), static_cast<u16>(outBits));
    FF_AudioProcessBlock proto;
    proto.SetNumChannels(2);
    proto.SetSampleRate(44100);
    proto.SetBitsPerSample(inBits);
    proto.SetNumSamples(blockSize);
    proto.SetTotalSamples(blockSize);
    stage.Preflight(&proto);
    proto.SetBitsPerSample(std::max(inBits, outBits));
    FF_AudioProcessBlock in(proto);
    FF_AudioProcessBlock out(proto);
    int const bytes = (inBits + 7) / 8;
    for (u32 c = 0; c < 2; ++c)
        for (i64 n = 0; n < blockSize; ++n)
        {
            i32 const v = static_cast<i32>(std::ldexp(0.7, inBits - 1) * std::sin(2.0 * std::numbers::pi * n / 100.0));
            for (int k = 0; k < bytes; ++k)
                in.GetChannelData(c)[n * bytes + k] = static_cast<char>(static_cast<u32>(v) >> (8 * k));
        }
    for (auto _ : state)
    {
        in.SetNumChannels(2);
        in.SetBitsPerSample(inBits);
        in.SetNumSamples(blockSize);
        out.SetBitsPerSample(inBits);
        stage.Process(&in, &out);
        benchmark::DoNotOptimize(out.GetChannelData(0)[0]);
    }
    state.SetItemsProcessed(state.iterations() * blockSize * 2);
}
} // namespace

BENCHMARK(Requantize)
    ->Args({24, 16})
    ->Args({16, 8})
    ->Args({24, 8})
    ->Args({16, 24})
    ->Args({8, 16})
    ->Args({24, 32})
    ->Args({16, 16});
