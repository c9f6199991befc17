#include "FF/FF_AudioProcessDecimateWaveform.h"

#include "Cmn/Cmn_Assert.h"
#include "FF/FF_AudioProcessBlock.h"

#include <algorithm>
#include <cstring>

FF_AudioProcessDecimateWaveform::FF_AudioProcessDecimateWaveform(i32 samplesPerInterval, char* overview)
    : mSamplesPerInterval(samplesPerInterval), mOverview(overview)
{
    SetName(GetTaskName());
    // An interval of no samples would write a pair for every sample, past
    // any buffer sized from the interval.
    CMN_ASSERT(samplesPerInterval > 0 && overview != nullptr);
    if (mSamplesPerInterval <= 0)
        mSamplesPerInterval = 1;
}

void FF_AudioProcessDecimateWaveform::Preflight(FF_AudioProcessBlock* block)
{
    mUnitsToProcess = block->GetTotalSamples();
}

i8 FF_AudioProcessDecimateWaveform::Reduce(i32 sample, int bits)
{
    i32 const a = sample < 0 ? -sample : sample;
    i32 const sign = sample < 0 ? -1 : 1;
    switch (bits)
    {
    case 8: return static_cast<i8>(sample);
    case 16: return static_cast<i8>(a <= 256 ? 0 : sign * (a >> 8));
    case 24: return static_cast<i8>(a <= 65536 ? 0 : sign * (a >> 16));
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
    int const bits = in->GetBitsPerSample();
    CMN_ASSERT(bits == 8 || bits == 16 || bits == 24);
    i64 const n = in->GetNumSamples();
    i64 const bytes = n * in->GetBytesPerSample();
    u32 const channels = in->GetNumChannels();
    bool const fits = n >= 0 && channels >= 1 && bytes <= in->GetChannelCapacity() &&
                      channels <= in->GetNumChannelBuffers() &&
                      (!out || (bytes <= out->GetChannelCapacity() && channels <= out->GetNumChannelBuffers()));
    CMN_ASSERT(fits);
    if (!fits || (bits != 8 && bits != 16 && bits != 24))
        return;

    // Inside a chain the stream passes unchanged, every channel of it.
    if (out)
    {
        out->SetNumChannels(in->GetNumChannels());
        out->SetSampleRate(in->GetSampleRate());
        out->SetBitsPerSample(bits);
        out->SetNumSamples(n);
        out->SetTotalSamples(in->GetTotalSamples());
        out->SetEndOfStream(in->GetEndOfStream());
        for (u32 ch = 0; ch < channels; ++ch)
            std::memcpy(out->GetChannelData(ch), in->GetChannelData(ch), static_cast<std::size_t>(bytes));
    }

    mUnitsProcessed += n;
    char const* data = in->GetChannelData(0);
    int const width = in->GetBytesPerSample();
    i8 s = mMax;
    for (i64 k = 0; k < n; ++k)
    {
        if (mIntervalPos >= mSamplesPerInterval)
        {
            WritePair();
            mIntervalPos -= mSamplesPerInterval;
            // The new interval would begin with the old one's last value,
            // but the first sample of an interval sets both below: the
            // pairs of this overview do not overlap.
            mMax = s;
            mMin = s;
        }
        i32 sample;
        switch (width)
        {
        case 1: sample = FF_AudioProcessBlock::LoadSample<1>(data + k); break;
        case 2: sample = FF_AudioProcessBlock::LoadSample<2>(data + 2 * k); break;
        default: sample = FF_AudioProcessBlock::LoadSample<3>(data + 3 * k); break;
        }
        i8 const v = Reduce(sample, bits);
        if (mIntervalPos != 0)
        {
            mMin = std::min(mMin, v);
            mMax = std::max(mMax, v);
        }
        else
        {
            mMin = v;
            mMax = v;
        }
        s = v;
        ++mIntervalPos;
    }
    if (IsComplete() && mIntervalPos != 0)
    {
        WritePair();
        mMax = -128;
        mMin = 127;
    }
}

FF_AudioProcess::EProcessType FF_AudioProcessDecimateWaveform::GetProcessType() const
{
    return GetNextProcess() ? kProcessFilter : kProcessConsumer;
}

Sys_Task::EResult FF_AudioProcessDecimateWaveform::ExecImpl()
{
    if (GetNext())
    {
        EResult const result = FF_AudioProcess::ExecImpl();
        return result == kResultReady && IsComplete() ? kResultCompleted : result;
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
