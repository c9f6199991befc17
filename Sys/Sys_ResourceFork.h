#pragma once

#include <string>
#include <vector>

#include "Cmn/Cmn_FourCharCode.h"
#include "Cmn/Cmn_Types.h"

// The resources of one resource fork, and the fork's bytes: the layout that
// Macintosh systems wrote and still read, big-endian throughout.
//
//   header   16 bytes: data offset, map offset, data length, map length
//   (240 bytes the system and the application kept for themselves)
//   data     each resource: a 32-bit length, then its bytes
//   map      a copy of the header, 4 bytes of handle, 2 of file number,
//            the fork's attributes (16 bits), the offsets of the type list
//            and of the name list from the start of the map (16 bits each)
//   types    count - 1 (16 bits); per type its code, its count - 1 and the
//            offset of its references from the start of the type list
//   refs     12 bytes each: id (signed 16 bits), name offset into the name
//            list or 0xFFFF, attributes (8 bits), data offset (24 bits from
//            the start of the data), 4 bytes of handle
//   names    Pascal strings
//
// A fork without resources is 286 bytes. Parsing never trusts a count or an
// offset: everything is checked against the bytes at hand, so a damaged or
// hostile fork is refused, never read past.
class Sys_ResourceFork
{
public:
    struct Resource
    {
        u32 type = 0; // four characters, the first in the high byte
        i16 id = 0;
        u8 attributes = 0;
        bool hasName = false;
        std::string name; // up to 255 bytes
        std::vector<u8> data;
    };

    static constexpr u32 kHeaderSize = 16;
    static constexpr u32 kDataStart = 256;
    static constexpr size_t kEmptyForkSize = 286;

    Sys_ResourceFork() = default;

    // Reads a fork. False, with the reason in *why, when the bytes are no
    // sound fork; *this is then unchanged.
    bool Parse(u8 const* bytes, size_t size, std::string* why = nullptr);
    // The fork's bytes: types in the order they first appear, resources of a
    // type in the order they were added, names in that order too. False,
    // with the reason, when the resources do not fit the layout's fields
    // (16 MB of data, 64 KB of map, names of 255 bytes).
    bool Serialize(std::vector<u8>* bytes, std::string* why = nullptr) const;

    std::vector<Resource> const& GetResources() const { return mResources; }
    // Null when there is none of that type and id.
    Resource const* Find(u32 type, i16 id) const;
    Resource* Find(u32 type, i16 id);
    // Adds behind the resources there are; a resource of the same type and
    // id is not replaced (the first one found wins, as on the Macintosh).
    void Add(Resource resource);
    // Removes the first of that type and id; false if there was none.
    bool Remove(u32 type, i16 id);
    u16 GetAttributes() const { return mAttributes; }
    void SetAttributes(u16 attributes) { mAttributes = attributes; }

    // "STR " and such: a four-character code from its text.
    static constexpr u32 Code(char const (&text)[5]) { return Cmn_FourCharCode(text); }
    static std::string CodeText(u32 code);

private:
    std::vector<Resource> mResources;
    u16 mAttributes = 0;
};
