#include "FF/FF_AudioProcessMultimediaSqueezer.h"

#include "Cmn/Cmn_Assert.h"
#include "FF/FF_AudioProcessBlock.h"

#include <algorithm>
#include <cmath>

namespace
{
// Zero counts as positive, as silence before the first sample does: a run
// of zeros is one half wave, not a sign change at every sample.
int SignOf(f64 x)
{
    return x < 0.0 ? -1 : 1;
}

// Samples of one to four bytes: 8-bit and 32-bit streams come from 8-bit
// and 32-bit files that convert to their own depth, and are squeezed on the
// same scale as 16 and 24 bits rather than refused.
f64 FullScale(int bytes)
{
    return std::ldexp(1.0, 8 * bytes - 1) - 1.0;
}

i32 Load(char const* p, int bytes)
{
    switch (bytes)
    {
    case 1: return FF_AudioProcessBlock::LoadSample<1>(p);
    case 2: return FF_AudioProcessBlock::LoadSample<2>(p);
    case 3: return FF_AudioProcessBlock::LoadSample<3>(p);
    default: return FF_AudioProcessBlock::LoadSample<4>(p);
    }
}

void Store(char* p, int bytes, i32 v)
{
    switch (bytes)
    {
    case 1: return FF_AudioProcessBlock::StoreSample<1>(p, v);
    case 2: return FF_AudioProcessBlock::StoreSample<2>(p, v);
    case 3: return FF_AudioProcessBlock::StoreSample<3>(p, v);
    default: return FF_AudioProcessBlock::StoreSample<4>(p, v);
    }
}
} // namespace

FF_AudioProcessMultimediaSqueezer::FF_AudioProcessMultimediaSqueezer()
{
    SetName(GetTaskName());
}

void FF_AudioProcessMultimediaSqueezer::Preflight(FF_AudioProcessBlock* block)
{
    mTotalSamples = block->GetTotalSamples();
    mNumChannels = block->GetNumChannels();
    block->SetNumSamples(block->GetNumSamples() + mDelay);

    f64 const sr = block->GetSampleRate();
    CMN_ASSERT(sr > 0.0);
    mB = std::exp(-1.0 / sr / mLevelTime);
    mA = (1.0 - mB) * 0.5;
    mSlope = 1.0 - 1.0 / mRatio;
    mMakeup = std::pow(10.0, mMakeupGain / 20.0);
    mGateRise = 1.0 / sr / mGateAttack;
    mGateHoldFall = 1.0 / sr / mGateHold;
    mGateDecay = std::exp(-1.0 / sr / mGateRelease);
    mOpenLevel = std::pow(10.0, mGateOpen / 20.0);
    mCloseLevel = std::pow(10.0, mGateClose / 20.0);
    mFloor = std::pow(10.0, mPeakFloor / 20.0);

    std::size_t const channels = static_cast<std::size_t>(mNumChannels);
    mDelayLines.assign(channels, std::vector<f64>(static_cast<std::size_t>(mDelay), 0.0));
    mGains.assign(channels, std::vector<f64>(static_cast<std::size_t>(mNumSegments), 0.0));
    HalfWave start;
    start.mPeak = mFloor;
    start.mSinceWrite = mDelay;
    start.mSinceRead = mDelay;
    mHalfWaves.assign(channels, start);
    mWork.assign(channels, 0.0);
    mHalfWaveOut.assign(channels, 0.0);
    mOutData.assign(channels, nullptr);
}

void FF_AudioProcessMultimediaSqueezer::Round(int bytes)
{
    std::size_t const channels = mWork.size();

    // Compressor.
    f64 p = 0.0;
    for (f64 x : mWork)
        p = std::max(p, std::fabs(x));
    f64 const s = mA * (p * p) + mB * mLevelState;
    f64 const e = s + mLevelState;
    mLevelState = s;
    f64 const level = e >= 0.000001 ? 10.0 * std::log10(e) : -60.0;
    f64 const over = std::max(level - mThreshold, 0.0);
    f64 const reduction =
        (over >= mMaxReduction && 2.0 * mMaxReduction <= over) ? 2.0 * mSlope * mMaxReduction : over * mSlope;
    f64 const gain = std::pow(10.0, -reduction / 20.0);
    for (f64& x : mWork)
        x = x * gain * mMakeup;

    // Half waves.
    for (std::size_t ch = 0; ch < channels; ++ch)
    {
        HalfWave& h = mHalfWaves[ch];
        std::vector<f64>& gains = mGains[ch];
        f64 const x = mWork[ch];
        if (SignOf(x) != h.mLastInSign || h.mSinceWrite >= mDelay)
        {
            gains[static_cast<std::size_t>(h.mWriteIndex)] = 1.0 / h.mPeak;
            h.mWriteIndex = (h.mWriteIndex + 1) % mNumSegments;
            h.mPeak = mFloor;
            h.mSinceWrite = 0;
        }
        h.mLastInSign = SignOf(x);
        h.mPeak = std::max(h.mPeak, std::fabs(x));
        ++h.mSinceWrite;

        f64& slot = mDelayLines[ch][static_cast<std::size_t>(mDelayPos)];
        f64 const d = slot;
        if (SignOf(d) != h.mLastDelayedSign || h.mSinceRead >= mDelay)
        {
            h.mReadIndex = (h.mReadIndex + 1) % mNumSegments;
            h.mSinceRead = 0;
        }
        h.mLastDelayedSign = SignOf(d);
        ++h.mSinceRead;
        mHalfWaveOut[ch] = d * gains[static_cast<std::size_t>(h.mReadIndex)];
        slot = x;
    }
    mDelayPos = (mDelayPos + 1) % mDelay;
    mWork = mHalfWaveOut;

    // Gate.
    p = 0.0;
    for (f64 x : mWork)
        p = std::max(p, std::fabs(x));
    f64 const threshold = mGateIsOpen ? mCloseLevel : mOpenLevel;
    if (p > threshold)
    {
        mGateIsOpen = true;
        mGateHoldLeft = 1.0;
        mGateGain = std::min(mGateGain + mGateRise, 1.0);
    }
    else
    {
        mGateIsOpen = false;
        mGateHoldLeft = mGateHoldLeft - mGateHoldFall;
        if (mGateHoldLeft <= 0.0)
            mGateGain = mGateGain * mGateDecay;
        else
            mGateGain = std::min(mGateGain + mGateRise, 1.0);
    }
    for (f64& x : mWork)
        x = x * mGateGain;

    // The first mDelay results are the look-ahead's silence: dropped.
    ++mSamplesSeen;
    if (mSamplesSeen > mDelay)
    {
        // Defensive clip: the gains keep the signal within full scale but
        // for the rounding of the half-wave gain, and a cast out of range
        // would be undefined.
        f64 const full = FullScale(bytes);
        for (std::size_t ch = 0; ch < channels; ++ch)
        {
            f64 const v = std::clamp(mWork[ch] * full, -full - 1.0, full);
            Store(mOutData[ch] + mOutCount * bytes, bytes, static_cast<i32>(v));
        }
        ++mOutCount;
    }
}

void FF_AudioProcessMultimediaSqueezer::Process(FF_AudioProcessBlock* in, FF_AudioProcessBlock* out)
{
    int const bytes = in->GetBytesPerSample();
    i64 const n = in->GetNumSamples();
    u32 const channels = in->GetNumChannels();
    bool const tail = n >= 0 && mSamplesIn + n == mTotalSamples;
    i64 const rounds = n + (tail ? mDelay : 0);
    bool const fits = bytes >= 1 && bytes <= 4 && n >= 0 && channels == mWork.size() && channels >= 1 &&
                      channels <= in->GetNumChannelBuffers() && channels <= out->GetNumChannelBuffers() &&
                      n * bytes <= in->GetChannelCapacity() && rounds * bytes <= out->GetChannelCapacity();
    CMN_ASSERT(fits);
    if (!fits)
        return;

    for (u32 ch = 0; ch < channels; ++ch)
        mOutData[ch] = out->GetChannelData(ch);
    mOutCount = 0;
    f64 const scale = 1.0 / FullScale(bytes);
    for (i64 k = 0; k < rounds; ++k)
    {
        // In the tail nothing is read: the compressor works again on what
        // the gate left in the work array, which only shapes the gain of
        // the last half wave, itself read from the delay line.
        if (k < n)
            for (u32 ch = 0; ch < channels; ++ch)
            {
                mWork[ch] = Load(in->GetChannelData(ch) + k * bytes, bytes) * scale;
            }
        Round(bytes);
    }
    mSamplesIn += n;
    out->SetNumSamples(mOutCount);
}
