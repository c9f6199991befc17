#pragma once

#include "Cmn/Cmn_FourCharCode.h"
#include "Cmn/Cmn_Types.h"
#include "FF/PlugIns/PlugInResult.h"
#include "Sys/Sys_FileType.h"

#include <cstddef>
#include <span>
#include <string>

// What the file object knows of each built-in format, in four tables that
// stand side by side in PlugInTable.cpp, with the words for a file none of
// them takes: adding a format is a row in each.

// The built-in format handlers, in the order in which a file is offered to
// them, each with the file type that is recorded while it is tried.
struct PlugInTableEntry
{
    char const* name; // the handler's type name: "WAVE", "AIFC", "AIFF", "VORN"
    PlugInResult (*create)(void** object);
    Sys_FileType fileType;
};

// Which handler writes a new file of a type, and the Macintosh type the
// file gets. The first row whose type is equivalent to the one asked wins.
struct PlugInWriteEntry
{
    Sys_FileType type;
    char const* handler;
    u32 macType;
};

// Which handler prints a file, by the type its location names: the
// extension types must be equal, a Macintosh type only equivalent. A file
// whose name matches no row still prints with a handler marked
// `whateverName` when that handler is the one that opened it.
struct PlugInPrintEntry
{
    Sys_FileType type;
    char const* handler;
    bool byEquivalence;
    bool whateverName;
};

namespace PlugInTable
{
std::size_t GetCount();
PlugInTableEntry const& GetEntry(std::size_t index);
// The types a host may offer when it saves a file, in the order shown.
std::span<Sys_FileType const> SupportedTypes();
std::span<PlugInWriteEntry const> WriteTable();
std::span<PlugInPrintEntry const> PrintTable();
// Why no handler took a file, from its first bytes (`got` of them, at most
// 12): the words a host shows beside the file's name.
std::string DescribeUnknownHeader(unsigned char const* head, std::size_t got);
// The factory of the named handler, or null while that handler is not built.
PlugInResult (*Find(char const* name))(void**);
// The four-character Macintosh code as a number, first character highest.
constexpr i32 MacType(char const (&code)[5])
{
    return static_cast<i32>(Cmn_FourCharCode(code));
}
} // namespace PlugInTable
