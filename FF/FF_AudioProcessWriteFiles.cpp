#include "FF/FF_AudioProcessWriteFiles.h"

#include "FF/FF_AudioProcessBlock.h"
#include "FF/FF_AudioProcessInterleave.h"
#include "Sys/Sys_Mutex.h"
#include "Sys/Sys_StAcquireMutex.h"

#include <cstring>
#include <exception>

namespace
{

// An interleaved file is written this many blocks at a time: one call to
// the system per block would cost about as much as the copy itself.
constexpr i64 kBlocksPerWrite = 16;

// Puts one channel's samples into every numChannels-th place of the
// interleave buffer, starting at the channel's own place.
template <int Bytes> void InterleaveChannel(char const* from, char* to, i32 numChannels, i64 frames)
{
    i64 const frameSize = static_cast<i64>(Bytes) * numChannels;
    for (i64 i = 0; i < frames; ++i)
        std::memcpy(to + i * frameSize, from + i * Bytes, Bytes);
}

void InterleaveChannelAnyWidth(char const* from, char* to, i32 numChannels, i64 frames, i32 bytes)
{
    i64 const frameSize = static_cast<i64>(bytes) * numChannels;
    for (i64 i = 0; i < frames; ++i)
        std::memcpy(to + i * frameSize, from + i * bytes, static_cast<std::size_t>(bytes));
}

} // namespace

FF_AudioProcessWriteFiles::FF_AudioProcessWriteFiles(std::vector<std::unique_ptr<FF_AudioFile>> audioFiles,
                                                     i64 startSample)
    : mAudioFiles(std::move(audioFiles)), mMutex(Sys_Mutex::Create(Sys_Mutex::kMutexPlain)), mStartSample(startSample)
{
    Require(startSample >= 0, "a file writer needs a start that is not negative");
    Require(!mAudioFiles.empty(), "a file writer needs at least one file");
    for (auto const& file : mAudioFiles)
        Require(file != nullptr, "a file writer was given a null file");
    SetName("FF_AudioProcessWriteFiles");
}

FF_AudioProcessWriteFiles::~FF_AudioProcessWriteFiles()
{
    CloseFiles(false);
}

void FF_AudioProcessWriteFiles::CloseFiles(bool report)
{
    // Not through guards in a container: a close whose write-back fails
    // throws, and a throw out of a container's clear ends the process.
    std::exception_ptr first;
    for (; mOpened > 0; --mOpened)
    {
        try
        {
            mAudioFiles[mOpened - 1]->Close();
        }
        catch (...)
        {
            if (!first)
                first = std::current_exception();
        }
    }
    if (first && report)
        std::rethrow_exception(first);
}

FF_AudioProcess::EProcessType FF_AudioProcessWriteFiles::GetProcessType() const
{
    return kProcessConsumer;
}

void FF_AudioProcessWriteFiles::Preflight(FF_AudioProcessBlock* prototype)
{
    Require(mOpened == 0 && !mAborted, "a file writer is shown a prototype twice");
    i32 const channels = prototype->GetNumChannels();
    i32 const bytesPerSample = prototype->GetBytesPerSample();
    Require(channels >= 1 && bytesPerSample >= 1, "a file writer is offered a stream without samples");
    Require(prototype->GetTotalSamples() >= 0 && prototype->GetNumSamples() >= 0,
            "a file writer is offered a stream of a negative length");

    for (auto const& file : mAudioFiles)
    {
        file->Open(FF_AudioFile::eOpenRead | FF_AudioFile::eOpenWrite);
        ++mOpened;
        Require(file->Implements(FF_AudioFile::eImportExportInterface), "a file to write is in no known audio format");
    }
    i32 const firstChannels = mAudioFiles.front()->GetAudioFileAttr().GetNumChannels();
    bool const oneFileOfAllChannels = mAudioFiles.size() == 1 && firstChannels == channels;
    Require(oneFileOfAllChannels || mAudioFiles.size() == static_cast<std::size_t>(channels),
            "the files to write do not match the channels of the stream");
    for (auto const& file : mAudioFiles)
    {
        FF_AudioFileAttr const attr = file->GetAudioFileAttr();
        // Anything else would make SampleWrite read past the block's buffers.
        Require(attr.GetBytesPerSample() == bytesPerSample, "a file to write differs from the stream in sample width");
        Require(oneFileOfAllChannels || attr.GetNumChannels() == 1,
                "a file that takes one channel of a stream has several channels");
    }

    mNumChannels = channels;
    mBytesPerSample = bytesPerSample;
    mUnitsToProcess.store(static_cast<u64>(prototype->GetTotalSamples()), std::memory_order_relaxed);
    for (auto const& file : mAudioFiles)
        file->SampleSetPosition(Sys_File::kFromStart, mStartSample);
    if (static_cast<std::size_t>(channels) != mAudioFiles.size())
    {
        mInterleaveFrames = prototype->GetNumSamples() * kBlocksPerWrite;
        mInterleaveBuffer = std::make_unique<char[]>(
            static_cast<std::size_t>(mInterleaveFrames * static_cast<i64>(bytesPerSample) * channels));
    }
    // The prototype is left alone: a writer produces nothing.
}

Sys_Task::EResult FF_AudioProcessWriteFiles::ExecImpl()
{
    // Asked before mMutex is taken, never under it: Abort holds the task's
    // lock while AbortImpl waits for mMutex.
    if (IsAbortRequested())
        return kResultAborted;
    Sys_StAcquireMutex lock(mMutex.get());
    if (mAborted)
        return kResultAborted;
    Require(GetProcessBlockPool() != nullptr, "a file writer runs without the chain's pool of blocks");

    BlockPtr block = GetInputQueue().Pop();
    Require(block != nullptr, "a file writer was scheduled without a block");
    Process(block.get(), nullptr);
    // Also lets the producer go on, should it wait for a block.
    ReturnToPool(std::move(block));

    u64 const processed = GetUnitsProcessed();
    u64 const toProcess = GetUnitsToProcess();
    Require(processed <= toProcess, "a file writer got more samples than the stream has");
    if (processed < toProcess)
        return kResultReady;

    // A failed write-back of the files' headers, or of their bytes, fails
    // the stage here.
    for (auto const& file : mAudioFiles)
        file->Flush();
    CloseFiles(true);
    return kResultCompleted;
}

void FF_AudioProcessWriteFiles::AbortImpl()
{
    Sys_StAcquireMutex lock(mMutex.get());
    if (mAborted)
        return;
    mAborted = true;
    bool const wrote = mNumChannels > 0;
    if (wrote)
    {
        for (auto const& file : mAudioFiles)
        {
            // An abort must reach every file and every stage, so a file that
            // cannot be emptied is left as it is; the assembler of the chain
            // deletes the files of an aborted conversion anyway.
            try
            {
                if (file->Implements(FF_AudioFile::eNativeInterface))
                    file->SetNumSamples(0);
                else
                    file->SetEOF(0); // a stream file is emptied by cutting it
            }
            catch (...)
            {
            }
        }
    }
    CloseFiles(false);
}

void FF_AudioProcessWriteFiles::Process(FF_AudioProcessBlock* in, FF_AudioProcessBlock*)
{
    Require(mNumChannels > 0, "a file writer runs without having been shown a prototype");
    i64 const n = in->GetNumSamples();
    Require(in->GetNumChannels() == mNumChannels && in->GetBytesPerSample() == mBytesPerSample,
            "a block differs in its format from the stream a file writer was shown");
    Require(n >= 0 && in->GetNumChannelBuffers() >= static_cast<u32>(mNumChannels) &&
                n * mBytesPerSample <= in->GetChannelCapacity(),
            "a block holds more samples than its buffers");
    Require(static_cast<u64>(n) <= GetUnitsToProcess() - GetUnitsProcessed(),
            "a file writer got more samples than the stream has");

    if (static_cast<std::size_t>(mNumChannels) == mAudioFiles.size())
    {
        // One file per channel: straight from the block, no copy. The
        // buffer may come back in file order; the block has no more use for
        // these samples.
        for (i32 c = 0; c < mNumChannels; ++c)
            mAudioFiles[static_cast<std::size_t>(c)]->SampleWrite(in->GetChannelData(static_cast<u32>(c)), n,
                                                                  FF_AudioFile::eLeaveBufferInFileOrder);
    }
    else
    {
        // Whatever a block holds fits: the buffer is sized for the largest
        // block, many times over, and is written out before it could not.
        Require(n <= mInterleaveFrames - mBufferedFrames,
                "a block holds more samples than a file writer can interleave");
        char* const buffer =
            mInterleaveBuffer.get() + mBufferedFrames * static_cast<i64>(mBytesPerSample) * mNumChannels;
        if (mNumChannels == 2 && mBytesPerSample <= 3)
        {
            FF_InterleaveStereo(in->GetChannelData(0), in->GetChannelData(1), buffer, n, mBytesPerSample);
        }
        else
        {
            for (i32 c = 0; c < mNumChannels; ++c)
            {
                char const* from = in->GetChannelData(static_cast<u32>(c));
                char* to = buffer + static_cast<i64>(c) * mBytesPerSample;
                switch (mBytesPerSample)
                {
                case 1: InterleaveChannel<1>(from, to, mNumChannels, n); break;
                case 2: InterleaveChannel<2>(from, to, mNumChannels, n); break;
                case 3: InterleaveChannel<3>(from, to, mNumChannels, n); break;
                case 4: InterleaveChannel<4>(from, to, mNumChannels, n); break;
                default: InterleaveChannelAnyWidth(from, to, mNumChannels, n, mBytesPerSample); break;
                }
            }
        }
        mBufferedFrames += n;
        // Written when the next block might not fit, and at the end of the
        // stream, before the files are flushed.
        bool const last = static_cast<u64>(n) == GetUnitsToProcess() - GetUnitsProcessed();
        if (last || mInterleaveFrames - mBufferedFrames < mInterleaveFrames / kBlocksPerWrite)
        {
            mAudioFiles.front()->SampleWrite(mInterleaveBuffer.get(), mBufferedFrames,
                                             FF_AudioFile::eLeaveBufferInFileOrder);
            mBufferedFrames = 0;
        }
    }
    mUnitsProcessed.store(GetUnitsProcessed() + static_cast<u64>(n), std::memory_order_relaxed);
}
