#include "FF/PlugIns/UAFEbuChunk.h"
#include "Cmn/Cmn_Types.h"

#include "FF/PlugIns/ChunkyFile.h"
#include "FF/PlugIns/IFile.h"
#include "Sys/Sys_Umid.h"

#include <algorithm>
#include <cstring>
#include <ctime>
#include <mutex>
#include <ostream>
#include <string>

namespace
{
constexpr char kDescription[] = "Velmora generated sound file";
constexpr char kOriginator[] = "Velmora";
constexpr char kCodingHistory[] = "PCM Encoded"; // written with its zero: 12 bytes
constexpr i32 kCodingHistoryLength = sizeof kCodingHistory;

// Field offsets of the fixed part.
constexpr int kDescriptionAt = 0, kOriginatorAt = 256, kOriginatorRefAt = 288, kDateAt = 320, kTimeAt = 330,
              kTimeReferenceAt = 338, kVersionAt = 346;

std::tm LocalNow()
{
    // localtime's result is shared by the process; take it under a lock.
    static std::mutex mutex;
    std::lock_guard<std::mutex> lock(mutex);
    std::time_t const now = std::time(nullptr);
    return *std::localtime(&now);
}

std::string Field(unsigned char const* body, int at, int size)
{
    auto const* p = reinterpret_cast<char const*>(body + at);
    return std::string(p, strnlen(p, static_cast<std::size_t>(size)));
}
} // namespace

UAFEbuChunk::UAFEbuChunk(ChunkyFile* owner, bool writeDefaults)
    : Chunk(owner, kChunkId_bext, kEbu), mWriteDefaults(writeDefaults),
      mCodingHistoryLength(writeDefaults ? kCodingHistoryLength : 0)
{
    if (writeDefaults)
        owner->SetHasEbuData();
}

void UAFEbuChunk::Restamp()
{
    mRestamped = true;
    // Broadcast data another tool wrote (its description, originator, history)
    // is the user's, and stays; a chunk with no bytes yet starts afresh.
    if (GetFileSize() == 0 && !HoldsBytes())
    {
        mWriteDefaults = true;
        mCodingHistoryLength = kCodingHistoryLength;
    }
    mOwner->SetHasEbuData();
}

PlugInResult UAFEbuChunk::Read(i64 size, i64)
{
    if (size < kFixedSize)
        return kAudioFile_Unimplemented;
    unsigned char body[kFixedSize];
    PlugInResult r = ReadExact(body, kFixedSize);
    if (r != S_OK)
        return r;
    // TimeReference is read little-endian in every format, exactly as it is
    // written, so that the stamp survives a round trip through an AIFF file.
    u64 timeReference;
    std::memcpy(&timeReference, body + kTimeReferenceAt, 8);
    mCodingHistoryLength = static_cast<i32>(size - kFixedSize);
    // The history is text for people; a longer one is not kept in memory.
    std::string history(static_cast<std::size_t>(std::min<i64>(mCodingHistoryLength, 4096)), '\0');
    r = ReadExact(history.data(), static_cast<i64>(history.size()));
    if (r != S_OK)
        return r;
    history.resize(strnlen(history.c_str(), history.size()));
    mOwner->SetBroadcastFields({{"description", Field(body, kDescriptionAt, 256)},
                                {"originator", Field(body, kOriginatorAt, 32)},
                                {"originatorReference", Field(body, kOriginatorRefAt, 32)},
                                {"originationDate", Field(body, kDateAt, 10)},
                                {"originationTime", Field(body, kTimeAt, 8)},
                                {"codingHistory", history}});
    mOwner->SetHasEbuData();
    mOwner->SetSMPTETimeStamp(static_cast<i64>(timeReference));
    return S_OK;
}

void UAFEbuChunk::StampIdentity(unsigned char* body)
{
    Sys_Umid umid;
    std::memcpy(&umid, mOwner->UmidBytes(), 16);
    umid.SwapIfWin32();
    unsigned char bytes[16];
    std::memcpy(bytes, &umid, 16);
    static char const digits[] = "0123456789abcdef";
    for (int i = 0; i < 16; ++i)
    {
        body[kOriginatorRefAt + 2 * i] = static_cast<unsigned char>(digits[bytes[i] >> 4]);
        body[kOriginatorRefAt + 2 * i + 1] = static_cast<unsigned char>(digits[bytes[i] & 15]);
    }

    std::tm const now = LocalNow();
    char text[16];
    std::strftime(text, sizeof text, "%Y-%m-%d", &now);
    std::memcpy(body + kDateAt, text, 10);
    std::strftime(text, sizeof text, "%H-%M-%S", &now);
    std::memcpy(body + kTimeAt, text, 8);
}

namespace
{
void PutTimeReference(unsigned char* body, i64 stamp)
{
    // Low word first in every format, with no swap.
    for (int i = 0; i < 8; ++i)
        body[kTimeReferenceAt + i] = static_cast<unsigned char>(static_cast<u64>(stamp) >> (8 * i));
}
} // namespace

PlugInResult UAFEbuChunk::Patch(i64 bodyPosition)
{
    unsigned char body[kFixedSize];
    i64 const rest = GetSize(0) - kFixedSize;
    PlugInResult r = S_OK;
    if (HoldsBytes())
        std::memcpy(body, HeldBytes().data() + 8, kFixedSize);
    else
    {
        r = ReadExact(body, kFixedSize);
        if (r == S_OK)
            r = mOwner->GetFile()->SetPosition(0, bodyPosition);
        if (r != S_OK)
            return r;
    }
    PutTimeReference(body, mOwner->SMPTETimeStamp());
    if (mRestamped && Field(body, kOriginatorAt, 32) == kOriginator)
        StampIdentity(body);
    r = WriteExact(body, kFixedSize);
    if (r != S_OK)
        return r;
    if (!HoldsBytes())
        return Skip(rest);
    // The held bytes lack the pad where the file did.
    i64 const held = static_cast<i64>(HeldBytes().size()) - 8 - kFixedSize;
    i64 const kept = held < rest ? held : rest;
    r = WriteExact(HeldBytes().data() + 8 + kFixedSize, kept);
    unsigned char const pad = 0;
    return r == S_OK && kept < rest ? WriteExact(&pad, rest - kept) : r;
}

PlugInResult UAFEbuChunk::Write(i64, i64 bodyPosition)
{
    if (!mWriteDefaults && (GetFileSize() != 0 || HoldsBytes()))
        return Patch(bodyPosition);
    mCodingHistoryLength = kCodingHistoryLength;

    // Zeros behind every string, so that the same file is written the same.
    unsigned char body[kFixedSize] = {};
    std::memcpy(body + kDescriptionAt, kDescription, sizeof kDescription);
    std::memcpy(body + kOriginatorAt, kOriginator, sizeof kOriginator);
    StampIdentity(body);
    PutTimeReference(body, mOwner->SMPTETimeStamp());
    body[kVersionAt] = 0;
    body[kVersionAt + 1] = 0;

    PlugInResult r = WriteExact(body, kFixedSize);
    if (r == S_OK)
        r = WriteExact(kCodingHistory, kCodingHistoryLength);
    if (r == S_OK)
    {
        mWriteDefaults = false;
        mRestamped = false;
    }
    return r;
}

PlugInResult UAFEbuChunk::Print(std::ostream& out, i64 size, i64)
{
    if (size < kFixedSize)
    {
        out << "\t** Contents Unknown **\n";
        return Skip(size);
    }
    unsigned char body[kFixedSize];
    PlugInResult r = ReadExact(body, kFixedSize);
    if (r != S_OK)
        return r;
    u64 timeReference;
    std::memcpy(&timeReference, body + kTimeReferenceAt, 8);
    u16 version;
    std::memcpy(&version, body + kVersionAt, 2);
    out << "\tDescription: " << Field(body, kDescriptionAt, 256) << "\n"
        << "\tOriginator: " << Field(body, kOriginatorAt, 32) << "\n"
        << "\tOriginatorRef: " << Field(body, kOriginatorRefAt, 32) << "\n"
        << "\tOriginationDate: " << Field(body, kDateAt, 10) << "\n"
        << "\tOriginationTime: " << Field(body, kTimeAt, 8) << "\n"
        << "\tTimeReference: " << timeReference << "\n"
        << "\tVersion: " << version << "\n"
        << "\tReserved\n";
    i64 const tail = static_cast<i64>(size) - kFixedSize;
    if (tail > 0)
    {
        out << "\tCodingHistory: \n";
        // The history is text; print at most what a person would read.
        i64 const shown = tail < 4096 ? tail : 4096;
        std::string history(static_cast<std::size_t>(shown), '\0');
        r = ReadExact(history.data(), shown);
        if (r != S_OK)
            return r;
        for (std::size_t at = 0; at < history.size();)
        {
            std::size_t end = history.find('\0', at);
            if (end == std::string::npos)
                end = history.size();
            if (end > at)
                out << "\t" << history.substr(at, end - at) << "\n";
            at = end + 1;
        }
        return Skip(tail - shown);
    }
    return S_OK;
}
