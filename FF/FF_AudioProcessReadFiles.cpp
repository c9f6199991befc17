#include "FF/FF_AudioProcessReadFiles.h"

#include "FF/FF_AudioProcessBlock.h"
#include "FF/FF_AudioProcessInterleave.h"
#include "Sys/Sys_Mutex.h"
#include "Sys/Sys_StAcquireMutex.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

namespace
{

// A producer hands its block on at this priority, behind the blocks that
// filters are passing on.
constexpr int32 kProducerPassOnPriority = 0;

// Splits frames of Bytes-byte samples into one buffer per channel. One pass
// per channel, so that each inner loop is a plain strided copy.
template <int Bytes> void Deinterleave(char const* source, char* const* channels, i32 numChannels, i64 frames)
{
    i64 const frameSize = static_cast<i64>(Bytes) * numChannels;
    for (i32 c = 0; c < numChannels; ++c)
    {
        char const* from = source + static_cast<i64>(c) * Bytes;
        char* to = channels[c];
        for (i64 i = 0; i < frames; ++i)
            std::memcpy(to + i * Bytes, from + i * frameSize, Bytes);
    }
}

void DeinterleaveAnyWidth(char const* source, char* const* channels, i32 numChannels, i64 frames, i32 bytes)
{
    i64 const frameSize = static_cast<i64>(bytes) * numChannels;
    for (i32 c = 0; c < numChannels; ++c)
    {
        char const* from = source + static_cast<i64>(c) * bytes;
        char* to = channels[c];
        for (i64 i = 0; i < frames; ++i)
            std::memcpy(to + i * bytes, from + i * frameSize, static_cast<std::size_t>(bytes));
    }
}

} // namespace

FF_AudioProcessReadFiles::FF_AudioProcessReadFiles(std::vector<std::unique_ptr<FF_AudioFile>> audioFiles,
                                                   i64 startSample, i64 length, i32 processBlockSize, i32 readBlockSize)
    : mAudioFiles(std::move(audioFiles)), mMutex(Sys_Mutex::Create(Sys_Mutex::kMutexPlain)), mStartSample(startSample),
      mLength(length), mReadBlockSize(readBlockSize), mProcessBlockSize(processBlockSize)
{
    Require(processBlockSize > 0 && readBlockSize > 0, "the block sizes of a file reader must be positive");
    Require(readBlockSize % processBlockSize == 0,
            "the read block size of a file reader must be a multiple of its process block size");
    Require(startSample >= 0 && length >= 0, "a file reader needs a start and a length that are not negative");
    Require(!mAudioFiles.empty(), "a file reader needs at least one file");
    for (auto const& file : mAudioFiles)
        Require(file != nullptr, "a file reader was given a null file");
    SetName("FF_AudioProcessReadFiles");
}

FF_AudioProcessReadFiles::~FF_AudioProcessReadFiles() = default;

FF_AudioProcess::EProcessType FF_AudioProcessReadFiles::GetProcessType() const
{
    return kProcessProducer;
}

void FF_AudioProcessReadFiles::Preflight(FF_AudioProcessBlock* prototype)
{
    Require(mOpenFiles.empty(), "a file reader is shown a prototype twice");
    Require(mAudioFiles.size() <= std::numeric_limits<u16>::max(), "a file reader was given too many files");
    // Room for every guard up front: a guard that moved would open and close.
    mOpenFiles.reserve(mAudioFiles.size());
    i32 bytesPerSample = 0;
    i32 channels = 0;
    for (std::size_t i = 0; i < mAudioFiles.size(); ++i)
    {
        FF_AudioFile& file = *mAudioFiles[i];
        mOpenFiles.emplace_back(&file, FF_AudioFile::eOpenRead);
        Require(file.Implements(FF_AudioFile::eImportExportInterface), "a file to read is in no known audio format");
        mFileAttr = file.GetAudioFileAttr();
        if (i == 0)
        {
            bytesPerSample = mFileAttr.GetBytesPerSample();
            channels = mFileAttr.GetNumChannels();
        }
        Require(mFileAttr.GetBytesPerSample() == bytesPerSample && mFileAttr.GetNumChannels() == channels,
                "the files of one stream differ in their sample width or channels");
        i64 const frames = mFileAttr.GetNumSamples();
        Require(mLength <= frames && mStartSample <= frames - mLength,
                "a file to read is shorter than the stretch to read");
        file.SampleSetPosition(Sys_File::kFromStart, mStartSample);
    }
    Require(bytesPerSample >= 1 && channels >= 1, "a file to read has no samples of any width");

    mFrameSize = bytesPerSample * channels;
    Require(mProcessBlockSize >= mFrameSize, "the process block size of a file reader holds no whole frame");
    // Frames of 9, 14, 18, 21 or 36 bytes (24 bits in 3, 6, 7 or 12
    // channels, 16 bits in 7) do not divide the block sizes: both shrink to
    // whole frames, a read still being a whole number of blocks. Where the
    // frame divides the process block, the sizes stay as they are.
    i32 const blocksPerRead = mReadBlockSize / mProcessBlockSize;
    mProcessBlockSize -= mProcessBlockSize % mFrameSize;
    mReadBlockSize = mProcessBlockSize * blocksPerRead;
    if (channels < 2)
    {
        mNumStreams = static_cast<i32>(mAudioFiles.size());
        mReadBuffer =
            std::make_unique<char[]>(static_cast<std::size_t>(static_cast<i64>(mReadBlockSize) * mNumStreams));
        mChannelReadPtrs = std::make_unique<char*[]>(static_cast<std::size_t>(mNumStreams));
    }
    else
    {
        Require(mAudioFiles.size() == 1, "only one file of a stream may have several channels");
        Require(channels <= cMaxInterleavedChannels, "a file to read has more channels than a reader can split");
        mNumStreams = channels;
        mInterleaved = true;
        mReadBuffer = std::make_unique<char[]>(static_cast<std::size_t>(mReadBlockSize));
    }

    prototype->SetNumChannels(static_cast<u16>(mNumStreams));
    prototype->SetSampleRate(mFileAttr.GetSamplesPerSec());
    prototype->SetBitsPerSample(mFileAttr.GetBitsPerSample());
    prototype->SetNumSamples(mProcessBlockSize / mFrameSize);
    prototype->SetTotalSamples(mLength);
}

Sys_Task::EResult FF_AudioProcessReadFiles::ExecImpl()
{
    // Asked before mMutex is taken: Abort holds the task's lock while it
    // waits for mMutex in AbortImpl, so the two are never taken the other
    // way round.
    if (IsAbortRequested())
        return kResultAborted;
    Sys_StAcquireMutex lock(mMutex.get());
    if (mAborted)
        return kResultAborted;

    // Really blocks this thread while the pool is empty; AbortImpl can get
    // mMutex only once the abort event has ended the wait.
    BlockPtr block = WaitForPoolBlock();
    if (!block)
        return kResultAborted;

    block->SetNumChannels(static_cast<u16>(mNumStreams));
    block->SetSampleRate(mFileAttr.GetSamplesPerSec());
    block->SetBitsPerSample(mFileAttr.GetBitsPerSample());
    block->SetTotalSamples(mLength);
    block->SetEndOfStream(false);
    Process(block.get(), block.get());
    PassOn(std::move(block), kProducerPassOnPriority);

    if (mPosition == mLength && mSamplesInBuffer == 0)
    {
        mOpenFiles.clear();
        return kResultCompleted;
    }
    return kResultReady;
}

void FF_AudioProcessReadFiles::AbortImpl()
{
    // Wakes an ExecImpl that waits on the pool, which holds mMutex; the
    // chain does this itself before it aborts its stages.
    if (GetAbortEvent())
        GetAbortEvent()->Set();
    Sys_StAcquireMutex lock(mMutex.get());
    mAborted = true;
    // A read under way ends before its file closes; what it found no
    // longer matters.
    mAhead.WaitQuietly();
    mOpenFiles.clear();
}

void FF_AudioProcessReadFiles::Refill()
{
    i64 n;
    if (mAhead.IsPending())
    {
        mAhead.Wait();
        std::swap(mReadBuffer, mAheadBuffer);
        n = mAheadFrames;
    }
    else
    {
        n = std::min<i64>(mReadBlockSize / mFrameSize, mLength - mPosition);
        ReadInto(mReadBuffer.get(), n);
    }
    if (mInterleaved)
        mInterleavedReadPtr = mReadBuffer.get();
    else
    {
        for (i32 i = 0; i < mNumStreams; ++i)
            mChannelReadPtrs[i] = mReadBuffer.get() + static_cast<i64>(i) * n * mFrameSize;
    }
    mSamplesInBuffer = static_cast<i32>(n);
    mPosition += n;

    // The next read runs on while these frames are handed out.
    mAheadFrames = std::min<i64>(mReadBlockSize / mFrameSize, mLength - mPosition);
    if (mAheadFrames == 0)
        return;
    if (!mAheadBuffer)
        mAheadBuffer = std::make_unique_for_overwrite<char[]>(
            static_cast<std::size_t>(static_cast<i64>(mReadBlockSize) * (mInterleaved ? 1 : mNumStreams)));
    mAhead.Start([this, buffer = mAheadBuffer.get(), frames = mAheadFrames] { ReadInto(buffer, frames); });
}

void FF_AudioProcessReadFiles::ReadInto(char* buffer, i64 n)
{
    if (mInterleaved)
    {
        mAudioFiles[0]->SampleRead(buffer, n);
        return;
    }
    // Each file into its own part of the buffer, one after the other.
    for (i32 i = 0; i < mNumStreams; ++i)
        mAudioFiles[static_cast<std::size_t>(i)]->SampleRead(buffer + static_cast<i64>(i) * n * mFrameSize, n);
}

void FF_AudioProcessReadFiles::Process(FF_AudioProcessBlock*, FF_AudioProcessBlock* out)
{
    Require(mFrameSize > 0, "a file reader runs without having been shown a prototype");
    if (mSamplesInBuffer == 0)
        Refill();
    i32 const take = std::min(mProcessBlockSize / mFrameSize, mSamplesInBuffer);
    i32 const bytesPerSample = mFrameSize / (mInterleaved ? mNumStreams : 1);
    Require(out->GetNumChannelBuffers() >= static_cast<u32>(mNumStreams) &&
                out->GetChannelCapacity() >= static_cast<i64>(take) * bytesPerSample,
            "a block is too small for what a file reader puts in it");

    if (mInterleaved)
    {
        char* channels[cMaxInterleavedChannels];
        for (i32 c = 0; c < mNumStreams; ++c)
            channels[c] = out->GetChannelData(static_cast<u32>(c));
        switch (mNumStreams == 2 && bytesPerSample <= 3 ? 0 : bytesPerSample)
        {
        case 0: FF_DeinterleaveStereo(mInterleavedReadPtr, channels[0], channels[1], take, bytesPerSample); break;
        case 1: Deinterleave<1>(mInterleavedReadPtr, channels, mNumStreams, take); break;
        case 2: Deinterleave<2>(mInterleavedReadPtr, channels, mNumStreams, take); break;
        case 3: Deinterleave<3>(mInterleavedReadPtr, channels, mNumStreams, take); break;
        case 4: Deinterleave<4>(mInterleavedReadPtr, channels, mNumStreams, take); break;
        default: DeinterleaveAnyWidth(mInterleavedReadPtr, channels, mNumStreams, take, bytesPerSample); break;
        }
        mInterleavedReadPtr += static_cast<i64>(take) * mFrameSize;
    }
    else
    {
        std::size_t const bytes = static_cast<std::size_t>(take) * static_cast<std::size_t>(mFrameSize);
        for (i32 i = 0; i < mNumStreams; ++i)
        {
            std::memcpy(out->GetChannelData(static_cast<u32>(i)), mChannelReadPtrs[i], bytes);
            mChannelReadPtrs[i] += bytes;
        }
    }

    mSamplesInBuffer -= take;
    Require(mSamplesInBuffer >= 0, "a file reader handed out more samples than it had read");
    out->SetNumSamples(take);
    if (mPosition == mLength && mSamplesInBuffer == 0)
        out->SetEndOfStream(true);
}
