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
#include <numbers>
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
                f64 const v = 20000.0 * std::sin(2.0 * std::numbers::pi * 1000.0 * n / 44100.0) +
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

// Runs a whole 32-bit stream through the converter (32 bits, so that the
// input's own quantisation stays far below what the filter does).
std::vector<f64> Resample32(std::vector<i32> const& x, i32 inRate, i32 outRate, FF_AudioProcessSRC::EQuality q)
{
    i64 const blockSize = 7680;
    i64 const length = static_cast<i64>(x.size());
    FF_AudioProcessSRC src(inRate, outRate, q);
    FF_AudioProcessBlock proto;
    proto.SetNumChannels(1);
    proto.SetSampleRate(inRate);
    proto.SetBitsPerSample(32);
    proto.SetNumSamples(blockSize);
    proto.SetTotalSamples(length);
    src.Preflight(&proto);
    proto.SetNumSamples(std::max(blockSize, proto.GetNumSamples()));
    src.AllocateImpl(proto);
    FF_AudioProcessBlock in(proto);
    FF_AudioProcessBlock out(proto);
    std::vector<f64> y;
    for (i64 pos = 0; pos < length; pos += blockSize)
    {
        i64 const n = std::min(blockSize, length - pos);
        std::copy(x.begin() + pos, x.begin() + pos + n, reinterpret_cast<i32*>(in.GetChannelData(0)));
        in.SetNumChannels(1);
        in.SetBitsPerSample(32);
        in.SetNumSamples(n);
        in.SetTotalSamples(length);
        in.SetEndOfStream(pos + n == length);
        out.SetNumChannels(1);
        out.SetBitsPerSample(32);
        src.Process(&in, &out);
        i32 const* o = reinterpret_cast<i32 const*>(out.GetChannelData(0));
        y.insert(y.end(), o, o + out.GetNumSamples());
    }
    return y;
}

std::vector<i32> Tone(f64 freq, i32 rate, f64 seconds, f64 amplitude)
{
    std::vector<i32> x(static_cast<std::size_t>(seconds * rate));
    for (std::size_t n = 0; n < x.size(); ++n)
        x[n] =
            static_cast<i32>(std::round(amplitude * 2147483647.0 * std::sin(2.0 * std::numbers::pi * freq * n / rate)));
    return x;
}

// THD+N of y as a sine of the given frequency (cycles per sample): the
// least-squares sine and offset are taken out, the rest is distortion and noise.
f64 ThdPlusNoiseDb(std::vector<f64> const& y, f64 cyclesPerSample, std::size_t skip)
{
    f64 const w = 2.0 * std::numbers::pi * cyclesPerSample;
    f64 m[3][4] = {};
    for (std::size_t n = skip; n + skip < y.size(); ++n)
    {
        f64 const b[3] = {1.0, std::cos(w * n), std::sin(w * n)};
        for (int r = 0; r < 3; ++r)
        {
            for (int c = 0; c < 3; ++c)
                m[r][c] += b[r] * b[c];
            m[r][3] += b[r] * y[n];
        }
    }
    for (int p = 0; p < 3; ++p) // Gauss-Jordan on the normal equations
        for (int r = 0; r < 3; ++r)
            if (r != p)
            {
                f64 const k = m[r][p] / m[p][p];
                for (int c = 0; c < 4; ++c)
                    m[r][c] -= k * m[p][c];
            }
    f64 const dc = m[0][3] / m[0][0], ca = m[1][3] / m[1][1], sa = m[2][3] / m[2][2];
    f64 signal = 0.0, rest = 0.0;
    for (std::size_t n = skip; n + skip < y.size(); ++n)
    {
        f64 const s = ca * std::cos(w * n) + sa * std::sin(w * n);
        signal += s * s;
        rest += (y[n] - dc - s) * (y[n] - dc - s);
    }
    return 10.0 * std::log10(rest / signal);
}

f64 RmsDb(std::vector<f64> const& y, std::size_t skip, f64 reference)
{
    f64 sum = 0.0;
    std::size_t count = 0;
    for (std::size_t n = skip; n + skip < y.size(); ++n, ++count)
        sum += y[n] * y[n];
    return 20.0 * std::log10(std::sqrt(sum / count) / reference);
}

// Not a speed: THD+N of a 1 kHz sine at -6 dBFS through 44.1 to 48 kHz, and
// the level of a 23 kHz tone at -6 dBFS after 48 to 44.1 kHz, both relative
// to the tone, as counters.
void Quality(benchmark::State& state)
{
    auto const quality = static_cast<FF_AudioProcessSRC::EQuality>(state.range(0));
    for (auto _ : state)
    {
        std::vector<f64> const up = Resample32(Tone(1000.0, 44100, 2.0, 0.5), 44100, 48000, quality);
        state.counters["thdn_1k_dB"] = ThdPlusNoiseDb(up, 1000.0 / 48000.0, 4800);
        std::vector<f64> const down = Resample32(Tone(23000.0, 48000, 2.0, 0.5), 48000, 44100, quality);
        state.counters["23k_dB"] = RmsDb(down, 4410, 0.5 * 2147483647.0 / std::sqrt(2.0));
    }
}

void Up441To48Mono(benchmark::State& s)
{
    Convert(s, 44100, 48000, 1);
}
void Up441To48Stereo(benchmark::State& s)
{
    Convert(s, 44100, 48000, 2);
}
void Down48To441Mono(benchmark::State& s)
{
    Convert(s, 48000, 44100, 1);
}

void Qualities(benchmark::internal::Benchmark* b)
{
    for (int q : {0, 17, 33, 129, 257})
        b->Arg(q);
    b->Unit(benchmark::kMillisecond);
}
} // namespace

BENCHMARK(Quality)->DenseRange(0, 0)->Arg(17)->Arg(33)->Arg(129)->Arg(257)->Iterations(1)->Unit(
    benchmark::kMillisecond);
BENCHMARK(Up441To48Mono)->Apply(Qualities);
BENCHMARK(Up441To48Stereo)->Apply(Qualities);
BENCHMARK(Down48To441Mono)->Apply(Qualities);
