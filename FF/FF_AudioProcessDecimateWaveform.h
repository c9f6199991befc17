#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/FF_AudioProcess.h"

#include <atomic>

class FF_AudioProcessBlock;

// Reduces one channel of a stream (channel 0 unless told otherwise) to the
// maximum and minimum of each interval
// of mSamplesPerInterval samples, as pairs of signed bytes (maximum first):
// the overview that a display draws. Samples are reduced to 8 bits toward
// zero, so that silence stays exactly 0.
class FF_AudioProcessDecimateWaveform : public FF_AudioProcess
{
public:
    // overview: the caller's buffer, two bytes for every interval begun; it
    // must live until the stream ends. channel: the one to reduce; a stream
    // with fewer channels is an assertion.
    FF_AudioProcessDecimateWaveform(i32 samplesPerInterval, char* overview, i32 channel = 0);

    static constexpr char const* GetTaskName() { return "FF_AudioProcessDecimateWaveform"; }

    // A consumer at the tail of a chain, a filter with a stage behind it.
    EProcessType GetProcessType() const override;
    // A scan of a block takes less than waking a thread for it.
    bool RunsOnFeedingThread() const override { return true; }
    void Preflight(FF_AudioProcessBlock* block) override;
    // With no stage behind it, out is null and the stream ends here.
    void Process(FF_AudioProcessBlock* in, FF_AudioProcessBlock* out) override;

    // Read by the progress object from other threads.
    i64 GetUnitsProcessed() const { return mUnitsProcessed.load(std::memory_order_relaxed); }
    i64 GetUnitsToProcess() const { return mUnitsToProcess.load(std::memory_order_relaxed); }
    bool IsComplete() const { return GetUnitsProcessed() == GetUnitsToProcess(); }

    // Whether a stream of this depth can be reduced: 8, 16 and 24 bits, and
    // the depths that stand in the high bits of those widths (12 and 20
    // bits, as files hold them), taken at the width.
    static bool TakesDepth(int bits) { return bits >= 1 && bits <= 24; }

    // The 8-bit value of a sample of the given depth: 8 bits as they are;
    // 16 and 24 bits shifted down by 8 and 16 with the sign put back after,
    // and 0 up to one step of the reduced scale. Other depths assert and give 0.
    static i8 Reduce(i32 sample, int bits);

protected:
    EResult ExecImpl() override;

private:
    void WritePair();
    // The channel of one block, samples of Width bytes and Bits bits.
    template <int Width, int Bits> void Scan(char const* data, i64 n);

    i32 mSamplesPerInterval;
    i32 mChannel;
    i64 mIntervalPos = 0;
    std::atomic<i64> mUnitsProcessed{0};
    std::atomic<i64> mUnitsToProcess{0};
    char* mOverview;
    i8 mMax = -128;
    i8 mMin = 127;
};
