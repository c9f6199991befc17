// The AIFF handler: big-endian audio and metadata, instrument data as an
// 'INST' chunk whose loops point at markers of a 'MARK' chunk.
#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/PlugIns/ChunkyFile.h"

#include <array>
#include <memory>
#include <string>
#include <vector>

class AIFF : public ChunkyFile
{
public:
    // One marker of a 'MARK' chunk as read from the file.
    struct Marker
    {
        i16 id;
        u32 position;
        std::string name;
        i32 role; // 1 "beg loop", 2 "end loop", 0 any other name
    };
    static constexpr std::size_t kInstInfoSize = 20;
    using InstInfo = std::array<u8, kInstInfoSize>;

    // The factory of the handler table: a new instance with its first reference.
    static PlugInResult Create(void** object);

    PlugInResult GetFileTypeName(i32 size, char* buffer) override;
    PlugInResult GetByteOrder(i32* order) override;

    bool IsBigEndian() override { return true; }
    bool IsUnsigned8Bit() override { return mUnsignedBytes && BitsPerSample() == 8; }
    PlugInResult DoOpen() override;
    PlugInResult DoFormat() override;
    ChunkId FillerId() override { return kChunkId_FLLR; }
    PlugInResult FitSizes() override;
    // The format's sizes are 32 bits: a file that would pass them is
    // refused rather than written with sizes that wrap.
    PlugInResult DoSetNumSamples(i64 frames) override;
    i64 MaxNumSamples() override;
    using ChunkyFile::DoImplement;
    PlugInResult DoImplement(PlugInGuid const* iid, ChunkList& list) override;
    std::unique_ptr<Chunk> CreateChunk(ChunkId id) override;
    void CreateDefaultChunks(ChunkList& list) override;
    i32 DataChunkHeaderSize() override { return 16; }

    // A loop needs its markers: when the record has one and the file has no
    // 'MARK' chunk (it went at a flush while there was no loop), a new one
    // is written behind everything at the next flush.
    PlugInResult SetInstrumentAttr(PlugInInstrument* instrument) override;
    // The record as a chunk read it, with no chunk added.
    void StoreInstrument(PlugInInstrument const& instrument);

    // Markers of every 'MARK' chunk read so far, in file order.
    std::vector<Marker> const& Markers() const { return mMarkers; }
    void AddMarkers(std::vector<Marker> const& markers);
    // The 'INST' body as read; loops are resolved against the markers.
    void SetInstInfo(InstInfo const& body);
    InstInfo const* GetInstInfo() const { return mInstInfo.get(); }
    // Markers that no loop of the 'INST' chunk read with them uses: cue
    // points of other tools, kept through every rewrite.
    std::vector<Marker> OtherMarkers() const;
    // The id of the first of the four loop markers a rewrite writes: past
    // every id the other markers take.
    i32 LoopMarkerBase() const;
    // Sets the instrument's loops from the 'INST' copy and the markers, once
    // all three exist: called after either chunk is read, so that their
    // order in the file does not matter.
    void ResolveLoops();

protected:
    AIFF() = default;

    // The classes that differ between AIFF and AIFF-C.
    virtual void AddVersionChunk(ChunkList&) {}
    virtual std::unique_ptr<Chunk> NewHeaderChunk();
    virtual std::unique_ptr<Chunk> NewCommChunk();
    // Adds the identity chunks. `inFrontOfOmfi` places them in front of an
    // 'omfi' chunk and leaves out the umid when there is one.
    PlugInResult ImplementIdentity(ChunkList& list, bool inFrontOfOmfi);

private:
    std::vector<Marker> mMarkers;
    std::unique_ptr<InstInfo> mInstInfo;
};
