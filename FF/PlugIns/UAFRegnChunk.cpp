#include "FF/PlugIns/UAFRegnChunk.h"
#include "Cmn/Cmn_Types.h"

#include "FF/PlugIns/ChunkyFile.h"
#include "FF/PlugIns/PlugInRegion.h"

#include <algorithm>
#include <cstring>
#include <ostream>

UAFRegnChunk::UAFRegnChunk(ChunkyFile* owner) : Chunk(owner, kChunkId_regn, kRegn)
{
    owner->SetValidBits(PlugIn::kValidRegions);
}

i64 UAFRegnChunk::GetSize(i32)
{
    return 4 + 88 * static_cast<i64>(mOwner->Regions().size());
}

void UAFRegnChunk::SwapRecord(PlugInRegion& region) const
{
    // The region's id is stored as it stands in memory, never swapped.
    region.startSample = Swap64(region.startSample);
    region.stopSample = Swap64(region.stopSample);
    region.syncSample = Swap64(region.syncSample);
    region.userTimeStamp = Swap64(region.userTimeStamp);
    region.originalTimeStamp = Swap64(region.originalTimeStamp);
}

PlugInResult UAFRegnChunk::Read(i64 size, i64)
{
    if (size < 4)
        return kAudioFile_Unimplemented;
    u32 count;
    PlugInResult r = ReadExact(&count, 4);
    if (r != S_OK)
        return r;
    count = Swap32(count);
    if (static_cast<u64>(size) != static_cast<u64>(count) * 88 + 4)
        return kAudioFile_Unimplemented;

    // A record of an earlier 'regn' chunk that comes again is one region:
    // a rewrite killed while it moved the chunk behind the audio leaves the
    // chunk in both places.
    std::size_t const earlier = mOwner->Regions().size();
    for (u32 i = 0; i < count; ++i)
    {
        PlugInRegion region;
        r = ReadExact(&region, 88);
        if (r != S_OK)
            return r;
        SwapRecord(region);
        auto const& regions = mOwner->Regions();
        bool const again = std::any_of(regions.begin(), regions.begin() + static_cast<std::ptrdiff_t>(earlier),
                                       [&](PlugInRegion const& e) { return std::memcmp(&e, &region, 88) == 0; });
        // Regions that do not fit the audio are dropped without comment, once
        // the file's length is known (ChunkyFile::DoOpen).
        if (region.startSample < region.stopSample && !again)
            mOwner->Regions().push_back(region);
    }
    return S_OK;
}

PlugInResult UAFRegnChunk::Write(i64, i64)
{
    auto const& regions = mOwner->Regions();
    u32 const count = Swap32(static_cast<u32>(regions.size()));
    PlugInResult r = WriteExact(&count, 4);
    for (std::size_t i = 0; r == S_OK && i < regions.size(); ++i)
    {
        PlugInRegion region = regions[i];
        SwapRecord(region);
        r = WriteExact(&region, 88);
    }
    return r;
}

PlugInResult UAFRegnChunk::Print(std::ostream& out, i64 size, i64)
{
    u32 count = 0;
    if (size < 4)
        return Skip(size);
    PlugInResult r = ReadExact(&count, 4);
    if (r != S_OK)
        return r;
    count = Swap32(count);
    out << "\tnumRegions: " << count << "\n";
    if (static_cast<u64>(size) != static_cast<u64>(count) * 88 + 4)
        return Skip(static_cast<i64>(size) - 4);
    static char const digits[] = "0123456789abcdef";
    for (u32 i = 0; i < count; ++i)
    {
        PlugInRegion region;
        r = ReadExact(&region, 88);
        if (r != S_OK)
            return r;
        SwapRecord(region);
        std::size_t const length = region.nameLength > 31 ? 31 : region.nameLength;
        out << "\tname: " << std::string(region.name, length) << "\n\t\tumid: ";
        for (auto b : region.umid)
            out << digits[b >> 4] << digits[b & 15];
        out << "\n\t\tstartSample: " << region.startSample << "\n\t\tstopSample: " << region.stopSample
            << "\n\t\tsyncSample: " << region.syncSample << "\n\t\tuserTimeStamp: " << region.userTimeStamp
            << "\n\t\torigTimeStamp: " << region.originalTimeStamp << "\n";
    }
    return S_OK;
}
