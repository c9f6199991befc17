#include "FF/PlugIns/VORN.h"
#include "Cmn/Cmn_Types.h"

#include "FF/PlugIns/IFile.h"
#include "FF/PlugIns/IFileImpl.h"
#include "FF/PlugIns/RelocatableBlock.h"
#include "FF/PlugIns/StResourceFork.h"
#include "FF/PlugIns/VORNResourceCodec.h"
#include "Sys/Sys_File.h"
#include "Sys/Sys_FileImpl.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_ResourceFork.h"
#include "Sys/Sys_ResourceManager.h"
#include "Sys/Sys_Umid.h"

#include <cstring>
#include <ostream>

namespace
{
using RM = Sys_ResourceManager;
using Codec = VORNResourceCodec;

constexpr u32 kStr = Sys_ResourceFork::Code("STR ");
constexpr u32 kUmid = Sys_ResourceFork::Code("umid");
constexpr u32 kOverview = Sys_ResourceFork::Code("qxOV");
constexpr u32 kRegions = Sys_ResourceFork::Code("qxRL");
constexpr u32 kLoops = Sys_ResourceFork::Code("qxLL");

constexpr char kSampleSizeName[] = "sample-size";
constexpr char kSampleRateName[] = "sample-rate";
constexpr char kChannelsName[] = "channels";

// The widths and counts this library reads and writes.
constexpr i64 kMaxBytesPerSample = 4;
constexpr i64 kMaxChannels = 0xFFFF;
constexpr double kMaxRate = 2147483647.0;

PlugInResult ErrorResult(i16 err)
{
    return PlugInResultFromOSError(err);
}
} // namespace

PlugInResult VORN::Create(void** object)
{
    auto* handler = new VORN;
    handler->AddRef();
    *object = static_cast<IAudioFile*>(handler);
    return S_OK;
}

PlugInResult VORN::GetFileTypeName(i32 size, char* buffer)
{
    return CopyTypeName(size, buffer, "VORN");
}

PlugInResult VORN::GetByteOrder(i32* order)
{
    *order = 0;
    return S_OK;
}

PlugInResult VORN::CanImplement(PlugInGuid const* iid)
{
    return (*iid == IID_IVelmoraAudioFile || *iid == IID_IOrvanelAudioFile) ? S_OK : S_FALSE;
}

bool VORN::NamedVORN()
{
    Sys_FileImpl* impl = nullptr;
    if (!mFile || mFile->GetImpl(&impl) != S_OK || !impl)
        return false;
    std::string name = impl->GetFileLoc().GetFileName();
    for (char& c : name)
        c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    return name.size() > 5 && name.compare(name.size() - 5, 5, ".vorn") == 0;
}

PlugInResult VORN::Refuse(PlugInResult result, std::string reason)
{
    SetRefusalReason(std::move(reason));
    return result;
}

// ------------------------------------------------------------- resources

i16 VORN::ReadResource(u32 type, i16 id, Bytes* bytes)
{
    RM::Handle const handle = RM::GetResource(type, id);
    if (!handle)
    {
        i16 const err = RM::GetError();
        return err == RM::kNoError ? RM::kErrResourceNotFound : err;
    }
    i64 const size = RM::GetHandleSize(handle);
    bytes->assign(*handle, *handle + size);
    RM::ReleaseResource(handle);
    return RM::GetError();
}

i16 VORN::RemoveResource(u32 type, i16 id)
{
    // Only to be removed: no need to read the contents.
    RM::SetLoad(false);
    RM::Handle const old = RM::GetResource(type, id);
    i16 err = old ? RM::kNoError : RM::GetError();
    RM::SetLoad(true);
    if (err == RM::kErrResourceNotFound)
        return RM::kNoError;
    if (err != RM::kNoError)
        return err;
    RM::RemoveResource(old);
    err = RM::GetError();
    if (err == RM::kNoError)
        RM::DisposeHandle(old);
    return err;
}

i16 VORN::ReplaceResource(u32 type, i16 id, std::string const& name, Bytes const& bytes)
{
    if (i16 const err = RemoveResource(type, id))
        return err;
    RM::Handle const handle = RM::NewHandle(static_cast<i64>(bytes.size()));
    if (!handle)
    {
        i16 const err = RM::GetMemError();
        return err != RM::kNoError ? err : RM::kErrMemoryFull;
    }
    if (!bytes.empty())
        std::memcpy(*handle, bytes.data(), bytes.size());
    Bytes const pascalName = Codec::EncodePascalString(name);
    RM::AddResource(handle, type, id, pascalName.data());
    if (i16 const err = RM::GetError())
    {
        RM::DisposeHandle(handle);
        return err;
    }
    RM::MarkChanged(handle);
    RM::WriteResource(handle);
    if (i16 const err = RM::GetError())
        return err;
    RM::ReleaseResource(handle);
    return RM::GetError();
}

i16 VORN::WriteUmid()
{
    return ReplaceResource(kUmid, kResourceId, std::string(), Codec::EncodeUmid(UmidBytes()));
}

// ------------------------------------------------------------------ open

PlugInResult VORN::DoOpen()
{
    if (!mFile)
        return E_UNEXPECTED;
    StResourceFork fork(mFile, StResourceFork::kRead);
    if (i16 const err = fork.GetError())
    {
        // Most files have no fork: they are simply no VORN files, and what
        // their first bytes say tells the user more.
        // Only a name that says VORN earns a word about the missing fork.
        if (err == RM::kErrForkNotFound)
            return NamedVORN() ? Refuse(kAudioFile_CorruptFile, "VORN file without its resource fork (looked for "
                                                                "Resource.FRK/NAME, ._NAME and NAME/rsrc)")
                               : kAudioFile_CorruptFile;
        return Refuse(ErrorResult(err), "resource fork cannot be read (error " + std::to_string(err) + ")");
    }

    // The three strings make the file what it is.
    struct Field
    {
        i16 id;
        char const* name;
        std::string text;
    } fields[] = {
        {kSampleSizeId, kSampleSizeName, {}}, {kSampleRateId, kSampleRateName, {}}, {kChannelsId, kChannelsName, {}}};
    for (Field& f : fields)
    {
        Bytes bytes;
        i16 const err = ReadResource(kStr, f.id, &bytes);
        if (err == RM::kErrResourceNotFound)
            return Refuse(kAudioFile_CorruptFile, std::string("resource fork without its \"") + f.name + "\" string");
        if (err != RM::kNoError)
            return ErrorResult(err);
        if (!Codec::DecodePascalString(bytes, &f.text))
            return Refuse(kAudioFile_CorruptFile, std::string("damaged \"") + f.name + "\" string");
    }
    i64 bytesPerSample = 0, channels = 0;
    double rate = 0;
    if (!Codec::ParseInteger(fields[0].text, &bytesPerSample) || bytesPerSample < 1 ||
        bytesPerSample > kMaxBytesPerSample)
        return Refuse(kAudioFile_CorruptFile, "sample size \"" + fields[0].text + "\" is not 1 to 4 bytes");
    if (!Codec::ParseRate(fields[1].text, &rate) || !(rate >= 1.0 && rate <= kMaxRate))
        return Refuse(kAudioFile_CorruptFile, "sample rate \"" + fields[1].text + "\" is no rate");
    if (!Codec::ParseInteger(fields[2].text, &channels) || channels < 1 || channels > kMaxChannels)
        return Refuse(kAudioFile_CorruptFile, "channel count \"" + fields[2].text + "\" is no count");

    i64 const frame = bytesPerSample * channels;
    i64 eof = 0;
    if (PlugInResult const r = mFile->GetEOF(&eof); r != S_OK)
        return r;
    if (eof % frame != 0)
        return Refuse(kAudioFile_CorruptFile, "data fork of " + std::to_string(eof) + " bytes is no whole number of " +
                                                  std::to_string(frame) + "-byte frames");
    i64 const frames = eof / frame;

    Bytes umid, overview, regions, loops;
    struct Optional
    {
        u32 type;
        Bytes* bytes;
        bool found;
    } optional[] = {
        {kUmid, &umid, false}, {kOverview, &overview, false}, {kRegions, &regions, false}, {kLoops, &loops, false}};
    for (Optional& o : optional)
    {
        i16 const err = ReadResource(o.type, kResourceId, o.bytes);
        if (err != RM::kNoError && err != RM::kErrResourceNotFound)
            return ErrorResult(err);
        o.found = err == RM::kNoError;
    }
    fork.Close();

    mDataRevision = 0;
    mUTCModDate = 0;
    SetValidBits(kValidModification);
    if (optional[3].found)
    {
        PlugInInstrument instrument;
        if (i16 const err = Codec::DecodeLoops(loops, &instrument))
            return Refuse(ErrorResult(err), "loop list of an unknown version");
        mInstrument = instrument;
        mHasInstrument = true;
    }
    SetBitsPerSample(static_cast<u16>(bytesPerSample * 8));
    SetSampleRate(static_cast<i32>(rate));
    SetChannels(static_cast<u16>(channels));
    SetNumSamplesValue(frames);
    SetDataOffset(0);
    SetValidBits(kValidRegions | kValidOverviews | kValidInstrument);
    u8 id[16];
    if (optional[0].found && Codec::DecodeUmid(umid, id))
        SetUmidBytes(id);

    // An overview of another length of the audio is of no use.
    Bytes block;
    u32 spi = 0;
    if (optional[1].found && Codec::DecodeOverview(overview, &block, &spi))
    {
        i64 const intervals = static_cast<i64>((block.size() - Codec::kOverviewHeaderSize) / 2);
        if (intervals == (frames + spi - 1) / spi)
        {
            PlugInOverview o;
            o.size = static_cast<u32>(intervals * 2 + 24);
            o.version = 1;
            o.samplesPerInterval = spi;
            o.bitsPerInterval = 8;
            o.channels = 1;
            o.numIntervals = static_cast<u32>(intervals);
            o.data = RelocatableBlock::New(static_cast<i64>(block.size()));
            std::memcpy(*o.data, block.data(), block.size());
            o.owned = true;
            mOverviews.push_back(o);
        }
    }
    if (optional[2].found)
        Codec::DecodeRegions(regions, &mRegions);
    return S_OK;
}

// ---------------------------------------------------------------- format

PlugInResult VORN::DoFormat()
{
    if (!mFile)
        return E_UNEXPECTED;
    SetDataOffset(0);
    if (PlugInResult const r = mFile->SetEOF(NumSamples() * FrameSize()); r != S_OK)
        return r;
    StResourceFork fork(mFile, StResourceFork::kWrite);
    i16 err = fork.GetError();
    int const bytesPerSample = BitsPerSample() / 8 + (BitsPerSample() % 8 ? 1 : 0);
    struct
    {
        i16 id;
        char const* name;
        std::string value;
    } const strings[] = {{kSampleSizeId, kSampleSizeName, Codec::FormatInteger(bytesPerSample)},
                         {kSampleRateId, kSampleRateName, Codec::FormatRate(SampleRate())},
                         {kChannelsId, kChannelsName, Codec::FormatInteger(Channels())}};
    for (auto const& s : strings)
        if (err == RM::kNoError)
            err = ReplaceResource(kStr, s.id, s.name, Codec::EncodePascalString(s.value));
    // A file made anew in the place of another keeps none of its metadata.
    for (u32 const type : {kOverview, kRegions, kLoops})
        if (err == RM::kNoError)
            err = RemoveResource(type, kResourceId);
    // A new file gets its identity at once, as Implement gives it.
    if (err == RM::kNoError)
    {
        Sys_Umid const umid = Sys_Umid::Create();
        SetUmidBytes(reinterpret_cast<u8 const*>(&umid));
        err = WriteUmid();
    }
    i16 const closeErr = fork.Close();
    if (err == RM::kNoError)
        err = closeErr;
    if (err != RM::kNoError)
        return ErrorResult(err);
    mDataRevision = 0;
    SetValidBits(kValidModification | kValidRegions | kValidOverviews | kValidInstrument);
    return S_OK;
}

PlugInResult VORN::DoImplement(PlugInGuid const* iid)
{
    if (*iid == IID_IOrvanelAudioFile)
        return S_OK;
    if (*iid != IID_IVelmoraAudioFile)
        return E_FAIL;
    if (!mFile)
        return E_UNEXPECTED;
    Sys_Umid const umid = Sys_Umid::Create();
    SetUmidBytes(reinterpret_cast<u8 const*>(&umid));
    StResourceFork fork(mFile, StResourceFork::kWrite);
    i16 err = fork.GetError();
    if (err == RM::kNoError)
        err = WriteUmid();
    i16 const closeErr = fork.Close();
    if (err == RM::kNoError)
        err = closeErr;
    if (err != RM::kNoError)
        return ErrorResult(err);
    mUTCModDate = Now();
    mDataRevision = 0;
    SetValidBits(kValidModification);
    return S_OK;
}

PlugInResult VORN::StampWithUmid()
{
    Sys_Umid const umid = Sys_Umid::Create();
    SetUmidBytes(reinterpret_cast<u8 const*>(&umid));
    mDataRevision = 0;
    MarkChanged(kValidUmid);
    return S_OK;
}

// ----------------------------------------------------------------- flush

PlugInResult VORN::DoFlush()
{
    if (!mFile)
        return E_UNEXPECTED;
    // The fork holds one overview.
    if (mOverviews.size() > 1)
        return E_UNEXPECTED;
    StResourceFork fork(mFile, StResourceFork::kWrite);
    i16 err = fork.GetError();
    if (err == RM::kNoError && mOverviews.size() == 1)
    {
        PlugInOverview const& o = mOverviews.front();
        i64 const size = o.data ? RelocatableBlock::GetSize(o.data) : 0;
        Bytes const bytes = Codec::EncodeOverview(reinterpret_cast<u8 const*>(*o.data), static_cast<std::size_t>(size),
                                                  o.samplesPerInterval);
        err = bytes.empty() ? RM::kErrParameter : ReplaceResource(kOverview, kResourceId, std::string(), bytes);
    }
    if (err == RM::kNoError)
        err = mRegions.empty() ? RemoveResource(kRegions, kResourceId)
                               : ReplaceResource(kRegions, kResourceId, std::string(), Codec::EncodeRegions(mRegions));
    // A file read without an identity keeps none until it is given one.
    if (err == RM::kNoError && (GetValidMask() & kValidUmid))
        err = WriteUmid();
    if (err == RM::kNoError && mHasInstrument)
        err = ReplaceResource(kLoops, kResourceId, std::string(), Codec::EncodeLoops(mInstrument));
    i16 const closeErr = fork.Close();
    if (err == RM::kNoError)
        err = closeErr;
    return err == RM::kNoError ? S_OK : ErrorResult(err);
}

PlugInResult VORN::DoSetNumSamples(i64 frames)
{
    if (!mFile)
        return E_UNEXPECTED;
    PlugInResult const r = mFile->SetEOF(frames * FrameSize());
    if (r == S_OK)
        SetNumSamplesValue(frames);
    return r;
}

// ----------------------------------------------------------------- print

PlugInResult VORN::PrintFile(std::ostream& out)
{
    if (!mFile)
        return E_UNEXPECTED;
    i64 eof = 0;
    if (PlugInResult const r = mFile->GetEOF(&eof); r != S_OK)
        return r;
    out << "data fork: " << eof << " bytes of audio\n";
    Sys_FileImpl* impl = nullptr;
    if (mFile->GetImpl(&impl) != S_OK || !impl)
        return E_UNEXPECTED;
    RM::ForkPlace place;
    if (!RM::FindFork(impl->GetFileLoc(), &place))
    {
        out << "resource fork: none\n";
        return S_OK;
    }
    if (place.length > RM::kMaxForkSize)
        return kAudioFile_CorruptFile;
    Bytes bytes(static_cast<std::size_t>(place.length));
    Sys_File file{Sys_FileLoc(place.path)};
    try
    {
        Sys_File::StOpen open(&file, Sys_File::kOpenRead | Sys_File::kOpenExisting | Sys_File::kOpenShareRead |
                                         Sys_File::kOpenShareWrite);
        file.SetPosition(Sys_File::kFromStart, place.offset);
        if (file.Read(bytes.data(), place.length) != place.length)
            return kAudioFile_CorruptFile;
    }
    catch (...)
    {
        return E_FAIL;
    }
    Sys_ResourceFork fork;
    std::string why;
    if (!fork.Parse(bytes.data(), bytes.size(), &why))
    {
        out << "resource fork in " << place.path << ": damaged (" << why << ")\n";
        return kAudioFile_CorruptFile;
    }
    out << "resource fork in " << place.path << " at " << place.offset << ": " << place.length << " bytes, "
        << fork.GetResources().size() << " resources\n";
    // One resource a line; an overview also in the fields of an 'ovwf'
    // chunk's print, which vfl info reads.
    for (auto const& r : fork.GetResources())
    {
        out << "Resource ID: " << Sys_ResourceFork::CodeText(r.type) << " " << r.id;
        if (r.hasName)
            out << " \"" << r.name << "\"";
        out << ": " << r.data.size() << " bytes";
        std::string text;
        if (r.type == kStr && Codec::DecodePascalString(r.data, &text))
            out << " \"" << text << "\"";
        out << "\n";
        Bytes block;
        u32 spi = 0;
        if (r.type == kOverview && r.id == kResourceId && Codec::DecodeOverview(r.data, &block, &spi))
            out << "\t\tsamplesPerInterval " << spi << "\n\t\tbitsPerInterval 8\n\t\tnumIntervals "
                << (block.size() - Codec::kOverviewHeaderSize) / 2 << "\n";
    }
    return S_OK;
}
