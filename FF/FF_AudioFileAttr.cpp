#include "FF/FF_AudioFileAttr.h"

#include <ostream>

FF_AudioFileAttr::FF_AudioFileAttr(Sys_FileType const& fileType, EByteOrder byteOrder, int16 numChannels,
                                   int32 samplesPerSec, int16 bitsPerSample, int16 bytesPerSample, int64 numSamples)
    : mFileType(fileType), mByteOrder(byteOrder), mNumChannels(numChannels), mSamplesPerSec(samplesPerSec),
      mBitsPerSample(bitsPerSample), mBytesPerSample(bytesPerSample), mNumSamples(numSamples)
{
}

void FF_AudioFileAttr::Print(std::ostream& out) const
{
    mFileType.Print(out);
    out << (mByteOrder == eLittleEndian ? "Little Endian" : "Big Endian") << "\n"
        << mNumChannels << " Channels\n"
        << mSamplesPerSec << " Samples/Sec\n"
        << mBitsPerSample << " Bits/Sample\n"
        << mBytesPerSample << " Bytes/Sample\n"
        << static_cast<uint32>(mNumSamples) << " Samples\n"
        << static_cast<double>(mNumSamples) / mSamplesPerSec << " seconds in duration\n";
}
