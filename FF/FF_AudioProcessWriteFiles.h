#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/FF_AudioFile.h"
#include "FF/FF_AudioProcess.h"

#include <atomic>
#include <cstddef>
#include <memory>
#include <vector>

class Sys_Mutex;

// The consumer that ends a chain in audio files: one file per channel, or
// one file with the channels interleaved. It counts the samples it writes
// and so decides when the chain is done, and it is the source of the
// chain's percentage (FF_AudioProcessChain::UnitsProcessed).
//
// On abort it empties the files it writes: an aborted conversion leaves
// empty files, never files of partial audio. The files must have been
// formatted by the caller.
class FF_AudioProcessWriteFiles : public FF_AudioProcess
{
public:
    // Writing begins at startSample in every file.
    FF_AudioProcessWriteFiles(std::vector<std::unique_ptr<FF_AudioFile>> audioFiles, i64 startSample);
    ~FF_AudioProcessWriteFiles() override;

    EProcessType GetProcessType() const override;
    // Opens the files for writing and checks them against the stream.
    void Preflight(FF_AudioProcessBlock* prototype) override;
    // Writes in's samples; out is not used.
    void Process(FF_AudioProcessBlock* in, FF_AudioProcessBlock* out) override;

    // Any thread.
    u64 GetUnitsToProcess() const { return mUnitsToProcess.load(std::memory_order_relaxed); }
    u64 GetUnitsProcessed() const { return mUnitsProcessed.load(std::memory_order_relaxed); }

protected:
    EResult ExecImpl() override;
    void AbortImpl() override;

private:
    // Closes what the stage holds open, each file whatever the others do;
    // with report, the first failure is thrown once all are closed.
    void CloseFiles(bool report);

    std::vector<std::unique_ptr<FF_AudioFile>> mAudioFiles;
    // How many of the files, from the first, this stage holds open.
    std::size_t mOpened = 0;
    std::unique_ptr<Sys_Mutex> mMutex;
    i64 mStartSample;
    std::atomic<u64> mUnitsToProcess{0};
    std::atomic<u64> mUnitsProcessed{0};
    std::unique_ptr<char[]> mInterleaveBuffer;
    // The stream's channels and sample width as the files take them.
    i32 mNumChannels = 0;
    i32 mBytesPerSample = 0;
    i64 mInterleaveFrames = 0;
    // Frames interleaved but not yet written.
    i64 mBufferedFrames = 0;
    // Set by AbortImpl under mMutex: the files are emptied and closed.
    bool mAborted = false;
};
