// Single-threaded speed of the sample-rate converter at each quality, over a
// whole stream cut into the reader's blocks. Items are input samples (per
// channel). With VFL_SRC_INPUT naming a file of raw 16-bit little-endian
// mono samples, that file is the input (bench/src_vs_sox.sh gives sox the
// same samples); otherwise ten seconds of a sine plus noise.
#include "FF/FF_AudioProcessBlock.h"
#include "FF/FF_AudioProcessSRC.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <vector>

namespace
{
std::vector<i16> const& Input()
{
    static std::vector<i16> const samples = []
    {
        std::vector<i16> s;
        if (char const* path = std::getenv("VFL_SRC_INPUT"))
        {
            std::ifstream f(path, std::ios::binary);
            std::vector<char> bytes((std::istreambuf_iterator<char>(f)), std::istreambuf_iterator<char>());
            s.resize(bytes.size() / 2);
            for (std::size_t n = 0; n < s.size(); ++n)
                s[n] = static_cast<i16>(static_cast<unsigned char>(bytes[2 * n]) |
                                        (static_cast<unsigned char>(bytes[2 * n + 1]) << 8));
        }
        else
        {
            s.resize(441000);
            u32 noise = 1;
            for (std::size_t n = 0; n < s.size(); ++n)
            {
                noise = noise * 1664525u + 1013904223u;
                f64 const v = 20000.0 * std::sin(2.0 * 3.141592653589793 * 1000.0 * n / 44100.0) +
                              static_cast<f64>(static_cast<i32>(noise >> 16) - 32768) / 8.0;
                s[n] = static_cast<i16>(v);
            }
        }
        return s;
    }();
    return samples;
}

void Convert(benchmark::State& state, i32 inRate, i32 outRate, int channels)
{
    auto const quality = static_cast<FF_AudioProcessSRC::EQuality>(state.range(0));
    std::vector<i16> const& input = Input();
    i64 const length = static_cast<i64>(input.size());
    i64 const blockSize = 7680 / channels;
    for (auto _ : state)
    {
        state.PauseTiming();
        FF_AudioProcessSRC src(inRate, outRate, quality);
        FF_AudioProcessBlock proto;
        proto.SetNumChannels(static_cast<u16>(channels));
        proto.SetSampleRate(inRate);
        proto.SetBitsPerSample(16);
        proto.SetNumSamples(blockSize);
        proto.SetTotalSamples(length);
        src.Preflight(&proto);
        proto.SetNumSamples(std::max(blockSize, proto.GetNumSamples()));
        src.AllocateImpl(proto);
        FF_AudioProcessBlock in(proto);
        FF_AudioProcessBlock out(proto);
        state.ResumeTiming();
        i64 produced = 0;
        for (i64 pos = 0; pos < length; pos += blockSize)
        {
            i64 const n = std::min(blockSize, length - pos);
            for (int c = 0; c < channels; ++c)
                std::copy(input.begin() + pos, input.begin() + pos + n,
                          reinterpret_cast<i16*>(in.GetChannelData(static_cast<u32>(c))));
            in.SetNumChannels(static_cast<u16>(channels));
            in.SetSampleRate(inRate);
            in.SetBitsPerSample(16);
            in.SetNumSamples(n);
            in.SetTotalSamples(length);
            in.SetEndOfStream(pos + n == length);
            out.SetNumChannels(static_cast<u16>(channels));
            out.SetBitsPerSample(16);
            out.SetNumSamples(n);
            out.SetEndOfStream(in.GetEndOfStream());
            src.Process(&in, &out);
            produced += out.GetNumSamples();
        }
        benchmark::DoNotOptimize(produced);
    }
    state.SetItemsProcessed(state.iterations() * length * channels);
}

void Up441To48Mono(benchmark::State& s) { Convert(s, 44100, 48000, 1); }
void Up441To48Stereo(benchmark::State& s) { Convert(s, 44100, 48000, 2); }
void Down48To441Mono(benchmark::State& s) { Convert(s, 48000, 44100, 1); }

void Qualities(benchmark::internal::Benchmark* b)
{
    for (int q : {0, 17, 33, 129, 257})
        b->Arg(q);
    b->Unit(benchmark::kMillisecond);
}
} // namespace

BENCHMARK(Up441To48Mono)->Apply(Qualities);
BENCHMARK(Up441To48Stereo)->Apply(Qualities);
BENCHMARK(Down48To441Mono)->Apply(Qualities);
