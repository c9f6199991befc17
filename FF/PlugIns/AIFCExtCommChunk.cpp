#include "FF/PlugIns/AIFCExtCommChunk.h"
#include "Cmn/Cmn_Types.h"

#include "FF/PlugIns/ChunkyFile.h"

#include <cstring>
#include <ostream>
#include <vector>

namespace
{
// A name has at most 255 characters behind its length byte; bytes beyond
// are passed over unread, so that a large chunk costs no memory.
constexpr i64 kMaxNameBytes = 255;
} // namespace

AIFCExtCommChunk::AIFCExtCommChunk(ChunkyFile* owner) : AIFFCommChunk(owner) {}

PlugInResult AIFCExtCommChunk::ReadName(i64 size, std::string* name)
{
    i64 const rest = static_cast<i64>(size) - kFixedSize;
    i64 const bytes = rest < kMaxNameBytes ? rest : kMaxNameBytes;
    std::vector<char> buffer(static_cast<std::size_t>(bytes) + 1, '\0');
    PlugInResult r = ReadExact(buffer.data(), bytes);
    if (r != S_OK)
        return r;
    // A body of odd size is followed by the pad byte that chunks of the
    // format take; the file is left behind it.
    r = Skip(rest - bytes + (size & 1));
    if (r != S_OK)
        return r;
    // The length byte is signed: a length the bytes cannot hold, or one of
    // 128 and more, leaves the raw text, length byte and all.
    auto const length = static_cast<i64>(static_cast<signed char>(buffer[0]));
    if (length >= 0 && length < bytes)
    {
        std::memmove(buffer.data(), buffer.data() + 1, static_cast<std::size_t>(length));
        buffer[static_cast<std::size_t>(length)] = '\0';
    }
    *name = buffer.data();
    return S_OK;
}

PlugInResult AIFCExtCommChunk::Read(i64 size, i64)
{
    if (size < kFixedSize)
        return kAudioFile_Unimplemented;
    u8 body[kFixedSize];
    PlugInResult r = ReadExact(body, kFixedSize);
    if (r != S_OK)
        return r;
    r = ReadName(size, &mCompressionName);
    if (r != S_OK)
        return r;
    // Compressed and floating-point audio are not for this handler: the
    // chunk stays unknown, the facts unset, and the file is refused.
    ChunkId type;
    std::memcpy(&type, body + kSize, 4);
    bool littleEndian = false;
    bool unsignedBytes = false;
    int bytes = 0; // the sample width a type fixes, 0 for any
    if (type == ChunkIdFromText("sowt"))
        littleEndian = true;
    // Unsigned 8-bit audio: read and written as 8-bit WAVE audio is, flipped
    // in the handler. Like WAVE it answers to little-endian order, which is
    // how the file object knows to flip a buffer it keeps for the caller.
    else if (type == ChunkIdFromText("raw ") && ((body[6] << 8) | body[7]) <= 8)
    {
        bytes = 1;
        littleEndian = unsignedBytes = true;
    }
    // '42n1' is how some writers spell the little-endian 24-bit type.
    else if (type == ChunkIdFromText("in24") || type == ChunkIdFromText("42ni") || type == ChunkIdFromText("42n1"))
    {
        bytes = 3;
        littleEndian = type != ChunkIdFromText("in24");
    }
    else if (type == ChunkIdFromText("in32") || type == ChunkIdFromText("23ni"))
    {
        bytes = 4;
        littleEndian = type != ChunkIdFromText("in32");
    }
    else if (type != kCompression_NONE && type != ChunkIdFromText("twos"))
    {
        std::string const name = ChunkIdToText(type);
        bool const floating = name == "fl32" || name == "FL32" || name == "fl64" || name == "FL64";
        mOwner->SetRefusalReason("AIFF-C compression '" + name + "'" +
                                 (floating ? std::string(" (") + name.substr(2) + "-bit float)" : ""));
        return kAudioFile_Unimplemented;
    }
    // The type fixes the width where the word length does not agree with it.
    if (bytes != 0 && (((body[6] << 8) | body[7]) + 7) / 8 != bytes)
    {
        body[6] = 0;
        body[7] = static_cast<u8>(bytes * 8);
    }
    r = SetFacts(body);
    if (r == S_OK)
    {
        mCompressionType = type;
        mOwner->SetLittleEndianAudio(littleEndian);
        mOwner->SetUnsignedBytes(unsignedBytes);
    }
    return r;
}

i64 AIFCExtCommChunk::NameBufferSize() const
{
    return (static_cast<i64>(mCompressionName.size()) + 1 + 1) & ~i64{1};
}

i64 AIFCExtCommChunk::GetSize(i32)
{
    return kFixedSize + NameBufferSize();
}

PlugInResult AIFCExtCommChunk::Write(i64, i64)
{
    std::vector<u8> body(static_cast<std::size_t>(kFixedSize + NameBufferSize()), 0);
    FillBody(body.data());
    std::memcpy(body.data() + kSize, &mCompressionType, 4);
    body[kFixedSize] = static_cast<u8>(mCompressionName.size() & 0xFF);
    std::memcpy(body.data() + kFixedSize + 1, mCompressionName.data(), mCompressionName.size());
    return WriteExact(body.data(), static_cast<i64>(body.size()));
}

PlugInResult AIFCExtCommChunk::Print(std::ostream& out, i64 size, i64)
{
    // A plain AIFF 'COMM' prints its four facts through this class too.
    if (size < kSize)
    {
        out << "\t** Contents Unknown **\n";
        return Skip(size);
    }
    u8 body[kFixedSize];
    PlugInResult r = ReadExact(body, kSize);
    if (r != S_OK)
        return r;
    PrintFacts(out, body);
    if (size < kFixedSize)
        return Skip(static_cast<i64>(size) - kSize);
    r = ReadExact(body + kSize, 4);
    if (r != S_OK)
        return r;
    std::string name;
    r = ReadName(size, &name);
    if (r != S_OK)
        return r;
    out << "\tCompression Type: " << std::string(reinterpret_cast<char const*>(body + kSize), 4) << "\n"
        << "\tCompressionName: " << name << "\n";
    return S_OK;
}
