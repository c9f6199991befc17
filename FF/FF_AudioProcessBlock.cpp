#include "FF/FF_AudioProcessBlock.h"

#include "Cmn/Cmn_Assert.h"

FF_AudioProcessBlock::FF_AudioProcessBlock(FF_AudioProcessBlock const& prototype)
    : mNumChannels(prototype.mNumChannels), mSampleRate(prototype.mSampleRate),
      mBitsPerSample(prototype.mBitsPerSample), mBytesPerSample(prototype.mBytesPerSample),
      mNumSamples(prototype.mNumSamples), mTotalSamples(prototype.mTotalSamples), mEndOfStream(false)
{
    CMN_ASSERT(mNumSamples >= 0);
    i64 const bytes = mNumSamples > 0 ? mNumSamples * static_cast<i64>(mBytesPerSample) : 0;
    mChannelData.resize(mNumChannels);
    for (auto& buffer : mChannelData)
        buffer = std::make_unique<char[]>(static_cast<std::size_t>(bytes));
    mChannelBytes = bytes;
}

FF_AudioProcessBlock::~FF_AudioProcessBlock() = default;

void FF_AudioProcessBlock::SetBitsPerSample(i32 bitsPerSample)
{
    CMN_ASSERT(bitsPerSample > 0 && bitsPerSample < 65536);
    if (bitsPerSample <= 0 || bitsPerSample >= 65536)
        return;
    mBitsPerSample = static_cast<u16>(bitsPerSample);
    mBytesPerSample = static_cast<u16>((bitsPerSample + 7) / 8);
}

char* FF_AudioProcessBlock::GetChannelData(u32 index)
{
    CMN_ASSERT(index < mChannelData.size());
    return index < mChannelData.size() ? mChannelData[index].get() : nullptr;
}

char const* FF_AudioProcessBlock::GetChannelData(u32 index) const
{
    CMN_ASSERT(index < mChannelData.size());
    return index < mChannelData.size() ? mChannelData[index].get() : nullptr;
}
