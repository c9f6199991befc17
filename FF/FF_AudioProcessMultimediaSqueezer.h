#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/FF_AudioProcess.h"

#include <vector>

class FF_AudioProcessBlock;

// Prepares sound for small loudspeakers in three steps per sample: a
// compressor with make-up gain, a half-wave step that scales every half wave
// so that its peak reaches full scale (with a look-ahead of mDelay samples,
// since a half wave's gain is known only when it ends), and a gate. The
// look-ahead is removed again by dropping the first mDelay results and
// running mDelay rounds more at the end of the stream, so that the output
// has as many samples as the input. Samples of one to four bytes.
class FF_AudioProcessMultimediaSqueezer : public FF_AudioProcess
{
public:
    FF_AudioProcessMultimediaSqueezer();

    static constexpr char const* GetTaskName() { return "FF_AudioProcessMultimediaSqueezer"; }

    void Preflight(FF_AudioProcessBlock* block) override;
    void Process(FF_AudioProcessBlock* in, FF_AudioProcessBlock* out) override;

private:
    struct HalfWave
    {
        i32 mWriteIndex = 1;
        i32 mReadIndex = 0;
        f64 mPeak = 0.0;
        i32 mSinceWrite = 0;
        i32 mSinceRead = 0;
        int mLastInSign = 1;
        int mLastDelayedSign = 1;
    };

    void Round(int bytes);

    f64 mRatio = 2.0;
    f64 mLevelTime = 0.01;
    f64 mMaxReduction = 16.0;
    f64 mThreshold = -38.5;
    f64 mMakeupGain = 15.0;
    f64 mGateOpen = -38.0;
    f64 mGateClose = -42.0;
    f64 mGateAttack = 0.0005;
    f64 mGateRelease = 0.01;
    f64 mGateHold = 0.005;
    f64 mPeakFloor = -6.0;
    i32 mNumSegments = 1000;
    i32 mDelay = 1000;

    // Working values of the stream's rate, from Preflight.
    f64 mB = 0.0;
    f64 mA = 0.0;
    f64 mSlope = 0.0;
    f64 mMakeup = 1.0;
    f64 mGateRise = 0.0;
    f64 mGateHoldFall = 0.0;
    f64 mGateDecay = 0.0;
    f64 mOpenLevel = 0.0;
    f64 mCloseLevel = 0.0;
    f64 mFloor = 1.0;

    i64 mTotalSamples = 0;
    i32 mNumChannels = 0;
    i64 mSamplesIn = 0;
    i64 mSamplesSeen = 0;

    std::vector<std::vector<f64>> mDelayLines;
    std::vector<std::vector<f64>> mGains;
    std::vector<HalfWave> mHalfWaves;
    // The sample of each channel on its way through the steps, and the
    // half-wave step's result before it replaces it.
    std::vector<f64> mWork;
    std::vector<f64> mHalfWaveOut;
    i32 mDelayPos = 0;
    f64 mLevelState = 0.0;
    bool mGateIsOpen = false;
    f64 mGateGain = 0.0;
    f64 mGateHoldLeft = 0.0;

    // Output of the round in progress.
    std::vector<char*> mOutData;
    i64 mOutCount = 0;
};
