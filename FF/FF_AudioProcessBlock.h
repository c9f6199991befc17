#pragma once

#include "Cmn/Cmn_Types.h"

#include <memory>
#include <vector>

// Samples of all channels of one stretch of a stream, one buffer per channel.
// Samples are signed little-endian integers of mBytesPerSample bytes, full
// scale at every width. The copy constructor is the allocator: a chain makes
// every block it circulates from one prototype, so copying means "a block big
// enough for this format", never "these samples".
class FF_AudioProcessBlock
{
public:
    FF_AudioProcessBlock() = default;
    FF_AudioProcessBlock(FF_AudioProcessBlock const& prototype);
    FF_AudioProcessBlock& operator=(FF_AudioProcessBlock const&) = delete;
    ~FF_AudioProcessBlock();

    u16 GetNumChannels() const { return mNumChannels; }
    void SetNumChannels(u16 numChannels) { mNumChannels = numChannels; }
    i32 GetSampleRate() const { return mSampleRate; }
    void SetSampleRate(i32 sampleRate) { mSampleRate = sampleRate; }
    u16 GetBitsPerSample() const { return mBitsPerSample; }
    // Also sets the bytes per sample: the bits divided by 8, rounded up.
    void SetBitsPerSample(i32 bitsPerSample);
    u16 GetBytesPerSample() const { return mBytesPerSample; }
    i64 GetNumSamples() const { return mNumSamples; }
    void SetNumSamples(i64 numSamples) { mNumSamples = numSamples; }
    i64 GetTotalSamples() const { return mTotalSamples; }
    void SetTotalSamples(i64 totalSamples) { mTotalSamples = totalSamples; }
    bool GetEndOfStream() const { return mEndOfStream; }
    void SetEndOfStream(bool endOfStream) { mEndOfStream = endOfStream; }

    char* GetChannelData(u32 index);
    char const* GetChannelData(u32 index) const;
    // Buffers actually allocated, and the bytes of each: stages check a
    // block against these before they touch its samples.
    u32 GetNumChannelBuffers() const { return static_cast<u32>(mChannelData.size()); }
    i64 GetChannelCapacity() const { return mChannelBytes; }

    // One stored sample of Bytes bytes (1 to 4), little-endian, the top byte
    // sign-extended; stores keep the low Bytes bytes of the value.
    template <int Bytes> static i32 LoadSample(char const* p)
    {
        auto const* b = reinterpret_cast<unsigned char const*>(p);
        u32 v = 0;
        for (int k = 0; k < Bytes; ++k)
            v |= static_cast<u32>(b[k]) << (8 * k);
        if constexpr (Bytes < 4)
        {
            u32 const sign = u32{1} << (8 * Bytes - 1);
            v = (v ^ sign) - sign;
        }
        return static_cast<i32>(v);
    }
    template <int Bytes> static void StoreSample(char* p, i32 value)
    {
        auto* b = reinterpret_cast<unsigned char*>(p);
        u32 const v = static_cast<u32>(value);
        for (int k = 0; k < Bytes; ++k)
            b[k] = static_cast<unsigned char>(v >> (8 * k));
    }

private:
    u16 mNumChannels = 0;
    i32 mSampleRate = 0;
    u16 mBitsPerSample = 0;
    u16 mBytesPerSample = 0;
    i64 mNumSamples = 0;
    i64 mTotalSamples = 0;
    bool mEndOfStream = false;
    std::vector<std::unique_ptr<char[]>> mChannelData;
    i64 mChannelBytes = 0;
};
