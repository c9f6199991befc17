#include "FF/PlugIns/PlugIn.h"
#include "Cmn/Cmn_Types.h"

#include "FF/PlugIns/IFile.h"
#include "FF/PlugIns/RelocatableBlock.h"
#include "Sys/Sys_Umid.h"
#include "Sys/Sys_Utils.h"

#include <cstring>
#include <ostream>
#include <vector>

namespace
{

constexpr char kDefaultStartTimeCode[] = "00:00:00:00";
constexpr char kDefaultMasterMobName[] = "Test Master Mob Name";
constexpr char kDefaultTapeMobName[] = "Test Tape Mob Name";

bool SameOverview(PlugInOverview const& o, i32 spi, i32 bpi)
{
    return o.samplesPerInterval == static_cast<u32>(spi) && o.bitsPerInterval == static_cast<u32>(bpi) &&
           o.channels == 1;
}

} // namespace

PlugIn::PlugIn()
{
    Reset();
}

PlugIn::~PlugIn()
{
    DisposeOverviews();
    if (mFile)
        mFile->Release();
}

void PlugIn::Reset()
{
    mValidMask = 0;
    mChannels = 0;
    mSampleRate = 0;
    mBitsPerSample = 0;
    mNumSamples = 0;
    mCommittedSamples = 0;
    mPosition = 0;
    mDataOffset = 0;
    mRegions.clear();
    DisposeOverviews();
    mAudioDirty = false;
    std::memset(mUmid, 0, sizeof mUmid);
    mDataRevision = 0;
    mUTCModDate = 0;
    mHasEbuData = false;
    mSMPTETimeStamp = 0;
    mHasOmfiData = false;
    mStartTimeCode = kDefaultStartTimeCode;
    mMasterMobName = kDefaultMasterMobName;
    mTapeMobName = kDefaultTapeMobName;
    mEditRate = 29.97;
    mDropFrame = true;
    mHasInstrument = false;
    mInstrument = PlugInInstrument{};
    mChangedMask = 0;
    mRefusalReason.clear();
    mHeaderIncomplete = false;
    mChannelMask = 0;
    mBroadcastFields.clear();
}

void PlugIn::DisposeOverviews()
{
    for (auto& o : mOverviews)
        if (o.owned)
            RelocatableBlock::Dispose(o.data);
    mOverviews.clear();
}

void PlugIn::KeepWhatFits(i64 frames)
{
    auto const n = static_cast<u64>(frames);
    std::erase_if(mRegions, [n](PlugInRegion const& r) { return r.startSample >= n || r.stopSample > n; });
    std::erase_if(mOverviews,
                  [frames](PlugInOverview const& o)
                  {
                      i64 const spi = o.samplesPerInterval;
                      if (spi > 0 && static_cast<i64>(o.numIntervals) == (frames + spi - 1) / spi)
                          return false;
                      if (o.owned)
                          RelocatableBlock::Dispose(o.data);
                      return true;
                  });
}

u64 PlugIn::Now()
{
    // File time units (100 ns since 1601), so that dates mean the same in
    // files written on any system.
    return static_cast<u64>(Sys_Utils::GetUTC());
}

void PlugIn::SetChannels(u16 channels)
{
    mChannels = channels;
    mValidMask |= kValidChannels;
}
void PlugIn::SetSampleRate(i32 rate)
{
    mSampleRate = rate;
    mValidMask |= kValidSampleRate;
}
void PlugIn::SetBitsPerSample(u16 bits)
{
    mBitsPerSample = bits;
    mValidMask |= kValidBitsPerSample;
}
void PlugIn::SetNumSamplesValue(i64 frames)
{
    mNumSamples = frames;
    mValidMask |= kValidNumSamples;
}
void PlugIn::SetDataOffset(i64 offset)
{
    mDataOffset = offset;
    mValidMask |= kValidDataOffset;
}

void PlugIn::SetUmidBytes(u8 const* umid)
{
    std::memcpy(mUmid, umid, sizeof mUmid);
    mValidMask |= kValidUmid;
}

void PlugIn::SetHasEbuData()
{
    mHasEbuData = true;
    mValidMask |= kValidEbu;
}

// ------------------------------------------------------------------ IUnknown

PlugInResult PlugIn::QueryInterface(PlugInGuid const& iid, void** object)
{
    *object = nullptr;
    IUnknown* answer = nullptr;
    if (iid == IID_IUnknown || iid == IID_IAudioFile)
        answer = static_cast<IAudioFile*>(this);
    else if (iid == IID_IImportExportAudioFile)
    {
        if (HasImportExport(mValidMask))
            answer = static_cast<IImportExportAudioFile*>(this);
    }
    else if (iid == IID_INativeAudioFile)
    {
        if (HasNative(mValidMask))
            answer = static_cast<INativeAudioFile*>(this);
    }
    else if (iid == IID_IVelmoraAudioFile)
    {
        if (HasVelmora(mValidMask))
            answer = static_cast<IVelmoraAudioFile*>(this);
    }
    else if (iid == IID_IEbuAudioFile)
    {
        if (HasEbu(mValidMask))
            answer = static_cast<IEbuAudioFile*>(this);
    }
    else if (iid == IID_IOmfiAudioFile)
    {
        if (HasOmfi(mValidMask))
            answer = static_cast<IOmfiAudioFile*>(this);
    }
    else if (iid == IID_IOrvanelAudioFile)
    {
        if (HasOrvanel(mValidMask))
            answer = static_cast<IOrvanelAudioFile*>(this);
    }
    if (!answer)
        return E_NOINTERFACE;
    answer->AddRef();
    *object = answer;
    return S_OK;
}

u32 PlugIn::AddRef()
{
    return static_cast<u32>(++mRefCount);
}

u32 PlugIn::Release()
{
    if (--mRefCount == 0)
    {
        delete this;
        return 0;
    }
    return static_cast<u32>(mRefCount);
}

// ---------------------------------------------------------------- IAudioFile

PlugInResult PlugIn::SetFile(IFile* file)
{
    if (mFile)
        return E_UNEXPECTED;
    void* answer = nullptr;
    if (!file)
        return E_UNEXPECTED;
    PlugInResult r = file->QueryInterface(IID_IFile, &answer);
    if (r != S_OK)
        return r;
    mFile = static_cast<IFile*>(answer);
    return S_OK;
}

PlugInResult PlugIn::Format(u16 channels, i32 samplesPerSec, u16 bitsPerSample, i64 numSamples)
{
    Reset();
    SetChannels(channels);
    SetSampleRate(samplesPerSec);
    SetBitsPerSample(bitsPerSample);
    SetNumSamplesValue(numSamples);
    mUTCModDate = Now();
    mChangedMask = ~u64{0};
    return DoFormat();
}

PlugInResult PlugIn::Open()
{
    Reset();
    PlugInResult r = DoOpen();
    mCommittedSamples = mNumSamples;
    // What the parse put in the cache is what the chunks already say; only
    // a header that did not give the length must be written anew.
    mChangedMask = mHeaderIncomplete ? kValidNumSamples : 0;
    return r;
}

PlugInResult PlugIn::Flush()
{
    if (mAudioDirty)
    {
        ++mDataRevision;
        mAudioDirty = false;
    }
    mUTCModDate = Now();
    mChangedMask |= kValidModification;
    PlugInResult r = DoFlush();
    mCommittedSamples = mNumSamples;
    if (r == S_OK)
        mChangedMask = 0;
    return r;
}

PlugInResult PlugIn::PrintFile(std::ostream&)
{
    return kAudioFile_Unimplemented;
}

PlugInResult PlugIn::PrintCache(std::ostream& out)
{
    out << "Compatibility:\n";
    if (HasImportExport(mValidMask))
        out << "\tImportExport\n";
    if (HasNative(mValidMask))
        out << "\tNative\n";
    if (HasVelmora(mValidMask))
        out << "\tVelmora\n";
    if (HasEbu(mValidMask))
        out << "\tEbu\n";
    if (HasOmfi(mValidMask))
        out << "\tOmfi\n";
    out << "Cached values:\n";
    if (HasImportExport(mValidMask))
    {
        out << "ImportExport values: \n"
            << "\tNumber of channels: " << mChannels << "\n"
            << "\tSamples per second: " << mSampleRate << "\n"
            << "\tBits per sample: " << mBitsPerSample << "\n"
            << "\tNumber of samples: " << mNumSamples << "\n"
            << "\tSample data offset: " << mDataOffset << "\n";
    }
    if (HasVelmora(mValidMask))
    {
        auto hex = [&](u8 const* id)
        {
            static char const digits[] = "0123456789abcdef";
            for (int i = 0; i < 16; ++i)
                out << digits[id[i] >> 4] << digits[id[i] & 15];
        };
        out << "Velmora values: \n\tUmid: ";
        hex(mUmid);
        out << "\n\tUTC modification date: " << mUTCModDate << "\n"
            << "\tData revision: " << mDataRevision << "\n"
            << "\tNumber of regions: " << mRegions.size() << "\n";
        for (auto const& r : mRegions)
        {
            out << "\tName: " << std::string(r.name, r.nameLength > 31 ? 31 : r.nameLength) << "\n\t\tUmid: ";
            hex(r.umid);
            out << "\n\t\tStart sample: " << r.startSample << "\n"
                << "\t\tStop sample: " << r.stopSample << "\n"
                << "\t\tSync sample: " << r.syncSample << "\n"
                << "\t\tUser time stamp: " << r.userTimeStamp << "\n"
                << "\t\tOriginal time stamp: " << r.originalTimeStamp << "\n";
        }
        out << "\tNumber of overviews: " << mOverviews.size() << "\n";
        for (auto const& o : mOverviews)
        {
            out << "\tOverview decimation: " << o.samplesPerInterval << "\n"
                << "\t\tNumber of intervals: " << o.numIntervals << "\n"
                << "\t\tDecimation bitdepth: " << o.bitsPerInterval << "\n";
        }
    }
    if (HasEbu(mValidMask))
        out << "\tHas Ebu Data\n";
    if (HasOmfi(mValidMask))
        out << "Has Omfi Data\n";
    return S_OK;
}

// ---------------------------------------------------- IImportExportAudioFile

PlugInResult PlugIn::CopyTypeName(i32 size, char* buffer, char const* name)
{
    if (size != 8)
        return E_FAIL;
    std::memset(buffer, 0, 8);
    std::strncpy(buffer, name, 7);
    return S_OK;
}

PlugInResult PlugIn::Implement(PlugInGuid const* iid)
{
    return DoImplement(iid);
}

PlugInResult PlugIn::GetNumChannels(u16* channels)
{
    *channels = mChannels;
    return S_OK;
}
PlugInResult PlugIn::GetSamplesPerSec(i32* rate)
{
    *rate = mSampleRate;
    return S_OK;
}
PlugInResult PlugIn::GetBitsPerSample(u16* bits)
{
    *bits = mBitsPerSample;
    return S_OK;
}
PlugInResult PlugIn::GetNumSamples(i64* frames)
{
    *frames = mNumSamples;
    return S_OK;
}

PlugInResult PlugIn::SampleRead(void* buffer, i64 frames)
{
    // A missing file is remembered, but the range test still speaks first.
    PlugInResult result = mFile ? S_OK : E_UNEXPECTED;
    if (static_cast<u64>(frames) + static_cast<u64>(mPosition) > static_cast<u64>(mNumSamples))
        return kImportExport_BadParameter;
    if (frames == 0 || result != S_OK)
        return result;

    i64 const frameSize = FrameSize();
    i64 const bytes = frames * frameSize;
    result = mFile->SetPosition(0, mDataOffset + mPosition * frameSize);
    if (result != S_OK)
        return result;
    i64 got = bytes;
    result = mFile->Read(buffer, &got);
    if (result != S_OK)
        return result;
    if (got != bytes)
        return E_UNEXPECTED;
    mPosition += frames;
    if (IsUnsigned8Bit())
    {
        auto* p = static_cast<u8*>(buffer);
        for (i64 i = 0; i < bytes; ++i)
            p[i] ^= 0x80;
    }
    return S_OK;
}

PlugInResult PlugIn::SampleWrite(void* buffer, i64 frames)
{
    if (!mFile)
        return E_UNEXPECTED;
    if (frames == 0)
        return S_OK;
    i64 const frameSize = FrameSize();
    i64 const bytes = frames * frameSize;
    if (mPosition + frames > mNumSamples)
    {
        PlugInResult const r = BeforeAudioGrows();
        if (r != S_OK)
            return r;
    }
    if (IsUnsigned8Bit())
    {
        // The caller's buffer stays flipped: the format keeps 8-bit audio unsigned.
        auto* p = static_cast<u8*>(buffer);
        for (i64 i = 0; i < bytes; ++i)
            p[i] ^= 0x80;
    }
    PlugInResult r = mFile->SetPosition(0, mDataOffset + mPosition * frameSize);
    if (r != S_OK)
        return r;
    i64 put = bytes;
    r = mFile->Write(buffer, &put);
    if (r != S_OK)
        return r;
    if (put != bytes)
        return E_UNEXPECTED;
    mPosition += frames;
    mAudioDirty = true;
    return S_OK;
}

PlugInResult PlugIn::SampleSetPosition(i32 from, i64 frames)
{
    if (!mFile)
        return E_UNEXPECTED;
    switch (from)
    {
    case 0: mPosition = frames; break;
    case 1: mPosition += frames; break;
    case 2: mPosition = mNumSamples - frames; break;
    default: return kImportExport_BadParameter;
    }
    return mFile->SetPosition(0, mDataOffset + mPosition * FrameSize());
}

PlugInResult PlugIn::SampleGetPosition(i64* frames)
{
    *frames = mPosition;
    return S_OK;
}

PlugInResult PlugIn::GetNumRegions(u32* count)
{
    *count = static_cast<u32>(mRegions.size());
    return S_OK;
}

PlugInResult PlugIn::GetRegion(u32 index, PlugInRegion* region)
{
    if (index >= mRegions.size())
        return E_FAIL;
    *region = mRegions[index];
    return S_OK;
}

// ---------------------------------------------------------- INativeAudioFile

PlugInResult PlugIn::SampleToOffset(i64 sample, i64* byteOffset)
{
    *byteOffset = mDataOffset + sample * FrameSize();
    return S_OK;
}

PlugInResult PlugIn::OffsetToSample(i64 byteOffset, i64* sample)
{
    i64 const frameSize = FrameSize();
    i64 const rel = byteOffset - mDataOffset;
    if (frameSize == 0 || rel % frameSize != 0)
        return kNative_BadParameter;
    *sample = rel / frameSize;
    return S_OK;
}

PlugInResult PlugIn::SetNumSamples(i64 frames)
{
    if (frames == mNumSamples)
        return S_OK;
    u64 const changed = mChangedMask;
    u64 const revision = mDataRevision;
    bool const dirty = mAudioDirty;
    if (frames < mCommittedSamples)
    {
        mDataRevision = 0;
        mAudioDirty = false;
    }
    else if (mCommittedSamples != 0)
    {
        mAudioDirty = true;
    }
    mChangedMask |= kValidNumSamples | kValidOverviews;
    PlugInResult r = DoSetNumSamples(frames);
    // A length refused (a full disk) changed nothing: the overviews still
    // describe the file, and the next flush keeps them.
    if (r != S_OK && mNumSamples != frames)
    {
        mChangedMask = changed;
        mDataRevision = revision;
        mAudioDirty = dirty;
        return r;
    }
    // Overviews describe the old length; none survives a change of it.
    DisposeOverviews();
    return r;
}

PlugInResult PlugIn::AddRegion(PlugInRegion* region)
{
    // The caller reads the new identifier back from its record.
    Sys_Umid const umid = Sys_Umid::Create();
    std::memcpy(region->umid, &umid, 16);
    mRegions.push_back(*region);
    mChangedMask |= kValidRegions;
    return S_OK;
}

PlugInResult PlugIn::RemoveRegion(u8 const* umid)
{
    std::size_t before = mRegions.size();
    std::erase_if(mRegions, [&](PlugInRegion const& r) { return std::memcmp(r.umid, umid, 16) == 0; });
    mChangedMask |= kValidRegions;
    return mRegions.size() == before ? E_FAIL : S_OK;
}

PlugInResult PlugIn::HasOverview(i32 spi, i32 bpi)
{
    for (auto const& o : mOverviews)
        if (SameOverview(o, spi, bpi))
            return S_OK;
    return S_FALSE;
}

PlugInResult PlugIn::GetOverview(char*** data, i32 spi, i32 bpi, i32* numIntervals)
{
    bool found = false;
    for (auto& o : mOverviews)
    {
        if (!SameOverview(o, spi, bpi))
            continue;
        // The caller disposes of the block from now on; the record keeps the
        // pointer for the next flush.
        *data = o.data;
        *numIntervals = static_cast<i32>(o.numIntervals);
        o.owned = false;
        found = true;
    }
    return found ? S_OK : E_FAIL;
}

PlugInResult PlugIn::SetOverview(char** data, i32 spi, i32 bpi, i32 numIntervals)
{
    mChangedMask |= kValidOverviews;
    auto const size = static_cast<u32>((static_cast<i64>(numIntervals) * bpi * 2) / 8 + 24);
    for (auto& o : mOverviews)
    {
        if (!SameOverview(o, spi, bpi))
            continue;
        o.numIntervals = static_cast<u32>(numIntervals);
        o.size = size;
        if (o.data != data)
        {
            if (o.owned)
                RelocatableBlock::Dispose(o.data);
            o.data = data;
        }
        o.owned = false;
        return S_OK;
    }
    PlugInOverview o;
    o.size = size;
    o.version = 1;
    o.samplesPerInterval = static_cast<u32>(spi);
    o.bitsPerInterval = static_cast<u32>(bpi);
    o.channels = 1;
    o.numIntervals = static_cast<u32>(numIntervals);
    o.data = data;
    o.isNew = true;
    o.owned = false;
    mOverviews.push_back(o);
    return S_OK;
}

// --------------------------------------------------------- IVelmoraAudioFile

PlugInResult PlugIn::GetUmid(u8* umid)
{
    std::memcpy(umid, mUmid, 16);
    return S_OK;
}
PlugInResult PlugIn::StampWithUmid()
{
    return kVelmora_Unimplemented;
}
PlugInResult PlugIn::GetUTCModDate(u64* date)
{
    *date = mUTCModDate;
    return S_OK;
}
PlugInResult PlugIn::GetDataRevision(u64* revision)
{
    *revision = mDataRevision;
    return S_OK;
}

// ------------------------------------------------------------ IOmfiAudioFile

PlugInResult PlugIn::SetStartTimeCode(char const* timeCode)
{
    mChangedMask |= kValidOmfi;
    mStartTimeCode = timeCode ? timeCode : "";
    return S_OK;
}
PlugInResult PlugIn::GetStartTimeCode(char* buffer)
{
    std::memcpy(buffer, mStartTimeCode.c_str(), mStartTimeCode.size() + 1);
    return S_OK;
}
PlugInResult PlugIn::SetMasterMobName(char const* name)
{
    mChangedMask |= kValidOmfi;
    mMasterMobName = name ? name : "";
    return S_OK;
}
PlugInResult PlugIn::SetTapeMobName(char const* name)
{
    mChangedMask |= kValidOmfi;
    mTapeMobName = name ? name : "";
    return S_OK;
}
PlugInResult PlugIn::SetEditRate(float rate, bool dropFrame)
{
    mChangedMask |= kValidOmfi;
    mEditRate = rate;
    mDropFrame = dropFrame;
    return S_OK;
}

// ------------------------------------------------------------- IEbuAudioFile

PlugInResult PlugIn::GetSMPTETimeStamp(i64* stamp)
{
    *stamp = mSMPTETimeStamp;
    return S_OK;
}
PlugInResult PlugIn::SetSMPTETimeStamp(i64 stamp)
{
    mChangedMask |= kValidEbu;
    mSMPTETimeStamp = stamp;
    return S_OK;
}

// --------------------------------------------------------- IOrvanelAudioFile

PlugInResult PlugIn::HasInstrumentAttr()
{
    return mHasInstrument ? S_OK : S_FALSE;
}
PlugInResult PlugIn::GetInstrumentAttr(PlugInInstrument* instrument)
{
    *instrument = mInstrument;
    return S_OK;
}
PlugInResult PlugIn::SetInstrumentAttr(PlugInInstrument* instrument)
{
    mChangedMask |= kValidInstrument;
    mInstrument = *instrument;
    mHasInstrument = true;
    return S_OK;
}
