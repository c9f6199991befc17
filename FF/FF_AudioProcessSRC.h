#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/FF_AudioProcess.h"

#include <memory>
#include <vector>

class FF_AudioProcessBlock;

// Changes the sample rate of a stream by any rational ratio, with integer
// linear interpolation or a windowed-sinc filter whose table is built once for
// the rate pair. Output sample m lies at input position m * inRate / outRate,
// computed from m with exact 64-bit integers, so no phase error builds up
// over long files, and the same stream gives the same bits however it is cut
// into blocks.
class FF_AudioProcessSRC : public FF_AudioProcess
{
public:
    // The number of filter taps; 0 is linear interpolation.
    enum EQuality
    {
        kQualityLinear = 0,
        kQualitySinc17 = 17,
        kQualitySinc33 = 33,
        kQualitySinc129 = 129,
        kQualitySinc257 = 257
    };

    FF_AudioProcessSRC(i32 inRate, i32 outRate, EQuality quality);
    ~FF_AudioProcessSRC() override;
    FF_AudioProcessSRC(FF_AudioProcessSRC const&) = delete;
    FF_AudioProcessSRC& operator=(FF_AudioProcessSRC const&) = delete;

    static constexpr char const* GetTaskName() { return "FF_AudioProcessSRC"; }

    void Preflight(FF_AudioProcessBlock* block) override;
    void AllocateImpl(FF_AudioProcessBlock const& block) override;
    void Process(FF_AudioProcessBlock* in, FF_AudioProcessBlock* out) override;

    EQuality GetQuality() const { return mQuality; }
    i32 GetOversample() const { return mOversample; }
    f64 const* GetSincTable() const { return mSincTable.get(); }
    i64 GetSincTableSize() const { return mSincTableSize; }
    i64 GetOutputLength() const { return mOutputLength; }
    i32 GetRingSize() const { return mRingSize; }

private:
    friend struct FF_AudioProcessSRCTestAccess;

    void CreateSincTable();
    void ProcessLinearInterp(FF_AudioProcessBlock* in, FF_AudioProcessBlock* out);
    void ProcessSincInterp(FF_AudioProcessBlock* in, FF_AudioProcessBlock* out);
    template <int Bytes>
    void LinearChannel(char const* in, char* out, i64 numIn, bool endOfStream, i32 channel, i64 maxOut, i64& produced);
    // One channel's samples into its ring (and the zeros after the last
    // sample at the end of the stream).
    template <int Bytes> void FillRing(char const* in, i64 numIn, bool endOfStream, i32 channel);
    template <int Bytes> static void StoreSums(f64 const* sums, char* out, i64 numOut);
    // Positions and phases of this block's outputs, the same for every channel.
    i64 PlanSincOutputs(i64 numIn, bool endOfStream, i64 maxOut);
    // The sums of every output of every channel, channel c's at
    // mSums[c * mSumsStride]. Each sum is taken in tap order, whichever
    // kernel takes it.
    void SincSums(i32 channels, i64 numOut);
    void SincSumsGeneric(f64 const* ring, f64* sums, i64 first, i64 last);
    template <int Lanes> i64 SincSumsLanes(i32 const* channels, int numChannels, i64 first, i64 numOut);

    i32 mInRate;
    i32 mOutRate;
    std::unique_ptr<f64[]> mSincTable;
    EQuality mQuality;
    i32 mOversample = 1;
    i64 mInputLength = 0;
    i64 mInputPos = 0;
    i64 mOutputLength = 0;
    i64 mOutputPos = 0;
    i32 mNumChannels = 0;
    std::unique_ptr<i32[]> mLastSamples;
    // Each ring carries, after its mRingSize entries, a copy of its first
    // mQuality entries, so that a filter window starting anywhere in the ring
    // reads straight on without wrapping.
    std::vector<std::vector<f64>> mRings;
    i32 mRingSize = 0;
    i32 mRingWrite = 0;

    i64 mSincTableSize = 0;
    i64 mBlockCapacity = 0; // the largest input block, from Preflight
    i64 mPeriod = 1;        // outputs after which the phases repeat
    i64 mPeriodInputs = 1;  // input samples that one period spans
    // The table again, one row of mQuality entries per phase, in the order
    // that the taps of one output read it.
    std::vector<f64> mRows;
    // Scratch of one block, made at the first block and reused.
    std::vector<i32> mStarts;
    std::vector<i32> mPhases;
    std::vector<f64> mSums;
    i64 mSumsStride = 0;
    std::vector<f64> mLaneSums;
    std::vector<i32> mOffsets;
    std::vector<f64> mLanes;

    // Which sum kernels may run; all give the same bits, and tests run each.
    static constexpr i32 kKernelGeneric = 0;  // four outputs at a time, scalar
    static constexpr i32 kKernelPeriodic = 1; // plus lanes of equal phase, portable code
    static constexpr i32 kKernelBest = 2;     // plus the vector instructions the processor has
    static i32 sKernelLevel;
};
