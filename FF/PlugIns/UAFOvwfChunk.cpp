#include "FF/PlugIns/UAFOvwfChunk.h"
#include "Cmn/Cmn_Types.h"

#include "FF/PlugIns/ChunkyFile.h"
#include "FF/PlugIns/IFile.h"
#include "FF/PlugIns/RelocatableBlock.h"

#include <cstring>
#include <ostream>

namespace
{
constexpr i64 kOverviewHeaderSize = 24;

struct OverviewHeader
{
    u32 size, version, samplesPerInterval, bitsPerInterval, channels, numIntervals;
};
static_assert(sizeof(OverviewHeader) == kOverviewHeaderSize);
} // namespace

UAFOvwfChunk::UAFOvwfChunk(ChunkyFile* owner) : Chunk(owner, kChunkId_ovwf, kOvwf)
{
    owner->SetValidBits(PlugIn::kValidOverviews);
}

i64 UAFOvwfChunk::GetSize(i32)
{
    i64 sum = 4;
    for (auto const& o : mOwner->Overviews())
        sum += o.size;
    return sum;
}

char** UAFOvwfChunk::NewBlock(i64 payloadBytes, u32 samplesPerInterval)
{
    char** block = RelocatableBlock::New(kBlockHeaderSize + payloadBytes);
    // The header is in host order and never reaches the disk.
    u16 const one = 1;
    u32 const offset = kBlockHeaderSize, zero = 0;
    std::memcpy(*block + 0, &one, 2);
    std::memcpy(*block + 2, &offset, 4);
    std::memcpy(*block + 6, &samplesPerInterval, 4);
    std::memcpy(*block + 10, &zero, 4);
    return block;
}

PlugInResult UAFOvwfChunk::Read(i64 size, i64)
{
    i64 eof = 0;
    PlugInResult r = mOwner->GetFile()->GetEOF(&eof);
    if (r != S_OK)
        return r;
    i64 sum = 4;
    u32 count;
    r = ReadExact(&count, 4);
    if (r != S_OK)
        return r;
    count = Swap32(count);

    for (u32 i = 0; i < count; ++i)
    {
        i64 start = 0;
        r = mOwner->GetFile()->GetPosition(&start);
        if (r != S_OK)
            return r;
        OverviewHeader h;
        r = ReadExact(&h, kOverviewHeaderSize);
        if (r != S_OK)
            return r;
        h.size = Swap32(h.size);
        h.version = Swap32(h.version);
        h.samplesPerInterval = Swap32(h.samplesPerInterval);
        h.bitsPerInterval = Swap32(h.bitsPerInterval);
        h.channels = Swap32(h.channels);
        h.numIntervals = Swap32(h.numIntervals);
        if (h.version != 1)
            return kAudioFile_Unimplemented;
        // An overview smaller than its own header is as damaged as one that
        // runs past the end.
        if (start + static_cast<i64>(h.size) > eof || h.size < kOverviewHeaderSize)
            return kAudioFile_BadParameter;
        sum += h.size;
        i64 const payload = static_cast<i64>(h.size) - kOverviewHeaderSize;

        // One that claims no samples per interval matches no length; one
        // made for another length of the audio is dropped once the file's
        // length is known (ChunkyFile::DoOpen).
        if (h.samplesPerInterval == 0)
        {
            r = Skip(payload);
            if (r != S_OK)
                return r;
            continue;
        }
        char** block = NewBlock(payload, h.samplesPerInterval);
        r = ReadExact(*block + kBlockHeaderSize, payload);
        if (r != S_OK)
        {
            RelocatableBlock::Dispose(block);
            return r;
        }
        PlugInOverview o;
        o.size = h.size;
        o.version = h.version;
        o.samplesPerInterval = h.samplesPerInterval;
        o.bitsPerInterval = h.bitsPerInterval;
        o.channels = h.channels;
        o.numIntervals = h.numIntervals;
        o.data = block;
        o.isNew = false;
        o.owned = true;
        mOwner->Overviews().push_back(o);
    }
    if (sum != static_cast<i64>(size))
        return kAudioFile_BadParameter;
    return S_OK;
}

PlugInResult UAFOvwfChunk::Write(i64, i64)
{
    auto const& overviews = mOwner->Overviews();
    u32 const count = Swap32(static_cast<u32>(overviews.size()));
    PlugInResult r = WriteExact(&count, 4);
    for (std::size_t i = 0; r == S_OK && i < overviews.size(); ++i)
    {
        PlugInOverview const& o = overviews[i];
        OverviewHeader const h{
            Swap32(o.size),     Swap32(o.version),     Swap32(o.samplesPerInterval), Swap32(o.bitsPerInterval),
            Swap32(o.channels), Swap32(o.numIntervals)};
        r = WriteExact(&h, kOverviewHeaderSize);
        i64 const payload = static_cast<i64>(o.size) - kOverviewHeaderSize;
        if (r == S_OK && payload > 0)
        {
            // Never write more than the block holds, whatever the record says.
            i64 const held = o.data ? RelocatableBlock::GetSize(o.data) - kBlockHeaderSize : 0;
            if (held < payload)
                return E_UNEXPECTED;
            r = WriteExact(*o.data + kBlockHeaderSize, payload);
        }
    }
    return r;
}

PlugInResult UAFOvwfChunk::Print(std::ostream& out, i64 size, i64 bodyPosition)
{
    u32 count;
    PlugInResult r = ReadExact(&count, 4);
    if (r != S_OK)
        return r;
    count = Swap32(count);
    out << "\tnumOverviews " << count << "\n";
    i64 const end = bodyPosition + size;
    for (u32 i = 0; i < count; ++i)
    {
        i64 start = 0;
        mOwner->GetFile()->GetPosition(&start);
        if (start + kOverviewHeaderSize > end)
            break;
        OverviewHeader h;
        r = ReadExact(&h, kOverviewHeaderSize);
        if (r != S_OK)
            return r;
        out << "\t\tsize " << Swap32(h.size) << "\n\t\tversion " << Swap32(h.version) << "\n\t\tsamplesPerInterval "
            << Swap32(h.samplesPerInterval) << "\n\t\tbitsPerInterval " << Swap32(h.bitsPerInterval)
            << "\n\t\tchannels " << Swap32(h.channels) << "\n\t\tnumIntervals " << Swap32(h.numIntervals) << "\n";
        if (Swap32(h.size) < kOverviewHeaderSize)
            break;
        r = Skip(static_cast<i64>(Swap32(h.size)) - kOverviewHeaderSize);
        if (r != S_OK)
            return r;
    }
    return mOwner->GetFile()->SetPosition(0, end);
}
