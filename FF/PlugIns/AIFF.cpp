#include "FF/PlugIns/AIFF.h"
#include "Cmn/Cmn_Types.h"

#include <algorithm>

#include "FF/PlugIns/AIFFCommChunk.h"
#include "FF/PlugIns/AIFFHeaderChunk.h"
#include "FF/PlugIns/AIFFInstInfoChunk.h"
#include "FF/PlugIns/AIFFMarkerChunk.h"
#include "FF/PlugIns/AIFFSsndChunk.h"
#include "FF/PlugIns/PadChunk.h"
#include "FF/PlugIns/UAFEbuChunk.h"
#include "FF/PlugIns/UAFMinfChunk.h"
#include "FF/PlugIns/UAFOvwfChunk.h"
#include "FF/PlugIns/UAFRegnChunk.h"
#include "FF/PlugIns/UAFUmidChunk.h"

namespace
{
u16 BigEndian16(u8 const* p)
{
    return static_cast<u16>((p[0] << 8) | p[1]);
}
} // namespace

PlugInResult AIFF::Create(void** object)
{
    return HandOut(new AIFF, object);
}

PlugInResult AIFF::GetFileTypeName(i32 size, char* buffer)
{
    return CopyTypeName(size, buffer, "AIFF");
}

PlugInResult AIFF::GetByteOrder(i32* order)
{
    *order = IsLittleEndianAudio() ? 1 : 0;
    return S_OK;
}

PlugInResult AIFF::DoOpen()
{
    // Markers and the 'INST' copy belong to one parse; a second Open starts afresh.
    mMarkers.clear();
    mInstInfo.reset();
    return ChunkyFile::DoOpen();
}

i64 AIFF::MaxNumSamples()
{
    // Room for the metadata around the audio.
    constexpr i64 kMargin = i64{1} << 20;
    i64 const frameSize = FrameSize();
    return (0xFFFFFFFFll - kMargin) / (frameSize > 0 ? frameSize : 1);
}

PlugInResult AIFF::DoSetNumSamples(i64 frames)
{
    if (frames < 0 || frames > MaxNumSamples())
        return kAudioFile_BadParameter;
    return ChunkyFile::DoSetNumSamples(frames);
}

PlugInResult AIFF::FitSizes()
{
    // A file another tool took past 4 GiB (its sizes wrapped or never
    // written) cannot be written with 32-bit sizes: the sizes a reader
    // would take for an unfinished header would make it read the chunks
    // behind the audio as audio. It stays as it is.
    if (GetFormSize() - 8 > 0xFFFFFFFFll)
        return kAudioFile_BadParameter;
    return S_OK;
}

PlugInResult AIFF::DoFormat()
{
    if (NumSamples() < 0 || NumSamples() > MaxNumSamples())
        return kAudioFile_BadParameter;
    mMarkers.clear();
    mInstInfo.reset();
    return ChunkyFile::DoFormat();
}

std::unique_ptr<Chunk> AIFF::NewHeaderChunk()
{
    return std::make_unique<AIFFHeaderChunk>(this);
}

std::unique_ptr<Chunk> AIFF::NewCommChunk()
{
    return std::make_unique<AIFFCommChunk>(this);
}

std::unique_ptr<Chunk> AIFF::CreateChunk(ChunkId id)
{
    if (id == kChunkId_FORM)
        return NewHeaderChunk();
    if (id == kChunkId_COMM)
        return NewCommChunk();
    if (id == kChunkId_SSND)
        return std::make_unique<AIFFSsndChunk>(this);
    if (auto common = CreateCommonChunk(id))
        return common;
    if (id == kChunkId_INST)
        return std::make_unique<AIFFInstInfoChunk>(this);
    if (id == kChunkId_MARK)
        return std::make_unique<AIFFMarkerChunk>(this);
    return std::make_unique<Chunk>(this, id, Chunk::kUnknown);
}

void AIFF::CreateDefaultChunks(ChunkList& list)
{
    // Everything that can change in size stands behind the audio; 'MARK'
    // goes at the first flush unless an instrument has a loop.
    list.push_back(NewHeaderChunk());
    AddVersionChunk(list);
    list.push_back(std::make_unique<UAFEbuChunk>(this, true));
    list.push_back(NewCommChunk());
    list.push_back(std::make_unique<PadChunk>(this));
    list.push_back(std::make_unique<AIFFSsndChunk>(this));
    list.push_back(std::make_unique<UAFUmidChunk>(this, true));
    list.push_back(std::make_unique<UAFMinfChunk>(this));
    list.push_back(std::make_unique<UAFRegnChunk>(this));
    list.push_back(std::make_unique<UAFOvwfChunk>(this));
    list.push_back(std::make_unique<AIFFInstInfoChunk>(this));
    list.push_back(std::make_unique<AIFFMarkerChunk>(this));
}

PlugInResult AIFF::ImplementIdentity(ChunkList& list, bool inFrontOfOmfi)
{
    // A foreign file becomes the system's media now: a new modification
    // record, and no revision of its data yet.
    return AddIdentityChunks(list, inFrontOfOmfi, true);
}

PlugInResult AIFF::DoImplement(PlugInGuid const* iid, ChunkList& list)
{
    if (*iid == IID_IVelmoraAudioFile)
        return ImplementIdentity(list, false);
    if (*iid == IID_IOrvanelAudioFile)
    {
        // In front of the audio, which moves to make room unless a pad has it.
        auto const audio = InFrontOfTheAudio(list);
        if (audio == list.end())
            return E_UNEXPECTED;
        if (!HasKind(list, Chunk::kInstrument))
            list.insert(audio, std::make_unique<AIFFInstInfoChunk>(this));
        if (!HasKind(list, Chunk::kMark))
            list.insert(audio, std::make_unique<AIFFMarkerChunk>(this));
        return S_OK;
    }
    return E_FAIL;
}

PlugInResult AIFF::SetInstrumentAttr(PlugInInstrument* instrument)
{
    PlugInResult const r = ChunkyFile::SetInstrumentAttr(instrument);
    if (r == S_OK && (instrument->loop1Type != 0 || instrument->loop2Type != 0) && !HasKind(mChunks, Chunk::kMark) &&
        !HasKind(mNewChunks, Chunk::kMark))
        mNewChunks.push_back(std::make_unique<AIFFMarkerChunk>(this));
    return r;
}

void AIFF::StoreInstrument(PlugInInstrument const& instrument)
{
    PlugInInstrument copy = instrument;
    ChunkyFile::SetInstrumentAttr(&copy);
}

void AIFF::AddMarkers(std::vector<Marker> const& markers)
{
    // A marker of an earlier 'MARK' chunk that comes again is one marker: a
    // rewrite killed while it moved the chunk behind the audio leaves the
    // chunk in both places.
    std::size_t const earlier = mMarkers.size();
    for (Marker const& m : markers)
        if (std::none_of(mMarkers.begin(), mMarkers.begin() + static_cast<std::ptrdiff_t>(earlier),
                         [&m](Marker const& e)
                         { return e.id == m.id && e.position == m.position && e.name == m.name; }))
            mMarkers.push_back(m);
}

void AIFF::SetInstInfo(InstInfo const& body)
{
    mInstInfo = std::make_unique<InstInfo>(body);
}

void AIFF::ResolveLoops()
{
    if (mMarkers.empty() || !mInstInfo || !HasInstrument())
        return;
    PlugInInstrument instrument = Instrument();
    instrument.loop1Type = 0;
    instrument.loop1Start = instrument.loop1Stop = 0;
    instrument.loop2Type = 0;
    instrument.loop2Start = instrument.loop2Stop = 0;

    u8 const* inst = mInstInfo->data();
    u16 const sustainMode = BigEndian16(inst + 8);
    u16 const releaseMode = BigEndian16(inst + 14);
    // Marker ids of sustain begin and end, release begin and end.
    i16 const ids[4] = {static_cast<i16>(BigEndian16(inst + 10)), static_cast<i16>(BigEndian16(inst + 12)),
                        static_cast<i16>(BigEndian16(inst + 16)), static_cast<i16>(BigEndian16(inst + 18))};
    bool found[4] = {};
    i64 position[4] = {};
    if (sustainMode != 0 || releaseMode != 0)
    {
        for (auto const& m : mMarkers)
            for (int k = 0; k < 4; ++k)
                if (m.id == ids[k])
                {
                    found[k] = true;
                    position[k] = m.position;
                    break;
                }
    }
    if (found[0] && found[1] && sustainMode != 0)
    {
        instrument.loop1Start = position[0];
        instrument.loop1Stop = position[1];
        instrument.loop1Type = sustainMode == 2 ? 2 : 1;
    }
    if (found[2] && found[3] && releaseMode != 0)
    {
        instrument.loop2Start = position[2];
        instrument.loop2Stop = position[3];
        instrument.loop2Type = releaseMode == 2 ? 2 : 1;
    }
    StoreInstrument(instrument);
}

std::vector<AIFF::Marker> AIFF::OtherMarkers() const
{
    std::vector<i16> loopIds;
    if (mInstInfo)
    {
        u8 const* inst = mInstInfo->data();
        if (BigEndian16(inst + 8) != 0)
            loopIds.insert(loopIds.end(),
                           {static_cast<i16>(BigEndian16(inst + 10)), static_cast<i16>(BigEndian16(inst + 12))});
        if (BigEndian16(inst + 14) != 0)
            loopIds.insert(loopIds.end(),
                           {static_cast<i16>(BigEndian16(inst + 16)), static_cast<i16>(BigEndian16(inst + 18))});
    }
    std::vector<Marker> others;
    for (auto const& m : mMarkers)
        if (std::find(loopIds.begin(), loopIds.end(), m.id) == loopIds.end())
            others.push_back(m);
    return others;
}

i32 AIFF::LoopMarkerBase() const
{
    i32 base = 0;
    for (auto const& m : OtherMarkers())
        base = std::max<i32>(base, m.id + 1);
    return base;
}
