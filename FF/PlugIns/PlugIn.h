// The base of every format handler. It implements the seven audio interfaces
// from a cache of values ("facts"); a handler parses and writes its format
// and fills the cache through the setters, each of which marks its fact as
// known in the valid mask. Which interfaces a file offers follows from that
// mask alone.
#pragma once

#include "FF/PlugIns/IAudioFile.h"
#include "FF/PlugIns/IEbuAudioFile.h"
#include "FF/PlugIns/IImportExportAudioFile.h"
#include "FF/PlugIns/INativeAudioFile.h"
#include "FF/PlugIns/IOmfiAudioFile.h"
#include "FF/PlugIns/IOrvanelAudioFile.h"
#include "FF/PlugIns/IVelmoraAudioFile.h"
#include "FF/PlugIns/PlugInInstrument.h"
#include "FF/PlugIns/PlugInOverview.h"
#include "FF/PlugIns/PlugInRegion.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

class PlugIn : public IAudioFile,
               public IImportExportAudioFile,
               public INativeAudioFile,
               public IVelmoraAudioFile,
               public IOmfiAudioFile,
               public IEbuAudioFile,
               public IOrvanelAudioFile
{
public:
    // Valid mask bits.
    static constexpr std::uint64_t kValidChannels = 0x001;
    static constexpr std::uint64_t kValidSampleRate = 0x002;
    static constexpr std::uint64_t kValidBitsPerSample = 0x004;
    static constexpr std::uint64_t kValidNumSamples = 0x008;
    static constexpr std::uint64_t kValidDataOffset = 0x010;
    static constexpr std::uint64_t kValidRegions = 0x020;
    static constexpr std::uint64_t kValidOverviews = 0x040;
    static constexpr std::uint64_t kValidUmid = 0x080;
    static constexpr std::uint64_t kValidModification = 0x100;
    static constexpr std::uint64_t kValidEbu = 0x200;
    static constexpr std::uint64_t kValidOmfi = 0x400;
    static constexpr std::uint64_t kValidInstrument = 0x800;

    // The facts each interface needs: audio needs the five facts of the
    // stream, identity adds regions, overviews, umid and modification
    // record, broadcast data adds its chunk to the audio facts, and so on.
    static constexpr std::uint64_t kAudioFacts =
        kValidChannels | kValidSampleRate | kValidBitsPerSample | kValidNumSamples | kValidDataOffset;
    static constexpr std::uint64_t kIdentityFacts =
        kAudioFacts | kValidRegions | kValidOverviews | kValidUmid | kValidModification;
    static constexpr std::uint64_t kEbuFacts = kAudioFacts | kValidEbu;
    static constexpr std::uint64_t kOmfiFacts = kIdentityFacts | kValidEbu | kValidOmfi;

    // Availability of each interface as a function of the valid mask.
    static bool HasImportExport(std::uint64_t m) { return (m & kAudioFacts) == kAudioFacts; }
    static bool HasNative(std::uint64_t m) { return (m & kAudioFacts) == kAudioFacts; }
    static bool HasVelmora(std::uint64_t m) { return (m & kIdentityFacts) == kIdentityFacts; }
    static bool HasEbu(std::uint64_t m) { return (m & kEbuFacts) == kEbuFacts; }
    static bool HasOmfi(std::uint64_t m) { return (m & kOmfiFacts) == kOmfiFacts; }
    static bool HasOrvanel(std::uint64_t m) { return (m & kValidInstrument) != 0; }

    PlugIn(PlugIn const&) = delete;
    PlugIn& operator=(PlugIn const&) = delete;

    // IUnknown: one count for all sub-objects.
    PlugInResult QueryInterface(PlugInGuid const& iid, void** object) override;
    std::uint32_t AddRef() override;
    std::uint32_t Release() override;

    // IAudioFile
    PlugInResult SetFile(IFile* file) override;
    PlugInResult Format(std::uint16_t channels, std::int32_t samplesPerSec, std::uint16_t bitsPerSample,
                        std::int64_t numSamples) override;
    PlugInResult Open() override;
    PlugInResult Flush() override;
    PlugInResult PrintFile(std::ostream& out) override;
    PlugInResult PrintCache(std::ostream& out) override;

    // IImportExportAudioFile
    PlugInResult Implement(PlugInGuid const* iid) override;
    PlugInResult GetNumChannels(std::uint16_t* channels) override;
    PlugInResult GetSamplesPerSec(std::int32_t* rate) override;
    PlugInResult GetBitsPerSample(std::uint16_t* bits) override;
    PlugInResult GetNumSamples(std::int64_t* frames) override;
    PlugInResult SampleRead(void* buffer, std::int64_t frames) override;
    PlugInResult SampleWrite(void* buffer, std::int64_t frames) override;
    PlugInResult SampleSetPosition(std::int32_t from, std::int64_t frames) override;
    PlugInResult SampleGetPosition(std::int64_t* frames) override;
    PlugInResult GetNumRegions(std::uint32_t* count) override;
    PlugInResult GetRegion(std::uint32_t index, PlugInRegion* region) override;

    // INativeAudioFile
    PlugInResult SampleToOffset(std::int64_t sample, std::int64_t* byteOffset) override;
    PlugInResult OffsetToSample(std::int64_t byteOffset, std::int64_t* sample) override;
    PlugInResult SetNumSamples(std::int64_t frames) override;
    PlugInResult AddRegion(PlugInRegion* region) override;
    PlugInResult RemoveRegion(std::uint8_t const* umid) override;
    PlugInResult HasOverview(std::int32_t samplesPerInterval, std::int32_t bitsPerInterval) override;
    PlugInResult GetOverview(char*** data, std::int32_t samplesPerInterval, std::int32_t bitsPerInterval,
                             std::int32_t* numIntervals) override;
    PlugInResult SetOverview(char** data, std::int32_t samplesPerInterval, std::int32_t bitsPerInterval,
                             std::int32_t numIntervals) override;

    // IVelmoraAudioFile
    PlugInResult GetUmid(std::uint8_t* umid) override;
    PlugInResult StampWithUmid() override;
    PlugInResult GetUTCModDate(std::uint64_t* date) override;
    PlugInResult GetDataRevision(std::uint64_t* revision) override;

    // IOmfiAudioFile
    PlugInResult SetStartTimeCode(char const* timeCode) override;
    PlugInResult GetStartTimeCode(char* buffer) override;
    PlugInResult SetMasterMobName(char const* name) override;
    PlugInResult SetTapeMobName(char const* name) override;
    PlugInResult SetEditRate(float rate, bool dropFrame) override;

    // IEbuAudioFile
    PlugInResult GetSMPTETimeStamp(std::int64_t* stamp) override;
    PlugInResult SetSMPTETimeStamp(std::int64_t stamp) override;

    // IOrvanelAudioFile
    PlugInResult HasInstrumentAttr() override;
    PlugInResult GetInstrumentAttr(PlugInInstrument* instrument) override;
    PlugInResult SetInstrumentAttr(PlugInInstrument* instrument) override;

    // What each handler provides: its byte order, the work of Format, Open,
    // Flush and SetNumSamples on its own format, whether 8-bit samples are
    // unsigned on disk, and the chunks that make an interface available.
    virtual bool IsBigEndian() = 0;
    virtual PlugInResult DoFormat() = 0;
    virtual PlugInResult DoOpen() = 0;
    virtual PlugInResult DoFlush() = 0;
    virtual PlugInResult DoSetNumSamples(std::int64_t frames) = 0;
    virtual ~PlugIn();
    virtual bool IsUnsigned8Bit() { return false; }
    virtual PlugInResult DoImplement(PlugInGuid const* iid) = 0;
    // Called before samples are written past the end of the audio, over
    // whatever stands behind it on disk.
    virtual PlugInResult BeforeAudioGrows() { return S_OK; }

    // The cache, as chunk classes fill and read it.
    std::uint64_t GetValidMask() const { return mValidMask; }
    void SetValidBits(std::uint64_t bits) { mValidMask |= bits; }
    IFile* GetFile() const { return mFile; }
    std::uint16_t Channels() const { return mChannels; }
    std::int32_t SampleRate() const { return mSampleRate; }
    std::uint16_t BitsPerSample() const { return mBitsPerSample; }
    std::int64_t NumSamples() const { return mNumSamples; }
    std::int64_t CommittedSamples() const { return mCommittedSamples; }
    std::int64_t DataOffset() const { return mDataOffset; }
    // Bytes of one frame: each sample takes whole bytes, so 12-bit samples
    // stand in 2 bytes and 20-bit ones in 3, as every writer of such files
    // stores them (integer division of bits times channels would make frames
    // that straddle samples).
    std::int64_t FrameSize() const { return static_cast<std::int64_t>((mBitsPerSample + 7) / 8) * mChannels; }
    void SetChannels(std::uint16_t channels);
    void SetSampleRate(std::int32_t rate);
    void SetBitsPerSample(std::uint16_t bits);
    void SetNumSamplesValue(std::int64_t frames);
    void SetDataOffset(std::int64_t offset);

    std::vector<PlugInRegion>& Regions() { return mRegions; }
    std::vector<PlugInOverview>& Overviews() { return mOverviews; }
    // The umid in memory order (host-order words).
    std::uint8_t const* UmidBytes() const { return mUmid; }
    void SetUmidBytes(std::uint8_t const* umid);
    std::uint64_t UTCModDate() const { return mUTCModDate; }
    void SetUTCModDate(std::uint64_t date) { mUTCModDate = date; }
    std::uint64_t DataRevision() const { return mDataRevision; }
    void SetDataRevision(std::uint64_t revision) { mDataRevision = revision; }
    std::int64_t SMPTETimeStamp() const { return mSMPTETimeStamp; }
    void SetHasEbuData();
    bool HasInstrument() const { return mHasInstrument; }
    PlugInInstrument const& Instrument() const { return mInstrument; }

    // The values a caller changed since the file was opened or last
    // flushed, as valid-mask bits. A flush rewrites only the chunks made from
    // them; every other chunk keeps its bytes, since another tool may have
    // written more into it than this handler understands.
    std::uint64_t ChangedMask() const { return mChangedMask; }
    void MarkChanged(std::uint64_t bits) { mChangedMask |= bits; }
    void ClearChanged() { mChangedMask = 0; }

    // Facts about the file beyond the interfaces' values, for a host that
    // describes files: why a handler refused it, whether the length came
    // from the file's size because the header did not say it, the speaker
    // positions of the channels (a WAVE channel mask, 0 when none), and
    // whether the audio bytes are little-endian.
    std::string const& RefusalReason() const { return mRefusalReason; }
    void SetRefusalReason(std::string reason)
    {
        if (mRefusalReason.empty())
            mRefusalReason = std::move(reason);
    }
    bool IsHeaderIncomplete() const { return mHeaderIncomplete; }
    void SetHeaderIncomplete() { mHeaderIncomplete = true; }
    std::uint32_t ChannelMask() const { return mChannelMask; }
    // The text fields of a broadcast extension as the file holds them.
    using TextFields = std::vector<std::pair<std::string, std::string>>;
    TextFields const& BroadcastFields() const { return mBroadcastFields; }
    void SetBroadcastFields(TextFields fields) { mBroadcastFields = std::move(fields); }
    void SetChannelMask(std::uint32_t mask) { mChannelMask = mask; }
    virtual bool IsLittleEndianAudio() { return !IsBigEndian(); }

protected:
    PlugIn();

    // Copies the handler's name into a caller's buffer of exactly 8 bytes.
    static PlugInResult CopyTypeName(std::int32_t size, char* buffer, char const* name);
    // Back to the defaults of a fresh handler; the attached file stays.
    void Reset();
    void DisposeOverviews();
    // The current time in the units of the modification date.
    static std::uint64_t Now();

    std::uint64_t mValidMask = 0;
    std::int32_t mRefCount = 0;
    IFile* mFile = nullptr;
    std::uint16_t mChannels = 0;
    std::int32_t mSampleRate = 0;
    std::uint16_t mBitsPerSample = 0;
    std::int64_t mNumSamples = 0;
    std::int64_t mCommittedSamples = 0;
    std::int64_t mPosition = 0;
    std::int64_t mDataOffset = 0;
    std::vector<PlugInRegion> mRegions;
    std::vector<PlugInOverview> mOverviews;
    bool mAudioDirty = false;
    std::uint8_t mUmid[16] = {};
    std::uint64_t mDataRevision = 0;
    std::uint64_t mUTCModDate = 0;
    bool mHasEbuData = false;
    std::int64_t mSMPTETimeStamp = 0;
    bool mHasOmfiData = false;
    std::string mStartTimeCode;
    std::string mMasterMobName;
    std::string mTapeMobName;
    double mEditRate = 29.97;
    bool mDropFrame = true;
    bool mHasInstrument = false;
    PlugInInstrument mInstrument;
    std::uint64_t mChangedMask = 0;
    std::string mRefusalReason;
    bool mHeaderIncomplete = false;
    std::uint32_t mChannelMask = 0;
    TextFields mBroadcastFields;
};
