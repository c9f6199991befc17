#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/FF_AudioFileAttr.h"
#include "FF/FF_AudioFileState.h"
#include "FF/FF_AudioInstrumentAttr.h"
#include "FF/FF_ImportAudioRegion.h"
#include "FF/PlugIns/PlugInResult.h"
#include "Sys/Sys_File.h"
#include "Sys/Sys_FileType.h"

#include <iosfwd>
#include <mutex>
#include <string>
#include <vector>

class IAudioFile;
class IImportExportAudioFile;
class INativeAudioFile;
class IVelmoraAudioFile;
class IOmfiAudioFile;
class IEbuAudioFile;
class IOrvanelAudioFile;
class Sys_Mutex;

// The one object through which an audio file is touched, whatever its
// format. It is a Sys_File on a location; the first question about its
// format tries the built-in handlers in turn, and from then on it talks to
// the one that took the file through the plug-in interfaces. Samples and
// frame counts are frames (all channels together) in signed 64 bits.
//
// Not internally locked but for the open-mode stack: callers that share
// one object take GetMutex() around what they do.
class FF_AudioFile : public Sys_File
{
public:
    enum EInterface
    {
        eNoAudioInterface = 1,
        eImportExportInterface = 2,
        eNativeInterface = 4,
        eVelmoraInterface = 8,
        eEbuInterface = 16,
        eOmfiInterface = 32,
        eOrvanelInterface = 64
    };

    enum EOpenMode
    {
        eOpenRead = 1,
        eOpenWrite = 2,
        eOpenCreate = 4, // replace or create the file on the outermost open
        // With eOpenRead: the outermost open reads past the page cache, by
        // whole sectors (Sys_File::kOpenUnbuffered). Samples read in bulk
        // then go straight to the caller's memory, which must lie on a
        // sector boundary where the file's sector boundary falls in it.
        eOpenUnbuffered = 8
    };

    enum EDescriptionType
    {
        eShortDescription = 0
    };

    // What SampleWrite leaves in the caller's buffer.
    enum EWrite
    {
        eLeaveBufferInFileOrder = 0, // saves a pass over the data
        ePreserveBuffer = 1          // the buffer comes back in host order
    };

    // Opens one level on construction and closes it on destruction.
    class StOpen
    {
    public:
        StOpen(FF_AudioFile* file, int32 mode);
        // A copy opens one more level with the same mode.
        StOpen(StOpen const& other);
        // Adopts the other's file and mode and opens; what was held stays open.
        StOpen& operator=(StOpen const& other);
        // Closes one level. A failed write-back of the last level throws,
        // after the file is closed, unless the guard is left by another
        // exception: a full disk must reach the caller, not vanish.
        ~StOpen() noexcept(false);

    private:
        FF_AudioFile* mFile;
        int32 mMode;
        int mUncaught;
    };

    explicit FF_AudioFile(Sys_FileLoc const& loc);
    ~FF_AudioFile() override;
    FF_AudioFile(FF_AudioFile const&) = delete;
    FF_AudioFile& operator=(FF_AudioFile const&) = delete;

    using Sys_File::Close;
    using Sys_File::Open;

    virtual bool Implements(EInterface which);
    virtual Sys_FileType GetFileType();
    virtual void Open(int32 mode);
    virtual void Flush();
    virtual void Close(bool writeBack);
    virtual void Close();
    virtual bool Implement(EInterface which);
    // Makes the file anew as `type`, replacing whatever the location held.
    virtual void Format(Sys_FileType const& type, int32 channels, int32 samplesPerSec, int32 bitsPerSample,
                        int64 numSamples);
    virtual void SampleRead(void* buffer, int64 frames);
    // Turns the caller's buffer into file order in place and writes it.
    virtual void SampleWrite(void* buffer, int64 frames, EWrite mode = eLeaveBufferInFileOrder);
    virtual void SampleSetPosition(EOffsetFrom from, int64 position);
    virtual int64 SampleGetPosition();
    virtual void GetRegions(std::vector<FF_ImportAudioRegion>* regions, bool includeWholeFile);
    virtual FF_AudioFileAttr GetAudioFileAttr();

    // Changes the length; afterwards the file has exactly one whole-file
    // region and no region reaches past the end.
    void SetNumSamples(int64 frames);
    // The name of the whole-file region of a file at `loc`: its name without
    // the extension, cut between characters to the 31 bytes a region holds.
    static std::string WholeFileRegionName(Sys_FileLoc const& loc);
    void SaveState(FF_AudioFileState* state);
    void RestoreState(FF_AudioFileState const* state);

    void AddRegion(std::string const& name, int64 start, int64 stop, int64 sync, int64 userStamp, int64 origStamp);
    void RemoveRegion(Sys_Umid const& umid);
    bool HasOverview(int32 decimation, int32 bitDepth);
    // A copy of the overview's block in host order; the caller disposes of it.
    char** GetOverview(int32 decimation, int32 bitDepth, int32* intervals);
    // The block passes to this object, which keeps it alive for the plug-in.
    void SetOverview(char** data, int32 decimation, int32 bitDepth, int32 intervals);
    Sys_Umid GetUmid();
    void StampWithUmid();
    uint64 GetUTCModDate();
    // Answers the modification date: callers treat it as a value that
    // changes whenever the file changes.
    uint64 GetDataRevision();
    void SetStartTimeCode(std::string const& timeCode);
    std::string GetStartTimeCode();
    void SetMasterMobName(std::string const& name);
    void SetTapeMobName(std::string const& name);
    int64 GetSMPTETimeStamp();
    void SetSMPTETimeStamp(int64 stamp);
    bool HasInstrumentAttr();
    void GetInstrumentAttr(FF_AudioInstrumentAttr* attr);
    void SetInstrumentAttr(FF_AudioInstrumentAttr const& attr);
    void PrintFile(std::ostream& out);
    void PrintCache(std::ostream& out);

    // What a host shows beside the attributes: why no handler took the file
    // (empty when one did), whether the length came from the file's size
    // because the header never said it (a recording that stopped, a stream),
    // and the speaker positions of the channels (a WAVE channel mask; 0 when
    // the file names none).
    std::string GetUnknownReason();
    bool IsHeaderIncomplete();
    uint32 GetChannelMask();
    // The most frames a file of this format and frame size can hold (an
    // AIFF's sizes are 32 bits); the largest int64 when the format sets no
    // bound or no handler took the file.
    int64 GetMaxNumSamples();
    // The text fields of the broadcast extension, named as the extension
    // names them (description, originator, originatorReference,
    // originationDate, originationTime, codingHistory), as the file holds
    // them: any bytes, often Latin-1.
    std::vector<std::pair<std::string, std::string>> GetBroadcastFields();

    // Stamps Macintosh type and creator codes on a new file. Replaceable;
    // nothing is stamped until a platform installs a method.
    using SetFileAndCreatorTypeMethod = void (*)(Sys_FileLoc const& loc, uint32 macType, uint32 macCreator);
    static void SetSetFileAndCreatorTypeMethod(SetFileAndCreatorTypeMethod method) { sSetFileAndCreatorType = method; }

    Sys_Mutex* GetMutex() const { return mMutex; }
    static void GetSupportedTypes(std::vector<Sys_FileType>* types);
    virtual std::string GetDescription(EDescriptionType type);
    int64 GetAccessTimeStamp() const { return mAccessTimeStamp; }
    int64 SampleToOffset(int64 sample);
    int64 OffsetToSample(int64 offset);

    // The current open mode; 0 when closed.
    int32 GetOpenMode() const { return mOpenMode; }

    // Called once, on the first construction of any audio file, to register
    // the byte-order callback of the resource manager. Installed by the
    // resource-fork code; until it exists nothing is registered.
    using OneTimeRegistration = void (*)();
    static void SetOneTimeRegistration(OneTimeRegistration method) { sOneTimeRegistration = method; }

    // Result code to exception: the common mapping, and one check per interface.
    static void ThrowIfPlugInError(PlugInResult result);
    static void CheckAudioFileResult(PlugInResult result);
    static void CheckImportExportResult(PlugInResult result);
    static void CheckNativeResult(PlugInResult result);
    static void CheckVelmoraResult(PlugInResult result);

protected:
    virtual void InitInterfaces();
    void SwapBufferData(char* buffer, int64 length, int32 size);

    IAudioFile* mAudioFile = nullptr;
    std::string mUnknownReason;
    // Why no handler took the file, from its first bytes.
    std::string DescribeUnknownHeader();
    IImportExportAudioFile* mImportExport = nullptr;
    INativeAudioFile* mNative = nullptr;
    IVelmoraAudioFile* mVelmora = nullptr;
    IOmfiAudioFile* mOmfi = nullptr;
    IEbuAudioFile* mEbu = nullptr;
    IOrvanelAudioFile* mOrvanel = nullptr;
    Sys_Mutex* mMutex = nullptr;
    uint32 mInterfaceMask = 0;
    std::vector<int32> mOpenModeStack;
    std::mutex mOpenModeStackMutex;
    int32 mOpenMode = 0;
    FF_AudioFileAttr mAttributes;
    Sys_FileType mFileType;
    bool mInterfacesInitialised = false;
    bool mDirty = false;
    int64 mAccessTimeStamp = 0;

private:
    void ReleaseInterfaces();
    void Print(std::ostream& out, bool cache);
    void SwapOverview(char** block, int32 intervals, int32 bitDepth);
    // One changing call on the plug-in, under an open level for writing,
    // checked, and the file marked for write-back.
    template <class I, class Call>
    void ChangeThrough(EInterface which, I* const& iface, void (*check)(PlugInResult), Call&& call);

    // Overview blocks handed to the plug-in, which keeps pointing at them
    // for later flushes: they live as long as the plug-in that holds them.
    std::vector<char**> mOverviewBlocks;
    static SetFileAndCreatorTypeMethod sSetFileAndCreatorType;

    static OneTimeRegistration sOneTimeRegistration;
    static bool sOneTimeRegistrationDone;
};
