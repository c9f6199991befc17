// One chunk of a chunked audio file: an 8-byte header and a body. The
// object knows its class (kind), where it stood on disk and how to read,
// write and print its body; the walk over the file is ChunkyFile's.
#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/PlugIns/ChunkId.h"
#include "FF/PlugIns/PlugInResult.h"

#include <cstdint>
#include <iosfwd>
#include <vector>

class ChunkyFile;

class Chunk
{
public:
    enum EKind : i32
    {
        kUnknown = 0,
        kCorrupt = 1,
        kFileHeader = 2,
        kEbu = 3,
        kUmid = 4,
        kMinf = 5,
        kRegn = 6,
        kOvwf = 7,
        kOmfi = 8, // no class builds it
        kPad = 9,
        kInstrument = 10,
        kAudioData = 11,
        kFmt = 12,
        kComm = 13,
        kMark = 14,
        kDs64 = 15,
        kVersion = 16,
        kFiller = 17, // made by a flush only; read back as kUnknown
    };

    // Chunks made afresh from the cache at every flush answer this from
    // ValueBits: their bytes are the handler's own.
    static constexpr u64 kAlwaysWritten = ~u64{0};
    // The most bytes of one chunk that are held in memory while it has no
    // place on disk (behind an audio chunk that grows).
    static constexpr i64 kMaxHeldBytes = i64{64} << 20;

    Chunk(ChunkyFile* owner, ChunkId id, i32 kind = kUnknown);
    Chunk(Chunk const&) = delete;
    Chunk& operator=(Chunk const&) = delete;

    virtual ~Chunk();

    // What a chunk class of a format overrides (see CONTRIBUTING, "Adding a
    // format handler"): all but GetFileSize, whose base answers are
    // assertions. The file stands at bodyPosition when each is called, and
    // size is the body's size as the header gives it (Read, Print) or as
    // GetSize(1) answered (Write).

    // The size of the body this chunk would write now, from the handler's
    // cached values; a chunk that keeps its bytes answers the size it was
    // read with. The default: the size it was read with.
    virtual i64 GetFileSize();
    // True when the next flush should leave the chunk out (its values are
    // gone, or another chunk now carries them).
    virtual bool IsObsolete();
    // Takes the body into the handler's cache. Malformed contents answer a
    // failure code and leave the cache as it was; the walk then keeps the
    // chunk's bytes as an unknown chunk.
    virtual PlugInResult Read(i64 size, i64 bodyPosition);
    // Writes the body from the handler's cache, exactly size bytes (the pad
    // byte is the caller's). Not called while KeepsItsBytes().
    virtual PlugInResult Write(i64 size, i64 bodyPosition);
    // Prints the body's fields, one per line, for `vfl print`, after the
    // header the caller has printed.
    virtual PlugInResult Print(std::ostream& out, i64 size, i64 bodyPosition);
    // nominal 1: the value for the header; 0: the bytes taken in the file, pad included.
    virtual i64 GetSize(i32 nominal);
    // The cached values (valid-mask bits) that the body is made from. A chunk
    // that came from the file keeps its bytes as they are until the caller
    // changes one of them: another tool may have written more into it than
    // this handler reads.
    virtual u64 ValueBits() const { return kAlwaysWritten; }

    i64 GetTotalSize(i32 nominal);
    bool ShouldDiscard();
    PlugInResult ReadChunk(ChunkId id, i64 size, i64 position, i64 fileEOF);
    // Writes header and body at `position` (where the file stands).
    PlugInResult WriteChunk(i64 position);
    // Prints the chunk that starts at `position`; the file stands there.
    PlugInResult PrintChunk(std::ostream& out, i64 position, i64 fileEOF);
    // The file got a new identity: chunks that carry it start afresh.
    virtual void Restamp() {}

    // True while the chunk's bytes, on disk or held in memory, are what the
    // next flush writes: unknown chunks always, known ones until their
    // values change.
    bool KeepsItsBytes();
    // Copies the chunk's bytes, as they lie at `position`, into memory, so
    // that they survive the chunk losing its place in the file.
    PlugInResult HoldBytes(i64 position);
    bool HoldsBytes() const { return !mHeld.empty(); }
    // Bytes behind the last chunk (a tag other tools append, a cut chunk):
    // kept as they are, outside the form.
    void SetTrailing() { mTrailing = true; }
    bool IsTrailing() const { return mTrailing; }
    void SetId(ChunkId id) { mId = id; }

    i32 GetKind() const { return mKind; }
    ChunkId GetId() const { return mId; }
    void SetFileSize(i64 size) { mFileSize = size; }
    // The bytes the chunk took on disk at the last parse or flush, whatever
    // its class computes.
    i64 StoredFileSize() const { return mFileSize; }
    i64 GetSamplesAtCreation() const { return mSamplesAtCreation; }
    // The length the chunk counts as loaded with: the file's, once the
    // parse has settled it.
    void SetSamplesAtCreation(i64 frames) { mSamplesAtCreation = frames; }
    ChunkyFile* GetOwner() const { return mOwner; }

protected:
    std::vector<u8> const& HeldBytes() const { return mHeld; }
    // Reads exactly `count` bytes at the current position; a short read is E_UNEXPECTED.
    PlugInResult ReadExact(void* buffer, i64 count);
    // Writes exactly `count` bytes; a short write is E_UNEXPECTED.
    PlugInResult WriteExact(void const* buffer, i64 count);
    // Moves the file position forward by `count` bytes.
    PlugInResult Skip(i64 count);
    // Multi-byte fields in the file's byte order.
    u16 Swap16(u16 v) const;
    u32 Swap32(u32 v) const;
    u64 Swap64(u64 v) const;

    ChunkyFile* mOwner;
    i64 mFileSize = 0;
    i32 mKind;
    ChunkId mId;
    i64 mSamplesAtCreation;
    std::vector<u8> mHeld;
    bool mTrailing = false;
};
