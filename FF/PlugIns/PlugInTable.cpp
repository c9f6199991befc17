#include "FF/PlugIns/PlugInTable.h"

#include "FF/PlugIns/WAVE.h"

#include <cstring>
#include <vector>

namespace
{
// Made on first use, so that it stands before the first audio file whatever
// the order of static initialisation. The AIFC, AIFF and VORN handlers take
// their places behind WAVE as they are built.
std::vector<PlugInTableEntry> const& Table()
{
    static std::vector<PlugInTableEntry> const table = {
        {"WAVE", &WAVE::Create, Sys_FileType(std::string("wav"))},
    };
    return table;
}
} // namespace

namespace PlugInTable
{
std::size_t GetCount()
{
    return Table().size();
}

PlugInTableEntry const& GetEntry(std::size_t index)
{
    return Table()[index];
}
} // namespace PlugInTable

PlugInResult (*PlugInTable::Find(char const* name))(void**)
{
    for (auto const& e : Table())
        if (std::strcmp(e.name, name) == 0)
            return e.create;
    return nullptr;
}
