#include "FF/PlugIns/VORNResourceCodec.h"
#include "Cmn/Cmn_Types.h"

#include "Sys/Sys_Umid.h"

#include <algorithm>
#include <charconv>
#include <cstring>

namespace
{
using Bytes = VORNResourceCodec::Bytes;

void Put16(Bytes& out, u32 v)
{
    out.push_back(static_cast<u8>(v >> 8));
    out.push_back(static_cast<u8>(v));
}

void Put32(Bytes& out, u32 v)
{
    Put16(out, v >> 16);
    Put16(out, v & 0xFFFF);
}

u32 Get16(u8 const* p)
{
    return static_cast<u32>(p[0]) << 8 | p[1];
}

u32 Get32(u8 const* p)
{
    return Get16(p) << 16 | Get16(p + 2);
}

// Signed 32 bits on disk, 64 in memory.
u64 GetSigned32(u8 const* p)
{
    return static_cast<u64>(static_cast<i64>(static_cast<i32>(Get32(p))));
}

std::string Trimmed(std::string const& text)
{
    std::size_t const first = text.find_first_not_of(" \t");
    if (first == std::string::npos)
        return std::string();
    return text.substr(first, text.find_last_not_of(" \t") + 1 - first);
}

template <class T> bool ParseWhole(std::string const& text, T* value)
{
    std::string const t = Trimmed(text);
    char const* const end = t.data() + t.size();
    char const* begin = t.data();
    // from_chars takes no plus sign.
    if (begin != end && *begin == '+')
        ++begin;
    T parsed{};
    auto const [ptr, ec] = std::from_chars(begin, end, parsed);
    if (ec != std::errc() || ptr != end || begin == end)
        return false;
    *value = parsed;
    return true;
}

constexpr u32 kLoopForward = 0x75;
constexpr u32 kLoopForwardBackward = 0x76;
} // namespace

// ------------------------------------------------------------------ strings

Bytes VORNResourceCodec::EncodePascalString(std::string const& text)
{
    std::size_t const length = std::min<std::size_t>(text.size(), 255);
    Bytes out;
    out.reserve(length + 1);
    out.push_back(static_cast<u8>(length));
    out.insert(out.end(), text.begin(), text.begin() + static_cast<std::ptrdiff_t>(length));
    return out;
}

bool VORNResourceCodec::DecodePascalString(Bytes const& bytes, std::string* text)
{
    if (bytes.empty() || bytes[0] + std::size_t{1} > bytes.size())
        return false;
    text->assign(bytes.begin() + 1, bytes.begin() + 1 + bytes[0]);
    return true;
}

std::string VORNResourceCodec::FormatInteger(i64 value)
{
    char buffer[24];
    auto const [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, end);
}

std::string VORNResourceCodec::FormatRate(double rate)
{
    char buffer[400];
    auto const [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, rate, std::chars_format::fixed, 6);
    return ec == std::errc() ? std::string(buffer, end) : std::string("0.000000");
}

bool VORNResourceCodec::ParseInteger(std::string const& text, i64* value)
{
    return ParseWhole(text, value);
}

bool VORNResourceCodec::ParseRate(std::string const& text, double* rate)
{
    return ParseWhole(text, rate);
}

// --------------------------------------------------------------------- umid

Bytes VORNResourceCodec::EncodeUmid(u8 const* umid)
{
    Sys_Umid id;
    std::memcpy(&id, umid, 16);
    id.SwapIfWin32();
    Bytes out(kUmidSize, 0);
    std::memcpy(out.data() + 8, &id, 16);
    return out;
}

bool VORNResourceCodec::DecodeUmid(Bytes const& bytes, u8* umid)
{
    if (bytes.size() < kUmidSize)
        return false;
    Sys_Umid id;
    std::memcpy(&id, bytes.data() + 8, 16);
    id.SwapIfWin32();
    std::memcpy(umid, &id, 16);
    return true;
}

// ---------------------------------------------------------------- overviews

Bytes VORNResourceCodec::EncodeOverview(u8 const* block, std::size_t size, u32 spi)
{
    Bytes out;
    if (size < kOverviewHeaderSize)
        return out;
    out.reserve(size);
    Put16(out, 1);
    Put32(out, kOverviewHeaderSize);
    Put32(out, spi);
    Put32(out, 0);
    out.insert(out.end(), block + kOverviewHeaderSize, block + size);
    return out;
}

bool VORNResourceCodec::DecodeOverview(Bytes const& bytes, Bytes* block, u32* samplesPerInterval)
{
    if (bytes.size() < kOverviewHeaderSize)
        return false;
    u32 const spi = Get32(bytes.data() + 6);
    if (spi == 0)
        return false;
    block->assign(bytes.begin(), bytes.end());
    i16 const version = 1;
    u32 const offset = kOverviewHeaderSize, zero = 0;
    std::memcpy(block->data(), &version, 2);
    std::memcpy(block->data() + 2, &offset, 4);
    std::memcpy(block->data() + 6, &spi, 4);
    std::memcpy(block->data() + 10, &zero, 4);
    *samplesPerInterval = spi;
    return true;
}

// ------------------------------------------------------------------ regions

Bytes VORNResourceCodec::EncodeRegions(std::vector<PlugInRegion> const& regions)
{
    Bytes out;
    out.reserve(kRegionHeaderSize + regions.size() * kRegionRecordSize);
    Put16(out, 1);
    Put32(out, 12);
    Put32(out, kRegionRecordSize);
    Put32(out, 0);
    Put32(out, static_cast<u32>(regions.size()));
    u32 index = 0;
    for (PlugInRegion const& r : regions)
    {
        Put32(out, index++);
        for (u64 v : {r.startSample, r.stopSample, r.syncSample, r.userTimeStamp, r.originalTimeStamp})
            Put32(out, static_cast<u32>(v));
        u8 name[32] = {};
        name[0] = std::min<u8>(r.nameLength, 31);
        std::memcpy(name + 1, r.name, name[0]);
        out.insert(out.end(), name, name + 32);
    }
    return out;
}

bool VORNResourceCodec::DecodeRegions(Bytes const& bytes, std::vector<PlugInRegion>* regions)
{
    regions->clear();
    if (bytes.size() < kRegionHeaderSize || (bytes.size() - kRegionHeaderSize) % kRegionRecordSize != 0)
        return false;
    u8 const* const p = bytes.data();
    if (Get16(p) != 1 || Get32(p + 2) != 12 || Get32(p + 6) != kRegionRecordSize)
        return false;
    std::size_t const count = (bytes.size() - kRegionHeaderSize) / kRegionRecordSize;
    regions->reserve(count);
    for (std::size_t i = 0; i < count; ++i)
    {
        u8 const* const rec = p + kRegionHeaderSize + i * kRegionRecordSize;
        PlugInRegion r = {};
        Sys_Umid const id = Sys_Umid::Create();
        std::memcpy(r.umid, &id, 16);
        r.startSample = GetSigned32(rec + 4);
        r.stopSample = GetSigned32(rec + 8);
        r.syncSample = GetSigned32(rec + 12);
        r.userTimeStamp = GetSigned32(rec + 16);
        r.originalTimeStamp = GetSigned32(rec + 20);
        r.nameLength = std::min<u8>(rec[24], 31);
        std::memcpy(r.name, rec + 25, r.nameLength);
        regions->push_back(r);
    }
    return true;
}

// -------------------------------------------------------------------- loops

Bytes VORNResourceCodec::EncodeLoops(PlugInInstrument const& instrument)
{
    struct Loop
    {
        i32 type;
        i64 start, stop;
        u32 which;
    };
    Loop const loops[] = {{instrument.loop1Type, instrument.loop1Start, instrument.loop1Stop, 1},
                          {instrument.loop2Type, instrument.loop2Start, instrument.loop2Stop, 2}};
    u32 count = 0;
    for (Loop const& l : loops)
        count += l.type != 0 ? 1 : 0;
    Bytes out;
    out.reserve(kLoopHeaderSize + count * kLoopRecordSize);
    Put16(out, 1);
    Put16(out, 1);
    Put16(out, 1);
    Put16(out, count);
    for (Loop const& l : loops)
    {
        if (l.type == 0)
            continue;
        Put32(out, static_cast<u32>(l.start));
        Put32(out, static_cast<u32>(l.stop));
        Put16(out, l.which);
        Put16(out, l.type == 2 ? kLoopForwardBackward : kLoopForward);
        Put16(out, 0);
    }
    return out;
}

i16 VORNResourceCodec::DecodeLoops(Bytes const& bytes, PlugInInstrument* instrument)
{
    *instrument = PlugInInstrument{};
    if (bytes.size() < kLoopHeaderSize || Get16(bytes.data()) != 1)
        return kBadLoopList;
    std::size_t const count =
        std::min<std::size_t>(Get16(bytes.data() + 6), (bytes.size() - kLoopHeaderSize) / kLoopRecordSize);
    for (std::size_t i = 0; i < count; ++i)
    {
        u8 const* const rec = bytes.data() + kLoopHeaderSize + i * kLoopRecordSize;
        auto const start = static_cast<i64>(static_cast<i32>(Get32(rec)));
        auto const stop = static_cast<i64>(static_cast<i32>(Get32(rec + 4)));
        i32 const type = Get16(rec + 10) == kLoopForwardBackward ? 2 : 1;
        switch (Get16(rec + 8))
        {
        case 1:
            instrument->loop1Type = type;
            instrument->loop1Start = start;
            instrument->loop1Stop = stop;
            break;
        case 2:
            instrument->loop2Type = type;
            instrument->loop2Start = start;
            instrument->loop2Stop = stop;
            break;
        default: break;
        }
    }
    return 0;
}
