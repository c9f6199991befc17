#include "FF/FF_MP3AudioFile.h"

#include "Cmn/Cmn_Assert.h"
#include "Cmn/Cmn_Exception.h"
#include "FF/TMP3EncoderIF.h"

#include <string>

namespace
{
TMP3EncoderIF* spEncoderIF = nullptr;
MP3EncoderOptions sOptions;

[[noreturn]] void ThrowNotSupported()
{
    throw Cmn_TypedException<Cmn_NullExceptionData>::New(XC_FF_FileTypeNotSupported, Cmn_NullExceptionData());
}
} // namespace

FF_MP3AudioFile::FF_MP3AudioFile(Sys_FileLoc const& loc) : FF_AudioFile(loc)
{
    CMN_ASSERT(spEncoderIF != nullptr);
}

FF_MP3AudioFile::~FF_MP3AudioFile()
{
    try
    {
        if (GetOpenMode() != 0)
            Close(true);
        CMN_ASSERT(GetOpenMode() == 0);
    }
    catch (...)
    {
        // Nothing may leave a destructor; the stream is as far as it got.
    }
}

void FF_MP3AudioFile::SetupEncoder(TMP3EncoderIF* encoder)
{
    spEncoderIF = encoder;
}

TMP3EncoderIF* FF_MP3AudioFile::GetEncoder()
{
    return spEncoderIF;
}

void FF_MP3AudioFile::SetupMP3Options(MP3EncoderOptions const& options)
{
    sOptions = options;
}

MP3EncoderOptions const& FF_MP3AudioFile::GetMP3Options()
{
    return sOptions;
}

void FF_MP3AudioFile::InitInterfaces()
{
    // No handler stands behind the file: nothing is probed, nothing opened.
    mInterfacesInitialised = true;
    mInterfaceMask = eImportExportInterface;
    mFileType = Sys_FileType(std::string("mp3"));
}

bool FF_MP3AudioFile::Implements(EInterface which)
{
    return which == eImportExportInterface;
}

bool FF_MP3AudioFile::Implement(EInterface which)
{
    CMN_ASSERT(which == eImportExportInterface);
    return which == eImportExportInterface;
}

void FF_MP3AudioFile::Open(int32 mode)
{
    mSamplesWritten = 0;
    FF_AudioFile::Open(mode);
}

bool FF_MP3AudioFile::WriteOut(u8 const* bytes, int32 count)
{
    if (count <= 0)
        return true;
    return Write(bytes, count) == count;
}

void FF_MP3AudioFile::WriteStartTag()
{
    MP3EncoderOptions const& o = sOptions;
    int32 const size =
        spEncoderIF->GetTagSize(o.tagMode, o.tag1, o.tag2, o.tag3, o.tag4, o.tagValue1, o.tagValue2, o.tagValue3);
    if (size <= 0)
        return;
    std::unique_ptr<u8[]> tag(new u8[static_cast<std::size_t>(size)]);
    int32 const made = spEncoderIF->WriteTag(o.tagMode, o.tag1, o.tag2, o.tag3, o.tag4, o.tagValue1, o.tagValue2,
                                             o.tagValue3, tag.get(), size);
    if (made > 0)
        WriteOut(tag.get(), std::min(made, size));
}

void FF_MP3AudioFile::Format(Sys_FileType const& type, int32 channels, int32 samplesPerSec, int32 bitsPerSample,
                             int64 numSamples)
{
    CMN_ASSERT(mEncoderStarted == 0 && GetOpenMode() != 0);
    // The encoders take 16-bit samples, one or two channels; anything else
    // would be read as the wrong samples. It is refused here, on purpose,
    // with a clear error before anything is written, rather than met by an
    // assertion later in the middle of a conversion.
    if (bitsPerSample != 16 || channels < 1 || channels > 2)
        ThrowNotSupported();
    mSamplesWritten = 0;
    mEndTagWritten = false;
    mFormatted = true;
    mChannels = channels;
    mSamplesPerSec = samplesPerSec;
    mBitsPerSample = bitsPerSample;
    mNumSamples = numSamples;
    // Host order: the byte swap of the sample path never applies.
    mAttributes =
        FF_AudioFileAttr(type, FF_AudioFileAttr::eLittleEndian, static_cast<int16>(channels), samplesPerSec,
                         static_cast<int16>(bitsPerSample), static_cast<int16>((bitsPerSample + 7) / 8), numSamples);
    if (!spEncoderIF)
        return;
    MP3EncoderOptions const& o = sOptions;
    if (spEncoderIF->StartEncoding(samplesPerSec, channels, o.field5, o.field6, o.field2, o.field3, o.field4, o.field12,
                                   o.field10, o.field11, o.field7, o.field8, o.field9) != 0)
        return;
    mEncoderStarted = 1;
    if (!mOutput)
        mOutput.reset(new u8[static_cast<std::size_t>(mOutputCapacity)]);
    if (o.tagMode == 3)
        WriteStartTag();
    mStreamStart = GetPosition();
}

void FF_MP3AudioFile::SampleRead(void*, int64)
{
    CMN_ASSERT(false); // write-only
}

void FF_MP3AudioFile::SampleWrite(void* buffer, int64 frames, EWrite)
{
    if (mEncoderStarted == 0 && GetOpenMode() != 0)
    {
        // After a Close and Open the encoding starts again, as formatted.
        CMN_ASSERT(mFormatted);
        if (mFormatted)
            Format(Sys_FileType(std::string("mp3")), mChannels, mSamplesPerSec, mBitsPerSample, mNumSamples);
    }
    CMN_ASSERT(mEncoderStarted != 0);
    if (mEncoderStarted == 0 || frames <= 0)
    {
        if (frames > 0)
            mSamplesWritten += frames;
        return;
    }
    int64 remaining = frames * ((mBitsPerSample + 7) / 8) * mChannels;
    auto const* input = static_cast<u8 const*>(buffer);
    while (remaining > 0)
    {
        // The interface counts in 32 bits; larger writes go in pieces.
        int32 const offer = static_cast<int32>(std::min<int64>(remaining, 1 << 30));
        int32 consumed = 0;
        int32 produced = 0;
        if (spEncoderIF->EncodeBlock(input, offer, &consumed, mOutput.get(), mOutputCapacity, &produced) != 0)
            break;
        if (consumed <= 0 && produced <= 0)
            break; // an encoder that takes nothing would hold the loop for ever
        consumed = std::min(consumed, offer);
        input += consumed;
        remaining -= consumed;
        if (!WriteOut(mOutput.get(), std::min(produced, mOutputCapacity)))
            break;
    }
    mSamplesWritten += frames;
}

void FF_MP3AudioFile::Flush()
{
    // Once the stream has ended with its tag, a second Flush (the writer
    // flushes, then closes) must not append another tag behind the first.
    if (spEncoderIF && spEncoderIF->IsEncoding() && mOutput && !mEndTagWritten)
    {
        // Drain: no input until nothing more comes.
        for (;;)
        {
            int32 consumed = 0;
            int32 produced = 0;
            if (spEncoderIF->EncodeBlock(nullptr, 0, &consumed, mOutput.get(), mOutputCapacity, &produced) != 0 ||
                produced <= 0)
                break;
            if (!WriteOut(mOutput.get(), std::min(produced, mOutputCapacity)))
                break;
        }
        // The frame that describes the whole stream goes over the first one,
        // where the encoder left room for it.
        int32 const info = spEncoderIF->GetStreamInfoFrame(mOutput.get(), mOutputCapacity);
        if (info > 0)
        {
            int64 const end = GetPosition();
            SetPosition(kFromStart, mStreamStart);
            WriteOut(mOutput.get(), std::min(info, mOutputCapacity));
            SetPosition(kFromStart, end);
        }
        MP3EncoderOptions const& o = sOptions;
        if (o.tagMode == 1 || o.tagMode == 2)
        {
            int32 const size = spEncoderIF->GetTagSize(o.tagMode, o.tag1, o.tag2, o.tag3, o.tag4, o.tagValue1,
                                                       o.tagValue2, o.tagValue3);
            if (size > 0)
            {
                mTag.reset(new u8[static_cast<std::size_t>(size)]);
                int32 const made = spEncoderIF->WriteTag(o.tagMode, o.tag1, o.tag2, o.tag3, o.tag4, o.tagValue1,
                                                         o.tagValue2, o.tagValue3, mTag.get(), size);
                // With the tag written, the encoding is left open: the
                // Close that follows comes here again, and a new Format
                // starts the encoder afresh.
                if (made > 0 && WriteOut(mTag.get(), std::min(made, size)))
                {
                    mEndTagWritten = true;
                    return;
                }
            }
            mTag.reset();
        }
    }
    if (spEncoderIF)
        spEncoderIF->FinishEncoding();
    mEncoderStarted = 0;
}

void FF_MP3AudioFile::Close(bool)
{
    int32 const closing = mOpenMode;
    {
        std::lock_guard<std::mutex> lock(mOpenModeStackMutex);
        if (mOpenModeStack.empty())
            return;
        mOpenMode = mOpenModeStack.back();
        mOpenModeStack.pop_back();
    }
    if (mOpenMode != 0)
        return;
    try
    {
        if (mEncoderStarted != 0)
            Flush();
        // Deliberately cut at the end of what was written: a stream written
        // again over an older, longer one would keep the older one's tail.
        if (IsOpen() && (closing & eOpenWrite))
            Sys_File::SetEOF(GetPosition());
    }
    catch (...)
    {
        Sys_File::Close();
        mEncoderStarted = 0;
        throw;
    }
    Sys_File::Close();
    mEncoderStarted = 0;
}

void FF_MP3AudioFile::SetEOF(int64 size)
{
    if (size == 0 && mEncoderStarted != 0)
    {
        if (spEncoderIF)
            spEncoderIF->FinishEncoding();
        mEncoderStarted = 0;
    }
    Sys_File::SetEOF(size);
    if (size == 0)
    {
        SetPosition(kFromStart, 0);
        mStreamStart = 0;
    }
}

void FF_MP3AudioFile::SampleSetPosition(EOffsetFrom, int64 position)
{
    // The stream cannot seek: only where it stands is a valid position.
    CMN_ASSERT(position == mSamplesWritten);
}

int64 FF_MP3AudioFile::SampleGetPosition()
{
    return mSamplesWritten;
}

void FF_MP3AudioFile::GetRegions(std::vector<FF_ImportAudioRegion>*, bool)
{
    CMN_ASSERT(false); // an MP3 stream keeps no regions
}

FF_AudioFileAttr FF_MP3AudioFile::GetAudioFileAttr()
{
    return mAttributes;
}

std::string FF_MP3AudioFile::GetDescription(EDescriptionType)
{
    return "MP3 File";
}
