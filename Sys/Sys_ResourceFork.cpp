#include "Sys/Sys_ResourceFork.h"

#include <algorithm>
#include <cstddef>

namespace
{

u32 Get32(u8 const* p)
{
    return (u32(p[0]) << 24) | (u32(p[1]) << 16) | (u32(p[2]) << 8) | u32(p[3]);
}
u32 Get24(u8 const* p)
{
    return (u32(p[0]) << 16) | (u32(p[1]) << 8) | u32(p[2]);
}
u16 Get16(u8 const* p)
{
    return u16((p[0] << 8) | p[1]);
}

void Put32(std::vector<u8>& out, size_t at, u32 v)
{
    out[at] = u8(v >> 24);
    out[at + 1] = u8(v >> 16);
    out[at + 2] = u8(v >> 8);
    out[at + 3] = u8(v);
}
void Put16(std::vector<u8>& out, size_t at, u32 v)
{
    out[at] = u8(v >> 8);
    out[at + 1] = u8(v);
}

bool Fail(std::string* why, std::string const& text)
{
    if (why)
        *why = text;
    return false;
}

constexpr u32 kMapFixedSize = 28; // header copy, handle, file number, attributes, two offsets
constexpr u32 kTypeEntrySize = 8;
constexpr u32 kRefEntrySize = 12;
constexpr u32 kNoName = 0xFFFF;

} // namespace

std::string Sys_ResourceFork::CodeText(u32 code)
{
    std::string text(4, ' ');
    for (int i = 0; i < 4; ++i)
        text[size_t(i)] = char(code >> (24 - 8 * i));
    return text;
}

bool Sys_ResourceFork::Parse(u8 const* bytes, size_t size, std::string* why)
{
    if (size < kHeaderSize)
        return Fail(why, "shorter than a fork header");
    u64 const dataOff = Get32(bytes), mapOff = Get32(bytes + 4);
    u64 const dataLen = Get32(bytes + 8), mapLen = Get32(bytes + 12);
    if (dataOff + dataLen > size || dataOff < kHeaderSize)
        return Fail(why, "resource data past the end of the fork");
    if (mapOff + mapLen > size || mapOff < kHeaderSize)
        return Fail(why, "resource map past the end of the fork");
    if (mapLen < kMapFixedSize + 2)
        return Fail(why, "resource map too short");
    u8 const* const map = bytes + mapOff;
    u8 const* const data = bytes + dataOff;
    u32 const typeListOff = Get16(map + 24), nameListOff = Get16(map + 26);
    if (u64(typeListOff) + 2 > mapLen)
        return Fail(why, "type list outside the map");
    u8 const* const typeList = map + typeListOff;
    u32 const typeCount = (u32(Get16(typeList)) + 1) & 0xFFFF;
    if (u64(typeListOff) + 2 + u64(typeCount) * kTypeEntrySize > mapLen)
        return Fail(why, "type list runs past the map");

    std::vector<Resource> resources;
    u64 refsSeen = 0, dataSeen = 0;
    for (u32 t = 0; t < typeCount; ++t)
    {
        u8 const* const entry = typeList + 2 + t * kTypeEntrySize;
        u32 const type = Get32(entry);
        u32 const count = u32(Get16(entry + 4)) + 1;
        u64 const refsAt = u64(typeListOff) + Get16(entry + 6);
        if (refsAt + u64(count) * kRefEntrySize > mapLen)
            return Fail(why, "reference list of '" + CodeText(type) + "' runs past the map");
        // A sound fork lists each reference once; one that lists them again
        // and again under more types would make far more resources than it
        // has bytes.
        refsSeen += count;
        if (refsSeen * kRefEntrySize > mapLen)
            return Fail(why, "more references than the map holds");
        for (u32 r = 0; r < count; ++r)
        {
            u8 const* const ref = map + refsAt + u64(r) * kRefEntrySize;
            Resource res;
            res.type = type;
            res.id = i16(Get16(ref));
            u32 const nameOff = Get16(ref + 2);
            res.attributes = ref[4];
            u64 const at = Get24(ref + 5);
            if (nameOff != kNoName)
            {
                u64 const nameAt = u64(nameListOff) + nameOff;
                if (nameAt >= mapLen || nameAt + 1 + map[nameAt] > mapLen)
                    return Fail(why, "name of '" + CodeText(type) + "' " + std::to_string(res.id) + " outside the map");
                res.hasName = true;
                res.name.assign(reinterpret_cast<char const*>(map + nameAt + 1), map[nameAt]);
            }
            if (at + 4 > dataLen)
                return Fail(why, "data of '" + CodeText(type) + "' " + std::to_string(res.id) +
                                     " outside the resource data");
            u64 const length = Get32(data + at);
            if (at + 4 + length > dataLen)
                return Fail(why, "data of '" + CodeText(type) + "' " + std::to_string(res.id) +
                                     " runs past the resource data");
            dataSeen += length;
            if (dataSeen > dataLen)
                return Fail(why, "resources share their data");
            res.data.assign(data + at + 4, data + at + 4 + length);
            resources.push_back(std::move(res));
        }
    }
    mResources = std::move(resources);
    mAttributes = Get16(map + 22);
    return true;
}

bool Sys_ResourceFork::Serialize(std::vector<u8>* bytes, std::string* why) const
{
    // Types in the order of first appearance, each with its resources.
    std::vector<u32> types;
    for (Resource const& r : mResources)
        if (std::find(types.begin(), types.end(), r.type) == types.end())
            types.push_back(r.type);
    if (types.size() > 0x10000)
        return Fail(why, "more than 65536 resource types");

    std::vector<Resource const*> ordered;
    for (u32 type : types)
    {
        size_t count = 0;
        for (Resource const& r : mResources)
            if (r.type == type)
            {
                ordered.push_back(&r);
                ++count;
            }
        if (count > 0x10000)
            return Fail(why, "more than 65536 resources of '" + CodeText(type) + "'");
    }

    u64 dataLen = 0, namesLen = 0;
    for (Resource const* r : ordered)
    {
        if (dataLen > 0xFFFFFF)
            return Fail(why, "more than 16 MB of resource data");
        dataLen += 4 + u64(r->data.size());
        if (r->hasName)
        {
            if (r->name.size() > 255)
                return Fail(why, "a resource name longer than 255 bytes");
            if (namesLen > 0xFFFE)
                return Fail(why, "more than 64 KB of resource names");
            namesLen += 1 + r->name.size();
        }
    }
    u64 const typeListLen = 2 + u64(types.size()) * kTypeEntrySize;
    u64 const refsLen = u64(ordered.size()) * kRefEntrySize;
    u64 const nameListOff = kMapFixedSize + typeListLen + refsLen;
    if (nameListOff > 0xFFFF)
        return Fail(why, "resource map larger than 64 KB");
    u64 const mapLen = nameListOff + namesLen;
    u64 const mapOff = kDataStart + dataLen;
    if (mapOff + mapLen > 0xFFFFFFFFull)
        return Fail(why, "a fork larger than 4 GB");

    std::vector<u8>& out = *bytes;
    out.assign(size_t(mapOff + mapLen), 0);
    Put32(out, 0, kDataStart);
    Put32(out, 4, u32(mapOff));
    Put32(out, 8, u32(dataLen));
    Put32(out, 12, u32(mapLen));
    std::copy(out.begin(), out.begin() + kHeaderSize, out.begin() + std::ptrdiff_t(mapOff));
    size_t const map = size_t(mapOff);
    Put16(out, map + 22, mAttributes);
    Put16(out, map + 24, kMapFixedSize);
    Put16(out, map + 26, u32(nameListOff));
    size_t const typeList = map + kMapFixedSize;
    Put16(out, typeList, u32(types.size() - 1)); // 0xFFFF for none

    size_t dataAt = 0, nameAt = 0, refIndex = 0;
    for (size_t t = 0; t < types.size(); ++t)
    {
        size_t const firstRef = refIndex;
        for (Resource const* r : ordered)
        {
            if (r->type != types[t])
                continue;
            size_t const ref = typeList + size_t(typeListLen) + refIndex * kRefEntrySize;
            Put16(out, ref, u16(r->id));
            Put16(out, ref + 2, r->hasName ? u32(nameAt) : kNoName);
            out[ref + 4] = r->attributes;
            out[ref + 5] = u8(dataAt >> 16);
            out[ref + 6] = u8(dataAt >> 8);
            out[ref + 7] = u8(dataAt);
            Put32(out, kDataStart + dataAt, u32(r->data.size()));
            std::copy(r->data.begin(), r->data.end(), out.begin() + std::ptrdiff_t(kDataStart + dataAt + 4));
            dataAt += 4 + r->data.size();
            if (r->hasName)
            {
                size_t const at = map + size_t(nameListOff) + nameAt;
                out[at] = u8(r->name.size());
                std::copy(r->name.begin(), r->name.end(), out.begin() + std::ptrdiff_t(at + 1));
                nameAt += 1 + r->name.size();
            }
            ++refIndex;
        }
        size_t const entry = typeList + 2 + t * kTypeEntrySize;
        Put32(out, entry, types[t]);
        Put16(out, entry + 4, u32(refIndex - firstRef - 1));
        Put16(out, entry + 6, u32(typeListLen + firstRef * kRefEntrySize));
    }
    return true;
}

Sys_ResourceFork::Resource const* Sys_ResourceFork::Find(u32 type, i16 id) const
{
    for (Resource const& r : mResources)
        if (r.type == type && r.id == id)
            return &r;
    return nullptr;
}

Sys_ResourceFork::Resource* Sys_ResourceFork::Find(u32 type, i16 id)
{
    for (Resource& r : mResources)
        if (r.type == type && r.id == id)
            return &r;
    return nullptr;
}

void Sys_ResourceFork::Add(Resource resource)
{
    mResources.push_back(std::move(resource));
}

bool Sys_ResourceFork::Remove(u32 type, i16 id)
{
    for (auto it = mResources.begin(); it != mResources.end(); ++it)
        if (it->type == type && it->id == id)
        {
            mResources.erase(it);
            return true;
        }
    return false;
}
