#include "FF/PlugIns/ChunkyFile.h"

#include "FF/PlugIns/IFile.h"
#include "FF/PlugIns/PadChunk.h"
#include "FF/PlugIns/UAFEbuChunk.h"
#include "FF/PlugIns/UAFMinfChunk.h"
#include "FF/PlugIns/UAFOvwfChunk.h"
#include "FF/PlugIns/UAFRegnChunk.h"
#include "FF/PlugIns/UAFUmidChunk.h"

#include <cstring>

ChunkyFile::~ChunkyFile() = default;

PlugInResult ChunkyFile::WalkChunks(bool keep, ChunkVisitor const& visit)
{
    if (!mFile)
        return E_UNEXPECTED;
    std::int64_t fileEOF = 0;
    PlugInResult r = mFile->GetEOF(&fileEOF);
    if (r != S_OK)
        return r;
    r = mFile->SetPosition(0, 0);
    if (r != S_OK)
        return r;

    std::int64_t pos = 0;
    for (std::size_t walked = 0; pos < fileEOF; ++walked)
    {
        // More than this many chunks: the rest of the file is ignored.
        if (walked > kMaxChunks)
            return S_OK;
        unsigned char header[8];
        std::int64_t got = 8;
        r = mFile->Read(header, &got);
        if (r != S_OK)
            return r;
        // A header cut by the end of the file is a chunk running past the end:
        // the walk ends there, and what came before stands.
        if (got != 8)
            return S_OK;
        ChunkId id;
        std::uint32_t size;
        std::memcpy(&id, header, 4);
        std::memcpy(&size, header + 4, 4);

        std::unique_ptr<Chunk> chunk = CreateChunk(id);
        r = visit(*chunk, id, Swap32(size), pos, fileEOF);
        if (r != S_OK)
            return r;
        // A corrupt chunk ends the file for the walk; what came before stands.
        if (chunk->GetKind() == Chunk::kCorrupt)
            return S_OK;
        std::int64_t tell = 0;
        r = mFile->GetPosition(&tell);
        if (r != S_OK)
            return r;
        if (tell <= pos)
            return S_OK;
        if (keep)
        {
            chunk->SetFileSize(tell - pos);
            mChunks.push_back(std::move(chunk));
        }
        pos = tell;
    }
    return S_OK;
}

PlugInResult ChunkyFile::DoOpen()
{
    mChunks.clear();
    return WalkChunks(true, [](Chunk& chunk, ChunkId id, std::uint32_t size, std::int64_t pos, std::int64_t eof)
                      { return chunk.ReadChunk(id, size, pos, eof); });
}

std::int64_t ChunkyFile::GetTotalFileSize()
{
    std::int64_t sum = 0;
    for (auto& c : mChunks)
        sum += c->GetTotalSize(0);
    for (auto& c : mNewChunks)
        sum += c->GetTotalSize(0);
    return sum;
}

bool ChunkyFile::HasKind(ChunkList const& list, std::int32_t kind)
{
    for (auto const& c : list)
        if (c->GetKind() == kind)
            return true;
    return false;
}

PlugInResult ChunkyFile::DoFormat()
{
    mChunks.clear();
    mNewChunks.clear();
    CreateDefaultChunks(mNewChunks);
    PlugInResult r = mFile->SetEOF(GetTotalFileSize());
    if (r != S_OK)
        return r;
    // Only the audio chunk is written now, so that samples can follow at
    // once; the first flush writes the rest around it.
    std::int64_t sum = 0;
    for (auto& c : mNewChunks)
    {
        if (c->GetKind() == Chunk::kAudioData)
        {
            r = mFile->SetPosition(0, sum);
            if (r != S_OK)
                return r;
            return c->WriteChunk(sum);
        }
        sum += c->GetTotalSize(0);
    }
    return E_UNEXPECTED;
}

PlugInResult ChunkyFile::DoSetNumSamples(std::int64_t frames)
{
    // A shortened file is a new piece of media.
    if (frames < mCommittedSamples)
        StampWithUmid();
    if (!mChunks.empty())
    {
        // Whatever stood behind the audio waits in the new list, so that the
        // audio chunk is last in the file and free to grow.
        while (!mChunks.empty() && mChunks.back()->GetKind() != Chunk::kAudioData)
        {
            std::unique_ptr<Chunk> c = std::move(mChunks.back());
            mChunks.pop_back();
            c->SetFileSize(0);
            mNewChunks.push_front(std::move(c));
        }
    }
    SetNumSamplesValue(frames);
    return mFile->SetEOF(GetTotalFileSize());
}

PlugInResult ChunkyFile::DoFlush()
{
    std::int64_t sum = 0;
    for (auto& c : mChunks)
        sum += c->GetFileSize();

    // Each chunk that changed size moves everything behind it, in place.
    std::int64_t pos = 0;
    for (auto it = mChunks.begin(); it != mChunks.end();)
    {
        Chunk& c = **it;
        bool const discard = c.ShouldDiscard();
        std::int64_t const fileSize = c.GetFileSize();
        std::int64_t const delta = discard ? -fileSize : c.GetTotalSize(0) - fileSize;
        // The result is that of the position restore: a failed move is not
        // reported here, and the chunk writes below find what they find.
        MoveBytes(pos + fileSize, sum - (pos + fileSize), delta);
        sum += delta;
        if (discard)
            it = mChunks.erase(it);
        else
        {
            pos += c.GetTotalSize(0);
            ++it;
        }
    }

    PlugInResult r = mFile->SetEOF(GetTotalFileSize());
    if (r != S_OK)
        return r;
    r = mFile->SetPosition(0, 0);
    if (r != S_OK)
        return r;

    while (!mNewChunks.empty())
    {
        std::unique_ptr<Chunk> c = std::move(mNewChunks.front());
        mNewChunks.pop_front();
        if (!c->ShouldDiscard())
            mChunks.push_back(std::move(c));
    }

    pos = 0;
    for (auto& c : mChunks)
    {
        r = c->WriteChunk(pos);
        if (r != S_OK)
            return r;
        std::int64_t tell = 0;
        r = mFile->GetPosition(&tell);
        if (r != S_OK)
            return r;
        c->SetFileSize(tell - pos);
        pos = tell;
    }
    // A body may have shrunk.
    return mFile->SetEOF(GetTotalFileSize());
}

PlugInResult ChunkyFile::MoveBytes(std::int64_t start, std::int64_t length, std::int64_t delta)
{
    if (delta == 0)
        return S_OK;
    std::int64_t saved = 0;
    PlugInResult r = mFile->GetPosition(&saved);
    if (r != S_OK)
        return r;

    constexpr std::int64_t kBlock = 0x8000;
    char buffer[kBlock];
    auto copy = [&](std::int64_t from, std::int64_t count) -> PlugInResult
    {
        PlugInResult rr = mFile->SetPosition(0, from);
        if (rr != S_OK)
            return rr;
        std::int64_t got = count;
        rr = mFile->Read(buffer, &got);
        if (rr != S_OK)
            return rr;
        if (got != count)
            return E_UNEXPECTED;
        rr = mFile->SetPosition(0, from + delta);
        if (rr != S_OK)
            return rr;
        std::int64_t put = count;
        rr = mFile->Write(buffer, &put);
        if (rr != S_OK)
            return rr;
        return put == count ? S_OK : E_UNEXPECTED;
    };

    if (delta < 0)
    {
        // Towards the start: copy from the head so that overlaps survive.
        for (std::int64_t source = start, remaining = length; remaining > 0;)
        {
            std::int64_t const block = remaining < kBlock ? remaining : kBlock;
            if (copy(source, block) != S_OK)
                break;
            source += block;
            remaining -= block;
        }
    }
    else
    {
        // Towards the end: copy from the tail.
        for (std::int64_t cursor = start + length, remaining = length; remaining > 0;)
        {
            std::int64_t const block = remaining < kBlock ? remaining : kBlock;
            cursor -= block;
            if (copy(cursor, block) != S_OK)
                break;
            remaining -= block;
        }
    }
    return mFile->SetPosition(0, saved);
}

PlugInResult ChunkyFile::PrintFile(std::ostream& out)
{
    return WalkChunks(false,
                      [&](Chunk& chunk, ChunkId, std::uint32_t, std::int64_t pos, std::int64_t eof)
                      {
                          PlugInResult r = mFile->SetPosition(0, pos);
                          return r == S_OK ? chunk.PrintChunk(out, pos, eof) : r;
                      });
}

PlugInResult ChunkyFile::StampWithUmid()
{
    for (ChunkList* list : {&mChunks, &mNewChunks})
        for (auto& c : *list)
            c->Restamp();
    mDataRevision = 0;
    return S_OK;
}

PlugInResult ChunkyFile::AddIdentityChunks(ChunkList& list, bool inFrontOfOmfi, bool newModificationRecord)
{
    bool has[Chunk::kOmfi + 1] = {};
    for (auto const& c : list)
        if (c->GetKind() >= Chunk::kUmid && c->GetKind() <= Chunk::kOmfi)
            has[c->GetKind()] = true;
    auto at = list.end();
    if (inFrontOfOmfi)
    {
        at = list.begin();
        while (at != list.end() && (*at)->GetKind() != Chunk::kOmfi)
            ++at;
    }
    if (!has[Chunk::kUmid] && !(inFrontOfOmfi && has[Chunk::kOmfi]))
        list.insert(at, std::make_unique<UAFUmidChunk>(this, true));
    if (!has[Chunk::kMinf])
    {
        if (newModificationRecord)
        {
            SetUTCModDate(Now());
            SetDataRevision(0);
        }
        list.insert(at, std::make_unique<UAFMinfChunk>(this));
    }
    if (!has[Chunk::kRegn])
        list.insert(at, std::make_unique<UAFRegnChunk>(this));
    if (!has[Chunk::kOvwf])
        list.insert(at, std::make_unique<UAFOvwfChunk>(this));
    return S_OK;
}

PlugInResult ChunkyFile::CanImplement(PlugInGuid const* iid)
{
    return (*iid == IID_IVelmoraAudioFile || *iid == IID_IOrvanelAudioFile) ? S_OK : S_FALSE;
}

std::unique_ptr<Chunk> ChunkyFile::CreateCommonChunk(ChunkId id)
{
    if (id == kChunkId_bext)
        return std::make_unique<UAFEbuChunk>(this, false);
    if (id == kChunkId_umid)
        return std::make_unique<UAFUmidChunk>(this, false);
    if (id == kChunkId_minf)
        return std::make_unique<UAFMinfChunk>(this);
    if (id == kChunkId_regn)
        return std::make_unique<UAFRegnChunk>(this);
    if (id == kChunkId_ovwf)
        return std::make_unique<UAFOvwfChunk>(this);
    if (id == kChunkId_Elmo)
        return std::make_unique<PadChunk>(this);
    return nullptr;
}
