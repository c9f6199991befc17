#include "FF/FF_AudioFile.h"

#include "Cmn/Cmn_Assert.h"
#include "Cmn/Cmn_Exception.h"
#include "FF/PlugIns/IAudioFile.h"
#include "FF/PlugIns/IEbuAudioFile.h"
#include "FF/PlugIns/IFileImpl.h"
#include "FF/PlugIns/IImportExportAudioFile.h"
#include "FF/PlugIns/INativeAudioFile.h"
#include "FF/PlugIns/IOmfiAudioFile.h"
#include "FF/PlugIns/IOrvanelAudioFile.h"
#include "FF/PlugIns/IVelmoraAudioFile.h"
#include "FF/PlugIns/PlugIn.h"
#include "FF/PlugIns/PlugInInstrument.h"
#include "FF/PlugIns/PlugInRegion.h"
#include "FF/PlugIns/PlugInTable.h"
#include "FF/PlugIns/RelocatableBlock.h"
#include "FF/PlugIns/UAFOvwfChunk.h"
#include "Sys/Sys_FileAttr.h"
#include "Sys/Sys_Mutex.h"
#include "Sys/Sys_Utils.h"
#include "Sys/Sys_Volume.h"
#include "Sys/Sys_VolumeAttr.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <limits>
#include <ostream>

FF_AudioFile::OneTimeRegistration FF_AudioFile::sOneTimeRegistration = nullptr;
FF_AudioFile::SetFileAndCreatorTypeMethod FF_AudioFile::sSetFileAndCreatorType = nullptr;
bool FF_AudioFile::sOneTimeRegistrationDone = false;

namespace
{
[[noreturn]] void ThrowCode(XC_TypedExceptionCode<Cmn_NullExceptionData> const& code)
{
    throw Cmn_TypedException<Cmn_NullExceptionData>::New(code, Cmn_NullExceptionData());
}

// Queries `iid` from `from` into `*out`; a refusal leaves `*out` null.
template <class I> PlugInResult Query(IUnknown* from, PlugInGuid const& iid, I** out)
{
    void* answer = nullptr;
    PlugInResult r = from->QueryInterface(iid, &answer);
    *out = r == S_OK ? static_cast<I*>(answer) : nullptr;
    return r;
}

template <class I> void ReleaseAndClear(I*& p)
{
    if (p)
        p->Release();
    p = nullptr;
}
} // namespace

// ------------------------------------------------------------------ StOpen

FF_AudioFile::StOpen::StOpen(FF_AudioFile* file, int32 mode)
    : mFile(file), mMode(mode), mUncaught(std::uncaught_exceptions())
{
    mFile->Open(mMode);
}

FF_AudioFile::StOpen::StOpen(StOpen const& other)
    : mFile(other.mFile), mMode(other.mMode), mUncaught(std::uncaught_exceptions())
{
    mFile->Open(mMode);
}

FF_AudioFile::StOpen& FF_AudioFile::StOpen::operator=(StOpen const& other)
{
    mFile = other.mFile;
    mMode = other.mMode;
    mFile->Open(mMode);
    return *this;
}

FF_AudioFile::StOpen::~StOpen() noexcept(false)
{
    if (std::uncaught_exceptions() == mUncaught)
    {
        mFile->Close();
        return;
    }
    try
    {
        mFile->Close();
    }
    catch (...)
    {
        // The exception already on its way is the one the caller sees.
    }
}

// ------------------------------------------------------------ construction

FF_AudioFile::FF_AudioFile(Sys_FileLoc const& loc) : Sys_File(loc)
{
    mMutex = Sys_Mutex::Create(0);
    if (!sOneTimeRegistrationDone)
    {
        sOneTimeRegistrationDone = true;
        if (sOneTimeRegistration)
            sOneTimeRegistration();
    }
    if (Sys_File::IsOnline())
        mAccessTimeStamp = GetFileAttr().GetModified();
}

FF_AudioFile::~FF_AudioFile()
{
    try
    {
        if (mOpenMode != 0)
            Close();
        CMN_ASSERT(mOpenMode == 0);
    }
    catch (...)
    {
        // Nothing may leave a destructor; what was left dirty is dropped.
    }
    ReleaseInterfaces();
    for (char** block : mOverviewBlocks)
        RelocatableBlock::Dispose(block);
    delete mMutex;
}

void FF_AudioFile::ReleaseInterfaces()
{
    ReleaseAndClear(mAudioFile);
    ReleaseAndClear(mImportExport);
    ReleaseAndClear(mNative);
    ReleaseAndClear(mVelmora);
    ReleaseAndClear(mOmfi);
    ReleaseAndClear(mEbu);
    ReleaseAndClear(mOrvanel);
}

template <class I, class Call>
void FF_AudioFile::ChangeThrough(EInterface which, I* const& iface, void (*check)(PlugInResult), Call&& call)
{
    // The interface is read only after the assertion has probed the file:
    // on a file not yet probed it is still null.
    CMN_ASSERT(Implements(which));
    if (!iface)
        return;
    StOpen open(this, eOpenRead | eOpenWrite);
    check(call(iface));
    mDirty = true;
}

// ------------------------------------------------------------- recognition

bool FF_AudioFile::Implements(EInterface which)
{
    if (!mInterfacesInitialised)
        InitInterfaces();
    return (mInterfaceMask & static_cast<uint32>(which)) != 0;
}

Sys_FileType FF_AudioFile::GetFileType()
{
    if (!mInterfacesInitialised)
        InitInterfaces();
    return mFileType;
}

void FF_AudioFile::InitInterfaces()
{
    // Set first, so that calls made while this runs do not come back here.
    mInterfacesInitialised = true;
    StOpen open(this, eOpenRead);

    for (std::size_t i = 0; i < PlugInTable::GetCount(); ++i)
    {
        PlugInTableEntry const& entry = PlugInTable::GetEntry(i);
        // The attribute fetch below reads the type through GetFileType.
        mFileType = entry.fileType;

        void* object = nullptr;
        PlugInResult r = entry.create(&object);
        if (r != S_OK || !object)
            continue;
        auto* unknown = static_cast<IUnknown*>(static_cast<IAudioFile*>(object));
        IAudioFile* audioFile = nullptr;
        r = Query(unknown, IID_IAudioFile, &audioFile);
        unknown->Release();
        if (r != S_OK)
            continue;

        IFileImpl* fileImpl = IFileImpl::Create(this);
        r = audioFile->SetFile(fileImpl);
        fileImpl->Release();
        if (r == S_OK)
            r = audioFile->Open();
        if (r == S_OK)
            r = Query(audioFile, IID_IImportExportAudioFile, &mImportExport);
        if (r == S_OK)
        {
            mAudioFile = audioFile;
            break;
        }
        // A handler refuses a file in another format: go on with the next
        // one, remembering the first reason a handler gave.
        if (auto const* handler = dynamic_cast<PlugIn*>(audioFile); handler && mUnknownReason.empty())
            mUnknownReason = handler->RefusalReason();
        ReleaseAndClear(mImportExport);
        audioFile->Release();
    }

    if (!mAudioFile)
    {
        if (mUnknownReason.empty())
            mUnknownReason = DescribeUnknownHeader();
        mInterfaceMask = eNoAudioInterface;
        mFileType = Sys_FileType(Sys_FileType::kTypeUnknown);
        return;
    }

    Query(mAudioFile, IID_INativeAudioFile, &mNative);
    Query(mAudioFile, IID_IVelmoraAudioFile, &mVelmora);
    Query(mAudioFile, IID_IOmfiAudioFile, &mOmfi);
    Query(mAudioFile, IID_IEbuAudioFile, &mEbu);
    Query(mAudioFile, IID_IOrvanelAudioFile, &mOrvanel);

    mInterfaceMask |= eImportExportInterface;
    GetAudioFileAttr();
    if (mNative)
        mInterfaceMask |= eNativeInterface;
    if (mVelmora)
        mInterfaceMask |= eVelmoraInterface;
    if (mOmfi)
        mInterfaceMask |= eOmfiInterface;
    if (mEbu)
        mInterfaceMask |= eEbuInterface;
    if (mOrvanel)
        mInterfaceMask |= eOrvanelInterface;
    if (!(mInterfaceMask & eImportExportInterface))
        mInterfaceMask = eNoAudioInterface;
}

std::string FF_AudioFile::DescribeUnknownHeader()
{
    unsigned char head[12] = {};
    Sys_File::SetPosition(kFromStart, 0);
    int64 const got = Sys_File::Read(head, sizeof head);
    return PlugInTable::DescribeUnknownHeader(head, static_cast<std::size_t>(got));
}

std::string FF_AudioFile::GetUnknownReason()
{
    if (!mInterfacesInitialised)
        InitInterfaces();
    return mAudioFile ? std::string() : mUnknownReason;
}

bool FF_AudioFile::IsHeaderIncomplete()
{
    auto const* handler = Implements(eImportExportInterface) ? dynamic_cast<PlugIn*>(mAudioFile) : nullptr;
    return handler && handler->IsHeaderIncomplete();
}

std::vector<std::pair<std::string, std::string>> FF_AudioFile::GetBroadcastFields()
{
    auto const* handler = Implements(eImportExportInterface) ? dynamic_cast<PlugIn*>(mAudioFile) : nullptr;
    return handler ? handler->BroadcastFields() : PlugIn::TextFields{};
}

int64 FF_AudioFile::GetMaxNumSamples()
{
    auto* handler = Implements(eImportExportInterface) ? dynamic_cast<PlugIn*>(mAudioFile) : nullptr;
    return handler ? handler->MaxNumSamples() : std::numeric_limits<int64>::max();
}

uint32 FF_AudioFile::GetChannelMask()
{
    auto const* handler = Implements(eImportExportInterface) ? dynamic_cast<PlugIn*>(mAudioFile) : nullptr;
    return handler ? handler->ChannelMask() : 0;
}

void FF_AudioFile::GetSupportedTypes(std::vector<Sys_FileType>* types)
{
    auto const supported = PlugInTable::SupportedTypes();
    types->assign(supported.begin(), supported.end());
}

std::string FF_AudioFile::GetDescription(EDescriptionType type)
{
    CMN_ASSERT(Implements(eImportExportInterface));
    CMN_ASSERT(type == eShortDescription);
    if (!mImportExport)
        return "N/A";
    char buffer[8] = {};
    if (mImportExport->GetFileTypeName(8, buffer) != S_OK)
        return "N/A";
    return std::string(buffer, strnlen(buffer, sizeof buffer));
}

bool FF_AudioFile::Implement(EInterface which)
{
    CMN_ASSERT(Implements(eImportExportInterface));
    if (Implements(which))
        return true;
    CMN_ASSERT(which == eVelmoraInterface);
    if (which != eVelmoraInterface || !mImportExport)
        return false;

    bool answer = false;
    StOpen open(this, eOpenRead | eOpenWrite);
    PlugInResult r = mImportExport->Implement(&IID_IVelmoraAudioFile);
    // Dirty only once the result has passed the check: a handler that
    // failed has added nothing to write back.
    CheckImportExportResult(r);
    mDirty = true;
    if (r == S_OK)
    {
        Query(mAudioFile, IID_IVelmoraAudioFile, &mVelmora);
        CMN_ASSERT(mVelmora != nullptr);
        if (mVelmora)
            mInterfaceMask |= eVelmoraInterface;
        answer = mVelmora != nullptr;
    }
    return answer;
}

// ----------------------------------------------------------------- opening

void FF_AudioFile::Open(int32 mode)
{
    if ((mode & eOpenWrite) && (mOpenMode & eOpenRead) && !(mOpenMode & eOpenWrite))
        ThrowCode(XC_FF_RequestedWriteWhileReading);

    if (mOpenMode == 0)
    {
        // Writes are not opened write-through here: that costs more than ten
        // times the time of plain writes on this platform. Written data is
        // made durable at the last Close instead, which waits for it.
        int32 flags = 0;
        if (mode & eOpenWrite)
            flags |= Sys_File::kOpenWrite;
        if (mode & eOpenRead)
            flags |= Sys_File::kOpenRead;
        flags |= (mode & eOpenCreate) ? Sys_File::kOpenCreate : Sys_File::kOpenExisting;
        flags |= Sys_File::kOpenShareRead | Sys_File::kOpenShareWrite;
        if ((mode & eOpenUnbuffered) && !(mode & eOpenWrite))
            flags |= Sys_File::kOpenAsync | Sys_File::kOpenUnbuffered;
        Sys_File::Open(flags);
    }
    else if (mode != mOpenMode)
    {
        // A nested open never widens or narrows the access.
        mode = mOpenMode;
    }

    std::lock_guard<std::mutex> lock(mOpenModeStackMutex);
    mOpenModeStack.push_back(mOpenMode);
    mOpenMode = mode;
}

void FF_AudioFile::Close()
{
    Close(true);
}

void FF_AudioFile::Close(bool writeBack)
{
    int32 const closing = mOpenMode;
    {
        std::lock_guard<std::mutex> lock(mOpenModeStackMutex);
        if (mOpenModeStack.empty())
        {
            CMN_ASSERT(!mOpenModeStack.empty());
            return;
        }
        mOpenMode = mOpenModeStack.back();
        mOpenModeStack.pop_back();
    }
    if (mOpenMode != 0)
        return;

    PlugInResult result = S_OK;
    if (mDirty && writeBack && Implements(eImportExportInterface) && mAudioFile)
    {
        result = mAudioFile->Flush();
        mDirty = false;
    }
    // A writer learns here whether its bytes reached the disk: an error the
    // disk gives only when it writes them back would otherwise be lost with
    // the handle, and the file called saved.
    std::exception_ptr unsynced;
    if (closing & eOpenWrite)
    {
        try
        {
            Sync();
        }
        catch (...)
        {
            unsynced = std::current_exception();
        }
    }
    Sys_File::Close();
    // A file deleted while it was open, or whose disk went, is closed all
    // the same, and keeps the stamp last seen, as one made offline does:
    // closing it is no failure, and a guard that threw here for a reader
    // would end the process.
    try
    {
        mAccessTimeStamp = GetFileAttr().GetModified();
    }
    catch (Cmn_Exception const&)
    {
    }
    // Only now, so that a failed write-back throws with the file closed.
    CheckAudioFileResult(result);
    if (unsynced)
        std::rethrow_exception(unsynced);
}

void FF_AudioFile::Flush()
{
    CMN_ASSERT(Implements(eImportExportInterface));
    if (mDirty && mAudioFile)
    {
        CheckAudioFileResult(mAudioFile->Flush());
        mDirty = false;
    }
}

// -------------------------------------------------------------- attributes

FF_AudioFileAttr FF_AudioFile::GetAudioFileAttr()
{
    CMN_ASSERT(Implements(eImportExportInterface));
    if (!mImportExport)
        return mAttributes;

    int32 order = 0;
    CheckAudioFileResult(mImportExport->GetByteOrder(&order));
    u16 channels = 0, bits = 0;
    int32 rate = 0;
    int64 frames = 0;
    CheckImportExportResult(mImportExport->GetNumChannels(&channels));
    CheckImportExportResult(mImportExport->GetSamplesPerSec(&rate));
    CheckImportExportResult(mImportExport->GetBitsPerSample(&bits));
    int16 const bytes = static_cast<int16>(bits / 8 + ((bits & 7) ? 1 : 0));
    CheckImportExportResult(mImportExport->GetNumSamples(&frames));

    mAttributes =
        FF_AudioFileAttr(GetFileType(), order == 1 ? FF_AudioFileAttr::eLittleEndian : FF_AudioFileAttr::eBigEndian,
                         static_cast<int16>(channels), rate, static_cast<int16>(bits), bytes, frames);
    return mAttributes;
}

// ----------------------------------------------------------------- samples

void FF_AudioFile::SampleRead(void* buffer, int64 frames)
{
    CMN_ASSERT(Implements(eImportExportInterface));
    CMN_ASSERT(frames >= 0);
    CMN_ASSERT(mOpenMode != 0);
    if (!mImportExport)
        return;
    CheckImportExportResult(mImportExport->SampleRead(buffer, frames));
    int64 const bytesPerSample = mAttributes.GetBytesPerSample();
    SwapBufferData(static_cast<char*>(buffer), frames * bytesPerSample * mAttributes.GetNumChannels(),
                   static_cast<int32>(bytesPerSample));
}

void FF_AudioFile::SampleSetPosition(EOffsetFrom from, int64 position)
{
    CMN_ASSERT(Implements(eImportExportInterface));
    CMN_ASSERT(mOpenMode != 0);
    if (mImportExport)
        CheckImportExportResult(mImportExport->SampleSetPosition(static_cast<int32>(from), position));
}

int64 FF_AudioFile::SampleGetPosition()
{
    CMN_ASSERT(Implements(eImportExportInterface));
    int64 position = 0;
    if (mImportExport)
        CheckImportExportResult(mImportExport->SampleGetPosition(&position));
    return position;
}

int64 FF_AudioFile::SampleToOffset(int64 sample)
{
    CMN_ASSERT(Implements(eNativeInterface));
    CMN_ASSERT(sample >= 0);
    int64 offset = 0;
    if (mNative)
        CheckNativeResult(mNative->SampleToOffset(sample, &offset));
    return offset;
}

int64 FF_AudioFile::OffsetToSample(int64 offset)
{
    CMN_ASSERT(Implements(eNativeInterface));
    CMN_ASSERT(offset >= 0);
    int64 sample = 0;
    if (mNative)
        CheckNativeResult(mNative->OffsetToSample(offset, &sample));
    return sample;
}

void FF_AudioFile::SwapBufferData(char* buffer, int64 length, int32 size)
{
    if (size == 1 || mAttributes.GetByteOrder() != FF_AudioFileAttr::eBigEndian)
        return;
    auto* p = reinterpret_cast<unsigned char*>(buffer);
    int64 const count = size > 0 ? length / size : 0;
    // Straight loops over whole elements, so that the compiler vectorises the
    // common widths.
    switch (size)
    {
    case 2:
        for (int64 i = 0; i < count; ++i)
            std::swap(p[2 * i], p[2 * i + 1]);
        break;
    case 3:
        for (int64 i = 0; i < count; ++i)
            std::swap(p[3 * i], p[3 * i + 2]);
        break;
    case 4:
        for (int64 i = 0; i < count; ++i)
        {
            uint32 v;
            std::memcpy(&v, p + 4 * i, 4);
            v = __builtin_bswap32(v);
            std::memcpy(p + 4 * i, &v, 4);
        }
        break;
    default:
        for (int64 i = 0; i < count; ++i)
            std::reverse(p + i * size, p + (i + 1) * size);
        break;
    }
}

// ------------------------------------------------------ result to exception

void FF_AudioFile::ThrowIfPlugInError(PlugInResult result)
{
    if (result == S_OK || result == S_FALSE)
        return;
    if (result == E_UNEXPECTED)
        ThrowCode(XC_FF_PlugIn_Unexpected);
    if (result == E_FAIL)
        ThrowCode(XC_FF_PlugIn_Failed);
    if (PlugInResultIsOSError(result))
        throw Cmn_TypedException<Sys_OSErrData>::New(XC_Sys_SystemError,
                                                     Sys_OSErrData(static_cast<int32>(result & 0xFFFF)));
    ThrowCode(XC_FF_PlugIn_BadHRESULT);
}

namespace
{
// An interface's private codes first, then the common mapping. A check with
// no code for corrupt files passes 0, which is never an error.
void CheckPrivateCodes(PlugInResult result, PlugInResult unimplemented, PlugInResult badParameter, PlugInResult corrupt)
{
    if (result == unimplemented)
        ThrowCode(XC_FF_PlugIn_Unimplemented);
    if (result == badParameter)
        ThrowCode(XC_FF_PlugIn_BadParameter);
    if (corrupt != S_OK && result == corrupt)
        ThrowCode(XC_FF_PlugIn_CorruptFile);
    FF_AudioFile::ThrowIfPlugInError(result);
}
} // namespace

void FF_AudioFile::CheckAudioFileResult(PlugInResult result)
{
    CheckPrivateCodes(result, kAudioFile_Unimplemented, kAudioFile_BadParameter, kAudioFile_CorruptFile);
}

void FF_AudioFile::CheckImportExportResult(PlugInResult result)
{
    CheckPrivateCodes(result, kImportExport_Unimplemented, kImportExport_BadParameter, S_OK);
}

void FF_AudioFile::CheckNativeResult(PlugInResult result)
{
    CheckPrivateCodes(result, kNative_Unimplemented, kNative_BadParameter, S_OK);
}

void FF_AudioFile::CheckVelmoraResult(PlugInResult result)
{
    // The bad-parameter code of this interface is 0x80041033 on purpose.
    CheckPrivateCodes(result, kVelmora_Unimplemented, kVelmora_BadParameter, S_OK);
}

// --------------------------------------------------------------- writing

namespace
{
constexpr uint32 MacCode(char const (&code)[5])
{
    return static_cast<uint32>(PlugInTable::MacType(code));
}
constexpr uint32 kCreatorNuvo = MacCode("Nuvo");

// Queries every interface of the instance into the fields that are empty.
template <class I> void QueryIfNull(IAudioFile* from, PlugInGuid const& iid, I** field)
{
    if (!*field)
        Query(from, iid, field);
}
} // namespace

void FF_AudioFile::Format(Sys_FileType const& type, int32 channels, int32 samplesPerSec, int32 bitsPerSample,
                          int64 numSamples)
{
    try
    {
        // The old handler goes; the mask keeps its bits, and the ones below only add.
        ReleaseInterfaces();

        PlugInResult (*create)(void**) = nullptr;
        uint32 macType = 0;
        for (auto const& c : PlugInTable::WriteTable())
        {
            if (Sys_Utils::AreTypesEquivalent(type, c.type))
            {
                create = PlugInTable::Find(c.handler);
                macType = c.macType;
                break;
            }
        }
        CMN_ASSERT(create != nullptr);
        if (!create)
            ThrowCode(XC_FF_FileTypeNotSupported);

        void* object = nullptr;
        PlugInResult r = create(&object);
        CMN_ASSERT(r == S_OK && object);
        auto* unknown = static_cast<IUnknown*>(static_cast<IAudioFile*>(object));
        IAudioFile* audioFile = nullptr;
        r = Query(unknown, IID_IAudioFile, &audioFile);
        unknown->Release();
        CMN_ASSERT(r == S_OK);
        IFileImpl* fileImpl = IFileImpl::Create(this);
        r = audioFile->SetFile(fileImpl);
        fileImpl->Release();
        CMN_ASSERT(r == S_OK);
        mAudioFile = audioFile;

        StOpen open(this, eOpenRead | eOpenWrite | eOpenCreate);
        CheckAudioFileResult(
            mAudioFile->Format(static_cast<u16>(channels), samplesPerSec, static_cast<u16>(bitsPerSample), numSamples));
        QueryIfNull(mAudioFile, IID_IImportExportAudioFile, &mImportExport);
        QueryIfNull(mAudioFile, IID_INativeAudioFile, &mNative);
        QueryIfNull(mAudioFile, IID_IVelmoraAudioFile, &mVelmora);
        QueryIfNull(mAudioFile, IID_IOmfiAudioFile, &mOmfi);
        QueryIfNull(mAudioFile, IID_IEbuAudioFile, &mEbu);
        QueryIfNull(mAudioFile, IID_IOrvanelAudioFile, &mOrvanel);
        if (mImportExport)
            mInterfaceMask |= eImportExportInterface;
        if (mNative)
            mInterfaceMask |= eNativeInterface;
        if (mVelmora)
            mInterfaceMask |= eVelmoraInterface;
        if (mOmfi)
            mInterfaceMask |= eOmfiInterface;
        if (mEbu)
            mInterfaceMask |= eEbuInterface;
        if (mOrvanel)
            mInterfaceMask |= eOrvanelInterface;
        mInterfacesInitialised = true;
        CMN_ASSERT(mImportExport != nullptr);
        mFileType = type;
        GetAudioFileAttr();
        if (sSetFileAndCreatorType)
            sSetFileAndCreatorType(GetFileLoc(), macType, kCreatorNuvo);
        mDirty = true;
    }
    catch (Cmn_Exception& e)
    {
        Cmn_AddExceptionContext(
            &e, new Cmn_TypedExceptionContext<Cmn_TStringXData>(
                    XC_Cmn_ExceptionContext, Cmn_TStringXData("While trying to format an audio file.")));
        throw;
    }
    mAccessTimeStamp = GetFileAttr().GetModified();
}

void FF_AudioFile::SampleWrite(void* buffer, int64 frames, EWrite mode)
{
    CMN_ASSERT(Implements(eImportExportInterface));
    CMN_ASSERT(frames >= 0);
    CMN_ASSERT(mOpenMode != 0);
    if (!mImportExport)
        return;
    int64 const bytesPerSample = mAttributes.GetBytesPerSample();
    int64 const length = frames * bytesPerSample * mAttributes.GetNumChannels();
    SwapBufferData(static_cast<char*>(buffer), length, static_cast<int32>(bytesPerSample));
    PlugInResult const r = mImportExport->SampleWrite(buffer, frames);
    if (mode == ePreserveBuffer)
    {
        SwapBufferData(static_cast<char*>(buffer), length, static_cast<int32>(bytesPerSample));
        // A little-endian file keeps 8-bit audio unsigned, and its handler
        // flips the samples in the buffer it writes.
        if (bytesPerSample == 1 && mAttributes.GetByteOrder() == FF_AudioFileAttr::eLittleEndian)
        {
            auto* p = static_cast<u8*>(buffer);
            for (int64 i = 0; i < length; ++i)
                p[i] ^= 0x80;
        }
    }
    // Only now, so that the buffer is back in host order even after a failure.
    CheckImportExportResult(r);
}

// Cut, since file names here run to 255 bytes, and a longer region name
// fails its assertion: at the end of a recording or a compaction, after the
// audio is in place.
std::string FF_AudioFile::WholeFileRegionName(Sys_FileLoc const& loc)
{
    std::string name = loc.GetFileName(Sys_FileLoc::kNameWithoutExtension);
    std::size_t const room = sizeof(PlugInRegion::name);
    if (name.size() > room)
    {
        std::size_t cut = room;
        while (cut > 0 && (static_cast<unsigned char>(name[cut]) & 0xC0) == 0x80)
            --cut;
        name.resize(cut);
    }
    return name;
}

void FF_AudioFile::SetNumSamples(int64 frames)
{
    CMN_ASSERT(Implements(eNativeInterface));
    CMN_ASSERT(frames >= 0);
    if (!mNative)
        return;
    int64 userStamp = 0, origStamp = 0;
    std::vector<FF_ImportAudioRegion> regions;
    GetRegions(&regions, false);
    std::vector<Sys_Umid> gone;
    for (auto const& region : regions)
    {
        bool const whole = region.IsWholeFileRegion();
        if (whole || static_cast<uint64>(frames) < region.GetStopSample())
        {
            if (whole)
            {
                userStamp = static_cast<int64>(region.GetUserTimeStamp());
                origStamp = static_cast<int64>(region.GetOrigTimeStamp());
            }
            gone.push_back(region.GetUmid());
        }
    }
    StOpen open(this, eOpenRead | eOpenWrite);
    // The regions go once the length is set: a length refused (a full disk)
    // would otherwise leave them removed, and the next flush would drop
    // them from the file.
    CheckNativeResult(mNative->SetNumSamples(frames));
    for (Sys_Umid const& umid : gone)
        RemoveRegion(umid);
    // Still sees the frame count of before the change: its whole-file logic
    // runs against that.
    AddRegion(WholeFileRegionName(GetFileLoc()), 0, frames, 0, userStamp, origStamp);
    mDirty = true;
    GetAudioFileAttr();
}

void FF_AudioFile::SaveState(FF_AudioFileState* state)
{
    state->openMode = mOpenMode;
    if (mOpenMode == 0)
    {
        state->position = 0;
        state->samplePosition = 0;
        return;
    }
    state->position = Sys_File::GetPosition();
    state->samplePosition = SampleGetPosition();
}

void FF_AudioFile::RestoreState(FF_AudioFileState const* state)
{
    if (state->openMode == 0 || mOpenMode == 0)
        return;
    // On sample data the plug-in's own position must be right too; in the
    // metadata the byte position alone is restored.
    if (SampleToOffset(state->samplePosition) == state->position)
        SampleSetPosition(kFromStart, state->samplePosition);
    else
        Sys_File::SetPosition(kFromStart, state->position);
}

// ---------------------------------------------------------------- regions

void FF_AudioFile::GetRegions(std::vector<FF_ImportAudioRegion>* regions, bool includeWholeFile)
{
    CMN_ASSERT(Implements(eImportExportInterface));
    regions->clear();
    if (!mImportExport)
        return;
    uint32 count = 0;
    CheckImportExportResult(mImportExport->GetNumRegions(&count));
    auto const method =
        Implements(eNativeInterface) ? FF_ImportAudioRegion::kUseInPlace : FF_ImportAudioRegion::kMustImport;
    auto const frames = static_cast<uint64>(mAttributes.GetNumSamples());
    bool sawWholeFile = false;
    for (uint32 i = 0; i < count; ++i)
    {
        PlugInRegion r;
        CheckImportExportResult(mImportExport->GetRegion(i, &r));
        std::string const name(r.name, r.nameLength > 31 ? 31 : r.nameLength);
        bool const whole = r.startSample == 0 && r.stopSample == frames;
        sawWholeFile = sawWholeFile || whole;
        Sys_Umid umid;
        std::memcpy(&umid, r.umid, 16);
        regions->emplace_back(GetFileLoc(), mAttributes, name, whole, umid, r.startSample, r.stopSample, r.syncSample,
                              r.userTimeStamp, r.originalTimeStamp, method);
    }
    if (includeWholeFile && !sawWholeFile)
    {
        int64 stamp = 0;
        // Cut to 32 bits on purpose: no wider value reaches the synthesised region.
        if (Implements(eEbuInterface))
            stamp = static_cast<int32>(static_cast<uint32>(GetSMPTETimeStamp()));
        Sys_Umid zero;
        std::memset(&zero, 0, sizeof zero);
        regions->emplace_back(GetFileLoc(), mAttributes, WholeFileRegionName(GetFileLoc()), true, zero, 0, frames, 0,
                              static_cast<uint64>(stamp), static_cast<uint64>(stamp), method);
    }
}

void FF_AudioFile::AddRegion(std::string const& name, int64 start, int64 stop, int64 sync, int64 userStamp,
                             int64 origStamp)
{
    CMN_ASSERT(Implements(eNativeInterface));
    if (!mNative)
        return;
    bool const whole = start == 0 && stop == mAttributes.GetNumSamples();
    std::vector<FF_ImportAudioRegion> regions;
    GetRegions(&regions, false);
    for (auto const& r : regions)
    {
        if (r.GetName() == name && r.GetStartSample() == static_cast<uint64>(start) &&
            r.GetStopSample() == static_cast<uint64>(stop) && r.GetSyncSample() == static_cast<uint64>(sync) &&
            r.GetUserTimeStamp() == static_cast<uint64>(userStamp) &&
            r.GetOrigTimeStamp() == static_cast<uint64>(origStamp))
            return; // a duplicate: nothing is added
        // A file keeps one whole-file region; the newest wins.
        if (whole && r.IsWholeFileRegion())
            RemoveRegion(r.GetUmid());
    }
    CMN_ASSERT(name.size() <= 31);
    PlugInRegion record = {};
    record.startSample = static_cast<uint64>(start);
    record.stopSample = static_cast<uint64>(stop);
    record.syncSample = static_cast<uint64>(sync);
    record.userTimeStamp = static_cast<uint64>(userStamp);
    record.originalTimeStamp = static_cast<uint64>(origStamp);
    record.nameLength = static_cast<u8>(std::min<std::size_t>(name.size(), 31));
    std::memcpy(record.name, name.data(), record.nameLength);
    StOpen open(this, eOpenRead | eOpenWrite);
    CheckNativeResult(mNative->AddRegion(&record));
    mDirty = true;
}

void FF_AudioFile::RemoveRegion(Sys_Umid const& umid)
{
    CMN_ASSERT(Implements(eNativeInterface));
    Sys_Umid zero;
    std::memset(&zero, 0, sizeof zero);
    // A synthesised region has no identity of its own.
    if (umid == zero || !mNative)
        return;
    StOpen open(this, eOpenRead | eOpenWrite);
    // The result is dropped and the file not marked dirty: a removal alone
    // reaches the disk with the next change that does.
    mNative->RemoveRegion(reinterpret_cast<u8 const*>(&umid));
}

// -------------------------------------------------------------- overviews

void FF_AudioFile::SwapOverview(char** block, int32 intervals, int32 bitDepth)
{
    int64 const bytes = static_cast<int64>(intervals) * bitDepth / 8;
    int64 const held = RelocatableBlock::GetSize(block) - UAFOvwfChunk::kBlockHeaderSize;
    SwapBufferData(*block + UAFOvwfChunk::kBlockHeaderSize, std::min(bytes, held), bitDepth / 8);
}

bool FF_AudioFile::HasOverview(int32 decimation, int32 bitDepth)
{
    CMN_ASSERT(Implements(eNativeInterface));
    return mNative && mNative->HasOverview(decimation, bitDepth) != S_FALSE;
}

char** FF_AudioFile::GetOverview(int32 decimation, int32 bitDepth, int32* intervals)
{
    CMN_ASSERT(Implements(eNativeInterface));
    if (!mNative)
        return nullptr;
    StOpen open(this, eOpenRead);
    char** block = nullptr;
    CheckNativeResult(mNative->GetOverview(&block, decimation, bitDepth, intervals));
    // The handler stops owning the block it hands out, yet keeps pointing at
    // it for later flushes: this object keeps it, in file order, and the
    // caller gets a copy in host order to dispose of.
    if (std::find(mOverviewBlocks.begin(), mOverviewBlocks.end(), block) == mOverviewBlocks.end())
        mOverviewBlocks.push_back(block);
    int64 const size = RelocatableBlock::GetSize(block);
    char** copy = RelocatableBlock::New(size);
    std::memcpy(*copy, *block, static_cast<std::size_t>(size));
    SwapOverview(copy, *intervals, bitDepth);
    return copy;
}

void FF_AudioFile::SetOverview(char** data, int32 decimation, int32 bitDepth, int32 intervals)
{
    CMN_ASSERT(Implements(eNativeInterface));
    if (!mNative)
        return;
    // An overview is an optional extra and never fills a disk; an existing
    // one is replaced in place, so then the space does not matter.
    int64 const needed = static_cast<int64>(intervals) * bitDepth / 8 + 1024;
    bool room = true;
    try
    {
        room = GetFileLoc().GetVolume().GetAttr().GetFreeSpace() > needed;
    }
    catch (Cmn_Exception const&)
    {
        room = true;
    }
    if (!room && !HasOverview(decimation, bitDepth))
    {
        RelocatableBlock::Dispose(data);
        return;
    }
    SwapOverview(data, intervals, bitDepth);
    if (std::find(mOverviewBlocks.begin(), mOverviewBlocks.end(), data) == mOverviewBlocks.end())
        mOverviewBlocks.push_back(data);
    StOpen open(this, eOpenRead | eOpenWrite);
    CheckNativeResult(mNative->SetOverview(data, decimation, bitDepth, intervals));
    mDirty = true;
}

// ---------------------------------------------------------------- identity

Sys_Umid FF_AudioFile::GetUmid()
{
    CMN_ASSERT(Implements(eVelmoraInterface));
    Sys_Umid umid;
    std::memset(&umid, 0, sizeof umid);
    if (mVelmora)
        CheckVelmoraResult(mVelmora->GetUmid(reinterpret_cast<u8*>(&umid)));
    return umid;
}

void FF_AudioFile::StampWithUmid()
{
    CMN_ASSERT(Implements(eVelmoraInterface));
    if (!mVelmora)
        return;
    StOpen open(this, eOpenRead | eOpenWrite);
    PlugInResult const r = mVelmora->StampWithUmid();
    mDirty = true;
    CheckVelmoraResult(r);
}

uint64 FF_AudioFile::GetUTCModDate()
{
    CMN_ASSERT(Implements(eVelmoraInterface));
    uint64 date = 0;
    if (mVelmora)
        CheckVelmoraResult(mVelmora->GetUTCModDate(&date));
    return date;
}

uint64 FF_AudioFile::GetDataRevision()
{
    CMN_ASSERT(Implements(eVelmoraInterface));
    uint64 value = 0;
    if (mVelmora)
        CheckVelmoraResult(mVelmora->GetUTCModDate(&value));
    return value;
}

void FF_AudioFile::SetStartTimeCode(std::string const& timeCode)
{
    ChangeThrough(eOmfiInterface, mOmfi, &ThrowIfPlugInError,
                  [&](IOmfiAudioFile* i) { return i->SetStartTimeCode(timeCode.c_str()); });
}

std::string FF_AudioFile::GetStartTimeCode()
{
    CMN_ASSERT(Implements(eOmfiInterface));
    if (!mOmfi)
        return {};
    char buffer[1024] = {};
    ThrowIfPlugInError(mOmfi->GetStartTimeCode(buffer));
    return std::string(buffer, strnlen(buffer, sizeof buffer));
}

void FF_AudioFile::SetMasterMobName(std::string const& name)
{
    ChangeThrough(eOmfiInterface, mOmfi, &ThrowIfPlugInError,
                  [&](IOmfiAudioFile* i) { return i->SetMasterMobName(name.c_str()); });
}

void FF_AudioFile::SetTapeMobName(std::string const& name)
{
    ChangeThrough(eOmfiInterface, mOmfi, &ThrowIfPlugInError,
                  [&](IOmfiAudioFile* i) { return i->SetTapeMobName(name.c_str()); });
}

int64 FF_AudioFile::GetSMPTETimeStamp()
{
    CMN_ASSERT(Implements(eEbuInterface));
    int64 stamp = 0;
    if (mEbu)
        ThrowIfPlugInError(mEbu->GetSMPTETimeStamp(&stamp));
    return stamp;
}

void FF_AudioFile::SetSMPTETimeStamp(int64 stamp)
{
    ChangeThrough(eEbuInterface, mEbu, &ThrowIfPlugInError,
                  [&](IEbuAudioFile* i) { return i->SetSMPTETimeStamp(stamp); });
}

bool FF_AudioFile::HasInstrumentAttr()
{
    CMN_ASSERT(Implements(eOrvanelInterface));
    return mOrvanel && mOrvanel->HasInstrumentAttr() != S_FALSE;
}

void FF_AudioFile::GetInstrumentAttr(FF_AudioInstrumentAttr* attr)
{
    CMN_ASSERT(Implements(eOrvanelInterface));
    if (!mOrvanel)
        return;
    PlugInInstrument record;
    PlugInResult const r = mOrvanel->GetInstrumentAttr(&record);
    *attr = FF_AudioInstrumentAttr(record.rootMIDINote, record.fineTuneCents,
                                   static_cast<FF_AudioInstrumentAttr::ELoopType>(record.loop1Type), record.loop1Start,
                                   record.loop1Stop, static_cast<FF_AudioInstrumentAttr::ELoopType>(record.loop2Type),
                                   record.loop2Start, record.loop2Stop);
    ThrowIfPlugInError(r);
}

void FF_AudioFile::SetInstrumentAttr(FF_AudioInstrumentAttr const& attr)
{
    PlugInInstrument record;
    record.loop1Type = attr.GetLoop1Type();
    record.loop1Start = attr.GetLoop1StartSample();
    record.loop1Stop = attr.GetLoop1StopSample();
    record.loop2Type = attr.GetLoop2Type();
    record.loop2Start = attr.GetLoop2StartSample();
    record.loop2Stop = attr.GetLoop2StopSample();
    record.rootMIDINote = attr.GetRootMIDINote();
    record.fineTuneCents = attr.GetFineTuneCents();
    ChangeThrough(eOrvanelInterface, mOrvanel, &ThrowIfPlugInError,
                  [&](IOrvanelAudioFile* i) { return i->SetInstrumentAttr(&record); });
}

// ---------------------------------------------------------------- printing

void FF_AudioFile::PrintFile(std::ostream& out)
{
    Print(out, false);
}

void FF_AudioFile::PrintCache(std::ostream& out)
{
    Print(out, true);
}

void FF_AudioFile::Print(std::ostream& out, bool cache)
{
    // A fresh handler of the type the location names, not the attached one.
    Sys_FileType const type = Sys_Utils::GetFileType(GetFileLoc());
    PlugInResult (*create)(void**) = nullptr;
    for (auto const& p : PlugInTable::PrintTable())
    {
        if (p.byEquivalence ? Sys_Utils::AreTypesEquivalent(type, p.type) : type == p.type)
        {
            create = PlugInTable::Find(p.handler);
            break;
        }
    }
    // Some formats are known by what the file holds, whatever its name.
    char name[8] = {};
    if (!create && mImportExport && mImportExport->GetFileTypeName(8, name) == S_OK)
    {
        for (auto const& p : PlugInTable::PrintTable())
            if (p.whateverName && std::strncmp(name, p.handler, sizeof name) == 0)
                create = PlugInTable::Find(p.handler);
    }
    if (!create)
    {
        out << "Unknown file type\n";
        return;
    }
    void* object = nullptr;
    IAudioFile* instance = nullptr;
    bool ok = create(&object) == S_OK && object;
    if (ok)
    {
        auto* unknown = static_cast<IUnknown*>(static_cast<IAudioFile*>(object));
        ok = Query(unknown, IID_IAudioFile, &instance) == S_OK;
        unknown->Release();
    }
    if (ok)
    {
        IFileImpl* fileImpl = IFileImpl::Create(this);
        ok = instance->SetFile(fileImpl) == S_OK;
        fileImpl->Release();
    }
    if (!ok)
    {
        out << "Error initializing instance\n";
        if (instance)
            instance->Release();
        return;
    }
    {
        StOpen open(this, eOpenRead);
        cache ? instance->PrintCache(out) : instance->PrintFile(out);
    }
    instance->Release();
}
