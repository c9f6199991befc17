#pragma once

#include "Cmn/Cmn_FourCharCode.h"
#include "FF/PlugIns/PlugInResult.h"
#include "Sys/Sys_FileType.h"

#include <cstddef>

// The built-in format handlers, in the order in which a file is offered to
// them, each with the file type that is recorded while it is tried.
struct PlugInTableEntry
{
    char const* name; // the handler's type name: "WAVE", "AIFC", "AIFF", "VORN"
    PlugInResult (*create)(void** object);
    Sys_FileType fileType;
};

namespace PlugInTable
{
std::size_t GetCount();
PlugInTableEntry const& GetEntry(std::size_t index);
// The factory of the named handler, or null while that handler is not built.
PlugInResult (*Find(char const* name))(void**);
// The four-character Macintosh code as a number, first character highest.
constexpr int32_t MacType(char const (&code)[5])
{
    return static_cast<int32_t>(Cmn_FourCharCode(code));
}
} // namespace PlugInTable
