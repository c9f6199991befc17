#pragma once

#include "Cmn/Cmn_Types.h"

#include <string>

// An MP3 encoder as the MP3 writer sees it. The host hands one to
// FF_MP3AudioFile::SetupEncoder; the library keeps only the pointer. One
// encoding runs at a time. Input is interleaved 16-bit samples in host order.
class TMP3EncoderIF
{
public:
    virtual ~TMP3EncoderIF() = default;
    // For the host; the writer does not call these.
    virtual std::string GetEncoderName() const = 0;
    virtual std::string GetEncoderVersion() const = 0;
    virtual bool IsAvailable() const = 0;

    // True while an encoding is open.
    virtual bool IsEncoding() = 0;
    // Opens an encoding; a session still open is closed first. The eleven
    // values are option fields 5, 6, 2, 3, 4, 12, 10, 11, 7, 8, 9, in this
    // order (see MP3EncoderOptions; what they mean is the encoder's). 0 is
    // success.
    virtual int32 StartEncoding(int32 samplesPerSec, int32 channels, int32 option5, int32 option6, u8 option2,
                                int32 option3, int32 option4, u8 option12, u8 option10, u8 option11, int32 option7,
                                u8 option8, u8 option9) = 0;
    virtual void FinishEncoding() = 0;
    // Encodes what it can of inputBytes bytes of input into at most
    // capacity bytes of output, and says how much of each it used. No input
    // drains the encoder: called until it makes nothing, it hands out the
    // last frames. 0 means go on.
    virtual int32 EncodeBlock(void const* input, int32 inputBytes, int32* consumed, u8* output, int32 capacity,
                              int32* produced) = 0;
    // The size of the tag of the given mode, and the tag itself; 0 or less
    // for none. The strings are title, artist, album and comment; the values
    // year, track and genre (negative: none).
    virtual int32 GetTagSize(int32 tagMode, std::string const& tag1, std::string const& tag2, std::string const& tag3,
                             std::string const& tag4, int16 value1, int16 value2, int16 value3) = 0;
    virtual int32 WriteTag(int32 tagMode, std::string const& tag1, std::string const& tag2, std::string const& tag3,
                           std::string const& tag4, int16 value1, int16 value2, int16 value3, u8* buffer,
                           int32 capacity) = 0;

    // After the last frames: the frame that describes the whole stream, to
    // be written over the first frame of the stream, where the encoder left
    // room for it. 0 when there is none (constant bit rates need none).
    virtual int32 GetStreamInfoFrame(u8* buffer, int32 capacity)
    {
        (void)buffer;
        (void)capacity;
        return 0;
    }
};
