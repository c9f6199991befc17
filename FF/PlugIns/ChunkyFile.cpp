#include "FF/PlugIns/ChunkyFile.h"
#include "Cmn/Cmn_Types.h"

#include "FF/PlugIns/FillerChunk.h"
#include "FF/PlugIns/IFile.h"
#include "FF/PlugIns/PadChunk.h"
#include "FF/PlugIns/UAFEbuChunk.h"
#include "FF/PlugIns/UAFMinfChunk.h"
#include "FF/PlugIns/UAFOvwfChunk.h"
#include "FF/PlugIns/UAFRegnChunk.h"
#include "FF/PlugIns/UAFUmidChunk.h"

#include <algorithm>
#include <cstring>
#include <vector>

ChunkyFile::~ChunkyFile() = default;

PlugInResult ChunkyFile::WalkChunks(bool keep, ChunkVisitor const& visit)
{
    if (!mFile)
        return E_UNEXPECTED;
    i64 fileEOF = 0;
    PlugInResult r = mFile->GetEOF(&fileEOF);
    if (r != S_OK)
        return r;
    r = mFile->SetPosition(0, 0);
    if (r != S_OK)
        return r;

    i64 pos = 0;
    // Whatever the walk does not take as chunks stays in the file, behind them.
    auto keepTheRest = [&]
    {
        if (keep && pos < fileEOF)
        {
            auto tail = std::make_unique<Chunk>(this, 0, Chunk::kUnknown);
            tail->SetTrailing();
            tail->SetFileSize(fileEOF - pos);
            mChunks.push_back(std::move(tail));
        }
        return S_OK;
    };
    for (std::size_t walked = 0; pos < fileEOF; ++walked)
    {
        // More than this many chunks: the rest of the file is not parsed.
        if (walked > kMaxChunks)
            return keepTheRest();
        unsigned char header[8];
        i64 got = 8;
        r = mFile->Read(header, &got);
        if (r != S_OK)
            return r;
        // A header cut by the end of the file is a chunk running past the end:
        // the walk ends there, and what came before stands.
        if (got != 8)
            return keepTheRest();
        ChunkId id;
        u32 size;
        std::memcpy(&id, header, 4);
        std::memcpy(&size, header + 4, 4);

        std::unique_ptr<Chunk> chunk = CreateChunk(id);
        // The form's header stands first; the same id further on is a chunk
        // like any other, kept as it is.
        if (pos != 0 && chunk->GetKind() == Chunk::kFileHeader)
            chunk = std::make_unique<Chunk>(this, id, Chunk::kUnknown);
        r = visit(*chunk, id, Swap32(size), pos, fileEOF);
        if (r != S_OK)
            return r;
        // A corrupt chunk ends the file for the walk; what came before stands.
        if (chunk->GetKind() == Chunk::kCorrupt)
            return keepTheRest();
        i64 tell = 0;
        r = mFile->GetPosition(&tell);
        if (r != S_OK)
            return r;
        if (tell <= pos)
            return keepTheRest();
        if (keep)
        {
            chunk->SetFileSize(tell - pos);
            // A further chunk of the stream's facts or of its audio overrides
            // the one before, which becomes bytes kept as they are: a rewrite
            // writes the facts once, and there is one audio chunk to grow.
            i32 const kind = chunk->GetKind();
            if (kind == Chunk::kAudioData || kind == Chunk::kFmt || kind == Chunk::kComm)
                for (auto& earlier : mChunks)
                    if (earlier->GetKind() == kind)
                    {
                        mFactsTwice = true;
                        auto kept = std::make_unique<Chunk>(this, earlier->GetId(), Chunk::kUnknown);
                        kept->SetFileSize(earlier->StoredFileSize());
                        earlier = std::move(kept);
                    }
            mChunks.push_back(std::move(chunk));
        }
        pos = tell;
    }
    return S_OK;
}

bool ChunkyFile::PlausibleHeaderAt(i64 pos, i64 fileEOF)
{
    if (pos + 8 > fileEOF)
        return false;
    i64 saved = 0;
    if (mFile->GetPosition(&saved) != S_OK || mFile->SetPosition(0, pos) != S_OK)
        return false;
    unsigned char header[8];
    i64 got = 8;
    bool const read = mFile->Read(header, &got) == S_OK && got == 8;
    mFile->SetPosition(0, saved);
    if (!read)
        return false;
    for (int i = 0; i < 4; ++i)
        if (header[i] < 0x20 || header[i] > 0x7E)
            return false;
    u32 size;
    std::memcpy(&size, header + 4, 4);
    return pos + 8 + static_cast<i64>(Swap32(size)) <= fileEOF;
}

i64 ChunkyFile::ChunkEnd(i64 bodyEnd, i64 fileEOF)
{
    if ((bodyEnd & 1) == 0 || bodyEnd >= fileEOF)
        return bodyEnd;
    if (bodyEnd + 1 == fileEOF)
        return fileEOF;
    if (!PlausibleHeaderAt(bodyEnd + 1, fileEOF) && PlausibleHeaderAt(bodyEnd, fileEOF))
        return bodyEnd;
    return bodyEnd + 1;
}

i64 ChunkyFile::AudioBodySize(i64 size, i64 body, i64 fileEOF)
{
    i64 const there = fileEOF > body ? fileEOF - body : 0;
    if (size == 0xFFFFFFFF && mLongAudioSize >= 0)
        size = mLongAudioSize;
    // A size of 0 with bytes behind it that are no chunk is a header that
    // was written before the audio and never finished.
    bool const unfinished =
        size > there || size == 0xFFFFFFFF || (size == 0 && there > 0 && !PlausibleHeaderAt(body, fileEOF));
    // A writer without 64-bit sizes that went on past 4 GiB left the size
    // modulo 2^32: audio that runs exactly a multiple of 4 GiB (and its pad
    // byte) past the size to the end of the file is that audio, which read
    // by the size would end after its first minutes.
    constexpr i64 k4GiB = i64{1} << 32;
    i64 const beyond = there - size;
    i64 const padByte = beyond % k4GiB;
    bool const wrapped = beyond >= k4GiB && (padByte == 0 || (padByte == 1 && size % 2 == 1));
    if (wrapped)
    {
        SetHeaderIncomplete();
        return there - padByte;
    }
    if (!unfinished)
        return size;
    SetHeaderIncomplete();
    return there;
}

u32 ChunkyFile::SizeField(Chunk&, i64 size)
{
    return size > 0xFFFFFFFF ? 0xFFFFFFFFu : static_cast<u32>(size);
}

i64 ChunkyFile::GetFormSize()
{
    i64 behind = 0;
    for (ChunkList* list : {&mNewChunks, &mChunks})
        for (auto it = list->rbegin(); it != list->rend() && (*it)->IsTrailing(); ++it)
            behind += (*it)->GetTotalSize(0);
    return GetTotalFileSize() - behind;
}

PlugInResult ChunkyFile::DoOpen()
{
    mChunks.clear();
    mNewChunks.clear();
    mLongAudioSize = -1;
    mAudioBytes = -1;
    mLittleEndianAudio.reset();
    mUnsignedBytes = false;
    mFactsTwice = false;
    PlugInResult const r = WalkChunks(true, [](Chunk& chunk, ChunkId id, i64 size, i64 pos, i64 eof)
                                      { return chunk.ReadChunk(id, size, pos, eof); });
    // The frames are those the audio chunk holds in full, whatever a header
    // claims: a count beyond them would read past the audio.
    i64 const frameSize = FrameSize();
    if (r == S_OK && mAudioBytes >= 0 && frameSize > 0 && (GetValidMask() & kValidNumSamples) &&
        (IsHeaderIncomplete() || NumSamples() > mAudioBytes / frameSize))
    {
        if (NumSamples() > mAudioBytes / frameSize)
            SetHeaderIncomplete();
        SetNumSamplesValue(mAudioBytes / frameSize);
    }
    // Regions and overviews are held against the length only now: a 'regn'
    // or 'ovwf' in front of the audio chunk, as some tools order chunks,
    // would be read against no audio and lose every record, on disk too at
    // the next rewrite; one behind a header that claims more audio than
    // there is would keep records past the end.
    if (r == S_OK)
        KeepWhatFits(NumSamples());
    mLaidOut = r == S_OK;
    // Chunks made while the parse still changed the length were loaded with
    // the file as it is opened: only a caller's cut may discard them.
    for (auto& c : mChunks)
        c->SetSamplesAtCreation(NumSamples());
    return r;
}

i64 ChunkyFile::GetTotalFileSize()
{
    i64 sum = 0;
    for (auto& c : mChunks)
        sum += c->GetTotalSize(0);
    for (auto& c : mNewChunks)
        sum += c->GetTotalSize(0);
    return sum;
}

bool ChunkyFile::HasKind(ChunkList const& list, i32 kind)
{
    for (auto const& c : list)
        if (c->GetKind() == kind)
            return true;
    return false;
}

ChunkyFile::ChunkList::iterator ChunkyFile::InFrontOfTheAudio(ChunkList& list)
{
    // Between the pad and the audio a new chunk would push the audio off
    // its sector and move all of it; in front of the pad it only takes
    // room from the pad, and the audio stays where it is as long as the pad
    // has the room.
    for (auto at = list.begin(), previous = list.end(); at != list.end(); previous = at++)
        if ((*at)->GetKind() == Chunk::kAudioData)
            return previous != list.end() && (*previous)->GetKind() == Chunk::kPad ? previous : at;
    return list.end();
}

PlugInResult ChunkyFile::DoFormat()
{
    mLaidOut = true;
    mChunks.clear();
    mNewChunks.clear();
    mLongAudioSize = -1;
    mAudioBytes = -1;
    mLittleEndianAudio.reset();
    mUnsignedBytes = false;
    CreateDefaultChunks(mNewChunks);
    PlugInResult r = mFile->SetEOF(GetTotalFileSize());
    if (r != S_OK)
        return r;
    // Only the audio chunk is written now, so that samples can follow at
    // once; the first flush writes the rest around it.
    i64 sum = 0;
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

PlugInResult ChunkyFile::DoSetNumSamples(i64 frames)
{
    // The room a longer file needs is taken before anything changes: on a
    // disk that runs out later, the audio written would stand where the
    // chunks behind it stood, held in memory only, and the flush that writes
    // them behind it would find no room for them.
    if (i64 const frames0 = NumSamples(); frames > frames0)
    {
        SetNumSamplesValue(frames);
        i64 const needed = LengthWithTheAudioInPlace();
        SetNumSamplesValue(frames0);
        if (PlugInResult const room = mFile->Reserve(needed); room != S_OK)
            return room;
    }
    // A shortened file is a new piece of media.
    if (frames < mCommittedSamples)
        StampWithUmid();
    if (!mChunks.empty())
    {
        // A file that cannot keep the bytes behind its audio is not changed.
        PlugInResult const held = BeforeAudioGrows();
        if (held != S_OK)
            return held;
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
    return mFile->SetEOF(LengthWithTheAudioInPlace());
}

i64 ChunkyFile::LengthWithTheAudioInPlace()
{
    // The audio stays where it stands until the flush: a chunk in front of
    // it that shrank still takes its old place, and a length from the new
    // sizes alone would cut off the end of the audio.
    i64 audioEnd = 0;
    for (auto const& c : mChunks)
    {
        if (c->GetKind() == Chunk::kAudioData)
        {
            audioEnd += c->GetTotalSize(0);
            break;
        }
        audioEnd += c->GetFileSize();
    }
    return std::max(GetTotalFileSize(), audioEnd);
}

PlugInResult ChunkyFile::DoImplement(PlugInGuid const* iid)
{
    PlugInResult const r = DoImplement(iid, mChunks);
    // Chunks added at the end of the list join the form, in front of the
    // bytes that stand behind it.
    std::stable_partition(mChunks.begin(), mChunks.end(), [](auto const& c) { return !c->IsTrailing(); });
    return r;
}

PlugInResult ChunkyFile::BeforeAudioGrows()
{
    // Chunks behind the audio keep their bytes in memory while the audio
    // grows over their place.
    i64 pos = 0;
    bool behind = false;
    for (auto& c : mChunks)
    {
        if (c->GetKind() == Chunk::kAudioData)
            behind = true;
        else if (behind && c->KeepsItsBytes())
        {
            PlugInResult const r = c->HoldBytes(pos);
            if (r != S_OK)
                return r;
        }
        pos += c->GetFileSize();
    }
    return S_OK;
}

i64 ChunkyFile::AudioShift()
{
    i64 oldPos = 0;
    i64 newPos = 0;
    for (auto const& c : mChunks)
    {
        if (c->GetKind() == Chunk::kAudioData)
            return newPos - oldPos;
        oldPos += c->GetFileSize();
        if (!c->ShouldDiscard())
            newPos += c->GetTotalSize(0);
    }
    return 0;
}

void ChunkyFile::KeepTheAudioInPlace()
{
    // Moving the audio in place has no undo: a crash, a kill or a failing
    // disk in the middle of it leaves part of the recording written over
    // with another part. So a chunk in front of the audio that goes leaves
    // a filler of its size, and one that changes size beyond what a pad
    // takes up goes behind the audio, a filler keeping its place. The audio
    // moves only when the format itself must change in front of it and no
    // filler has the room.
    auto const inFront = [this](ChunkList::iterator it)
    { return it != mChunks.end() && (*it)->GetKind() != Chunk::kAudioData; };
    auto const fill = [this](ChunkList::iterator it, i64 fileSize)
    {
        if (fileSize < 8)
            return mChunks.erase(it);
        auto filler = std::make_unique<FillerChunk>(this, FillerId(), fileSize);
        filler->SetFileSize(fileSize);
        *it = std::move(filler);
        return std::next(it);
    };
    for (auto it = mChunks.begin(); inFront(it);)
        it = (*it)->ShouldDiscard() ? fill(it, (*it)->GetFileSize()) : std::next(it);
    if (AudioShift() == 0)
        return;
    auto behind = mNewChunks.end();
    while (behind != mNewChunks.begin() && (*std::prev(behind))->IsTrailing())
        --behind;
    for (auto it = mChunks.begin(); inFront(it);)
    {
        if (!CanStandBehindTheAudio((*it)->GetKind()) || (*it)->GetTotalSize(0) == (*it)->GetFileSize())
        {
            ++it;
            continue;
        }
        i64 const fileSize = (*it)->GetFileSize();
        std::unique_ptr<Chunk> moved = std::move(*it);
        it = fill(it, fileSize);
        moved->SetFileSize(0);
        mNewChunks.insert(behind, std::move(moved));
    }
    if (AudioShift() != 0)
        TakeUpInAFiller();
    // Still no room (a chunk the format must put in front, such as the
    // 64-bit sizes, in a file that left no filler for it): another tool's
    // chunks in front go behind the audio too, with their bytes, one at a
    // time until a filler left in a place has the room. Moving the audio
    // would take far longer, and a kill in the middle of it would leave
    // part of the recording written over.
    i64 pos = 0;
    for (auto it = mChunks.begin(); AudioShift() != 0 && inFront(it); pos += (*it)->GetFileSize(), ++it)
    {
        Chunk& c = **it;
        i64 const fileSize = c.GetFileSize();
        if (c.GetKind() != Chunk::kUnknown || c.GetId() == FillerId() || c.ShouldDiscard() || fileSize < 8 ||
            c.HoldBytes(pos) != S_OK)
            continue;
        auto const moved = mNewChunks.insert(behind, std::move(*it));
        (*moved)->SetFileSize(0);
        *it = std::make_unique<FillerChunk>(this, FillerId(), fileSize);
        (*it)->SetFileSize(fileSize);
        TakeUpInAFiller();
        if (AudioShift() == 0)
            break;
        // Its place does not help (the shift is a pad's, which no filler
        // takes up): the chunk stays where it stands.
        (*moved)->SetFileSize(fileSize);
        *it = std::move(*moved);
        mNewChunks.erase(moved);
    }
}

void ChunkyFile::TakeUpInAFiller()
{
    // What still changes in front of the audio (a chunk of the format's
    // own, such as the 64-bit sizes) comes out of a filler there, if one has
    // the room: only the chunks between the two move.
    i64 growth = 0;
    for (auto const& c : mChunks)
    {
        if (c->GetKind() == Chunk::kAudioData)
            break;
        if (c->GetKind() != Chunk::kPad)
            growth += c->GetTotalSize(0) - c->GetFileSize();
    }
    for (auto& c : mChunks)
    {
        if (c->GetKind() == Chunk::kAudioData)
            break;
        bool const filler =
            c->GetKind() == Chunk::kFiller || (c->GetKind() == Chunk::kUnknown && c->GetId() == FillerId());
        i64 const takes = c->GetFileSize() - growth;
        if (!filler || takes < 8)
            continue;
        std::unique_ptr<Chunk> smaller = std::make_unique<FillerChunk>(this, c->GetId(), takes);
        smaller->SetFileSize(c->GetFileSize());
        std::swap(c, smaller);
        // A pad that cannot follow keeps the audio moving anyway.
        if (AudioShift() == 0)
            return;
        std::swap(c, smaller);
    }
}

bool ChunkyFile::CanStandBehindTheAudio(i32 kind)
{
    switch (kind)
    {
    case Chunk::kEbu:
    case Chunk::kUmid:
    case Chunk::kMinf:
    case Chunk::kRegn:
    case Chunk::kOvwf:
    case Chunk::kInstrument:
    case Chunk::kMark: return true;
    default: return false;
    }
}

PlugInResult ChunkyFile::DoFlush()
{
    // A file that states its stream or holds its audio twice is read as the
    // later chunks say, but which of them another tool would believe is not
    // known: it is not rewritten, so that nothing in it changes.
    // Nor is a file that does not begin with its form's header.
    if (mFactsTwice || (!mChunks.empty() && mChunks.front()->GetKind() != Chunk::kFileHeader))
        return kAudioFile_Unimplemented;
    // A handler that neither opened nor made the file (or whose open
    // failed) holds no layout of it, and would cut it to what it holds.
    if (!mLaidOut)
        return E_UNEXPECTED;
    // The format may add a chunk in front of the audio to fit its sizes:
    // the layout is settled around it once more.
    KeepTheAudioInPlace();
    if (PlugInResult const fits = FitSizes(); fits != S_OK)
        return fits;
    KeepTheAudioInPlace();
    // Every kept chunk's bytes go once from where they stand to where they
    // will stand, rather than each chunk that changed size moving everything
    // behind it in turn. The file comes out the same, but when the pad takes
    // up a change in front of it the audio is not touched at all (it used to
    // be moved forward and back), and otherwise it moves once: a crash or a
    // full disk during the flush cannot leave audio half moved that did not
    // need to move.
    //
    // The room the flush needs is taken first, while nothing has changed: a
    // disk that filled half way through moving the audio towards the end
    // would leave the end of the audio written over with bytes from in
    // front of it, under the old header.
    i64 needed = 0;
    for (auto const* list : {&mChunks, &mNewChunks})
        for (auto const& c : *list)
            if (!c->ShouldDiscard())
                needed += c->GetTotalSize(0);
    if (PlugInResult const room = mFile->Reserve(needed); room != S_OK)
        return room;

    struct Move
    {
        i64 from, to, length;
    };
    std::vector<Move> moves;
    i64 oldPos = 0;
    i64 newPos = 0;
    for (auto it = mChunks.begin(); it != mChunks.end();)
    {
        Chunk& c = **it;
        i64 const fileSize = c.GetFileSize();
        if (c.ShouldDiscard())
        {
            oldPos += fileSize;
            it = mChunks.erase(it);
            continue;
        }
        // What a chunk keeps of its old bytes when its size changes: its
        // start, as if everything behind it had moved.
        i64 const newSize = c.GetTotalSize(0);
        i64 const kept = std::min(fileSize, newSize);
        if (kept > 0 && newPos != oldPos)
        {
            Move* last = moves.empty() ? nullptr : &moves.back();
            if (last && last->from + last->length == oldPos && last->to - last->from == newPos - oldPos)
                last->length += kept;
            else
                moves.push_back({oldPos, newPos, kept});
        }
        oldPos += fileSize;
        newPos += newSize;
        ++it;
    }
    // Chunks keep their order, so a block moving towards the start can only
    // land on blocks in front of it that move the same way, and the other
    // way round: those towards the start go first to last, the others last
    // to first, and no block is overwritten before it moved.
    for (Move const& m : moves)
        if (m.to < m.from)
            if (PlugInResult const moved = MoveBytes(m.from, m.length, m.to - m.from); moved != S_OK)
                return moved;
    for (auto m = moves.rbegin(); m != moves.rend(); ++m)
        if (m->to > m->from)
            if (PlugInResult const moved = MoveBytes(m->from, m->length, m->to - m->from); moved != S_OK)
                return moved;

    PlugInResult r = mFile->SetEOF(GetTotalFileSize());
    if (r != S_OK)
        return r;
    r = mFile->SetPosition(0, 0);
    if (r != S_OK)
        return r;

    // Bytes behind the form stay behind it, after the chunks that join it.
    ChunkList trailing;
    while (!mChunks.empty() && mChunks.back()->IsTrailing())
    {
        trailing.push_front(std::move(mChunks.back()));
        mChunks.pop_back();
    }
    while (!mNewChunks.empty() && mNewChunks.back()->IsTrailing())
    {
        trailing.push_front(std::move(mNewChunks.back()));
        mNewChunks.pop_back();
    }
    while (!mNewChunks.empty())
    {
        std::unique_ptr<Chunk> c = std::move(mNewChunks.front());
        mNewChunks.pop_front();
        if (!c->ShouldDiscard())
            mChunks.push_back(std::move(c));
    }
    mChunks.splice(mChunks.end(), trailing);

    // Fillers are written last: until then the chunk whose place one takes
    // still stands there, and a process killed before its copy behind the
    // audio was whole leaves it readable.
    std::vector<std::pair<Chunk*, i64>> fillers;
    i64 pos = 0;
    for (auto& c : mChunks)
    {
        if (c->GetKind() == Chunk::kFiller)
        {
            fillers.emplace_back(c.get(), pos);
            r = mFile->SetPosition(0, pos + c->GetTotalSize(0));
        }
        else
            r = c->WriteChunk(pos);
        if (r != S_OK)
            return r;
        i64 tell = 0;
        r = mFile->GetPosition(&tell);
        if (r != S_OK)
            return r;
        c->SetFileSize(tell - pos);
        pos = tell;
    }
    // Nor may the disk put a filler down before the copy: a power cut
    // would leave neither.
    if (!fillers.empty())
        if (r = mFile->Sync(); r != S_OK)
            return r;
    for (auto [filler, at] : fillers)
    {
        r = mFile->SetPosition(0, at);
        if (r == S_OK)
            r = filler->WriteChunk(at);
        if (r != S_OK)
            return r;
    }
    // A body may have shrunk.
    return mFile->SetEOF(GetTotalFileSize());
}

PlugInResult ChunkyFile::MoveBytes(i64 start, i64 length, i64 delta)
{
    if (delta == 0)
        return S_OK;
    i64 saved = 0;
    PlugInResult r = mFile->GetPosition(&saved);
    if (r != S_OK)
        return r;
    // Only the bytes the file holds move: an audio chunk of an unfinished
    // file may be counted a pad byte longer than it is.
    i64 eof = 0;
    r = mFile->GetEOF(&eof);
    if (r != S_OK)
        return r;
    if (start + length > eof)
        length = eof > start ? eof - start : 0;

    constexpr i64 kBlock = 0x8000;
    char buffer[kBlock];
    auto copy = [&](i64 from, i64 count) -> PlugInResult
    {
        PlugInResult rr = mFile->SetPosition(0, from);
        if (rr != S_OK)
            return rr;
        i64 got = count;
        rr = mFile->Read(buffer, &got);
        if (rr != S_OK)
            return rr;
        if (got != count)
            return E_UNEXPECTED;
        rr = mFile->SetPosition(0, from + delta);
        if (rr != S_OK)
            return rr;
        i64 put = count;
        rr = mFile->Write(buffer, &put);
        if (rr != S_OK)
            return rr;
        return put == count ? S_OK : E_UNEXPECTED;
    };

    // A failed copy is the answer: the chunks written next would land on
    // bytes that are not where they should be.
    if (delta < 0)
    {
        // Towards the start: copy from the head so that overlaps survive.
        for (i64 source = start, remaining = length; remaining > 0 && r == S_OK;)
        {
            i64 const block = remaining < kBlock ? remaining : kBlock;
            r = copy(source, block);
            source += block;
            remaining -= block;
        }
    }
    else
    {
        // Towards the end: copy from the tail.
        for (i64 cursor = start + length, remaining = length; remaining > 0 && r == S_OK;)
        {
            i64 const block = remaining < kBlock ? remaining : kBlock;
            cursor -= block;
            r = copy(cursor, block);
            remaining -= block;
        }
    }
    PlugInResult const restored = mFile->SetPosition(0, saved);
    return r != S_OK ? r : restored;
}

PlugInResult ChunkyFile::PrintFile(std::ostream& out)
{
    return WalkChunks(false,
                      [&](Chunk& chunk, ChunkId, u32, i64 pos, i64 eof)
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
    MarkChanged(kValidUmid);
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
