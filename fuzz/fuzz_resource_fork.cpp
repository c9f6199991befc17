// Feeds arbitrary bytes to the resource fork reader, as a fork from another
// system arrives in Resource.FRK, in an AppleDouble sidecar or on a
// Macintosh volume: the first byte picks whether the bytes are a sidecar
// (whose resource fork entry is read) or the fork itself. A fork that reads
// must write back out and read again as the same resources. A read outside
// the data, an allocation out of proportion to the input, a hang or a
// round trip that changes a resource is a fault.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "Sys/Sys_AppleDouble.h"
#include "Sys/Sys_ResourceFork.h"

namespace
{

bool Same(Sys_ResourceFork::Resource const& a, Sys_ResourceFork::Resource const& b)
{
    return a.type == b.type && a.id == b.id && a.attributes == b.attributes && a.hasName == b.hasName &&
           a.name == b.name && a.data == b.data;
}

void CheckFork(u8 const* data, size_t size)
{
    Sys_ResourceFork fork;
    if (!fork.Parse(data, size))
        return;
    std::vector<u8> bytes;
    if (!fork.Serialize(&bytes))
        std::abort(); // what was read always fits the layout it came in
    Sys_ResourceFork again;
    if (!again.Parse(bytes.data(), bytes.size()))
        std::abort();
    // Writing groups each type's resources together, in the order of first appearance.
    std::vector<Sys_ResourceFork::Resource const*> expected;
    std::vector<u32> types;
    for (auto const& r : fork.GetResources())
    {
        bool seen = false;
        for (u32 t : types)
            seen = seen || t == r.type;
        if (!seen)
            types.push_back(r.type);
    }
    for (u32 t : types)
        for (auto const& r : fork.GetResources())
            if (r.type == t)
                expected.push_back(&r);
    if (expected.size() != again.GetResources().size())
        std::abort();
    for (size_t i = 0; i < expected.size(); ++i)
        if (!Same(*expected[i], again.GetResources()[i]))
            std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    if (size < 1)
        return 0;
    bool const sidecar = data[0] & 1;
    ++data;
    --size;
    if (!sidecar)
    {
        CheckFork(data, size);
        return 0;
    }
    Sys_AppleDouble header;
    if (size < Sys_AppleDouble::kHeaderSize || !header.Parse(data, size, size))
        return 0;
    if (Sys_AppleDouble::Entry const* e = header.Find(Sys_AppleDouble::kEntryResourceFork))
        CheckFork(data + e->offset, e->length);
    return 0;
}
