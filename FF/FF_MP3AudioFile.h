#pragma once

#include "FF/FF_AudioFile.h"
#include "FF/MP3EncoderOptions.h"

#include <memory>

class TMP3EncoderIF;

// A write-only audio file whose samples go through an MP3 encoder straight
// into the file. It answers the same operations as any audio file, so the
// writer stage needs no special case, but no handler stands behind it: it
// offers the import/export interface alone, takes 16-bit samples in host
// order, and cannot seek, read or keep regions.
//
// The encoder and the options are process-wide: one encoding at a time.
// Encoder failures end in a shorter file, not in an exception.
class FF_MP3AudioFile : public FF_AudioFile
{
public:
    explicit FF_MP3AudioFile(Sys_FileLoc const& loc);
    ~FF_MP3AudioFile() override;

    static void SetupEncoder(TMP3EncoderIF* encoder);
    static TMP3EncoderIF* GetEncoder();
    static void SetupMP3Options(MP3EncoderOptions const& options);
    static MP3EncoderOptions const& GetMP3Options();

    bool Implements(EInterface which) override;
    bool Implement(EInterface which) override;
    void Open(int32 mode) override;
    void Flush() override;
    void Close(bool writeBack) override;
    using FF_AudioFile::Close;
    void Format(Sys_FileType const& type, int32 channels, int32 samplesPerSec, int32 bitsPerSample,
                int64 numSamples) override;
    void SampleRead(void* buffer, int64 frames) override;
    void SampleWrite(void* buffer, int64 frames, EWrite mode = eLeaveBufferInFileOrder) override;
    void SampleSetPosition(EOffsetFrom from, int64 position) override;
    int64 SampleGetPosition() override;
    void GetRegions(std::vector<FF_ImportAudioRegion>* regions, bool includeWholeFile) override;
    FF_AudioFileAttr GetAudioFileAttr() override;
    std::string GetDescription(EDescriptionType type) override;
    // Cutting the file to nothing also drops the encoding under way: an
    // abandoned conversion leaves an empty file, with no last frames or tag
    // written after the cut.
    void SetEOF(int64 size) override;

protected:
    void InitInterfaces() override;

private:
    // Writes what the encoder made; false on a short write.
    bool WriteOut(u8 const* bytes, int32 count);
    void WriteStartTag();

    int64 mSamplesWritten = 0;
    int32 mOutputCapacity = 8192;
    std::unique_ptr<u8[]> mOutput;
    int32 mEncoderStarted = 0;
    bool mFormatted = false;
    int32 mChannels = 0;
    int32 mSamplesPerSec = 0;
    int32 mBitsPerSample = 0;
    int64 mNumSamples = 0;
    // Where the first audio frame of the stream lies (behind a start tag),
    // for the frame that describes the whole stream.
    int64 mStreamStart = 0;
    std::unique_ptr<u8[]> mTag;
    bool mEndTagWritten = false;
};
