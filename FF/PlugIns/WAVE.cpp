#include "FF/PlugIns/WAVE.h"
#include "Cmn/Cmn_Types.h"

#include "FF/PlugIns/PadChunk.h"
#include "FF/PlugIns/UAFEbuChunk.h"
#include "FF/PlugIns/UAFMinfChunk.h"
#include "FF/PlugIns/UAFOvwfChunk.h"
#include "FF/PlugIns/UAFRegnChunk.h"
#include "FF/PlugIns/UAFUmidChunk.h"
#include "FF/PlugIns/WAVEDataChunk.h"
#include "FF/PlugIns/WAVEDs64Chunk.h"
#include "FF/PlugIns/WAVEFmtChunk.h"
#include "FF/PlugIns/WAVEHeaderChunk.h"
#include "FF/PlugIns/WAVESamplerChunk.h"

PlugInResult WAVE::Create(void** object)
{
    return HandOut(new WAVE, object);
}

PlugInResult WAVE::GetFileTypeName(i32 size, char* buffer)
{
    return CopyTypeName(size, buffer, "WAVE");
}

PlugInResult WAVE::GetByteOrder(i32* order)
{
    *order = 1;
    return S_OK;
}

PlugInResult WAVE::DoImplement(PlugInGuid const* iid, ChunkList& list)
{
    // Unlike AIFF, WAVE leaves the modification date and revision as they are.
    if (*iid == IID_IVelmoraAudioFile)
        return AddIdentityChunks(list, true, false);
    if (*iid == IID_IOrvanelAudioFile)
    {
        if (HasKind(list, Chunk::kInstrument))
            return S_OK;
        auto const at = InFrontOfTheAudio(list);
        if (at == list.end())
            return E_UNEXPECTED;
        list.insert(at, std::make_unique<WAVESamplerChunk>(this));
        return S_OK;
    }
    return E_FAIL;
}

std::unique_ptr<Chunk> WAVE::CreateChunk(ChunkId id)
{
    if (id == kChunkId_RIFF || id == kChunkId_RF64 || id == kChunkId_BW64)
        return std::make_unique<WAVEHeaderChunk>(this, id);
    if (id == kChunkId_ds64)
        return std::make_unique<WAVEDs64Chunk>(this);
    if (id == kChunkId_fmt)
        return std::make_unique<WAVEFmtChunk>(this);
    if (id == kChunkId_data)
        return std::make_unique<WAVEDataChunk>(this);
    if (auto common = CreateCommonChunk(id))
        return common;
    if (id == kChunkId_smpl)
        return std::make_unique<WAVESamplerChunk>(this);
    return std::make_unique<Chunk>(this, id, Chunk::kUnknown);
}

void WAVE::CreateDefaultChunks(ChunkList& list)
{
    // Everything that can change in size stands behind the audio.
    mLongForm = false;
    list.push_back(std::make_unique<WAVEHeaderChunk>(this, kChunkId_RIFF));
    list.push_back(std::make_unique<UAFEbuChunk>(this, true));
    list.push_back(std::make_unique<WAVEFmtChunk>(this));
    list.push_back(std::make_unique<PadChunk>(this));
    list.push_back(std::make_unique<WAVEDataChunk>(this));
    list.push_back(std::make_unique<UAFUmidChunk>(this, true));
    list.push_back(std::make_unique<UAFMinfChunk>(this));
    list.push_back(std::make_unique<UAFRegnChunk>(this));
    list.push_back(std::make_unique<UAFOvwfChunk>(this));
    list.push_back(std::make_unique<WAVESamplerChunk>(this));
    if (NeedsLongForm())
        GoLong(list);
}

bool WAVE::NeedsLongForm()
{
    // Room for the metadata that follows the audio at the first flush.
    constexpr i64 kMargin = i64{1} << 20;
    return NumSamples() * FrameSize() + kMargin > 0xFFFFFFFFll || GetFormSize() - 8 > 0xFFFFFFFFll;
}

void WAVE::GoLong(ChunkList& list)
{
    mLongForm = true;
    if (list.empty() || list.front()->GetKind() != Chunk::kFileHeader)
        return;
    list.front()->SetId(kChunkId_RF64);
    auto const behind = std::next(list.begin());
    auto ds64 = std::make_unique<WAVEDs64Chunk>(this);
    // Writers that expect a file to pass 4 GiB leave a 'JUNK' chunk of the
    // 'ds64' chunk's size behind the header for it to replace: taking its
    // place keeps the audio where it stands, where a chunk inserted there
    // would move all of it.
    i64 const size = WAVEDs64Chunk::kFixedSize + 8;
    if (behind != list.end() && (*behind)->GetKind() == Chunk::kUnknown && (*behind)->GetId() == kChunkId_JUNK &&
        (*behind)->GetFileSize() == size)
    {
        ds64->SetFileSize(size);
        list.erase(behind);
    }
    list.insert(std::next(list.begin()), std::move(ds64));
}

PlugInResult WAVE::FitSizes()
{
    if (!mLongForm && NeedsLongForm())
        GoLong(mChunks.empty() ? mNewChunks : mChunks);
    return S_OK;
}

u32 WAVE::SizeField(Chunk& chunk, i64 size)
{
    if (mLongForm && (chunk.GetKind() == Chunk::kFileHeader || chunk.GetKind() == Chunk::kAudioData))
        return 0xFFFFFFFFu;
    return ChunkyFile::SizeField(chunk, size);
}

i64 WAVE::AudioChunkBytes()
{
    for (ChunkList* list : {&mChunks, &mNewChunks})
        for (auto& c : *list)
            if (c->GetKind() == Chunk::kAudioData)
                return c->GetSize(1);
    return 0;
}
