#include "FF/PlugIns/PlugInTable.h"

#include "FF/PlugIns/AIFC.h"
#include "FF/PlugIns/AIFF.h"
#include "FF/PlugIns/VORN.h"
#include "FF/PlugIns/WAVE.h"

#include <cstring>
#include <vector>

namespace
{
// Made on first use, so that it stands before the first audio file whatever
// the order of static initialisation. AIFC stands before AIFF: each refuses
// the other's form type. VORN comes last: it knows a file by its resource
// fork alone, and a file any other handler takes is not one.
std::vector<PlugInTableEntry> const& Table()
{
    static std::vector<PlugInTableEntry> const table = {
        {"WAVE", &WAVE::Create, Sys_FileType(std::string("wav"))},
        {"AIFC", &AIFC::Create, Sys_FileType(PlugInTable::MacType("AIFC"))},
        {"AIFF", &AIFF::Create, Sys_FileType(PlugInTable::MacType("AIFF"))},
        {"VORN", &VORN::Create, Sys_FileType(PlugInTable::MacType("Vn4f"))},
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
