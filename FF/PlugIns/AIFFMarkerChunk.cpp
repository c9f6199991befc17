#include "FF/PlugIns/AIFFMarkerChunk.h"

#include "FF/PlugIns/AIFF.h"

#include <cstring>
#include <vector>

namespace
{
constexpr std::int64_t kRecordSize = 16;   // a written marker: 7 bytes, the 8-character name and a pad byte
constexpr std::int64_t kMinRecordSize = 7; // id, position and the length byte
// The most that 65535 markers can take: names of 255 characters and pads.
constexpr std::int64_t kMaxBody = 2 + 65535 * (kMinRecordSize + 255 + 1);
constexpr char kBegin[] = "beg loop";
constexpr char kEnd[] = "end loop";
static_assert(kMinRecordSize + sizeof kBegin - 1 + 1 == kRecordSize);

std::uint16_t BigEndian16(std::uint8_t const* p)
{
    return static_cast<std::uint16_t>((p[0] << 8) | p[1]);
}
} // namespace

AIFFMarkerChunk::AIFFMarkerChunk(AIFF* owner) : Chunk(owner, kChunkId_MARK, kMark), mAiff(owner) {}

std::int32_t AIFFMarkerChunk::LoopsToWrite() const
{
    if (!mAiff->HasInstrument())
        return 0;
    PlugInInstrument const& i = mAiff->Instrument();
    return (i.loop1Type != 0 ? 1 : 0) + (i.loop2Type != 0 ? 1 : 0);
}

bool AIFFMarkerChunk::IsObsolete()
{
    return LoopsToWrite() == 0 && !KeepsItsBytes() && mAiff->OtherMarkers().empty();
}

std::int64_t AIFFMarkerChunk::GetSize(std::int32_t)
{
    std::int64_t size = 2 + 2 * kRecordSize * LoopsToWrite();
    for (auto const& m : mAiff->OtherMarkers())
    {
        std::int64_t const record = kMinRecordSize + static_cast<std::int64_t>(m.name.size());
        size += record + (record & 1);
    }
    return size;
}

PlugInResult AIFFMarkerChunk::Read(std::int64_t size, std::int64_t)
{
    if (size < 2)
        return E_FAIL;
    std::int64_t const bytes = size < kMaxBody ? size : kMaxBody;
    std::vector<std::uint8_t> body(static_cast<std::size_t>(bytes));
    PlugInResult r = ReadExact(body.data(), bytes);
    if (r != S_OK)
        return r;
    r = Skip(static_cast<std::int64_t>(size) - bytes);
    if (r != S_OK)
        return r;

    // Computed signed: no markers need 2 bytes, not a wrapped count.
    std::int64_t const count = BigEndian16(body.data());
    // Each marker takes at least 8 bytes (its fields, the length byte and
    // a pad); names shorter than this system's own are common.
    if (static_cast<std::int64_t>(size) < 2 + count * (kMinRecordSize + 1))
        return kAudioFile_BadParameter;

    std::vector<AIFF::Marker> markers;
    markers.reserve(static_cast<std::size_t>(count));
    std::int64_t at = 2;
    for (std::int64_t i = 0; i < count; ++i)
    {
        // Long names can take a marker past the end of the body, which the
        // count test above does not see: such a chunk is damaged.
        if (at + kMinRecordSize > bytes)
            return kAudioFile_BadParameter;
        std::uint8_t const* p = body.data() + at;
        std::int64_t const length = p[6];
        if (at + kMinRecordSize + length > bytes)
            return kAudioFile_BadParameter;
        AIFF::Marker m;
        m.id = static_cast<std::int16_t>(BigEndian16(p));
        m.position = (static_cast<std::uint32_t>(p[2]) << 24) | (static_cast<std::uint32_t>(p[3]) << 16) |
                     (static_cast<std::uint32_t>(p[4]) << 8) | p[5];
        m.name.assign(reinterpret_cast<char const*>(p + kMinRecordSize), static_cast<std::size_t>(length));
        m.role = m.name == kBegin ? 1 : m.name == kEnd ? 2 : 0;
        markers.push_back(std::move(m));
        // The name is padded so that the next marker starts on an even byte.
        at += kMinRecordSize + length;
        at += at & 1;
    }
    // A second 'MARK' chunk adds to the first.
    mAiff->AddMarkers(markers);
    mAiff->ResolveLoops();
    return S_OK;
}

PlugInResult AIFFMarkerChunk::Write(std::int64_t, std::int64_t)
{
    std::int32_t const loops = LoopsToWrite();
    std::vector<AIFF::Marker> const others = mAiff->OtherMarkers();
    std::vector<std::uint8_t> body(static_cast<std::size_t>(GetSize(0)), 0);
    auto const count = static_cast<std::uint16_t>(others.size() + 2 * static_cast<std::size_t>(loops));
    body[0] = static_cast<std::uint8_t>(count >> 8);
    body[1] = static_cast<std::uint8_t>(count);
    std::size_t at = 2;
    auto put = [&](std::int32_t id, std::int64_t position, std::string const& name)
    {
        auto const frame = static_cast<std::uint32_t>(position);
        std::uint8_t* p = body.data() + at;
        p[0] = static_cast<std::uint8_t>(id >> 8);
        p[1] = static_cast<std::uint8_t>(id);
        p[2] = static_cast<std::uint8_t>(frame >> 24);
        p[3] = static_cast<std::uint8_t>(frame >> 16);
        p[4] = static_cast<std::uint8_t>(frame >> 8);
        p[5] = static_cast<std::uint8_t>(frame);
        p[6] = static_cast<std::uint8_t>(name.size());
        std::memcpy(p + kMinRecordSize, name.data(), name.size());
        at += static_cast<std::size_t>(kMinRecordSize) + name.size();
        at += at & 1;
    };
    for (auto const& m : others)
        put(m.id, m.position, m.name);
    // Loop 1 on the first two ids past the others, loop 2 on the next two,
    // whether or not the other loop is written.
    std::int32_t const base = mAiff->LoopMarkerBase();
    if (loops > 0)
    {
        PlugInInstrument const& i = mAiff->Instrument();
        if (i.loop1Type != 0)
        {
            put(base, i.loop1Start, kBegin);
            put(base + 1, i.loop1Stop, kEnd);
        }
        if (i.loop2Type != 0)
        {
            put(base + 2, i.loop2Start, kBegin);
            put(base + 3, i.loop2Stop, kEnd);
        }
    }
    return WriteExact(body.data(), static_cast<std::int64_t>(body.size()));
}
