#include "FF/PlugIns/AIFFMarkerChunk.h"
#include "Cmn/Cmn_Types.h"

#include "FF/PlugIns/AIFF.h"

#include <cstring>
#include <vector>

namespace
{
constexpr i64 kRecordSize = 16;   // a written marker: 7 bytes, the 8-character name and a pad byte
constexpr i64 kMinRecordSize = 7; // id, position and the length byte
// The most that 65535 markers can take: names of 255 characters and pads.
constexpr i64 kMaxBody = 2 + 65535 * (kMinRecordSize + 255 + 1);
constexpr char kBegin[] = "beg loop";
constexpr char kEnd[] = "end loop";
static_assert(kMinRecordSize + sizeof kBegin - 1 + 1 == kRecordSize);

u16 BigEndian16(u8 const* p)
{
    return static_cast<u16>((p[0] << 8) | p[1]);
}
} // namespace

AIFFMarkerChunk::AIFFMarkerChunk(AIFF* owner) : Chunk(owner, kChunkId_MARK, kMark), mAiff(owner) {}

i32 AIFFMarkerChunk::LoopsToWrite() const
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

i64 AIFFMarkerChunk::GetSize(i32)
{
    i64 size = 2 + 2 * kRecordSize * LoopsToWrite();
    for (auto const& m : mAiff->OtherMarkers())
    {
        i64 const record = kMinRecordSize + static_cast<i64>(m.name.size());
        size += record + (record & 1);
    }
    return size;
}

PlugInResult AIFFMarkerChunk::Read(i64 size, i64)
{
    if (size < 2)
        return E_FAIL;
    i64 const bytes = size < kMaxBody ? size : kMaxBody;
    std::vector<u8> body(static_cast<std::size_t>(bytes));
    PlugInResult r = ReadExact(body.data(), bytes);
    if (r != S_OK)
        return r;
    r = Skip(static_cast<i64>(size) - bytes);
    if (r != S_OK)
        return r;

    // Computed signed: no markers need 2 bytes, not a wrapped count.
    i64 const count = BigEndian16(body.data());
    // Each marker takes at least 8 bytes (its fields, the length byte and
    // a pad); names shorter than this system's own are common.
    if (static_cast<i64>(size) < 2 + count * (kMinRecordSize + 1))
        return kAudioFile_BadParameter;

    std::vector<AIFF::Marker> markers;
    markers.reserve(static_cast<std::size_t>(count));
    i64 at = 2;
    for (i64 i = 0; i < count; ++i)
    {
        // Long names can take a marker past the end of the body, which the
        // count test above does not see: such a chunk is damaged.
        if (at + kMinRecordSize > bytes)
            return kAudioFile_BadParameter;
        u8 const* p = body.data() + at;
        i64 const length = p[6];
        if (at + kMinRecordSize + length > bytes)
            return kAudioFile_BadParameter;
        AIFF::Marker m;
        m.id = static_cast<i16>(BigEndian16(p));
        m.position =
            (static_cast<u32>(p[2]) << 24) | (static_cast<u32>(p[3]) << 16) | (static_cast<u32>(p[4]) << 8) | p[5];
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

PlugInResult AIFFMarkerChunk::Write(i64, i64)
{
    i32 const loops = LoopsToWrite();
    std::vector<AIFF::Marker> const others = mAiff->OtherMarkers();
    std::vector<u8> body(static_cast<std::size_t>(GetSize(0)), 0);
    auto const count = static_cast<u16>(others.size() + 2 * static_cast<std::size_t>(loops));
    body[0] = static_cast<u8>(count >> 8);
    body[1] = static_cast<u8>(count);
    std::size_t at = 2;
    auto put = [&](i32 id, i64 position, std::string const& name)
    {
        auto const frame = static_cast<u32>(position);
        u8* p = body.data() + at;
        p[0] = static_cast<u8>(id >> 8);
        p[1] = static_cast<u8>(id);
        p[2] = static_cast<u8>(frame >> 24);
        p[3] = static_cast<u8>(frame >> 16);
        p[4] = static_cast<u8>(frame >> 8);
        p[5] = static_cast<u8>(frame);
        p[6] = static_cast<u8>(name.size());
        std::memcpy(p + kMinRecordSize, name.data(), name.size());
        at += static_cast<std::size_t>(kMinRecordSize) + name.size();
        at += at & 1;
    };
    for (auto const& m : others)
        put(m.id, m.position, m.name);
    // Loop 1 on the first two ids past the others, loop 2 on the next two,
    // whether or not the other loop is written.
    i32 const base = mAiff->LoopMarkerBase();
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
    return WriteExact(body.data(), static_cast<i64>(body.size()));
}
