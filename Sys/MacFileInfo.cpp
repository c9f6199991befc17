#include "Sys/MacFileInfo.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "Sys/Sys_MacFileSystem.h"
#include "Sys/Sys_MacRoman.h"

namespace
{

constexpr int32 kFail = int32(0x80004005);
constexpr int32 kMoreData = int32(0x8007006F);
constexpr int32 kAccessDenied = int32(0x80070005);

int32 FromOSError(int32 err)
{
    return err == 0 ? 0 : int32(0x80070000u | (u32(err) & 0xFFFF));
}

u32 LE32(u8 const* p)
{
    return u32(p[0]) | (u32(p[1]) << 8) | (u32(p[2]) << 16) | (u32(p[3]) << 24);
}
u16 LE16(u8 const* p)
{
    return u16(p[0] | (p[1] << 8));
}
u64 LE64(u8 const* p)
{
    return u64(LE32(p)) | (u64(LE32(p + 4)) << 32);
}
void PutLE(std::string& out, u64 v, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        out += char(v >> (8 * i));
}

} // namespace

MacFileInfo::MacFileInfo() : mWideNames(Sys_MacFileSystem::Get() ? Sys_MacFileSystem::Get()->UsesWideNames() : false) {}

MacFileInfo::~MacFileInfo()
{
    Close();
}

void MacFileInfo::Clear()
{
    mReadOnly = mNoSeparateName = mIsFile = false;
    mAccessRight = 0;
    mVersion = 0;
    mDirectoryNumber = 0;
    std::memset(mFinderInfo, 0, sizeof mFinderInfo);
    std::memset(mExtendedFinderInfo, 0, sizeof mExtendedFinderInfo);
    mDataForkSize = mResourceForkSize = 0;
    mFinderFlags = 0;
    mNameLength = 0;
    std::memset(mName, 0, sizeof mName);
}

int32 MacFileInfo::Open(std::string const& path)
{
    if (int32 const closed = Close())
        return closed;
    Clear();
    mPath = path;
    if (!Sys_MacFileSystem::Get())
        return kFail;
    return mWideNames ? OpenWithStreams(path) : OpenWithGateway(path);
}

int32 MacFileInfo::OpenWithGateway(std::string const& path)
{
    Sys_MacFileSystem* const fs = Sys_MacFileSystem::Get();
    int32 const drive = fs->DriveOfPath(path);
    if (drive == -1)
        return kFail;
    if (int32 const err = fs->OpenGateway(drive, &mGateway))
    {
        mGateway = -1;
        return FromOSError(err);
    }
    std::u16string const name = Sys_MacRoman::FromUtf8(path.size() > 2 ? path.substr(2) : std::string());
    std::string payload;
    PutLE(payload, name.size() * 2, 2);
    for (char16_t c : name)
        PutLE(payload, c, 2);
    u8 body[kGetInfoBodySize];
    size_t got = 0;
    if (int32 const result = Request(kGetInfoRequest, payload, body, sizeof body, &got))
        return result;
    if (got != kGetInfoBodySize)
        return kFail;
    mAccessRight = body[0];
    mVersion = i16(LE16(body + 1));
    u8 const* const fields = body + 3; // 0x60 bytes, from "is file" to the Finder flags
    mIsFile = fields[0] != 0;
    mDirectoryNumber = LE32(fields + 4);
    std::memcpy(mFinderInfo, fields + 8, 16);
    std::memcpy(mExtendedFinderInfo, fields + 24, 16);
    mDataForkSize = LE64(fields + 40);
    mResourceForkSize = LE64(fields + 48);
    mFinderFlags = LE32(fields + 56);
    mNameLength = std::min<u16>(LE16(body + 99), 510);
    for (size_t i = 0; i < mNameLength / 2u; ++i)
        mName[i] = LE16(body + 101 + 2 * i);
    return 0;
}

int32 MacFileInfo::Request(u32 code, std::string const& payload, u8* body, size_t bodySize, size_t* got)
{
    Sys_MacFileSystem* const fs = Sys_MacFileSystem::Get();
    std::string request;
    PutLE(request, code, 4);
    PutLE(request, payload.size() + 8, 4);
    request += payload;
    if (int32 const err = fs->WriteGateway(mGateway, reinterpret_cast<u8 const*>(request.data()), request.size()))
        return FromOSError(err);
    std::vector<u8> answer(8 + bodySize);
    size_t read = 0;
    if (int32 const err = fs->ReadGateway(mGateway, answer.data(), answer.size(), &read))
        return FromOSError(err);
    if (read < 8)
        return kFail;
    u32 const status = LE32(answer.data());
    u32 const size = LE32(answer.data() + 4);
    *got = 0;
    if (size > 8)
    {
        if (size - 8 > bodySize)
            return kMoreData;
        *got = std::min<size_t>(size - 8, read - 8);
        std::memcpy(body, answer.data() + 8, *got);
    }
    return int32(status);
}

int32 MacFileInfo::OpenWithStreams(std::string const& path)
{
    Sys_MacFileSystem* const fs = Sys_MacFileSystem::Get();
    bool isFolder = false;
    u64 dataSize = 0;
    if (int32 const err = fs->GetAttributes(path, &isFolder, &dataSize))
        return FromOSError(err);
    mIsFile = !isFolder;
    if (mIsFile)
    {
        mDataForkSize = dataSize;
        mResourceForkSize = fs->GetResourceForkSize(path);
    }

    std::vector<u8> opener;
    if (fs->ReadStream(path, kOpenerInfoStream, &opener, nullptr) != 0)
    {
        mNoSeparateName = true;
        mVersion = 0;
        std::u16string name;
        if (fs->GetLongName(path, &name) == 0)
        {
            size_t const n = std::min<size_t>(name.size(), 255);
            for (size_t i = 0; i < n; ++i)
                mName[i] = Sys_MacRoman::FromPrivateUse(u16(name[i]));
            mNameLength = u16(n * 2);
        }
    }
    else if (opener.size() != kOpenerInfoSize || LE32(opener.data()) != kOpenerInfoSignature)
    {
        mVersion = 0;
        mNameLength = 0;
    }
    else
    {
        mVersion = i16(LE16(opener.data() + 8));
        mNameLength = std::min<u16>(LE16(opener.data() + 14), 510);
        for (size_t i = 0; i < mNameLength / 2u; ++i)
            mName[i] = LE16(opener.data() + 16 + 2 * i);
    }

    std::vector<u8> afp;
    bool writable = false;
    if (fs->ReadStream(path, kAfpInfoStream, &afp, &writable) == 0)
    {
        mStreamOpen = true;
        mReadOnly = !writable;
        if (afp.size() == kAfpInfoSize && LE32(afp.data()) == kAfpInfoSignature)
        {
            std::memcpy(mFinderInfo, afp.data() + 16, 16);
            std::memcpy(mExtendedFinderInfo, afp.data() + 32, 16);
            mFinderFlags = u32(afp[24] << 8 | afp[25]); // big-endian in the stream
            if (!mIsFile)
                mDirectoryNumber = LE32(afp.data() + 8);
            if ((LE32(afp.data() + 52) & 0x1E00000) == 0x1E00000)
                mFinderFlags |= 0x80000000u;
        }
    }
    return 0;
}

std::string MacFileInfo::NamePayload() const
{
    std::string out;
    PutLE(out, mNameLength, 2);
    for (size_t i = 0; i < mNameLength / 2u; ++i)
        PutLE(out, mName[i], 2);
    return out;
}

int32 MacFileInfo::SetInfo(u16 bitmap, u32 type, u32 creator)
{
    Sys_MacFileSystem* const fs = Sys_MacFileSystem::Get();
    if (!fs || mPath.empty())
        return kFail;
    if (!mWideNames)
    {
        if (mGateway < 0)
            return kFail;
        std::string payload;
        PutLE(payload, bitmap, 2);
        PutLE(payload, type, 4);
        PutLE(payload, creator, 4);
        payload += NamePayload();
        size_t got = 0;
        return Request(kSetInfoRequest, payload, nullptr, 0, &got);
    }
    if (mReadOnly)
        return kAccessDenied;
    auto write = [&](size_t offset, u32 value)
    {
        std::vector<u8> const bytes = {u8(value), u8(value >> 8), u8(value >> 16), u8(value >> 24)};
        return fs->WriteStream(mPath, kAfpInfoStream, offset, bytes);
    };
    if (bitmap & kSetType)
        if (int32 const err = write(16, type))
            return FromOSError(err);
    if (bitmap & kSetCreator)
        if (int32 const err = write(20, creator))
            return FromOSError(err);
    if (bitmap & (kSetType | kSetCreator))
    {
        mChanged = true;
        auto put = [&](size_t at, u32 value)
        {
            for (int i = 0; i < 4; ++i)
                mFinderInfo[at + size_t(i)] = u8(value >> (8 * i));
        };
        if (bitmap & kSetType)
            put(0, type);
        if (bitmap & kSetCreator)
            put(4, creator);
    }
    return 0;
}

int32 MacFileInfo::Close()
{
    Sys_MacFileSystem* const fs = Sys_MacFileSystem::Get();
    if (mGateway >= 0)
    {
        if (fs)
            fs->CloseGateway(mGateway);
        mGateway = -1;
    }
    mStreamOpen = false;
    if (mChanged && fs)
        fs->FlushInfo(mPath);
    mChanged = false;
    return 0;
}

u32 MacFileInfo::GetFileType() const
{
    return (u32(mFinderInfo[0]) << 24) | (u32(mFinderInfo[1]) << 16) | (u32(mFinderInfo[2]) << 8) | mFinderInfo[3];
}

u32 MacFileInfo::GetCreator() const
{
    return (u32(mFinderInfo[4]) << 24) | (u32(mFinderInfo[5]) << 16) | (u32(mFinderInfo[6]) << 8) | mFinderInfo[7];
}

u32 MacFileInfo::ReadFileType(std::string const& path)
{
    Sys_MacFileSystem* const fs = Sys_MacFileSystem::Get();
    if (!fs)
        return 0;
    if (!fs->UsesWideNames())
    {
        MacFileInfo info;
        return info.Open(path) == 0 ? info.GetFileType() : 0;
    }
    std::vector<u8> afp;
    if (fs->ReadStream(path, kAfpInfoStream, &afp, nullptr) != 0 || afp.size() != kAfpInfoSize ||
        LE32(afp.data()) != kAfpInfoSignature)
        return 0;
    return (u32(afp[16]) << 24) | (u32(afp[17]) << 16) | (u32(afp[18]) << 8) | afp[19];
}
