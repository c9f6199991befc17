#pragma once

#include <string>
#include <vector>

#include "Cmn/Cmn_Types.h"

// The header of an AppleDouble file: what macOS leaves as "._NAME" beside a
// file on volumes that have no place for Finder information and resource
// forks, and what file servers keep in an extended attribute. Big-endian:
// magic 0x00051607, version 0x00020000, 16 bytes of filler, a 16-bit count,
// then per entry its id, offset and length (32 bits each).
class Sys_AppleDouble
{
public:
    struct Entry
    {
        u32 id = 0;
        u32 offset = 0;
        u32 length = 0;
    };

    static constexpr u32 kMagic = 0x00051607;
    static constexpr u32 kVersion = 0x00020000;
    static constexpr u32 kHeaderSize = 26;
    static constexpr u32 kEntrySize = 12;
    static constexpr u32 kEntryResourceFork = 2;
    static constexpr u32 kEntryFinderInfo = 9;

    // Reads the header and the entry table from the start of the file
    // (`size` bytes at hand, `fileSize` bytes in the whole file). False, with
    // the reason, when it is no AppleDouble header or an entry lies outside
    // the file. Entry contents need not be at hand.
    bool Parse(u8 const* bytes, size_t size, u64 fileSize, std::string* why = nullptr);
    // Bytes needed to parse the header of a file that begins with `bytes`
    // (at least kHeaderSize of them): the header and its entry table.
    static size_t HeaderBytes(u8 const* bytes);
    // The first entry of that id, or null.
    Entry const* Find(u32 id) const;
    std::vector<Entry> const& GetEntries() const { return mEntries; }

private:
    std::vector<Entry> mEntries;
};
