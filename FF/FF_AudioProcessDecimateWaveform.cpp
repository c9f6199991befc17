#include "FF/FF_AudioProcessDecimateWaveform.h"

#include "Cmn/Cmn_Assert.h"
#include "FF/FF_AudioProcessBlock.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

FF_AudioProcessDecimateWaveform::FF_AudioProcessDecimateWaveform(i32 samplesPerInterval, char* overview, i32 channel)
    : mSamplesPerInterval(samplesPerInterval), mChannel(channel), mOverview(overview)
{
    SetName(GetTaskName());
    // An interval of no samples would write a pair for every sample, past
    // any buffer sized from the interval.
    CMN_ASSERT(samplesPerInterval > 0 && overview != nullptr && channel >= 0);
    if (mChannel < 0)
        mChannel = 0;
    if (mSamplesPerInterval <= 0)
        mSamplesPerInterval = 1;
}

void FF_AudioProcessDecimateWaveform::Preflight(FF_AudioProcessBlock* block)
{
    mUnitsToProcess = block->GetTotalSamples();
}

namespace
{
// Reduce for a depth known when compiling, with no branch a vector loop
// could not take.
template <int Bits> i32 ReduceTo8(i32 sample)
{
    if constexpr (Bits == 8)
        return sample;
    else
    {
        constexpr int cShift = Bits - 8;
        i32 const a = sample < 0 ? -sample : sample;
        i32 const r = a <= (i32{1} << cShift) ? 0 : a >> cShift;
        return sample < 0 ? -r : r;
    }
}

// The smallest and largest reduced value of n samples. The reduction never
// turns a larger sample into a smaller value, so the extremes of the
// reduced values are the reduced extremes of the samples: the loop compares
// the samples as they are, and only two of them are reduced.
template <int Width, int Bits> [[gnu::always_inline]] inline void MinMaxBody(char const* p, i64 n, i32& lo, i32& hi)
{
    if (n <= 0)
        return;
    i32 l;
    i32 h;
    if constexpr (Width == 2 && std::endian::native == std::endian::little)
    {
        // Sixteen samples to a vector rather than eight.
        i16 l16 = INT16_MAX;
        i16 h16 = INT16_MIN;
        for (i64 u = 0; u < n; ++u)
        {
            i16 v;
            std::memcpy(&v, p + u * 2, 2);
            l16 = std::min(l16, v);
            h16 = std::max(h16, v);
        }
        l = l16;
        h = h16;
    }
    else
    {
        l = FF_AudioProcessBlock::LoadSample<Width>(p);
        h = l;
        for (i64 u = 1; u < n; ++u)
        {
            i32 const v = FF_AudioProcessBlock::LoadSample<Width>(p + u * Width);
            l = std::min(l, v);
            h = std::max(h, v);
        }
    }
    lo = std::min(lo, ReduceTo8<Bits>(l));
    hi = std::max(hi, ReduceTo8<Bits>(h));
}

template <int Width, int Bits> void MinMax(char const* p, i64 n, i32& lo, i32& hi)
{
    MinMaxBody<Width, Bits>(p, n, lo, hi);
}

#if defined(__x86_64__)
// The same loop where the processor has wide integer vectors with min, max
// and abs; the baseline instruction set has none of them for 32 bits.
template <int Width, int Bits> __attribute__((target("avx2"))) void MinMaxAvx2(char const* p, i64 n, i32& lo, i32& hi)
{
    MinMaxBody<Width, Bits>(p, n, lo, hi);
}

bool HaveAvx2()
{
    static bool const have = __builtin_cpu_supports("avx2");
    return have;
}
#endif
} // namespace

i8 FF_AudioProcessDecimateWaveform::Reduce(i32 sample, int bits)
{
    // The reduced values lie in -128..127, -128 coming only from the most
    // negative sample.
    switch (bits)
    {
    case 8: return static_cast<i8>(ReduceTo8<8>(sample));
    case 16: return static_cast<i8>(ReduceTo8<16>(sample));
    case 24: return static_cast<i8>(ReduceTo8<24>(sample));
    default: CMN_ASSERT(false); return 0;
    }
}

void FF_AudioProcessDecimateWaveform::WritePair()
{
    if (mOverview == nullptr)
        return;
    mOverview[0] = static_cast<char>(mMax);
    mOverview[1] = static_cast<char>(mMin);
    mOverview += 2;
}

void FF_AudioProcessDecimateWaveform::Process(FF_AudioProcessBlock* in, FF_AudioProcessBlock* out)
{
    CMN_ASSERT(TakesDepth(in->GetBitsPerSample()));
    int const bits = in->GetBytesPerSample() * 8;
    i64 const n = in->GetNumSamples();
    i64 const bytes = n * in->GetBytesPerSample();
    u32 const channels = in->GetNumChannels();
    bool const fits = n >= 0 && channels >= 1 && static_cast<u32>(mChannel) < channels &&
                      bytes <= in->GetChannelCapacity() && channels <= in->GetNumChannelBuffers() &&
                      (!out || (bytes <= out->GetChannelCapacity() && channels <= out->GetNumChannelBuffers()));
    CMN_ASSERT(fits);
    if (!fits || !TakesDepth(in->GetBitsPerSample()))
        return;

    // Inside a chain the stream passes unchanged, every channel of it.
    if (out)
    {
        out->SetNumChannels(in->GetNumChannels());
        out->SetSampleRate(in->GetSampleRate());
        out->SetBitsPerSample(in->GetBitsPerSample());
        out->SetNumSamples(n);
        out->SetTotalSamples(in->GetTotalSamples());
        out->SetEndOfStream(in->GetEndOfStream());
        for (u32 ch = 0; ch < channels; ++ch)
            std::memcpy(out->GetChannelData(ch), in->GetChannelData(ch), static_cast<std::size_t>(bytes));
    }

    mUnitsProcessed += n;
    char const* data = in->GetChannelData(static_cast<u32>(mChannel));
    switch (bits)
    {
    case 8: Scan<1, 8>(data, n); break;
    case 16: Scan<2, 16>(data, n); break;
    default: Scan<3, 24>(data, n); break;
    }
    if (IsComplete() && mIntervalPos != 0)
    {
        WritePair();
        mMax = -128;
        mMin = 127;
    }
}

template <int Width, int Bits> void FF_AudioProcessDecimateWaveform::Scan(char const* data, i64 n)
{
    // A pair is written when the first sample of the next interval comes,
    // or when the stream is complete; intervals do not overlap.
    for (i64 k = 0; k < n;)
    {
        if (mIntervalPos >= mSamplesPerInterval)
        {
            WritePair();
            mIntervalPos -= mSamplesPerInterval;
        }
        i64 const run = std::min<i64>(n - k, mSamplesPerInterval - mIntervalPos);
        i32 lo = 127;
        i32 hi = -128;
        char const* p = data + k * Width;
#if defined(__x86_64__)
        if (HaveAvx2())
            MinMaxAvx2<Width, Bits>(p, run, lo, hi);
        else
#endif
            MinMax<Width, Bits>(p, run, lo, hi);
        if (mIntervalPos == 0)
        {
            mMin = static_cast<i8>(lo);
            mMax = static_cast<i8>(hi);
        }
        else
        {
            mMin = std::min(mMin, static_cast<i8>(lo));
            mMax = std::max(mMax, static_cast<i8>(hi));
        }
        mIntervalPos += run;
        k += run;
    }
}

namespace
{
// As every filter's: ahead of a new block from the producer.
constexpr int32 kPassOnPriority = 1;
} // namespace

FF_AudioProcess::EProcessType FF_AudioProcessDecimateWaveform::GetProcessType() const
{
    return GetNextProcess() ? kProcessFilter : kProcessConsumer;
}

Sys_Task::EResult FF_AudioProcessDecimateWaveform::ExecImpl()
{
    if (GetNext())
    {
        // The stream passes on unchanged: the block itself goes on, as a
        // filter's output would, rather than a copy of it.
        BlockPtr input = GetInputQueue().Pop();
        Require(input != nullptr, "an overview stage was scheduled without a block");
        Process(input.get(), nullptr);
        PassOn(std::move(input), kPassOnPriority);
        return IsComplete() ? kResultCompleted : kResultReady;
    }
    // At the tail the stream ends here: the block goes back to the pool.
    if (IsAbortRequested())
        return kResultAborted;
    BlockPtr input = GetInputQueue().Pop();
    Require(input != nullptr, "an overview stage was scheduled without a block");
    Process(input.get(), nullptr);
    ReturnToPool(std::move(input));
    return IsComplete() ? kResultCompleted : kResultReady;
}
