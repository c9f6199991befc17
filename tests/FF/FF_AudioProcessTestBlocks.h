// Helpers for the tests of filter stages: signals, block packing, and a
// driver that runs a stage over a stream cut into blocks the way a chain
// does (prototype through Preflight, blocks sized by the running maxima, the
// input's format and counts copied into the output before each Process).
#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/Dither.h"
#include "FF/FF_AudioProcessBlock.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <type_traits>
#include <vector>

struct DitherTestAccess
{
    static i32 GetSeed() { return Dither::sSeed; }
    static void SetSeed(i32 seed) { Dither::sSeed = seed; }
};

// Sets a process-wide setting, and puts it back after the test, so that
// tests do not depend on their order.
template <auto Get, auto Set> class StSetting
{
public:
    explicit StSetting(i32 value) : mSaved(Get()) { Set(value); }
    ~StSetting() { Set(mSaved); }

private:
    i32 mSaved;
};
using StSeed = StSetting<&DitherTestAccess::GetSeed, &DitherTestAccess::SetSeed>;

namespace ffproc
{
using Channels = std::vector<std::vector<i32>>;

// A sine plus a ramp, scaled to a fraction of the full scale of the width;
// channel c is shifted in phase so that channels differ.
inline Channels SineRamp(int channels, i64 length, int bits, f64 scale, f64 freq = 997.0, f64 rate = 44100.0)
{
    f64 const full = std::ldexp(1.0, bits - 1) - 1.0;
    Channels out(static_cast<std::size_t>(channels), std::vector<i32>(static_cast<std::size_t>(length)));
    for (int c = 0; c < channels; ++c)
        for (i64 n = 0; n < length; ++n)
        {
            f64 const ramp = (static_cast<f64>(n) / static_cast<f64>(length) - 0.5) * 0.3;
            f64 const v =
                scale * (0.7 * std::sin(2.0 * std::numbers::pi * freq * static_cast<f64>(n) / rate + c) + ramp);
            out[static_cast<std::size_t>(c)][static_cast<std::size_t>(n)] =
                static_cast<i32>(std::clamp(std::round(v * full), -full - 1.0, full));
        }
    return out;
}

inline void Put(FF_AudioProcessBlock& b, u32 ch, i64 n, i32 v)
{
    char* p = b.GetChannelData(ch) + n * b.GetBytesPerSample();
    switch (b.GetBytesPerSample())
    {
    case 1: FF_AudioProcessBlock::StoreSample<1>(p, v); break;
    case 2: FF_AudioProcessBlock::StoreSample<2>(p, v); break;
    case 3: FF_AudioProcessBlock::StoreSample<3>(p, v); break;
    default: FF_AudioProcessBlock::StoreSample<4>(p, v); break;
    }
}

inline i32 Get(FF_AudioProcessBlock const& b, u32 ch, i64 n)
{
    char const* p = b.GetChannelData(ch) + n * b.GetBytesPerSample();
    switch (b.GetBytesPerSample())
    {
    case 1: return FF_AudioProcessBlock::LoadSample<1>(p);
    case 2: return FF_AudioProcessBlock::LoadSample<2>(p);
    case 3: return FF_AudioProcessBlock::LoadSample<3>(p);
    default: return FF_AudioProcessBlock::LoadSample<4>(p);
    }
}

// Gives b the format, keeping its buffers.
inline void Shape(FF_AudioProcessBlock& b, int channels, i32 rate, int bits, i64 blockSize, i64 total, bool end = false)
{
    b.SetNumChannels(static_cast<u16>(channels));
    b.SetSampleRate(rate);
    b.SetBitsPerSample(bits);
    b.SetNumSamples(blockSize);
    b.SetTotalSamples(total);
    b.SetEndOfStream(end);
}

inline FF_AudioProcessBlock Prototype(int channels, i32 rate, int bits, i64 blockSize, i64 total)
{
    FF_AudioProcessBlock p;
    Shape(p, channels, rate, bits, blockSize, total);
    return p;
}

struct RunResult
{
    Channels out;
    FF_AudioProcessBlock last; // format of the last output block
    i64 blocks = 0;
};

// Runs stage over input (all channels of equal length) in blocks of
// blockSize samples. A zero-length stream still sends one block, with the
// end flag, as a reader does.
// afterEach, if given, sees each output block right after Process.
template <typename Stage, typename AfterEach = void (*)(FF_AudioProcessBlock const&)>
RunResult RunStage(Stage& stage, Channels const& input, i32 rate, int bits, i64 blockSize,
                   AfterEach afterEach = nullptr)
{
    int const channels = static_cast<int>(input.size());
    i64 const length = channels ? static_cast<i64>(input[0].size()) : 0;
    FF_AudioProcessBlock proto = Prototype(channels, rate, bits, blockSize, length);
    stage.Preflight(&proto);
    FF_AudioProcessBlock big =
        Prototype(std::max<int>(channels, proto.GetNumChannels()), rate, std::max<int>(bits, proto.GetBitsPerSample()),
                  std::max(blockSize, proto.GetNumSamples()), length);
    if constexpr (requires { stage.AllocateImpl(big); })
        stage.AllocateImpl(big);
    FF_AudioProcessBlock in(big);
    FF_AudioProcessBlock out(big);
    RunResult result;
    result.out.resize(proto.GetNumChannels());
    i64 pos = 0;
    do
    {
        i64 const n = std::min(blockSize, length - pos);
        Shape(in, channels, rate, bits, n, length, pos + n == length);
        for (int c = 0; c < channels; ++c)
            for (i64 k = 0; k < n; ++k)
                Put(in, static_cast<u32>(c), k, input[static_cast<std::size_t>(c)][static_cast<std::size_t>(pos + k)]);
        Shape(out, channels, rate, bits, n, length, in.GetEndOfStream());
        stage.Process(&in, &out);
        if constexpr (!std::is_pointer_v<AfterEach>)
            afterEach(out);
        else if (afterEach)
            afterEach(out);
        for (u32 c = 0; c < out.GetNumChannels(); ++c)
        {
            if (c >= result.out.size())
                result.out.resize(c + 1);
            for (i64 k = 0; k < out.GetNumSamples(); ++k)
                result.out[c].push_back(Get(out, c, k));
        }
        pos += n;
        ++result.blocks;
    } while (pos < length);
    Shape(result.last, out.GetNumChannels(), out.GetSampleRate(), out.GetBitsPerSample(), 0, out.GetTotalSamples());
    return result;
}

// A product whose rounding the compiler cannot fuse into a following add,
// whatever the contraction flags: the models stay literal even if the
// library is built with contraction on, so that the golden tests catch it.
inline f64 Mul(f64 a, f64 b)
{
    volatile f64 p = a * b;
    return p;
}
} // namespace ffproc
