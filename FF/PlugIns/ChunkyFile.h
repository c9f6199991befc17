// The base of the chunked formats: the file is a flat run of chunks, each
// kept as one object in memory. Audio is reached directly at the data
// offset; metadata lives in the handler's cached values.
#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/PlugIns/Chunk.h"
#include "FF/PlugIns/PlugIn.h"

#include <functional>
#include <list>
#include <memory>
#include <optional>

class ChunkyFile : public PlugIn
{
public:
    using ChunkList = std::list<std::unique_ptr<Chunk>>;

    // A parse stops after this many chunks: the rest of the file is ignored.
    static constexpr std::size_t kMaxChunks = 1000;

    PlugInResult DoOpen() override;
    PlugInResult DoFormat() override;
    PlugInResult DoFlush() override;
    PlugInResult DoSetNumSamples(i64 frames) override;
    PlugInResult PrintFile(std::ostream& out) override;
    PlugInResult StampWithUmid() override;
    // Chunks behind the audio keep their bytes in memory before samples
    // are written over their place.
    PlugInResult BeforeAudioGrows() override;
    // Adding an interface adds its chunks to those on disk, with file size 0:
    // the next flush gives them their room.
    PlugInResult DoImplement(PlugInGuid const* iid) override;
    virtual PlugInResult DoImplement(PlugInGuid const* iid, ChunkList& list) = 0;
    // Files of chunks can take identity and instrument data.
    PlugInResult CanImplement(PlugInGuid const* iid) override;

    // Hands out a new handler with one reference, as the handler table
    // gives them.
    static PlugInResult HandOut(ChunkyFile* handler, void** object)
    {
        handler->AddRef();
        *object = static_cast<IAudioFile*>(handler);
        return S_OK;
    }

    // The object of the right class for an id, or a plain unknown chunk.
    virtual std::unique_ptr<Chunk> CreateChunk(ChunkId id) = 0;
    // The chunks every file of chunks may carry whatever its format: the
    // broadcast extension, the identity chunks and the pad; null for others.
    std::unique_ptr<Chunk> CreateCommonChunk(ChunkId id);
    virtual void CreateDefaultChunks(ChunkList& list) = 0;
    // Bytes between the start of the audio chunk and its first audio byte.
    virtual i32 DataChunkHeaderSize() = 0;

    // Where the next chunk starts behind a body that ends at `bodyEnd`: the
    // size rounded up to even, as the formats pad odd bodies. A writer that
    // forgot the pad is recognised by a plausible chunk header at the odd
    // position where the even one has none.
    i64 ChunkEnd(i64 bodyEnd, i64 fileEOF);
    // The bytes of an audio chunk whose header says `size`, with its body at
    // `body`: a size of 0 or 0xFFFFFFFF, or one that runs past the end, is a
    // header that was never finished (a recorder that stopped, a file written
    // to a pipe, a copy cut short), and the audio runs to the end of the file.
    i64 AudioBodySize(i64 size, i64 body, i64 fileEOF);
    // The bytes of audio proper that the parse found in the audio chunk.
    void SetAudioBytes(i64 bytes) { mAudioBytes = bytes; }
    // Audio bytes in the other order than the chunks' numbers (AIFF-C 'sowt').
    void SetLittleEndianAudio(bool little) { mLittleEndianAudio = little; }
    bool IsLittleEndianAudio() override { return mLittleEndianAudio.value_or(!IsBigEndian()); }
    // 8-bit audio stored unsigned where the format's rule is signed (AIFF-C
    // 'raw ').
    void SetUnsignedBytes(bool on) { mUnsignedBytes = on; }
    // The audio chunk's size as a 'ds64' chunk gives it, -1 while none did.
    void SetLongAudioSize(i64 size) { mLongAudioSize = size; }
    // The value of a chunk's size field for a body of `size` bytes.
    virtual u32 SizeField(Chunk& chunk, i64 size);
    // The bytes of the form: the file without what stands behind it.
    i64 GetFormSize();

    ChunkList const& GetChunks() const { return mChunks; }
    ChunkList const& GetNewChunks() const { return mNewChunks; }
    // The sum of the total sizes of both lists: what the file's length must be.
    i64 GetTotalFileSize();
    // The id of a chunk of zeros that every reader of the format skips.
    virtual ChunkId FillerId() = 0;
    // Makes the form's sizes fit the format, or refuses the flush: called
    // once the layout of the flush is known, before anything is written.
    virtual PlugInResult FitSizes() { return S_OK; }
    // Moves `length` bytes at `start` by `delta` in place, no further than
    // the end of the file. The position is restored at the end; a failed
    // copy is the answer.
    PlugInResult MoveBytes(i64 start, i64 length, i64 delta);

    // Swaps of on-disk numbers: they act only for a big-endian format.
    u16 Swap16(u16 v) { return IsBigEndian() ? __builtin_bswap16(v) : v; }
    u32 Swap32(u32 v) { return IsBigEndian() ? __builtin_bswap32(v) : v; }
    u64 Swap64(u64 v) { return IsBigEndian() ? __builtin_bswap64(v) : v; }

protected:
    ChunkyFile() = default;
    ~ChunkyFile() override;

    // Handles the chunk at `pos` (the file stands behind its header) and
    // leaves the file behind it.
    using ChunkVisitor = std::function<PlugInResult(Chunk& chunk, ChunkId id, i64 size, i64 pos, i64 fileEOF)>;
    // Walks the chunks from the start of the file: to its end, a header cut
    // short, a corrupt chunk, a chunk that does not move the walk forward, or
    // kMaxChunks chunks. With `keep` the chunks go to `mChunks`, and whatever
    // stands behind the last of them is kept as trailing bytes.
    PlugInResult WalkChunks(bool keep, ChunkVisitor const& visit);

    // Adds the chunks that make the identity interface available and that the
    // list lacks: 'umid' (with a fresh id), 'minf', 'regn', 'ovwf'. With
    // `inFrontOfOmfi` they go in front of an 'omfi' chunk (and no 'umid' is
    // made when there is one), else at the end. With
    // `newModificationRecord` a file that gets its first 'minf' is dated now,
    // with no revision of its data yet.
    PlugInResult AddIdentityChunks(ChunkList& list, bool inFrontOfOmfi, bool newModificationRecord);

    // True if the list holds a chunk of that kind.
    static bool HasKind(ChunkList const& list, i32 kind);
    // Where a chunk that must stand in front of the audio goes: in front of
    // the pad that leads up to the first audio chunk, or of that chunk when
    // no pad does; the end when there is no audio chunk.
    static ChunkList::iterator InFrontOfTheAudio(ChunkList& list);

    // True if a plausible chunk header stands at `pos`; the file position is
    // kept.
    bool PlausibleHeaderAt(i64 pos, i64 fileEOF);
    // The length the file needs for its lists while the audio stands where
    // it is on disk.
    i64 LengthWithTheAudioInPlace();
    // How far the next flush would move the first audio byte on disk.
    i64 AudioShift();
    // Lays out the next flush so that the audio stays where it stands:
    // chunks in front of it that change size go behind it, fillers keep
    // their places.
    void KeepTheAudioInPlace();
    void TakeUpInAFiller();
    // Metadata that readers find wherever it stands, as opposed to the
    // chunks that must lead up to the audio.
    static bool CanStandBehindTheAudio(i32 kind);

    i64 mLongAudioSize = -1;
    bool mFactsTwice = false;
    // True once an open or a format gave the lists the file's layout.
    bool mLaidOut = false;
    std::optional<bool> mLittleEndianAudio;
    bool mUnsignedBytes = false;
    // Body bytes of the audio chunk as the parse found them, -1 for none.
    i64 mAudioBytes = -1;
    ChunkList mChunks;    // on disk, in file order
    ChunkList mNewChunks; // to be written behind them at the next flush
};
