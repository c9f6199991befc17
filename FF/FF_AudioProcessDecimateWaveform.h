#pragma once

// TODO(engine): derive from FF_AudioProcess. GetProcessType answers
// kProcessConsumer at the tail of a chain and kProcessFilter with a next
// stage. ExecImpl replaces the filter's: pop the input block, Process(input,
// mOutputBlock); with a next stage push mOutputBlock to it, make the input
// block the new mOutputBlock and schedule the next stage at priority 1;
// without one Put the input block back into the pool; then answer
// kResultCompleted when IsComplete(), else kResultReady. The constructor
// names the task "FF_AudioProcessDecimateWaveform" (GetTaskName below).

#include "Cmn/Cmn_Types.h"

class FF_AudioProcessBlock;

// Reduces channel 0 of a stream to the maximum and minimum of each interval
// of mSamplesPerInterval samples, as pairs of signed bytes (maximum first):
// the overview that a display draws. Samples are reduced to 8 bits toward
// zero, so that silence stays exactly 0.
class FF_AudioProcessDecimateWaveform
{
public:
    // overview: the caller's buffer, two bytes for every interval begun; it
    // must live until the stream ends.
    FF_AudioProcessDecimateWaveform(i32 samplesPerInterval, char* overview);

    static constexpr char const* GetTaskName() { return "FF_AudioProcessDecimateWaveform"; }

    void Preflight(FF_AudioProcessBlock* block);
    void Process(FF_AudioProcessBlock* in, FF_AudioProcessBlock* out);

    i64 GetUnitsProcessed() const { return mUnitsProcessed; }
    i64 GetUnitsToProcess() const { return mUnitsToProcess; }
    bool IsComplete() const { return mUnitsProcessed == mUnitsToProcess; }

    // The 8-bit value of a sample of the given depth: 8 bits as they are;
    // 16 and 24 bits shifted down by 8 and 16 with the sign put back after,
    // and 0 up to one step of the reduced scale. Other depths assert and give 0.
    static i8 Reduce(i32 sample, int bits);

private:
    void WritePair();

    i32 mSamplesPerInterval;
    i64 mIntervalPos = 0;
    i64 mUnitsProcessed = 0;
    i64 mUnitsToProcess = 0;
    char* mOverview;
    i8 mMax = -128;
    i8 mMin = 127;
};
