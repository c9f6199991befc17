#pragma once

#include "FF/TMP3EncoderIF.h"

// The MP3 encoder of the library, over the LAME encoder library. vfl
// installs it with FF_MP3AudioFile::SetupEncoder; a host may install its own.
//
// The option fields, as StartEncoding receives them:
//   5  bit rate in bits per second: the rate of a constant-rate stream, the
//      mean of an average-rate one (default 128000)
//   6  output sample rate in Hz, 0 for the input's; the encoder resamples
//      when it differs (default 44100: hosts set it to the target rate)
//   2  channel mode: 0 stereo, 1 joint stereo, 2 dual channel, 3 mono; a
//      mono input is always encoded mono (default 1)
//   3  variable-rate quality, 0 best to 100 smallest (default 50)
//   4  bit-rate mode: 0 constant, 1 average, 2 variable (default 0)
//   12 the copyright bit of the frames (default 0)
//   10 the original bit of the frames (default 1)
//   11 the bit reservoir: 1 on, 0 off (default 1)
//   7  speed against quality: 0 fast, 1 standard (what the encoder's own
//      command line uses), 2 high, 3 best and slowest (default 1)
//   8  for average and variable rates, the frame at the start that
//      describes the whole stream (for seeking and exact length), written
//      over the first frame when the stream ends (default 1); a constant
//      rate stream gets none
//   9  de-emphasis flag: 0 none, 1 50/15 microseconds, 3 CCITT J.17
//      (default 0)
// Output sample rates are 8000, 11025, 12000, 16000, 22050, 24000, 32000,
// 44100 and 48000; one or two channels. StartEncoding fails (non-zero)
// outside these.
//
// Tags are made here, not by the encoding library (its own tag writing is
// off): mode 1 an ID3v1.1 tag (128 bytes, with the track), mode 2 an ID3v1
// tag, both for the end of the file; mode 3 an ID3v2.4 tag in UTF-8 for the
// start. Strings are title, artist, album, comment; values year, track,
// genre (negative for none).
//
// The encoding library wants 1.25 times the samples plus 7200 bytes of room
// for any call: EncodeBlock takes at most as many frames as the output room
// allows (576 frames for 8192 bytes) and says honestly what it took.
class FF_LameMP3Encoder : public TMP3EncoderIF
{
public:
    FF_LameMP3Encoder();
    ~FF_LameMP3Encoder() override;
    FF_LameMP3Encoder(FF_LameMP3Encoder const&) = delete;
    FF_LameMP3Encoder& operator=(FF_LameMP3Encoder const&) = delete;

    std::string GetEncoderName() const override;
    std::string GetEncoderVersion() const override;
    bool IsAvailable() const override;

    bool IsEncoding() override;
    int32 StartEncoding(int32 samplesPerSec, int32 channels, int32 option5, int32 option6, u8 option2, int32 option3,
                        int32 option4, u8 option12, u8 option10, u8 option11, int32 option7, u8 option8,
                        u8 option9) override;
    void FinishEncoding() override;
    int32 EncodeBlock(void const* input, int32 inputBytes, int32* consumed, u8* output, int32 capacity,
                      int32* produced) override;
    int32 GetTagSize(int32 tagMode, std::string const& tag1, std::string const& tag2, std::string const& tag3,
                     std::string const& tag4, int16 value1, int16 value2, int16 value3) override;
    int32 WriteTag(int32 tagMode, std::string const& tag1, std::string const& tag2, std::string const& tag3,
                   std::string const& tag4, int16 value1, int16 value2, int16 value3, u8* buffer,
                   int32 capacity) override;
    int32 GetStreamInfoFrame(u8* buffer, int32 capacity) override;

    // Whether the encoder takes this output rate.
    static bool IsSupportedRate(int32 samplesPerSec);

private:
    struct Session;
    Session* mSession = nullptr;
};
