#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/FF_AudioFile.h"
#include "FF/FF_AudioFileAttr.h"
#include "FF/FF_AudioProcess.h"
#include "FF/FF_AudioProcessReadAhead.h"

#include <memory>
#include <vector>

class Sys_Mutex;

// The producer that feeds a chain from audio files: one file with all
// channels interleaved, or several one-channel files that form the channels
// of one stream. It reads from disk in large pieces and hands out small
// blocks, splitting interleaved frames into the block's channel buffers.
class FF_AudioProcessReadFiles : public FF_AudioProcess
{
public:
    // Divisible by the frame sizes 1, 2, 3, 4, 6 and 8, so that a block of 1
    // or 2 channels of 1, 2 or 3 bytes holds whole frames. A reader rounds
    // both sizes down to whole frames of any other size.
    static constexpr i32 cDefaultProcessBlockSize = 15360;
    // 16 blocks: the read head makes a long move only once per read.
    static constexpr i32 cDefaultReadBlockSize = 245760;
    // The most channels an interleaved file may have.
    static constexpr i32 cMaxInterleavedChannels = 64;

    // Reads length samples per channel from startSample on, in every file.
    // The read block size must be a multiple of the process block size.
    FF_AudioProcessReadFiles(std::vector<std::unique_ptr<FF_AudioFile>> audioFiles, i64 startSample, i64 length,
                             i32 processBlockSize = cDefaultProcessBlockSize,
                             i32 readBlockSize = cDefaultReadBlockSize);
    ~FF_AudioProcessReadFiles() override;

    EProcessType GetProcessType() const override;
    // Opens the files, checks that they agree, and describes the stream.
    void Preflight(FF_AudioProcessBlock* prototype) override;
    // Fills out with the next stretch of the stream; in is not used.
    void Process(FF_AudioProcessBlock* in, FF_AudioProcessBlock* out) override;

protected:
    EResult ExecImpl() override;
    void AbortImpl() override;

private:
    void Refill();
    // Reads n frames of every file into buffer, each file into its own part.
    void ReadInto(char* buffer, i64 n);

    std::vector<std::unique_ptr<FF_AudioFile>> mAudioFiles;
    std::vector<FF_AudioFile::StOpen> mOpenFiles;
    std::unique_ptr<Sys_Mutex> mMutex;
    FF_AudioFileAttr mFileAttr;
    i32 mFrameSize = 0;
    i64 mStartSample;
    i64 mLength;
    i64 mPosition = 0;
    bool mInterleaved = false;
    i32 mNumStreams = 0;
    i32 mReadBlockSize;
    i32 mProcessBlockSize;
    std::unique_ptr<char[]> mReadBuffer;
    std::unique_ptr<char*[]> mChannelReadPtrs;
    char* mInterleavedReadPtr = nullptr;
    i32 mSamplesInBuffer = 0;
    // Set by AbortImpl under mMutex: the files are gone.
    bool mAborted = false;
    // The next read, under way while the blocks of this one go out: the
    // frames it reads and the buffer it reads into.
    i64 mAheadFrames = 0;
    std::unique_ptr<char[]> mAheadBuffer;
    // Last, so that it is gone, its read waited for, before the files and
    // the buffers.
    FF_AudioProcessReadAhead mAhead;
};
