#include "FF/PlugIns/PlugIn.h"

#include "FF/PlugIns/IFile.h"
#include "FF/PlugIns/RelocatableBlock.h"
#include "Sys/Sys_Umid.h"
#include "Sys/Sys_Utils.h"

#include <cstring>
#include <ostream>

namespace
{

constexpr char kDefaultStartTimeCode[] = "00:00:00:00";
constexpr char kDefaultMasterMobName[] = "Test Master Mob Name";
constexpr char kDefaultTapeMobName[] = "Test Tape Mob Name";

bool SameOverview(PlugInOverview const& o, std::int32_t spi, std::int32_t bpi)
{
    return o.samplesPerInterval == static_cast<std::uint32_t>(spi) &&
           o.bitsPerInterval == static_cast<std::uint32_t>(bpi) && o.channels == 1;
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

std::uint64_t PlugIn::Now()
{
    // File time units (100 ns since 1601), so that dates mean the same in
    // files written on any system.
    return static_cast<std::uint64_t>(Sys_Utils::GetUTC());
}

void PlugIn::SetChannels(std::uint16_t channels)
{
    mChannels = channels;
    mValidMask |= kValidChannels;
}
void PlugIn::SetSampleRate(std::int32_t rate)
{
    mSampleRate = rate;
    mValidMask |= kValidSampleRate;
}
void PlugIn::SetBitsPerSample(std::uint16_t bits)
{
    mBitsPerSample = bits;
    mValidMask |= kValidBitsPerSample;
}
void PlugIn::SetNumSamplesValue(std::int64_t frames)
{
    mNumSamples = frames;
    mValidMask |= kValidNumSamples;
}
void PlugIn::SetDataOffset(std::int64_t offset)
{
    mDataOffset = offset;
    mValidMask |= kValidDataOffset;
}

void PlugIn::SetUmidBytes(std::uint8_t const* umid)
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

std::uint32_t PlugIn::AddRef()
{
    return static_cast<std::uint32_t>(++mRefCount);
}

std::uint32_t PlugIn::Release()
{
    if (--mRefCount == 0)
    {
        delete this;
        return 0;
    }
    return static_cast<std::uint32_t>(mRefCount);
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

PlugInResult PlugIn::Format(std::uint16_t channels, std::int32_t samplesPerSec, std::uint16_t bitsPerSample,
                            std::int64_t numSamples)
{
    Reset();
    SetChannels(channels);
    SetSampleRate(samplesPerSec);
    SetBitsPerSample(bitsPerSample);
    SetNumSamplesValue(numSamples);
    mUTCModDate = Now();
    mChangedMask = ~std::uint64_t{0};
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
        auto hex = [&](std::uint8_t const* id)
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

PlugInResult PlugIn::CopyTypeName(std::int32_t size, char* buffer, char const* name)
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

PlugInResult PlugIn::GetNumChannels(std::uint16_t* channels)
{
    *channels = mChannels;
    return S_OK;
}
PlugInResult PlugIn::GetSamplesPerSec(std::int32_t* rate)
{
    *rate = mSampleRate;
    return S_OK;
}
PlugInResult PlugIn::GetBitsPerSample(std::uint16_t* bits)
{
    *bits = mBitsPerSample;
    return S_OK;
}
PlugInResult PlugIn::GetNumSamples(std::int64_t* frames)
{
    *frames = mNumSamples;
    return S_OK;
}

PlugInResult PlugIn::SampleRead(void* buffer, std::int64_t frames)
{
    // A missing file is remembered, but the range test still speaks first.
    PlugInResult result = mFile ? S_OK : E_UNEXPECTED;
    if (static_cast<std::uint64_t>(frames) + static_cast<std::uint64_t>(mPosition) >
        static_cast<std::uint64_t>(mNumSamples))
        return kImportExport_BadParameter;
    if (frames == 0 || result != S_OK)
        return result;

    std::int64_t const frameSize = FrameSize();
    std::int64_t const bytes = frames * frameSize;
    result = mFile->SetPosition(0, mDataOffset + mPosition * frameSize);
    if (result != S_OK)
        return result;
    std::int64_t got = bytes;
    result = mFile->Read(buffer, &got);
    if (result != S_OK)
        return result;
    if (got != bytes)
        return E_UNEXPECTED;
    mPosition += frames;
    if (IsUnsigned8Bit())
    {
        auto* p = static_cast<std::uint8_t*>(buffer);
        for (std::int64_t i = 0; i < bytes; ++i)
            p[i] ^= 0x80;
    }
    return S_OK;
}

PlugInResult PlugIn::SampleWrite(void* buffer, std::int64_t frames)
{
    if (!mFile)
        return E_UNEXPECTED;
    if (frames == 0)
        return S_OK;
    std::int64_t const frameSize = FrameSize();
    std::int64_t const bytes = frames * frameSize;
    if (mPosition + frames > mNumSamples)
    {
        PlugInResult const r = BeforeAudioGrows();
        if (r != S_OK)
            return r;
    }
    if (IsUnsigned8Bit())
    {
        // The caller's buffer stays flipped: the format keeps 8-bit audio unsigned.
        auto* p = static_cast<std::uint8_t*>(buffer);
        for (std::int64_t i = 0; i < bytes; ++i)
            p[i] ^= 0x80;
    }
    PlugInResult r = mFile->SetPosition(0, mDataOffset + mPosition * frameSize);
    if (r != S_OK)
        return r;
    std::int64_t put = bytes;
    r = mFile->Write(buffer, &put);
    if (r != S_OK)
        return r;
    if (put != bytes)
        return E_UNEXPECTED;
    mPosition += frames;
    mAudioDirty = true;
    return S_OK;
}

PlugInResult PlugIn::SampleSetPosition(std::int32_t from, std::int64_t frames)
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

PlugInResult PlugIn::SampleGetPosition(std::int64_t* frames)
{
    *frames = mPosition;
    return S_OK;
}

PlugInResult PlugIn::GetNumRegions(std::uint32_t* count)
{
    *count = static_cast<std::uint32_t>(mRegions.size());
    return S_OK;
}

PlugInResult PlugIn::GetRegion(std::uint32_t index, PlugInRegion* region)
{
    if (index >= mRegions.size())
        return E_FAIL;
    *region = mRegions[index];
    return S_OK;
}

// ---------------------------------------------------------- INativeAudioFile

PlugInResult PlugIn::SampleToOffset(std::int64_t sample, std::int64_t* byteOffset)
{
    *byteOffset = mDataOffset + sample * FrameSize();
    return S_OK;
}

PlugInResult PlugIn::OffsetToSample(std::int64_t byteOffset, std::int64_t* sample)
{
    std::int64_t const frameSize = FrameSize();
    std::int64_t const rel = byteOffset - mDataOffset;
    if (frameSize == 0 || rel % frameSize != 0)
        return kNative_BadParameter;
    *sample = rel / frameSize;
    return S_OK;
}

PlugInResult PlugIn::SetNumSamples(std::int64_t frames)
{
    if (frames == mNumSamples)
        return S_OK;
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

PlugInResult PlugIn::RemoveRegion(std::uint8_t const* umid)
{
    std::size_t before = mRegions.size();
    std::erase_if(mRegions, [&](PlugInRegion const& r) { return std::memcmp(r.umid, umid, 16) == 0; });
    mChangedMask |= kValidRegions;
    return mRegions.size() == before ? E_FAIL : S_OK;
}

PlugInResult PlugIn::HasOverview(std::int32_t spi, std::int32_t bpi)
{
    for (auto const& o : mOverviews)
        if (SameOverview(o, spi, bpi))
            return S_OK;
    return S_FALSE;
}

PlugInResult PlugIn::GetOverview(char*** data, std::int32_t spi, std::int32_t bpi, std::int32_t* numIntervals)
{
    bool found = false;
    for (auto& o : mOverviews)
    {
        if (!SameOverview(o, spi, bpi))
            continue;
        // The caller disposes of the block from now on; the record keeps the
        // pointer for the next flush.
        *data = o.data;
        *numIntervals = static_cast<std::int32_t>(o.numIntervals);
        o.owned = false;
        found = true;
    }
    return found ? S_OK : E_FAIL;
}

PlugInResult PlugIn::SetOverview(char** data, std::int32_t spi, std::int32_t bpi, std::int32_t numIntervals)
{
    mChangedMask |= kValidOverviews;
    auto const size = static_cast<std::uint32_t>((static_cast<std::int64_t>(numIntervals) * bpi * 2) / 8 + 24);
    for (auto& o : mOverviews)
    {
        if (!SameOverview(o, spi, bpi))
            continue;
        o.numIntervals = static_cast<std::uint32_t>(numIntervals);
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
    o.samplesPerInterval = static_cast<std::uint32_t>(spi);
    o.bitsPerInterval = static_cast<std::uint32_t>(bpi);
    o.channels = 1;
    o.numIntervals = static_cast<std::uint32_t>(numIntervals);
    o.data = data;
    o.isNew = true;
    o.owned = false;
    mOverviews.push_back(o);
    return S_OK;
}

// --------------------------------------------------------- IVelmoraAudioFile

PlugInResult PlugIn::GetUmid(std::uint8_t* umid)
{
    std::memcpy(umid, mUmid, 16);
    return S_OK;
}
PlugInResult PlugIn::StampWithUmid()
{
    return kVelmora_Unimplemented;
}
PlugInResult PlugIn::GetUTCModDate(std::uint64_t* date)
{
    *date = mUTCModDate;
    return S_OK;
}
PlugInResult PlugIn::GetDataRevision(std::uint64_t* revision)
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

PlugInResult PlugIn::GetSMPTETimeStamp(std::int64_t* stamp)
{
    *stamp = mSMPTETimeStamp;
    return S_OK;
}
PlugInResult PlugIn::SetSMPTETimeStamp(std::int64_t stamp)
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
