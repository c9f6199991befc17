// The base of every format handler. It implements the seven audio interfaces
// from a cache of values ("facts"); a handler parses and writes its format
// and fills the cache through the setters, each of which marks its fact as
// known in the valid mask. Which interfaces a file offers follows from that
// mask alone.
#pragma once

#include "Cmn/Cmn_Types.h"
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
#include <limits>
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
    static constexpr u64 kValidChannels = 0x001;
    static constexpr u64 kValidSampleRate = 0x002;
    static constexpr u64 kValidBitsPerSample = 0x004;
    static constexpr u64 kValidNumSamples = 0x008;
    static constexpr u64 kValidDataOffset = 0x010;
    static constexpr u64 kValidRegions = 0x020;
    static constexpr u64 kValidOverviews = 0x040;
    static constexpr u64 kValidUmid = 0x080;
    static constexpr u64 kValidModification = 0x100;
    static constexpr u64 kValidEbu = 0x200;
    static constexpr u64 kValidOmfi = 0x400;
    static constexpr u64 kValidInstrument = 0x800;

    // The facts each interface needs: audio needs the five facts of the
    // stream, identity adds regions, overviews, umid and modification
    // record, broadcast data adds its chunk to the audio facts, and so on.
    static constexpr u64 kAudioFacts =
        kValidChannels | kValidSampleRate | kValidBitsPerSample | kValidNumSamples | kValidDataOffset;
    static constexpr u64 kIdentityFacts =
        kAudioFacts | kValidRegions | kValidOverviews | kValidUmid | kValidModification;
    static constexpr u64 kEbuFacts = kAudioFacts | kValidEbu;
    static constexpr u64 kOmfiFacts = kIdentityFacts | kValidEbu | kValidOmfi;

    // Availability of each interface as a function of the valid mask.
    static bool HasImportExport(u64 m) { return (m & kAudioFacts) == kAudioFacts; }
    static bool HasNative(u64 m) { return (m & kAudioFacts) == kAudioFacts; }
    static bool HasVelmora(u64 m) { return (m & kIdentityFacts) == kIdentityFacts; }
    static bool HasEbu(u64 m) { return (m & kEbuFacts) == kEbuFacts; }
    static bool HasOmfi(u64 m) { return (m & kOmfiFacts) == kOmfiFacts; }
    static bool HasOrvanel(u64 m) { return (m & kValidInstrument) != 0; }

    PlugIn(PlugIn const&) = delete;
    PlugIn& operator=(PlugIn const&) = delete;

    // IUnknown: one count for all sub-objects.
    PlugInResult QueryInterface(PlugInGuid const& iid, void** object) override;
    u32 AddRef() override;
    u32 Release() override;

    // IAudioFile
    PlugInResult SetFile(IFile* file) override;
    PlugInResult Format(u16 channels, i32 samplesPerSec, u16 bitsPerSample, i64 numSamples) override;
    PlugInResult Open() override;
    PlugInResult Flush() override;
    PlugInResult PrintFile(std::ostream& out) override;
    PlugInResult PrintCache(std::ostream& out) override;

    // IImportExportAudioFile
    PlugInResult Implement(PlugInGuid const* iid) override;
    PlugInResult GetNumChannels(u16* channels) override;
    PlugInResult GetSamplesPerSec(i32* rate) override;
    PlugInResult GetBitsPerSample(u16* bits) override;
    PlugInResult GetNumSamples(i64* frames) override;
    PlugInResult SampleRead(void* buffer, i64 frames) override;
    PlugInResult SampleWrite(void* buffer, i64 frames) override;
    PlugInResult SampleSetPosition(i32 from, i64 frames) override;
    PlugInResult SampleGetPosition(i64* frames) override;
    PlugInResult GetNumRegions(u32* count) override;
    PlugInResult GetRegion(u32 index, PlugInRegion* region) override;

    // INativeAudioFile
    PlugInResult SampleToOffset(i64 sample, i64* byteOffset) override;
    PlugInResult OffsetToSample(i64 byteOffset, i64* sample) override;
    PlugInResult SetNumSamples(i64 frames) override;
    PlugInResult AddRegion(PlugInRegion* region) override;
    PlugInResult RemoveRegion(u8 const* umid) override;
    PlugInResult HasOverview(i32 samplesPerInterval, i32 bitsPerInterval) override;
    PlugInResult GetOverview(char*** data, i32 samplesPerInterval, i32 bitsPerInterval, i32* numIntervals) override;
    PlugInResult SetOverview(char** data, i32 samplesPerInterval, i32 bitsPerInterval, i32 numIntervals) override;

    // IVelmoraAudioFile
    PlugInResult GetUmid(u8* umid) override;
    PlugInResult StampWithUmid() override;
    PlugInResult GetUTCModDate(u64* date) override;
    PlugInResult GetDataRevision(u64* revision) override;

    // IOmfiAudioFile
    PlugInResult SetStartTimeCode(char const* timeCode) override;
    PlugInResult GetStartTimeCode(char* buffer) override;
    PlugInResult SetMasterMobName(char const* name) override;
    PlugInResult SetTapeMobName(char const* name) override;
    PlugInResult SetEditRate(float rate, bool dropFrame) override;

    // IEbuAudioFile
    PlugInResult GetSMPTETimeStamp(i64* stamp) override;
    PlugInResult SetSMPTETimeStamp(i64 stamp) override;

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
    virtual PlugInResult DoSetNumSamples(i64 frames) = 0;
    virtual ~PlugIn();
    virtual bool IsUnsigned8Bit() { return false; }
    virtual PlugInResult DoImplement(PlugInGuid const* iid) = 0;
    // Called before samples are written past the end of the audio, over
    // whatever stands behind it on disk.
    virtual PlugInResult BeforeAudioGrows() { return S_OK; }

    // The cache, as chunk classes fill and read it.
    u64 GetValidMask() const { return mValidMask; }
    void SetValidBits(u64 bits) { mValidMask |= bits; }
    IFile* GetFile() const { return mFile; }
    u16 Channels() const { return mChannels; }
    i32 SampleRate() const { return mSampleRate; }
    u16 BitsPerSample() const { return mBitsPerSample; }
    i64 NumSamples() const { return mNumSamples; }
    i64 CommittedSamples() const { return mCommittedSamples; }
    i64 DataOffset() const { return mDataOffset; }
    // Bytes of one frame: each sample takes whole bytes, so 12-bit samples
    // stand in 2 bytes and 20-bit ones in 3, as every writer of such files
    // stores them (integer division of bits times channels would make frames
    // that straddle samples).
    i64 FrameSize() const { return static_cast<i64>((mBitsPerSample + 7) / 8) * mChannels; }
    void SetChannels(u16 channels);
    void SetSampleRate(i32 rate);
    void SetBitsPerSample(u16 bits);
    void SetNumSamplesValue(i64 frames);
    void SetDataOffset(i64 offset);

    std::vector<PlugInRegion>& Regions() { return mRegions; }
    std::vector<PlugInOverview>& Overviews() { return mOverviews; }
    // The umid in memory order (host-order words).
    u8 const* UmidBytes() const { return mUmid; }
    void SetUmidBytes(u8 const* umid);
    u64 UTCModDate() const { return mUTCModDate; }
    void SetUTCModDate(u64 date) { mUTCModDate = date; }
    u64 DataRevision() const { return mDataRevision; }
    void SetDataRevision(u64 revision) { mDataRevision = revision; }
    i64 SMPTETimeStamp() const { return mSMPTETimeStamp; }
    void SetHasEbuData();
    bool HasInstrument() const { return mHasInstrument; }
    PlugInInstrument const& Instrument() const { return mInstrument; }

    // The values a caller changed since the file was opened or last
    // flushed, as valid-mask bits. A flush rewrites only the chunks made from
    // them; every other chunk keeps its bytes, since another tool may have
    // written more into it than this handler understands.
    u64 ChangedMask() const { return mChangedMask; }
    void MarkChanged(u64 bits) { mChangedMask |= bits; }
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
    u32 ChannelMask() const { return mChannelMask; }
    // The text fields of a broadcast extension as the file holds them.
    using TextFields = std::vector<std::pair<std::string, std::string>>;
    TextFields const& BroadcastFields() const { return mBroadcastFields; }
    void SetBroadcastFields(TextFields fields) { mBroadcastFields = std::move(fields); }
    void SetChannelMask(u32 mask) { mChannelMask = mask; }
    virtual bool IsLittleEndianAudio() { return !IsBigEndian(); }
    // The most frames the format's sizes can record at the present frame
    // size: a caller about to do work it cannot undo (a compaction moves the
    // audio before it sets the length) asks first.
    virtual i64 MaxNumSamples() { return std::numeric_limits<i64>::max(); }

protected:
    PlugIn();

    // Copies the handler's name into a caller's buffer of exactly 8 bytes.
    static PlugInResult CopyTypeName(i32 size, char* buffer, char const* name);
    // Back to the defaults of a fresh handler; the attached file stays.
    void Reset();
    void DisposeOverviews();
    // Drops the regions and overviews that do not fit audio of `frames`.
    void KeepWhatFits(i64 frames);
    // The current time in the units of the modification date.
    static u64 Now();

    u64 mValidMask = 0;
    i32 mRefCount = 0;
    IFile* mFile = nullptr;
    u16 mChannels = 0;
    i32 mSampleRate = 0;
    u16 mBitsPerSample = 0;
    i64 mNumSamples = 0;
    i64 mCommittedSamples = 0;
    i64 mPosition = 0;
    i64 mDataOffset = 0;
    std::vector<PlugInRegion> mRegions;
    std::vector<PlugInOverview> mOverviews;
    bool mAudioDirty = false;
    u8 mUmid[16] = {};
    u64 mDataRevision = 0;
    u64 mUTCModDate = 0;
    bool mHasEbuData = false;
    i64 mSMPTETimeStamp = 0;
    bool mHasOmfiData = false;
    std::string mStartTimeCode;
    std::string mMasterMobName;
    std::string mTapeMobName;
    double mEditRate = 29.97;
    bool mDropFrame = true;
    bool mHasInstrument = false;
    PlugInInstrument mInstrument;
    u64 mChangedMask = 0;
    std::string mRefusalReason;
    bool mHeaderIncomplete = false;
    u32 mChannelMask = 0;
    TextFields mBroadcastFields;
};
