#include "Sys/Sys_AppleDouble.h"

namespace
{
u32 Get32(u8 const* p)
{
    return (u32(p[0]) << 24) | (u32(p[1]) << 16) | (u32(p[2]) << 8) | u32(p[3]);
}
} // namespace

size_t Sys_AppleDouble::HeaderBytes(u8 const* bytes)
{
    u32 const count = (u32(bytes[24]) << 8) | bytes[25];
    return kHeaderSize + size_t(count) * kEntrySize;
}

bool Sys_AppleDouble::Parse(u8 const* bytes, size_t size, u64 fileSize, std::string* why)
{
    auto fail = [why](char const* text)
    {
        if (why)
            *why = text;
        return false;
    };
    if (size < kHeaderSize || Get32(bytes) != kMagic)
        return fail("no AppleDouble header");
    if (Get32(bytes + 4) != kVersion)
        return fail("an AppleDouble version other than 2");
    size_t const need = HeaderBytes(bytes);
    if (size < need)
        return fail("AppleDouble entry table cut short");
    std::vector<Entry> entries;
    for (size_t at = kHeaderSize; at < need; at += kEntrySize)
    {
        Entry e{Get32(bytes + at), Get32(bytes + at + 4), Get32(bytes + at + 8)};
        if (u64(e.offset) + e.length > fileSize)
            return fail("AppleDouble entry past the end of the file");
        entries.push_back(e);
    }
    mEntries = std::move(entries);
    return true;
}

Sys_AppleDouble::Entry const* Sys_AppleDouble::Find(u32 id) const
{
    for (Entry const& e : mEntries)
        if (e.id == id)
            return &e;
    return nullptr;
}
