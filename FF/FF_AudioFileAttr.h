#pragma once

#include "Cmn/Cmn_Types.h"
#include "Sys/Sys_FileType.h"

#include <iosfwd>

// What describes the audio of a file. The record changes only by assignment.
class FF_AudioFileAttr
{
public:
    enum EByteOrder
    {
        eBigEndian = 0,
        eLittleEndian = 1
    };

    // Only the file type is set; the numbers stay unset until assigned.
    FF_AudioFileAttr() = default;
    FF_AudioFileAttr(Sys_FileType const& fileType, EByteOrder byteOrder, int16 numChannels, int32 samplesPerSec,
                     int16 bitsPerSample, int16 bytesPerSample, int64 numSamples);
    FF_AudioFileAttr(FF_AudioFileAttr const&) = default;
    FF_AudioFileAttr& operator=(FF_AudioFileAttr const&) = default;
    virtual ~FF_AudioFileAttr() = default;

    Sys_FileType const& GetFileType() const { return mFileType; }
    EByteOrder GetByteOrder() const { return mByteOrder; }
    int16 GetNumChannels() const { return mNumChannels; }
    int32 GetSamplesPerSec() const { return mSamplesPerSec; }
    int16 GetBitsPerSample() const { return mBitsPerSample; }
    int16 GetBytesPerSample() const { return mBytesPerSample; }
    int64 GetNumSamples() const { return mNumSamples; }

    virtual void Print(std::ostream& out) const;

private:
    Sys_FileType mFileType;
    EByteOrder mByteOrder = eLittleEndian;
    int16 mNumChannels = 0;
    int32 mSamplesPerSec = 0;
    int16 mBitsPerSample = 0;
    int16 mBytesPerSample = 0;
    int64 mNumSamples = 0;
};
