#include "FF/FF_LameMP3Encoder.h"

#include <lame/lame.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace
{
constexpr int32 kSupportedRates[] = {8000, 11025, 12000, 16000, 22050, 24000, 32000, 44100, 48000};
// The encoding library's rule for the output room of one call.
constexpr int32 kFixedRoom = 7200;
// Frames are fed in whole granules where the room allows.
constexpr int32 kGranule = 576;
constexpr int32 kId3v1Size = 128;

// ------------------------------------------------------------------ ID3v1

void PutField(std::vector<u8>& tag, std::size_t at, std::string const& text, std::size_t width)
{
    std::memcpy(tag.data() + at, text.data(), std::min(text.size(), width));
}

std::vector<u8> Id3v1(bool withTrack, std::string const& title, std::string const& artist, std::string const& album,
                      std::string const& comment, int16 year, int16 track, int16 genre)
{
    std::vector<u8> tag(kId3v1Size, 0);
    std::memcpy(tag.data(), "TAG", 3);
    PutField(tag, 3, title, 30);
    PutField(tag, 33, artist, 30);
    PutField(tag, 63, album, 30);
    if (year > 0)
        PutField(tag, 93, std::to_string(year % 10000), 4);
    if (withTrack)
    {
        // Version 1.1: the comment gives its last two bytes to a zero and
        // the track number.
        PutField(tag, 97, comment, 28);
        tag[126] = static_cast<u8>(track > 0 && track < 256 ? track : 0);
    }
    else
    {
        PutField(tag, 97, comment, 30);
    }
    tag[127] = static_cast<u8>(genre >= 0 && genre < 255 ? genre : 255);
    return tag;
}

// ------------------------------------------------------------------ ID3v2

void PutSyncSafe(std::vector<u8>& out, std::size_t value)
{
    out.push_back(static_cast<u8>((value >> 21) & 0x7F));
    out.push_back(static_cast<u8>((value >> 14) & 0x7F));
    out.push_back(static_cast<u8>((value >> 7) & 0x7F));
    out.push_back(static_cast<u8>(value & 0x7F));
}

void PutFrame(std::vector<u8>& out, char const* id, std::vector<u8> const& body)
{
    out.insert(out.end(), id, id + 4);
    PutSyncSafe(out, body.size());
    out.push_back(0);
    out.push_back(0);
    out.insert(out.end(), body.begin(), body.end());
}

void PutTextFrame(std::vector<u8>& out, char const* id, std::string const& text)
{
    if (text.empty())
        return;
    std::vector<u8> body;
    body.push_back(3); // UTF-8
    body.insert(body.end(), text.begin(), text.end());
    PutFrame(out, id, body);
}

std::vector<u8> Id3v2(std::string const& title, std::string const& artist, std::string const& album,
                      std::string const& comment, int16 year, int16 track, int16 genre)
{
    std::vector<u8> frames;
    PutTextFrame(frames, "TIT2", title);
    PutTextFrame(frames, "TPE1", artist);
    PutTextFrame(frames, "TALB", album);
    if (year > 0)
        PutTextFrame(frames, "TDRC", std::to_string(year));
    if (track > 0)
        PutTextFrame(frames, "TRCK", std::to_string(track));
    if (genre >= 0 && genre < 255)
        PutTextFrame(frames, "TCON", "(" + std::to_string(genre) + ")");
    if (!comment.empty())
    {
        std::vector<u8> body = {3, 'x', 'x', 'x', 0}; // UTF-8, no language, empty description
        body.insert(body.end(), comment.begin(), comment.end());
        PutFrame(frames, "COMM", body);
    }
    std::vector<u8> tag = {'I', 'D', '3', 4, 0, 0};
    PutSyncSafe(tag, frames.size());
    tag.insert(tag.end(), frames.begin(), frames.end());
    return tag;
}

std::vector<u8> MakeTag(int32 mode, std::string const& title, std::string const& artist, std::string const& album,
                        std::string const& comment, int16 year, int16 track, int16 genre)
{
    switch (mode)
    {
    case 1: return Id3v1(true, title, artist, album, comment, year, track, genre);
    case 2: return Id3v1(false, title, artist, album, comment, year, track, genre);
    case 3: return Id3v2(title, artist, album, comment, year, track, genre);
    default: return {};
    }
}

int Quality(int32 speed)
{
    switch (speed)
    {
    case 0: return 7;
    case 2: return 2;
    case 3: return 0;
    default: return 3;
    }
}
} // namespace

struct FF_LameMP3Encoder::Session
{
    lame_global_flags* flags = nullptr;
    int32 channels = 0;
    bool drained = false;
    bool infoFrame = false;
};

FF_LameMP3Encoder::FF_LameMP3Encoder() = default;

FF_LameMP3Encoder::~FF_LameMP3Encoder()
{
    FinishEncoding();
}

std::string FF_LameMP3Encoder::GetEncoderName() const
{
    return "LAME";
}

std::string FF_LameMP3Encoder::GetEncoderVersion() const
{
    return get_lame_version();
}

bool FF_LameMP3Encoder::IsAvailable() const
{
    return true;
}

bool FF_LameMP3Encoder::IsSupportedRate(int32 samplesPerSec)
{
    return std::find(std::begin(kSupportedRates), std::end(kSupportedRates), samplesPerSec) !=
           std::end(kSupportedRates);
}

bool FF_LameMP3Encoder::IsEncoding()
{
    return mSession != nullptr;
}

int32 FF_LameMP3Encoder::StartEncoding(int32 samplesPerSec, int32 channels, int32 option5, int32 option6, u8 option2,
                                       int32 option3, int32 option4, u8 option12, u8 option10, u8 option11,
                                       int32 option7, u8 option8, u8 option9)
{
    // A session left open (its stream ended with a tag) closes first.
    FinishEncoding();
    int32 const outRate = option6 > 0 ? option6 : samplesPerSec;
    if (!IsSupportedRate(samplesPerSec) || !IsSupportedRate(outRate) || channels < 1 || channels > 2 || option5 <= 0)
        return -1;
    lame_global_flags* f = lame_init();
    if (!f)
        return -1;
    lame_set_num_channels(f, channels);
    lame_set_in_samplerate(f, samplesPerSec);
    lame_set_out_samplerate(f, outRate);
    lame_set_mode(f, channels == 1 ? MONO : static_cast<MPEG_mode>(std::min<int>(option2, 3)));
    lame_set_quality(f, Quality(option7));
    lame_set_copyright(f, option12 ? 1 : 0);
    lame_set_original(f, option10 ? 1 : 0);
    lame_set_disable_reservoir(f, option11 ? 0 : 1);
    lame_set_emphasis(f, option9);
    lame_set_write_id3tag_automatic(f, 0);
    int const kbps = option5 / 1000;
    bool info = false;
    switch (option4)
    {
    case 1:
        lame_set_VBR(f, vbr_abr);
        lame_set_VBR_mean_bitrate_kbps(f, kbps);
        info = option8 != 0;
        break;
    case 2:
        lame_set_VBR(f, vbr_default);
        lame_set_VBR_quality(f, static_cast<float>(std::clamp(option3, 0, 100)) / 10.0f);
        info = option8 != 0;
        break;
    default:
        lame_set_VBR(f, vbr_off);
        lame_set_brate(f, kbps);
        break;
    }
    lame_set_bWriteVbrTag(f, info ? 1 : 0);
    if (lame_init_params(f) < 0)
    {
        lame_close(f);
        return -1;
    }
    mSession = new Session{f, channels, false, info};
    return 0;
}

void FF_LameMP3Encoder::FinishEncoding()
{
    if (!mSession)
        return;
    lame_close(mSession->flags);
    delete mSession;
    mSession = nullptr;
}

int32 FF_LameMP3Encoder::EncodeBlock(void const* input, int32 inputBytes, int32* consumed, u8* output, int32 capacity,
                                     int32* produced)
{
    *consumed = 0;
    *produced = 0;
    if (!mSession || !output || capacity < kFixedRoom)
        return -1;
    if (inputBytes <= 0 || !input)
    {
        // Drain: the last frames once, then nothing.
        if (mSession->drained)
            return 0;
        mSession->drained = true;
        int const n = lame_encode_flush(mSession->flags, output, capacity);
        if (n < 0)
            return -1;
        *produced = n;
        return 0;
    }
    if (mSession->drained)
        return -1; // nothing can follow the last frames
    int32 const frameBytes = 2 * mSession->channels;
    int32 const available = inputBytes / frameBytes;
    // 1.25 frames + 7200 bytes must fit the room; whole granules if possible.
    int32 room = static_cast<int32>((static_cast<int64>(capacity) - kFixedRoom) * 4 / 5);
    if (room >= kGranule)
        room -= room % kGranule;
    int32 const frames = std::min(available, room);
    if (frames <= 0)
        return available <= 0 ? 0 : -1;
    auto const* pcm = static_cast<short const*>(input);
    int const n = mSession->channels == 2 ? lame_encode_buffer_interleaved(mSession->flags, const_cast<short*>(pcm),
                                                                           frames, output, capacity)
                                          : lame_encode_buffer(mSession->flags, pcm, pcm, frames, output, capacity);
    if (n < 0)
        return -1;
    *consumed = frames * frameBytes;
    *produced = n;
    return 0;
}

int32 FF_LameMP3Encoder::GetTagSize(int32 tagMode, std::string const& tag1, std::string const& tag2,
                                    std::string const& tag3, std::string const& tag4, int16 value1, int16 value2,
                                    int16 value3)
{
    return static_cast<int32>(MakeTag(tagMode, tag1, tag2, tag3, tag4, value1, value2, value3).size());
}

int32 FF_LameMP3Encoder::WriteTag(int32 tagMode, std::string const& tag1, std::string const& tag2,
                                  std::string const& tag3, std::string const& tag4, int16 value1, int16 value2,
                                  int16 value3, u8* buffer, int32 capacity)
{
    std::vector<u8> const tag = MakeTag(tagMode, tag1, tag2, tag3, tag4, value1, value2, value3);
    if (tag.empty() || !buffer || capacity < static_cast<int32>(tag.size()))
        return 0;
    std::memcpy(buffer, tag.data(), tag.size());
    return static_cast<int32>(tag.size());
}

int32 FF_LameMP3Encoder::GetStreamInfoFrame(u8* buffer, int32 capacity)
{
    if (!mSession || !mSession->infoFrame || !mSession->drained || capacity <= 0)
        return 0;
    std::size_t const n = lame_get_lametag_frame(mSession->flags, buffer, static_cast<std::size_t>(capacity));
    return n <= static_cast<std::size_t>(capacity) ? static_cast<int32>(n) : 0;
}
