#include "FF/PlugIns/PlugInTable.h"

#include "FF/PlugIns/AIFC.h"
#include "FF/PlugIns/AIFF.h"
#include "FF/PlugIns/VORN.h"
#include "FF/PlugIns/WAVE.h"

#include <cstring>
#include <vector>

namespace
{
using PlugInTable::MacType;

// Each table is made on first use, so that it stands before the first audio
// file whatever the order of static initialisation.

// AIFC stands before AIFF: each refuses the other's form type. VORN comes
// last: it knows a file by its resource fork alone, and a file any other
// handler takes is not one.
std::vector<PlugInTableEntry> const& Table()
{
    static std::vector<PlugInTableEntry> const table = {
        {"WAVE", &WAVE::Create, Sys_FileType(std::string("wav"))},
        {"AIFC", &AIFC::Create, Sys_FileType(MacType("AIFC"))},
        {"AIFF", &AIFF::Create, Sys_FileType(MacType("AIFF"))},
        {"VORN", &VORN::Create, Sys_FileType(MacType("Vn4f"))},
    };
    return table;
}

// There is no system release here on which the VORN type is withheld.
std::vector<Sys_FileType> const& Supported()
{
    static std::vector<Sys_FileType> const types = {
        Sys_FileType(std::string("wav")),
        Sys_FileType(std::string("aif")),
        Sys_FileType(MacType("Vn4f")),
    };
    return types;
}

// VORN first: a VORN file may carry any name.
std::vector<PlugInWriteEntry> const& Writers()
{
    static std::vector<PlugInWriteEntry> const table = {
        {Sys_FileType(MacType("Vn4f")), "VORN", static_cast<u32>(MacType("Vn4f"))},
        {Sys_FileType(std::string("wav")), "WAVE", static_cast<u32>(MacType(".WAV"))},
        {Sys_FileType(MacType("AIFC")), "AIFC", static_cast<u32>(MacType("AIFC"))},
        {Sys_FileType(MacType("AIFF")), "AIFF", static_cast<u32>(MacType("AIFF"))},
    };
    return table;
}

// The AIFF-C handler prints plain AIFF files too. A VORN file is one by its
// resource fork, whatever its name says.
std::vector<PlugInPrintEntry> const& Printers()
{
    static std::vector<PlugInPrintEntry> const table = {
        {Sys_FileType(std::string("wav")), "WAVE", false, false},
        {Sys_FileType(std::string("aif")), "AIFC", false, false},
        // The other names other tools give these files: without them a
        // ".aiff" or ".aifc" file, which the "aif" handler reads, would not
        // print at all.
        {Sys_FileType(std::string("aiff")), "AIFC", false, false},
        {Sys_FileType(std::string("aifc")), "AIFC", false, false},
        {Sys_FileType(MacType("Vn4f")), "VORN", true, true},
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

std::span<Sys_FileType const> SupportedTypes()
{
    return Supported();
}

std::span<PlugInWriteEntry const> WriteTable()
{
    return Writers();
}

std::span<PlugInPrintEntry const> PrintTable()
{
    return Printers();
}

std::string DescribeUnknownHeader(unsigned char const* head, std::size_t got)
{
    if (got == 0)
        return "empty file";
    auto text = [&](std::size_t at)
    { return at + 4 <= got ? std::string(reinterpret_cast<char const*>(head + at), 4) : std::string(); };
    std::string const id = text(0);
    bool const riff = id == "RIFF" || id == "RF64" || id == "BW64";
    if (got < 12 && (riff || id == "FORM"))
        return "file too short for its " + id + " header";
    if (riff)
        return text(8) == "WAVE" ? "WAVE file without a usable 'fmt ' and 'data' chunk"
                                 : id + " form '" + text(8) + "' is not WAVE";
    if (id == "FORM")
        return text(8) == "AIFF" || text(8) == "AIFC" ? "AIFF file without a usable 'COMM' and 'SSND' chunk"
                                                      : "FORM type '" + text(8) + "' is not AIFF";
    return "no RIFF or FORM header";
}
} // namespace PlugInTable

PlugInResult (*PlugInTable::Find(char const* name))(void**)
{
    for (auto const& e : Table())
        if (std::strcmp(e.name, name) == 0)
            return e.create;
    return nullptr;
}
