#include "FF/PlugIns/PadChunk.h"
#include "Cmn/Cmn_Types.h"

#include "FF/PlugIns/ChunkyFile.h"
#include "FF/PlugIns/IFile.h"
#include "Sys/Sys_FileImpl.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Volume.h"

#include <ostream>

PadChunk::PadChunk(ChunkyFile* owner) : Chunk(owner, kChunkId_Elmo, kPad)
{
    // The sector size of the file's volume when it is a local disk; 512 for
    // anything else, and for a file that is not on a volume at all.
    try
    {
        Sys_FileImpl* impl = nullptr;
        if (owner->GetFile())
            owner->GetFile()->GetImpl(&impl);
        if (impl)
        {
            Sys_Volume const volume = impl->GetFileLoc().GetVolume();
            Sys_Volume::EVolumeType const type =
                volume.IsMounted() ? volume.GetVolumeType() : Sys_Volume::kVolumeTypeNone;
            if (type == Sys_Volume::kVolumeTypeFixed || type == Sys_Volume::kVolumeTypeRemovable)
            {
                i32 const bytes = volume.GetBytesPerSector();
                if (bytes > 0)
                    mSectorSize = bytes;
            }
        }
    }
    catch (...)
    {
        mSectorSize = 512;
    }
}

PlugInResult PadChunk::Read(i64 size, i64 bodyPosition)
{
    mNextAt = bodyPosition + size;
    return Skip(size);
}

PlugInResult PadChunk::Write(i64 size, i64 bodyPosition)
{
    mNextAt = bodyPosition + size;
    return Skip(size);
}

PlugInResult PadChunk::Print(std::ostream& out, i64 size, i64)
{
    out << "\t** Padding to sector boundary **\n";
    return Skip(size);
}

i64 PadChunk::GetSize(i32)
{
    // Everything in front of the first pad, on disk and then new.
    i64 sum = 0;
    bool reached = false;
    bool first = false;
    for (auto const& c : mOwner->GetChunks())
    {
        if (c->GetKind() == kPad)
        {
            reached = true;
            first = c.get() == this;
            break;
        }
        sum += c->GetTotalSize(0);
    }
    // A pad on disk keeps the audio behind it where it stands for as long as
    // it has the room, rather than putting it on a sector of this volume: a
    // file made on a disk of other sectors, or by a tool that padded its own
    // way, would otherwise have all its audio moved in place at the next
    // rewrite (and a length set before that rewrite would cut the end of
    // its audio off). For a file aligned to this volume's sectors this is
    // the size the sectors give.
    if (first && mNextAt >= 0 && mNextAt - (sum + 8) >= 1)
        return mNextAt - (sum + 8);
    if (!reached)
    {
        for (auto const& c : mOwner->GetNewChunks())
        {
            if (c->GetKind() == kPad)
                break;
            sum += c->GetTotalSize(0);
        }
    }
    sum += 8 + mOwner->DataChunkHeaderSize();
    return mSectorSize - sum % mSectorSize;
}
