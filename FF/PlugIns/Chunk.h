// One chunk of a chunked audio file: an 8-byte header and a body. The
// object knows its class (kind), where it stood on disk and how to read,
// write and print its body; the walk over the file is ChunkyFile's.
#pragma once

#include "FF/PlugIns/ChunkId.h"
#include "FF/PlugIns/PlugInResult.h"

#include <cstdint>
#include <iosfwd>
#include <vector>

class ChunkyFile;

class Chunk
{
public:
    enum EKind : std::int32_t
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
    };

    // Chunks made afresh from the cache at every flush answer this from
    // ValueBits: their bytes are the handler's own.
    static constexpr std::uint64_t kAlwaysWritten = ~std::uint64_t{0};
    // The most bytes of one chunk that are held in memory while it has no
    // place on disk (behind an audio chunk that grows).
    static constexpr std::int64_t kMaxHeldBytes = std::int64_t{64} << 20;

    Chunk(ChunkyFile* owner, ChunkId id, std::int32_t kind = kUnknown);
    Chunk(Chunk const&) = delete;
    Chunk& operator=(Chunk const&) = delete;

    virtual ~Chunk();
    virtual std::int64_t GetFileSize();
    virtual bool IsObsolete();
    virtual PlugInResult Read(std::int64_t size, std::int64_t bodyPosition);
    virtual PlugInResult Write(std::int64_t size, std::int64_t bodyPosition);
    virtual PlugInResult Print(std::ostream& out, std::int64_t size, std::int64_t bodyPosition);
    // nominal 1: the value for the header; 0: the bytes taken in the file, pad included.
    virtual std::int64_t GetSize(std::int32_t nominal);
    // The cached values (valid-mask bits) that the body is made from. A chunk
    // that came from the file keeps its bytes as they are until the caller
    // changes one of them: another tool may have written more into it than
    // this handler reads.
    virtual std::uint64_t ValueBits() const { return kAlwaysWritten; }

    std::int64_t GetTotalSize(std::int32_t nominal);
    bool ShouldDiscard();
    PlugInResult ReadChunk(ChunkId id, std::int64_t size, std::int64_t position, std::int64_t fileEOF);
    // Writes header and body at `position` (where the file stands).
    PlugInResult WriteChunk(std::int64_t position);
    // Prints the chunk that starts at `position`; the file stands there.
    PlugInResult PrintChunk(std::ostream& out, std::int64_t position, std::int64_t fileEOF);
    // The file got a new identity: chunks that carry it start afresh.
    virtual void Restamp() {}

    // True while the chunk's bytes, on disk or held in memory, are what the
    // next flush writes: unknown chunks always, known ones until their
    // values change.
    bool KeepsItsBytes();
    // Copies the chunk's bytes, as they lie at `position`, into memory, so
    // that they survive the chunk losing its place in the file.
    PlugInResult HoldBytes(std::int64_t position);
    bool HoldsBytes() const { return !mHeld.empty(); }
    // Bytes behind the last chunk (a tag other tools append, a cut chunk):
    // kept as they are, outside the form.
    void SetTrailing() { mTrailing = true; }
    bool IsTrailing() const { return mTrailing; }
    void SetId(ChunkId id) { mId = id; }

    std::int32_t GetKind() const { return mKind; }
    ChunkId GetId() const { return mId; }
    void SetFileSize(std::int64_t size) { mFileSize = size; }
    // The bytes the chunk took on disk at the last parse or flush, whatever
    // its class computes.
    std::int64_t StoredFileSize() const { return mFileSize; }
    std::int64_t GetSamplesAtCreation() const { return mSamplesAtCreation; }
    // The length the chunk counts as loaded with: the file's, once the
    // parse has settled it.
    void SetSamplesAtCreation(std::int64_t frames) { mSamplesAtCreation = frames; }
    ChunkyFile* GetOwner() const { return mOwner; }

protected:
    std::vector<std::uint8_t> const& HeldBytes() const { return mHeld; }
    // Reads exactly `count` bytes at the current position; a short read is E_UNEXPECTED.
    PlugInResult ReadExact(void* buffer, std::int64_t count);
    // Writes exactly `count` bytes; a short write is E_UNEXPECTED.
    PlugInResult WriteExact(void const* buffer, std::int64_t count);
    // Moves the file position forward by `count` bytes.
    PlugInResult Skip(std::int64_t count);
    // Multi-byte fields in the file's byte order.
    std::uint16_t Swap16(std::uint16_t v) const;
    std::uint32_t Swap32(std::uint32_t v) const;
    std::uint64_t Swap64(std::uint64_t v) const;

    ChunkyFile* mOwner;
    std::int64_t mFileSize = 0;
    std::int32_t mKind;
    ChunkId mId;
    std::int64_t mSamplesAtCreation;
    std::vector<std::uint8_t> mHeld;
    bool mTrailing = false;
};
